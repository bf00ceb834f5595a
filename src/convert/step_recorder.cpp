#include "convert/step_recorder.h"

#include <exception>

#include "model/layout.h"

namespace {

// So many bytes of XML bring a new word, in some kinds of files half as many.
constexpr std::size_t kSourceBytesPerWord = 200;

// After its second look-up a name has an entry in the dictionary as it is spelled, and each one more gives the same.
constexpr int kMostLookUps = 2;

}  // namespace

// Memory that is reserved and not used costs nothing, but for the index of the words, which takes a tenth of the XML's
// size; arrays that grow are copied again and again, into fresh pages. A text has as many units as bytes at most, and
// records mostly stay below their XML. Without so much memory they grow.
void CStepRecorder::Expect(std::size_t sourceBytes) noexcept {
    try {
        m_records.Reserve(sourceBytes);
        m_words.Reserve(sourceBytes / kSourceBytesPerWord, sourceBytes);
    } catch (const std::exception&) {
    }
}

void CStepRecorder::Take(const XmlSteps& some) {
    m_textWords.resize(some.textCount);
    if (m_folds) {
        AddWordsFolding(some);
    } else {
        m_words.AddWords(some.texts, some.textCount, m_textWords.data());
    }
    const std::uint32_t* word = m_textWords.data();
    for (const XmlStep* step = some.steps; step != some.steps + some.count; ++step) {
        switch (step->kind) {
            case XmlStep::kName:
                if (step->name >= m_nameWords.size()) m_nameWords.resize(step->name + std::size_t{1});
                m_nameWords[step->name] = *word++;
                break;
            case XmlStep::kElement:
                StartElement(*step);
                break;
            case XmlStep::kAttribute:
                AddAttr(m_nameWords[step->name], *word++);
                break;
            case XmlStep::kText:
            case XmlStep::kCData:
                CountChild();
                WriteTextRecord(m_records.Extend(kTextBytes), step->kind == XmlStep::kText ? kText : kCData, *word++);
                break;
            case XmlStep::kEnd:
                WriteU32(m_records.Data() + m_levels.back().record + kChildCountOffset, m_levels.back().childCount);
                m_levels.pop_back();
                break;
        }
    }
}

// Which word a name becomes is known when all words are. Until then its number stands for it, in the records too. It is
// looked up in its turn among the texts wherever it occurs, as the walk that collects words does.
void CStepRecorder::AddWordsFolding(const XmlSteps& some) {
    std::size_t done = 0;  // texts
    std::size_t next = 0;
    const auto addTexts = [&] {
        m_words.AddWords(some.texts + done, next - done, m_textWords.data() + done);
        done = next;
    };
    for (const XmlStep* step = some.steps; step != some.steps + some.count; ++step) {
        if (step->kind == XmlStep::kName) {
            addTexts();
            if (step->name >= m_names.size()) m_names.resize(step->name + std::size_t{1});
            m_names[step->name].text = some.texts[next];
            m_textWords[next] = step->name;
            done = ++next;
            continue;
        }
        const bool hasName = step->kind == XmlStep::kElement || step->kind == XmlStep::kAttribute;
        if (hasName && m_names[step->name].lookUpCount < kMostLookUps) {
            addTexts();
            LookUp(m_names[step->name]);
        }
        if (step->kind != XmlStep::kElement && step->kind != XmlStep::kEnd) ++next;
    }
    addTexts();
}

void CStepRecorder::LookUp(Name& name) {
    name.word = m_words.AddWord(name.text, true);
    ++name.lookUpCount;
}

void CStepRecorder::Finish() {
    if (!m_folds) return;
    for (Name& name : m_names) {
        if (name.lookUpCount > 0 && name.lookUpCount < kMostLookUps) LookUp(name);
    }
    const auto setWord = [this](unsigned char* field) { WriteU32(field, m_names[ReadU32(field)].word); };
    for (unsigned char* record = m_records.begin(); record != m_records.end(); record += GetRecordSize(record)) {
        if (!IsElement(record)) continue;
        setWord(record + kWordOffset);
        unsigned char* entry = record + kElementBytes;
        for (std::uint32_t left = AttrCountOf(record); left > 0; --left, entry += kAttrEntryBytes) setWord(entry);
        SortAttrPairs(record + kElementBytes, AttrCountOf(record), m_words);
    }
}

void CStepRecorder::StartElement(const XmlStep& step) {
    CountChild();
    const std::size_t record = m_records.Size();
    unsigned char* bytes = m_records.Extend(kElementBytes + kAttrEntryBytes * std::size_t{step.attrCount});
    WriteElementRecord(bytes, m_nameWords[step.name], kNoWord);
    WriteU32(bytes + kAttrCountOffset, step.attrCount);
    m_levels.push_back({record, 0});
    m_nextAttr = record + kElementBytes;
    m_attrsLeft = step.attrCount;
}

void CStepRecorder::AddAttr(std::uint32_t name, std::uint32_t value) {
    unsigned char* entry = m_records.Data() + m_nextAttr;
    WriteU32(entry, name);
    WriteU32(entry + kAttrValueOffset, value);
    m_nextAttr += kAttrEntryBytes;
    if (--m_attrsLeft > 0 || m_folds) return;
    unsigned char* record = m_records.Data() + m_levels.back().record;
    SortAttrPairs(record + kElementBytes, AttrCountOf(record), m_words);
}
