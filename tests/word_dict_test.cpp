#include <gtest/gtest.h>

#include <map>
#include <random>

#include "failing_new.h"
#include "model/ordered_list.h"
#include "model/text_hash.h"
#include "model/word_dict.h"
#include "test_files.h"

namespace {

std::vector<std::u16string> WordsOf(const CWordDict& words) {
    std::vector<std::u16string> all;
    for (std::uint32_t i = 0; i < words.GetWordCount(); ++i) {
        const TextView word = words.GetWordView(i);
        EXPECT_EQ(word, TextView(words.GetWord(i)));
        all.emplace_back(word.begin(), word.end());
    }
    return all;
}

class WordDict : public ::testing::Test {
protected:
    ~WordDict() override { g_lower = 0; }
    CWordDict m_words;
};

}  // namespace

TEST_F(WordDict, AddsFoldsAndAliases) {
    struct Step {
        const WCHAR* text;
        bool fold;
        std::uint32_t index;
    };
    struct Row {
        std::int32_t lower;
        std::vector<Step> steps;
        std::vector<std::u16string> words;
    };
    const Row rows[] = {
        {0, {{WTEXT("Name"), true, 0}, {WTEXT("name"), true, 1}, {WTEXT("Name"), false, 0}}, {u"Name", u"name"}},
        {1, {{WTEXT("Name"), true, 0}, {WTEXT("NAME"), true, 0}, {WTEXT("Other"), false, 1}}, {u"name", u"Other"}},
        {2, {{WTEXT("Name"), true, 0}, {WTEXT("Name"), true, 0}, {WTEXT("Name"), false, 0}}, {u"name"}},  // an alias
        {1, {{WTEXT("Name"), false, 0}, {WTEXT("Name"), true, 0}, {WTEXT("NAME"), true, 1}}, {u"Name", u"name"}},
        {1, {{WTEXT("\x00C9t\x00C9"), true, 0}}, {u"\x00C9t\x00C9"}},  // only A to Z have a lower case
        {0, {{WTEXT(""), false, 0}, {WTEXT(""), true, 0}}, {u""}},
    };
    for (const Row& row : rows) {
        g_lower = row.lower;
        CWordDict words;
        for (const Step& step : row.steps) EXPECT_EQ(words.AddWord(step.text, step.fold), step.index);
        EXPECT_EQ(WordsOf(words), row.words);
    }
}

TEST_F(WordDict, AppendedWordsAreNotFound) {
    EXPECT_EQ(m_words.AppendWord(WTEXT("a")), 0u);
    EXPECT_EQ(m_words.AddWord(WTEXT("a"), false), 1u);
    EXPECT_EQ(m_words.AddWord(WTEXT("a"), false), 1u);
    EXPECT_EQ(WordsOf(m_words), (std::vector<std::u16string>{u"a", u"a"}));
}

TEST_F(WordDict, ReadsPastTheEndAsEmptyOrNull) {
    m_words.AddWord(WTEXT("a"), false);
    for (const std::uint32_t index : {1u, 0x7FFFFFFFu, 0x80000000u, kNoWord}) {
        EXPECT_EQ(TextView(m_words.GetWord(index)), TextView());
        EXPECT_EQ(m_words.GetWordOrNull(static_cast<std::int32_t>(index)), nullptr);
    }
}

TEST_F(WordDict, CopiesFindWhatTheSourceFound) {
    m_words.AddWord(WTEXT("a"), false);
    m_words = *&m_words;
    CWordDict copy = m_words;
    EXPECT_EQ(copy.AddWord(WTEXT("a"), false), 0u);
    EXPECT_EQ(copy.AddWord(WTEXT("b"), false), 1u);
    EXPECT_EQ(m_words.GetWordCount(), 1u);
    copy.Clear();
    EXPECT_EQ(copy.AddWord(WTEXT("b"), false), 0u);
}

TEST_F(WordDict, AddsItsOwnWords) {
    // The text to add lies in the memory that adding it may move.
    for (int i = 0; i < 200; ++i) m_words.AppendWord(WTEXT("the same text again and again"));
    const std::uint32_t index = m_words.AddWord(m_words.GetWord(150), false);
    EXPECT_EQ(m_words.GetWordView(index), m_words.GetWordView(150));
    EXPECT_EQ(m_words.AddWord(m_words.GetWord(3), false), index);
}

