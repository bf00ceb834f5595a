// The words and records of an XML file, from its steps: what the walk over its tree makes (xml_records.h) when nothing
// is folded.
#pragma once

#include <vector>

#include "convert/xml_records.h"
#include "platform/xml_steps.h"

class CStepRecorder final : public CXmlStepReceiver {
public:
    CStepRecorder(CWordDict& words, RecordBytes& records) : m_words(words), m_records(records) {}

    void Expect(std::size_t sourceBytes) noexcept override;
    void Take(const XmlSteps& some) override;

private:
    struct Level {
        std::size_t record;
        std::uint32_t childCount;
    };
    void StartElement(const XmlStep& step);
    void AddAttr(std::uint32_t name, std::uint32_t value);
    void CountChild() {
        if (!m_levels.empty()) ++m_levels.back().childCount;
    }

    CWordDict& m_words;
    RecordBytes& m_records;
    std::vector<Level> m_levels;             // the open elements
    std::size_t m_nextAttr = 0;              // where the entry of the next attribute goes
    std::uint32_t m_attrsLeft = 0;           // of the newest element
    std::vector<std::uint32_t> m_nameWords;  // by the number of the name
    std::vector<std::uint32_t> m_textWords;  // of the texts at hand
};
