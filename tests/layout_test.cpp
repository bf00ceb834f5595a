// The binary layout as it is read and written: the worked example, every limit, every prefix, and records that lie.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "document_bytes.h"
#include "model/attr_table.h"
#include "model/incoming_bytes.h"
#include "platform/dialog.h"

namespace {

const Bytes kExample = CBytes().Words({u"a", u"x", u"1", u"hi"}).Element(0, 1, {1, 2}).TextNode(3);

class Layout : public ::testing::Test {
protected:
    bool LoadFile(CBinaryDocument& document, const Bytes& bytes) {
        WriteBytes(m_folder.File("in"), bytes);
        return document.LoadFromFile(m_folder.Path("in").c_str());
    }
    Bytes Saved(CBinaryDocument& document) { return SavedBytes(&document, m_folder); }
    CTestFolder m_folder;
};

}  // namespace

TEST_F(Layout, WorkedExampleLoadsAndSavesTheSameBytes) {
    ASSERT_EQ(kExample.size(), 60u);
    const DocumentPtr fromFile = NewDocument();
    const DocumentPtr fromBuffer = NewDocument();
    ASSERT_TRUE(LoadFile(*fromFile, kExample));
    ASSERT_TRUE(fromBuffer->LoadFromBuffer(kExample.data()));
    for (CBinaryDocument* document : {fromFile.get(), fromBuffer.get()}) {
        EXPECT_EQ(Saved(*document), kExample);  // no node made yet
        EXPECT_EQ(RootNotation(document), "a[x=1]('hi')");
        EXPECT_EQ(Saved(*document), kExample);
        document->SetModified(true);
        EXPECT_EQ(Saved(*document), kExample);  // rebuilt
    }
}

TEST_F(Layout, EveryPrefixFailsAndKeepsTheFormerTree) {
    for (std::size_t size = 0; size < kExample.size(); ++size) {
        const DocumentPtr document = NewDocument();
        ASSERT_TRUE(LoadFile(*document, CBytes().Words({u"former"}).Element(0, 0)));
        EXPECT_FALSE(
            LoadFile(*document, Bytes(kExample.begin(), kExample.begin() + static_cast<std::ptrdiff_t>(size))));
        const std::uint32_t wordsRead = size < 10 ? 0 : size < 16 ? 1 : size < 22 ? 2 : size < 30 ? 3 : 4;
        EXPECT_EQ(document->Words().GetWordCount(), wordsRead) << size << " bytes";
        EXPECT_EQ(RootNotation(document.get()), wordsRead > 0 ? "a" : "") << size << " bytes";
    }
}

// Odd records are among those of the random edits and of the fuzzers; these are odd words and the ends of a file.
TEST_F(Layout, ReadsWhatIsOddAndWritesItEven) {
    struct Row {
        const char* what;
        Bytes bytes;
        std::string notation;
        Bytes saved;
    };
    const std::u16string z(33, u'z');
    const Bytes emptyRoot = CBytes().Words({}).Element(0, 0);
    const Row rows[] = {
        {"no words", emptyRoot, "", emptyRoot},
        {"bytes behind the tree", CBytes().Words({u"a"}).Element(0, 0).Raw({9, 9, 9}), "a",
         CBytes().Words({u"a"}).Element(0, 0)},
        {"a zero in a word ends it", CBytes().Words({{u'a', 0, u'b'}, u"c"}).Element(0, 1).TextNode(1), "a('c')",
         CBytes().Words({u"a", u"c"}).Element(0, 1).TextNode(1)},
        {"odd last word", CBytes().Number(1).Number(3).Raw({0x41, 0}).Element(0, 0), "A\x01",
         CBytes().Words({u"A\x01"}).Element(0, 0)},
        // The second length field, 42 00 00 00, begins with the third byte of the first word.
        {"odd first word",
         CBytes().Number(3).Number(3).Raw({0x41, 0}).Word(z).Word(u"q").Element(0, 2).TextNode(1).TextNode(2),
         "AB('" + std::string(33, 'z') + "' 'q')",
         CBytes().Words({u"AB", z, u"q"}).Element(0, 2).TextNode(1).TextNode(2)},
        {"unknown child: it and those behind it have no record",
         CBytes().Words({u"a"}).Element(0, 4).Element(0, 2).TextNode(0).Raw({9, 9, 9, 9}), "a(a('a' *) * * *)",
         CBytes().Words({u"a"}).Element(0, 1).Element(0, 1).TextNode(0)},
    };
    for (const Row& row : rows) {
        for (const bool isFile : {true, false}) {
            const DocumentPtr document = NewDocument();
            ASSERT_TRUE(isFile ? LoadFile(*document, row.bytes) : document->LoadFromBuffer(row.bytes.data()))
                << row.what;
            EXPECT_EQ(Saved(*document), row.saved) << row.what;
            EXPECT_EQ(RootNotation(document.get()), row.notation) << row.what;
            EXPECT_EQ(Saved(*document), row.saved) << row.what;
        }
    }
}