TEST_F(WordDict, WordsMadeToCollideAreStillFound) {
    // All of one slot in an index of 4096 under the first seed: the run grows past what the index puts up with.
    std::vector<Text> texts;
    for (std::uint32_t i = 0; texts.size() < 1500; ++i) {
        const std::string digits = std::to_string(i);
        const Text text(digits.begin(), digits.end());
        if ((HashText(text, 0) & 0xFFF) == 0x123) texts.push_back(text);
    }
    for (int round = 0; round < 2; ++round) {
        for (std::uint32_t i = 0; i < texts.size(); ++i) ASSERT_EQ(m_words.AddWord(texts[i], false), i);
    }
}

TEST_F(WordDict, WordsThatFindNoMemoryDoNotFillTheIndex) {
    if (!CFailingNew::kWorks) GTEST_SKIP() << "allocations cannot be made to fail here";
    // With 32 words the index is full of what it may hold; of the words' own memory one part has grown ahead.
    std::vector<Text> texts = {Text(60, WCHAR('x'))};
    while (texts.size() < 100) texts.push_back(Text(1, static_cast<WCHAR>('0' + texts.size())));
    for (std::size_t i = 0; i < 32; ++i) m_words.AddWord(texts[i], false);
    int failures = 0;
    {
        const CFailingNew failing(1);
        for (const Text& text : texts) {
            try {
                m_words.AddWord(text, false);
            } catch (const std::bad_alloc&) {
                ++failures;
            }
        }
    }
    EXPECT_EQ(failures, 68);
    for (const Text& text : texts) EXPECT_EQ(m_words.GetWordView(m_words.AddWord(text, false)), text);
    EXPECT_EQ(m_words.GetWordCount(), texts.size());
}

TEST_F(WordDict, AgreesWithAMapOverManyWords) {
    std::map<std::u16string, std::uint32_t> plain;
    std::mt19937 random(11);
    for (int i = 0; i < 30000; ++i) {
        std::u16string text(random() % 9, u' ');
        for (char16_t& unit : text) unit = static_cast<char16_t>(u'a' + random() % 3);
        const std::uint32_t expected = plain.emplace(text, static_cast<std::uint32_t>(plain.size())).first->second;
        ASSERT_EQ(m_words.AddWord(CTestFolder::Wide(text), false), expected);
    }
    EXPECT_EQ(m_words.GetWordCount(), plain.size());
}

namespace {

struct Item {
    int number;
    std::uint32_t m_slot = 0;
};

}  // namespace

TEST(OrderedList, AgreesWithAVector) {
    std::mt19937 random(5);
    for (int round = 0; round < 60; ++round) {
        COrderedList<Item> list;
        std::vector<std::unique_ptr<Item>> items;
        std::vector<Item*> plain;
        // Growing, then shrinking from the front, the back, or anywhere.
        for (int step = 0; step < 3000; ++step) {
            const bool grows = plain.empty() || random() % 3000 > static_cast<unsigned>(step);
            if (grows) {
                items.push_back(std::make_unique<Item>(Item{step}));
                list.ReserveOne();
                list.Append(items.back().get());
                plain.push_back(items.back().get());
            } else {
                const std::size_t place = round % 3 == 0   ? 0
                                          : round % 3 == 1 ? plain.size() - 1
                                                           : random() % plain.size();
                list.Remove(plain[place]);
                plain.erase(plain.begin() + static_cast<std::ptrdiff_t>(place));
            }
            ASSERT_EQ(list.Count(), plain.size());
            if (plain.empty()) continue;
            const std::size_t asked = random() % plain.size();
            ASSERT_EQ(list.At(static_cast<std::uint32_t>(asked)), plain[asked]);
            ASSERT_EQ(list.First(), plain.front());
            ASSERT_EQ(list.Next(plain[asked]), asked + 1 < plain.size() ? plain[asked + 1] : nullptr);
        }
    }
}
