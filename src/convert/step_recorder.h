// The words and records of an XML file, from its steps: the same as the walks over its tree make (xml_words.h,
// xml_records.h).
#pragma once

#include <vector>

#include "convert/xml_records.h"
#include "platform/xml_steps.h"

class CStepRecorder final : public CXmlStepReceiver {
public:
    CStepRecorder(CWordDict& words, RecordBytes& records) : m_words(words), m_records(records) {}

    void Expect(std::size_t sourceBytes) noexcept override;
    void Take(const XmlSteps& some) override;

    /// To be called when all steps are taken; the records are complete then.
    void Finish();

private:
    struct Level {
        std::size_t record;
        std::uint32_t childCount;
    };
    // With folding on, of each name by its number.
    struct Name {
        Text text;
        std::uint32_t word;
        int lookUpCount = 0;
    };
    void AddWordsFolding(const XmlSteps& some);
    void LookUp(Name& name);
    void StartElement(const XmlStep& step);
    void AddAttr(std::uint32_t name, std::uint32_t value);
    void CountChild() {
        if (!m_levels.empty()) ++m_levels.back().childCount;
    }

    CWordDict& m_words;
    RecordBytes& m_records;
    const bool m_folds = g_lower != 0;
    std::vector<Level> m_levels;             // the open elements
    std::size_t m_nextAttr = 0;              // where the entry of the next attribute goes
    std::uint32_t m_attrsLeft = 0;           // of the newest element
    std::vector<std::uint32_t> m_nameWords;  // by the number of the name
    std::vector<Name> m_names;
    std::vector<std::uint32_t> m_textWords;  // of the texts at hand
};
