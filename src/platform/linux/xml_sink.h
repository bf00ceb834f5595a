// Where the nodes of an XML file go, in document order: into a tree, or on to who takes them as steps.
#pragma once

#include <vector>

#include "platform/linux/xml_tree.h"
#include "platform/xml_steps.h"

/// Names are numbers of Names(); texts are BSTRs, made in Texts().
class CXmlSink {
public:
    virtual CTextArena& Texts() = 0;
    virtual CXmlNames& Names() = 0;

    /// Before all else: the size of the XML in UTF-8.
    virtual void Expect(std::size_t) {}
    virtual void StartElement(std::uint32_t name, std::size_t attrCount) = 0;
    /// Of the element that was started last.
    virtual void AddAttr(std::uint32_t name, const WCHAR* value) = 0;
    virtual void EndElement() = 0;
    /// A node that is no element.
    virtual void AddTextNode(DOMNodeType type, std::uint32_t name, const WCHAR* text) = 0;
    /// After the last node.
    virtual void Finish() = 0;

protected:
    ~CXmlSink() = default;
};

/// Puts the nodes into a tree, which is empty so far.
class CXmlTreeSink final : public CXmlSink {
public:
    explicit CXmlTreeSink(CXmlTree& tree) : m_tree(tree) {}

    CTextArena& Texts() override { return m_tree.Texts(); }
    CXmlNames& Names() override { return m_tree.Names(); }
    void StartElement(std::uint32_t name, std::size_t attrCount) override;
    void AddAttr(std::uint32_t name, const WCHAR* value) override;
    void EndElement() override;
    void AddTextNode(DOMNodeType type, std::uint32_t name, const WCHAR* text) override;
    void Finish() override;

private:
    struct Level {
        XmlNodeId node;
        std::uint32_t firstPending;
    };
    CXmlTree& m_tree;
    std::vector<Level> m_levels;       // the open elements
    std::vector<XmlNodeId> m_pending;  // children of open elements, the innermost element's last
};

/// Hands the nodes to a receiver, some hundred at a time: their texts are made in the same memory again and again,
/// which stays in the cache.
class CXmlStepSink final : public CXmlSink {
public:
    explicit CXmlStepSink(CXmlStepReceiver& receiver) : m_receiver(receiver) {}

    CTextArena& Texts() override { return m_texts; }
    CXmlNames& Names() override { return m_names; }
    void Expect(std::size_t sourceBytes) override { m_receiver.Expect(sourceBytes); }
    void StartElement(std::uint32_t name, std::size_t attrCount) override;
    void AddAttr(std::uint32_t name, const WCHAR* value) override;
    void EndElement() override;
    void AddTextNode(DOMNodeType type, std::uint32_t name, const WCHAR* text) override;
    void Finish() override;

private:
    static constexpr std::size_t kStepCount = 256;

    void Announce(std::uint32_t name);
    void Put(const XmlStep& step) { m_steps[m_stepCount++] = step; }
    void Put(const XmlStep& step, const WCHAR* text);
    void HandOverIfMany();

    CXmlStepReceiver& m_receiver;
    CTextArena m_texts;
    CTextArena m_nameTexts;
    CXmlNames m_names{m_nameTexts};
    std::vector<unsigned char> m_isAnnounced;  // 1 where it is, by the number of the name
    std::size_t m_stepCount = 0;
    std::size_t m_textCount = 0;
    XmlStep m_steps[kStepCount + 1];  // with one more for a name
    TextView m_stepTexts[kStepCount + 1];
};