// A file is read and checked a quarter of a megabyte at a time: the first word grows until every kind of place has been
// the end of such a piece.
TEST_F(Layout, FilesOfManyPiecesLoadAsTheyDoInOne) {
    std::vector<std::u16string> words = {u"", u"x", u"1"};
    for (int i = 0; i < 12'000; ++i) words.push_back(std::u16string(static_cast<std::size_t>(i % 40), u'w'));
    for (std::size_t shift = 0; shift < 40; ++shift) {
        words[0] = std::u16string(shift, u'a');
        CBytes parts;
        parts.Words(words).Element(0, 9'000);
        for (std::uint32_t i = 0; i < 3'000; ++i) {
            parts.Element(1, 2, {1, 2, 3 + i, 2}).TextNode(2 + i, 4).Element(3 + i, 0);
            parts.Element(1, 1).TextNode(3 + i).Element(1, 1, {1, 2 + i}).Element(1, 0);
        }
        const Bytes& bytes = parts;
        const DocumentPtr fromFile = NewDocument();
        const DocumentPtr fromBuffer = LoadedDocument(bytes);
        ASSERT_TRUE(LoadFile(*fromFile, bytes)) << shift;
        IBinDocument* other = fromBuffer.get();
        EXPECT_TRUE(fromFile->IsEqual(&other)) << shift;
        EXPECT_EQ(fromFile->Words().GetWordCount(), words.size());
        EXPECT_EQ(Saved(*fromFile), bytes) << shift;
        for (const std::size_t size : {bytes.size() - 1, bytes.size() / (shift + 2), std::size_t{262'144} - shift}) {
            EXPECT_FALSE(LoadFile(*fromFile, Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size))));
        }
    }
}

// An element whose only child is a text has no span, even where a piece ends between the two: who makes children counts
// on that.
TEST_F(Layout, PieceEndsMakeNoSpans) {
    constexpr std::size_t kPieceBytes = CIncomingBytes::kPieceBytes, kAttrs = 14;
    for (std::size_t gap = 0; gap < 5; ++gap) {
        const std::size_t rest =
            4 + 4 + 4 + 2 + 2 * kElementBytes + kAttrs * kAttrEntryBytes;  // but for the first word
        const std::size_t textCount = (kPieceBytes - gap - rest) % 2;      // words have an even number of bytes
        const std::size_t wordBytes = kPieceBytes - gap - rest - textCount * kTextBytes;
        CBytes parts;
        parts.Words({std::u16string(wordBytes / 2, u'w'), u"x"}).Element(1, 1 + static_cast<int>(textCount));
        if (textCount > 0) parts.TextNode(1);
        parts.Element(1, 1, std::vector<std::uint32_t>(2 * kAttrs, 1));
        ASSERT_EQ(static_cast<const Bytes&>(parts).size(), kPieceBytes - gap);
        const DocumentPtr document = NewDocument();
        ASSERT_TRUE(LoadFile(*document, parts.TextNode(1)));
        EXPECT_EQ(document->Tree().spans.Size(), 1u) << gap;  // the root's
    }
}

TEST_F(Layout, UnknownRecordsAreToldToTheDebugger) {
    static std::vector<std::u16string> told;
    const TextHandler former =
        SetDebugOutputHandler([](const WCHAR* text) { told.emplace_back(text, text + TextLength(text)); });
    const DocumentPtr document = NewDocument();
    EXPECT_TRUE(LoadFile(*document, CBytes().Words({u"a"}).Element(0, 3).TextNode(0).Raw({9, 9})));
    EXPECT_TRUE(LoadFile(*document, CBytes().Words({u"a"}).Raw({9})));  // a root of unknown type is not told
    EXPECT_NE(SetDebugOutputHandler(former), nullptr);
    EXPECT_EQ(told, std::vector<std::u16string>(2, u"解析文档节点出现异常！"));
}

TEST_F(Layout, LimitsAreExact) {
    struct Row {
        const char* what;
        Bytes head;
        std::size_t zeros;
        bool loads;
    };
    const Bytes root = CBytes().Element(0, 0);
    const Row rows[] = {
        {"a million words", CBytes().Number(kMostWords), std::size_t{kMostWords} * 4, true},
        {"one word more", CBytes().Number(kMostWords + 1), (std::size_t{kMostWords} + 1) * 4, false},
        {"a word of 1,024,000 bytes", CBytes().Number(1).Number(kMostWordBytes), kMostWordBytes, true},
        {"a word of 1,024,001 bytes", CBytes().Number(1).Number(kMostWordBytes + 1), kMostWordBytes + 1, false},
        {"a word of -1 bytes", CBytes().Number(1).Number(kNoWord), 16, false},
    };
    for (const Row& row : rows) {
        Bytes bytes = row.head;
        bytes.insert(bytes.end(), row.zeros, 0);
        bytes.insert(bytes.end(), root.begin(), root.end());
        const DocumentPtr document = NewDocument();
        EXPECT_EQ(LoadFile(*document, bytes), row.loads) << row.what;
        const DocumentPtr other = NewDocument();
        EXPECT_EQ(other->LoadFromBuffer(bytes.data()), row.loads) << row.what;
    }
}

TEST_F(Layout, LastFileSizeLimitsTheWordBytesOfABuffer) {
    const DocumentPtr document = NewDocument();
    const Bytes file = CBytes().Words({}).Element(0, 0).Raw({9});
    ASSERT_EQ(file.size(), 22u);
    ASSERT_TRUE(LoadFile(*document, file));
    const auto buffer = [](std::size_t units) {
        return Bytes(CBytes().Words({std::u16string(10, u'a'), std::u16string(units, u'b')}).Element(0, 0));
    };
    EXPECT_FALSE(document->LoadFromBuffer(buffer(2).data()));
    EXPECT_EQ(document->Words().GetWordCount(), 1u);
    EXPECT_TRUE(document->LoadFromBuffer(buffer(1).data()));
    EXPECT_FALSE(document->LoadFromBuffer(nullptr));
}

TEST_F(Layout, PathsThatCannotBeReadOrWritten) {
    const DocumentPtr document = NewDocument();
    ASSERT_TRUE(LoadFile(*document, kExample));
    const Text folder = m_folder.Path("");
    const Text missing = m_folder.Path("missing");
    Text lone = m_folder.Path("in");
    lone += static_cast<WCHAR>(0xD800);
    const Text empty;
    for (const WCHAR* path : {folder.c_str(), lone.c_str(), empty.c_str(), static_cast<const WCHAR*>(nullptr)}) {
        EXPECT_FALSE(document->LoadFromFile(path));
        EXPECT_FALSE(document->SaveToFile(path));
    }
    EXPECT_EQ(RootNotation(document.get()), "[(null)=(null)]('')");
    EXPECT_FALSE(document->LoadFromFile(missing.c_str()));
    EXPECT_TRUE(document->Save());  // to the path that a failed load has remembered
    EXPECT_TRUE(std::filesystem::exists(m_folder.File("missing")));
}

TEST_F(Layout, ReadsPathsOfAnyLengthAndRemembersShortOnes) {
    const DocumentPtr document = NewDocument();
    std::filesystem::path deep = m_folder.File("deep");
    while (deep.u16string().size() < 400) deep /= "abcdefghijklmnopqrstuvwxyz";
    std::filesystem::create_directories(deep.parent_path());
    WriteBytes(deep, kExample);
    EXPECT_TRUE(document->LoadFromFile(CTestFolder::Wide(deep.u16string()).c_str()));
    EXPECT_FALSE(document->Save());
    ASSERT_TRUE(LoadFile(*document, kExample));
    EXPECT_TRUE(document->Save());
}

TEST(AttrTable, SortsAsUnsignedUnitsAndKeepsEqualNamesInOrder) {
    CWordDict words;
    const std::u16string names[] = {u"b", u"\xFFFF", u"", u"B", u"ab", u"\xD800", u"a", u"aa", u"a"};
    for (const std::u16string& name : names) words.AppendWord(CTestFolder::Wide(name));
    std::mt19937 random(3);
    for (const std::size_t count : {0u, 1u, 5u, 12u, 13u, 200u}) {
        Bytes entries(count * kAttrEntryBytes);
        for (std::size_t i = 0; i < count; ++i) {
            WriteU32(entries.data() + 8 * i, static_cast<std::uint32_t>(random() % std::size(names)));
            WriteU32(entries.data() + 8 * i + 4, static_cast<std::uint32_t>(i));
        }
        SortAttrPairs(entries.data(), count, words);
        for (std::size_t i = 1; i < count; ++i) {
            const unsigned char* entry = entries.data() + 8 * i;
            const std::u16string& before = names[ReadU32(entry - 8)];
            const std::u16string& name = names[ReadU32(entry)];
            EXPECT_TRUE(before < name || (before == name && ReadU32(entry - 4) < ReadU32(entry + 4)));
        }
    }
}
