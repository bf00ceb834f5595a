#include <random>
#include <string>
#include <vector>

#include "convert/step_recorder.h"
#include "convert/xml_words.h"
#include "dom_tree.h"
#include "steps_twin.h"
#include "xml/msxml_helper.h"

namespace {

struct Outcome {
    bool isLoaded = false;
    std::vector<Text> words;
    std::vector<unsigned char> records;

    Outcome(bool loaded, const CWordDict& dictionary, const RecordBytes& bytes) : isLoaded(loaded) {
        for (std::uint32_t i = 0; i < dictionary.GetWordCount(); ++i) words.emplace_back(dictionary.GetWordView(i));
        records.assign(bytes.begin(), bytes.end());
    }
    bool operator==(const Outcome&) const = default;
};

Outcome ByTree(const Text& path) {
    CWordDict words;
    RecordBytes records;
    const auto document = CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::LoadXmlDocument(path.c_str()));
    CComRef<IXMLDOMElement> root;
    if (document) CheckCom(document->get_documentElement(root.Out()));
    if (document && g_lower != 0) CollectXmlWords(root.Get(), words);
    if (document) WriteXmlNode(root.Get(), words, records);
    return {static_cast<bool>(document), words, records};
}

Outcome BySteps(const Text& path) {
    CWordDict words;
    RecordBytes records;
    CStepRecorder recorder(words, records);
    const auto document = CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::LoadXmlSteps(path.c_str(), recorder));
    if (!document) return {false, CWordDict(), RecordBytes()};
    CComRef<IXMLDOMElement> root;
    recorder.Finish();
    EXPECT_EQ(document->get_documentElement(root.Out()), S_FALSE) << "a tree that nobody needs";
    return {true, words, records};
}

}  // namespace

::testing::AssertionResult StepsDoAsTheTree(const Text& path) {
    for (const int lower : {1, 0}) {
        g_lower = lower;
        const Outcome tree = ByTree(path), steps = BySteps(path);
        g_lower = 0;
        if (steps == tree) continue;
        return ::testing::AssertionFailure()
               << "lower " << lower << ": " << (steps.isLoaded ? "loaded" : "refused") << ", " << steps.words.size()
               << " words, " << steps.records.size() << " bytes of records; the tree "
               << (tree.isLoaded ? "loaded" : "refused") << ", " << tree.words.size() << " words, "
               << tree.records.size() << " bytes";
    }
    return ::testing::AssertionSuccess();
}

namespace {

class ConvertSteps : public XmlTest {};

TEST_F(ConvertSteps, OddDocumentsComeOutAsTheWalkOverTheTreeMakesThem) {
    const std::string longText(300'000, 'x');
    const std::string rows[] = {
        "<a/>",
        "<a b='' c='a' a='b'/>",
        "<a><![CDATA[]]><![CDATA[x]]>x<!--y-->z<?p q?>&#13;</a>",
        "<!DOCTYPE a [<!ATTLIST a z CDATA '1' b CDATA '2'><!ENTITY e 'x<b c=\"d\">y</b>'><!ENTITY f SYSTEM 'f'>]>"
        "<a b='3'>&e;&f;&e;&g;</a>",
        "<?p?><!--c--><p:a xmlns:p='u' xml:space='preserve'> <p:b> </p:b></p:a><!--c--> <?p?>",
        "<a>" + longText + "<b c='" + longText + "' d='" + longText + "y'/><!--" + longText + "-->" + longText + "</a>",
        "<r><Item/><x a='Item'/></r>",
        "<r><Item/><x>Item</x><Item/></r>",
        "<r><Item/><ITEM/><x>ITEM</x><Item/><item/><ITEM>Item</ITEM></r>",
        "<Item KEY='1' key='2' b='Key' Key='4' B='5'>item<key/>Key</Item>",
        "<a><b></a>",
        "<a>" + longText + "<b>",
        "",
    };
    for (const std::string& xml : rows) EXPECT_TRUE(StepsDoAsTheTree(Write(xml))) << xml.substr(0, 200);
}

// So many steps that every kind comes to stand last among those that are handed over together.
TEST_F(ConvertSteps, ManyStepsComeOutAsTheWalkOverTheTreeMakesThem) {
    std::mt19937 random(3);
    const auto name = [&] { return (random() % 2 ? "n" : "N") + std::to_string(random() % 500); };
    const auto text = [&] {
        if (random() % 4 == 0) return name();
        return std::string(random() % 50 == 0 ? random() % 20'000 : random() % 9,
                           static_cast<char>('a' + random() % 3));
    };
    for (int round = 0; round < 20; ++round) {
        std::string xml = "<r>";
        std::vector<std::string> open;
        for (int i = 0; i < 2000; ++i) {
            switch (random() % 6) {
                case 0:
                    xml += "<![CDATA[" + text() + "]]>";
                    break;
                case 1:
                    xml += "<!--" + text() + "-->";
                    break;
                case 2:
                    xml += text();
                    break;
                case 3:
                    if (open.empty()) break;
                    xml += "</" + open.back() + ">";
                    open.pop_back();
                    break;
                default:
                    open.push_back(name());
                    xml += "<" + open.back();
                    for (auto left = random() % 20; left > 0; left /= 2) {
                        xml += " a" + std::to_string(left) + name() + "='" + text() + "'";
                    }
                    xml += ">";
                    break;
            }
        }
        for (; !open.empty(); open.pop_back()) xml += "</" + open.back() + ">";
        ASSERT_TRUE(StepsDoAsTheTree(Write(xml + "</r>"))) << round;
    }
}

}  // namespace
