#include "platform/linux/xml_sink.h"

namespace {

TextView BstrView(const WCHAR* bstr) {
    return TextView(bstr, BstrPrefix(bstr) / sizeof(WCHAR));
}

}  // namespace

void CXmlTreeSink::StartElement(std::uint32_t name, std::size_t) {
    const XmlNodeId id = m_tree.AddElement(name);
    if (m_levels.empty()) m_tree.SetDocumentElement(id);
    m_pending.push_back(id);
    m_levels.push_back({id, static_cast<std::uint32_t>(m_pending.size())});
}

void CXmlTreeSink::AddAttr(std::uint32_t name, const WCHAR* value) {
    m_tree.AddAttr(m_levels.back().node, name, value);
}

void CXmlTreeSink::EndElement() {
    const Level level = m_levels.back();
    m_tree.SetChildren(level.node, m_pending.data() + level.firstPending, m_pending.size() - level.firstPending);
    m_pending.resize(level.firstPending);
    m_levels.pop_back();
}

void CXmlTreeSink::AddTextNode(DOMNodeType type, std::uint32_t name, const WCHAR* text) {
    m_pending.push_back(m_tree.AddTextNode(type, name, text));
}

void CXmlTreeSink::Finish() {
    m_tree.SetChildren(kXmlDocumentNode, m_pending.data(), m_pending.size());
}

void CXmlStepSink::StartElement(std::uint32_t name, std::size_t attrCount) {
    Announce(name);
    Add({XmlStep::kElement, name, static_cast<std::uint32_t>(attrCount), {}});
}

void CXmlStepSink::AddAttr(std::uint32_t name, const WCHAR* value) {
    Announce(name);
    Add({XmlStep::kAttribute, name, 0, BstrView(value)});
}

void CXmlStepSink::EndElement() {
    Add({XmlStep::kEnd, 0, 0, {}});
}

void CXmlStepSink::AddTextNode(DOMNodeType type, std::uint32_t, const WCHAR* text) {
    if (type == NODE_TEXT) {
        Add({XmlStep::kText, 0, 0, BstrView(text)});
    } else if (type == NODE_CDATA_SECTION) {
        Add({XmlStep::kCData, 0, 0, BstrView(text)});
    } else {
        m_texts.DropLast();
    }
}

// Hands nothing over: the text of the step that follows is made already. There is room for that step.
void CXmlStepSink::Announce(std::uint32_t name) {
    if (name < m_isAnnounced.size() && m_isAnnounced[name]) [[likely]]
        return;
    if (name >= m_isAnnounced.size()) m_isAnnounced.resize(name + std::size_t{1});
    m_isAnnounced[name] = true;
    m_steps[m_stepCount++] = {XmlStep::kName, name, 0, BstrView(m_names[name].text)};
}

void CXmlStepSink::Add(const XmlStep& step) {
    m_steps[m_stepCount++] = step;
    if (m_stepCount >= kStepCount || m_texts.HasGrown()) [[unlikely]]
        Finish();
}

void CXmlStepSink::Finish() {
    m_receiver.Take(m_steps, m_stepCount);
    m_stepCount = 0;
    m_texts.Reuse();
}
