// XML that hates us: small files that unfold to large trees, and large ones of odd shapes. Each must end soon, in
// little memory and without a deep stack.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "convert/trans_xml2bin.h"
#include "dom_tree.h"
#include "linux/small_stack.h"
#include "model/document.h"
#include "model/layout.h"
#include "xml/msxml_helper.h"

namespace {

std::string Repeated(int count, const std::function<std::string(const std::string&)>& part) {
    std::string all;
    for (int i = 0; i < count; ++i) all += part(std::to_string(i));
    return all;
}

std::string Repeated(int count, const std::string& part) {
    return Repeated(count, [&](const std::string&) { return part; });
}

struct Cost {
    bool hasEnded = false;
    bool isLoaded = false;
    long megabytes = 0;
};

class XmlHostile : public XmlTest {
protected:
    // Of loading or converting, whichever costs more.
    Cost CostOf(const std::string& xml) const {
        const Text path = Write(xml), out = m_folder.Path("out");
        const Cost load = CostOf([&] { return MSXMLHelper::LoadXmlDocument(path.c_str()) != nullptr; });
        const Cost convert = CostOf([&] { return TransformXmlToBinary(path.c_str(), out.c_str()); });
        EXPECT_EQ(convert.isLoaded, load.isLoaded);
        return {load.hasEnded && convert.hasEnded, load.isLoaded, std::max(load.megabytes, convert.megabytes)};
    }

