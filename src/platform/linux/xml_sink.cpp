#include "platform/linux/xml_sink.h"

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
    Put({XmlStep::kElement, name, static_cast<std::uint32_t>(attrCount)});
    HandOverIfMany();
}

void CXmlStepSink::AddAttr(std::uint32_t name, const WCHAR* value) {
    Announce(name);
    Put({XmlStep::kAttribute, name, 0}, value);
    HandOverIfMany();
}

void CXmlStepSink::EndElement() {
    Put({XmlStep::kEnd, 0, 0});
    HandOverIfMany();
}

void CXmlStepSink::AddTextNode(DOMNodeType type, std::uint32_t, const WCHAR* text) {
    if (type != NODE_TEXT && type != NODE_CDATA_SECTION) {
        m_texts.DropLast();
        return;
    }
    Put({type == NODE_TEXT ? XmlStep::kText : XmlStep::kCData, 0, 0}, text);
    HandOverIfMany();
}

// Does not hand over: the text of the step to come may be made already.
void CXmlStepSink::Announce(std::uint32_t name) {
    if (name < m_isAnnounced.size() && m_isAnnounced[name]) [[likely]]
        return;
    if (name >= m_isAnnounced.size()) m_isAnnounced.resize(name + std::size_t{1});
    m_isAnnounced[name] = 1;
    Put({XmlStep::kName, name, 0}, m_names[name].text);
}

void CXmlStepSink::Put(const XmlStep& step, const WCHAR* text) {
    Put(step);
    m_stepTexts[m_textCount++] = TextView(text, BstrPrefix(text) / sizeof(WCHAR));
}

void CXmlStepSink::HandOverIfMany() {
    if (m_stepCount >= kStepCount || m_texts.HasGrown()) [[unlikely]]
        Finish();
}

void CXmlStepSink::Finish() {
    m_receiver.Take({m_steps, m_stepCount, m_stepTexts, m_textCount});
    m_stepCount = m_textCount = 0;
    m_texts.Reuse();
}
