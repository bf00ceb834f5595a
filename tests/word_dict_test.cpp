#include <gtest/gtest.h>

#include <map>
#include <random>

#include "failing_new.h"
#include "model/ordered_list.h"
#include "model/text_hash.h"
#include "model/word_dict.h"
#include "test_files.h"

namespace {

class WordDict : public ::testing::Test {
protected:
    CWordDict m_words;
};

}  // namespace

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
    // Several at a time: the seed changes while some are under way.
    const std::vector<TextView> views(texts.begin(), texts.end());
    std::vector<std::uint32_t> indexes(texts.size());
    CWordDict words;
    for (int round = 0; round < 2; ++round) {
        words.AddWords(views.data(), views.size(), indexes.data());
        for (std::uint32_t i = 0; i < texts.size(); ++i) ASSERT_EQ(indexes[i], i);
    }
    EXPECT_EQ(words.GetWordCount(), texts.size());
}

TEST_F(WordDict, WordsThatFindNoMemoryDoNotFillTheIndex) {
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
    std::vector<Text> texts;
    std::vector<std::uint32_t> expectedIndexes;
    std::mt19937 random(11);
    for (int i = 0; i < 30000; ++i) {
        std::u16string text(random() % 9, u' ');
        for (char16_t& unit : text) unit = static_cast<char16_t>(u'a' + random() % 3);
        const std::uint32_t expected = plain.emplace(text, static_cast<std::uint32_t>(plain.size())).first->second;
        texts.push_back(CTestFolder::Wide(text));
        expectedIndexes.push_back(expected);
        ASSERT_EQ(m_words.AddWord(texts.back(), false), expected);
    }
    EXPECT_EQ(m_words.GetWordCount(), plain.size());

    const std::vector<TextView> views(texts.begin(), texts.end());
    std::vector<std::uint32_t> indexes(texts.size());
    CWordDict words;
    words.Reserve(100, 100);
    words.AddWords(views.data(), views.size(), indexes.data());
    EXPECT_EQ(indexes, expectedIndexes);
    words.AddWords(views.data(), 0, nullptr);
    EXPECT_EQ(words.GetWordCount(), plain.size());
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