    // In a process of its own, which gets so much processor time.
    static Cost CostOf(const std::function<bool()>& job) {
        constexpr rlim_t kMostSeconds = 10;
        const pid_t child = fork();
        if (child == 0) {
            const rlimit limit = {kMostSeconds, kMostSeconds};
            setrlimit(RLIMIT_CPU, &limit);
            rusage before = {}, after = {};
            getrusage(RUSAGE_SELF, &before);
            const bool isLoaded = job();
            getrusage(RUSAGE_SELF, &after);
            const long megabytes = std::min((after.ru_maxrss - before.ru_maxrss) / 1024, 127L * 8);
            _exit(static_cast<int>(megabytes / 8 * 2 + isLoaded));
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        const int code = WEXITSTATUS(status);
        return {WIFEXITED(status), code % 2 == 1, code / 2 * 8};
    }
};

TEST_F(XmlHostile, SmallFilesDoNotUnfold) {
    // Each of so many entities stands for ten of the one before.
    const auto declared = [](int levels, const std::string& kind, const std::string& reference, int times) {
        return Repeated(levels, [&](const std::string& i) {
            return "<!ENTITY " + kind + "e" + std::to_string(std::stoi(i) + 1) + " \"" +
                   Repeated(times, reference + "e" + i + ";") + "\">";
        });
    };
    const auto laughs = [&](const std::string& first, int levels, const std::string& end) {
        return "<!DOCTYPE a [<!ENTITY e0 \"" + first + "\">" + declared(levels, "", "&", 10) + "]>" + end;
    };
    const auto numbered = [](int count, const std::string& before, const std::string& after) {
        return Repeated(count, [&](const std::string& i) { return before + i + after; });
    };
    const std::string filler(100'000, 'x');
    const struct {
        const char* name;
        std::string xml;
        bool isLoaded;
    } rows[] = {
        {"a billion texts", laughs("lol", 9, "<a>&e9;</a>"), false},
        {"a billion texts in a value", laughs("lol", 9, "<a b='&e9;'/>"), false},
        {"a billion elements", laughs("<b/>", 9, "<a>&e9;</a>"), false},
        {"a billion comments", laughs("<!---->", 9, "<a>&e9;</a>"), false},
        {"a billion nothings", laughs("", 9, "<a>&e9;</a>"), false},
        {"a billion declarations",
         "<!DOCTYPE a [<!ENTITY % e0 \"<!ATTLIST a b CDATA ''>\">" + declared(9, "% ", "&#37;", 10) + "%e9;]><a/>",
         false},
        {"one long entity, often", "<!DOCTYPE a [<!ENTITY e '" + filler + "'>]><a>" + Repeated(25'000, "&e;") + "</a>",
         false},
        {"one long entity, often in a value",
         "<!DOCTYPE a [<!ENTITY e '" + Repeated(40, filler) + "'>]><a b='" + Repeated(90, "&e;") + "'/>", false},
        {"one long default value",
         "<!DOCTYPE a [<!ATTLIST b c CDATA '" + filler + "'>]><a>" + Repeated(25'000, "<b/>") + "</a>", false},
        {"many default values",
         "<!DOCTYPE a [<!ATTLIST b " + numbered(900, "c", " CDATA '' ") + ">]><a>" + Repeated(25'000, "<b/>") + "</a>",
         false},
        {"more default values", "<!DOCTYPE a [<!ATTLIST a " + numbered(200'000, "c", " CDATA '' ") + ">]><a/>", false},
        {"many declared attributes",
         "<!DOCTYPE a [<!ATTLIST b " + numbered(100'000, "c", " CDATA #IMPLIED ") + ">]><a>" +
             Repeated(100'000, "<b/>") + "</a>",
         false},
        {"many entities, many external references",
         "<!DOCTYPE a [<!ENTITY x SYSTEM 'x'>" + numbered(100'000, "<!ENTITY e", " ''>") + "]><a>" +
             Repeated(100'000, "&x;") + "</a>",
         true},
        {"an entity in an entity in an entity",
         "<!DOCTYPE a [<!ENTITY e0 ''>" + declared(20'000, "", "&", 1) + "]><a>&e20000;</a>", false},
        {"what people may write", laughs("lol", 4, "<a b='&e4;'>&e4;</a>"), true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Cost cost = CostOf(row.xml);
        EXPECT_TRUE(cost.hasEnded);
        EXPECT_EQ(cost.isLoaded, row.isLoaded);
        EXPECT_LT(cost.megabytes, 160);
    }
}

TEST_F(XmlHostile, ADeviceWithoutEndIsNoXml) {
    EXPECT_FALSE(TransformXmlToBinary(WTEXT("/dev/zero"), m_folder.Path("out").c_str()));
}

TEST_F(XmlHostile, AMillionLevelsConvertOnASmallStack) {
    constexpr int kLevels = 1'000'000;
    const Text in = Write(Repeated(kLevels, "<a>") + "x" + Repeated(kLevels, "</a>"));
    const Text out = m_folder.Path("out");
    RunOnSmallStack([&] {
        for (const int lower : {0, 1}) {
            g_lower = lower;
            EXPECT_TRUE(TransformXmlToBinary(in.c_str(), out.c_str()));
        }
        g_lower = 0;
    });
    EXPECT_EQ(ReadBytes(m_folder.File("out")).size(), 16 + kElementBytes * kLevels + kTextBytes);
    const Text open = Write(Repeated(kLevels, "<a>"));
    RunOnSmallStack([&] { EXPECT_FALSE(TransformXmlToBinary(open.c_str(), out.c_str())); });
}

TEST_F(XmlHostile, ManyAttributesOfOneElementConvertSoon) {
    constexpr int kAttrs = 100'000;
    const std::string xml =
        "<a " + Repeated(kAttrs, [](const std::string& i) { return "x" + i + "='" + i + "' "; }) + "/>";
    EXPECT_TRUE(CostOf(xml).isLoaded);
    const auto bytes = Converted(xml);
    WriteBytes(m_folder.File("many"), bytes);
    const auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
    ASSERT_TRUE(document->LoadFromFile(m_folder.Path("many").c_str()));
    CComRef<IBinNode> root;
    document->GetRoot(root.Out());
    EXPECT_EQ(root->GetAttrCount(), kAttrs);
    EXPECT_EQ(Text(root->GetAttribute(WTEXT("x77777"))), WTEXT("77777"));
}

}  // namespace
