// The command-line tool, from outside: what a person types, what comes back.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/text_length.h"
#include "test_files.h"

namespace {

constexpr const char* kMenuXml =
    "<?xml version='1.0'?>\n<!-- today -->\n<menu lang='en'>\n <dish price='3'>Soup</dish>\n"
    " <dish price='7' hot=''>Pie<![CDATA[ <big>\n]]></dish>\n <rest><a><b/></a><c/></rest>\n</menu>\n";
constexpr const char* kMenuTree =
    "menu lang=\"en\"\n"
    "  dish price=\"3\": \"Soup\"\n"
    "  dish hot=\"\" price=\"7\"\n"
    "    \"Pie\"\n"
    "    [CDATA] \" <big>\\n\"\n"
    "  rest\n"
    "    a\n"
    "      b\n"
    "    c\n";

struct Outcome {
    int code = -1;
    std::string output;
    std::string errors;
};

class Tool : public ::testing::Test {
protected:
    void SetUp() override { WriteBytes(m_folder.File("menu.xml"), std::string(kMenuXml)); }

    // Runs a line of shell with `parvel` in the path, in this test's folder.
    Outcome Run(const std::string& line) const {
        const std::string folder = m_folder.File("").string();
        const std::string command = "cd '" + folder + "' && { PATH=" + PARVEL_TOOL_FOLDER + ":$PATH; " + line +
                                    "\n} >.output 2>.errors </dev/null";
        const int status = std::system(command.c_str());
        Outcome outcome;
        outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        outcome.output = ReadText(m_folder.File(".output"));
        outcome.errors = ReadText(m_folder.File(".errors"));
        return outcome;
    }

    void Write(const char* name, const std::string& bytes) const { WriteBytes(m_folder.File(name), bytes); }

    // A row of a table: every piece must be found in what comes back. A failure speaks in one line on standard error.
    struct Row {
        const char* line;
        int code;
        const char* output;  // what must stand in standard output; null: it must be empty
        const char* errors;  // the same of standard error
    };
    template <std::size_t count>
    void Check(const Row (&rows)[count]) const {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.line);
            const Outcome outcome = Run(row.line);
            EXPECT_EQ(outcome.code, row.code);
            CheckText(outcome.output, row.output);
            CheckText(outcome.errors, row.errors);
            if (row.code != 0) {
                EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
            }
        }
    }
    static void CheckText(const std::string& text, const char* expected) {
        if (expected) {
            EXPECT_NE(text.find(expected), std::string::npos) << "got: " << text << "\nwanted: " << expected;
        } else {
            EXPECT_EQ(text, "");
        }
    }

    CTestFolder m_folder;
};

TEST_F(Tool, ShowsExactly) {
    using namespace std::string_literals;
    const std::string exported =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<menu lang=\"en\">\r\n\t<dish "
        "price=\"3\">Soup</dish>\r\n\t<dish "
        "hot=\"\" price=\"7\"> &lt;big&gt;\n</dish>\r\n\t<rest>\r\n\t\t<a>\r\n\t\t\t<b/>\r\n\t\t</a>\r\n\t\t<c/>\r\n\t"
        "</rest>\r\n</menu>";
    const std::string v(201, 'v'), x(100, 'x'), y(150, 'y');
    Write("größe\x01 1.xml", kMenuXml);
    Write("long.xml", "<a><b x='" + v + "'/>" + x + "𝄞" + y + "</a>");
    Write("odd.xml", "<a b='&#9;&quot;\\'>\xE2\x80\xAE\xC2\x9B[2J\x7F\xE2\x80\x8B&#13;\n</a>");
    // A document need not come from XML: names 'x y', '' and ESC, a half surrogate pair, a record of no known type.
    Write("names.bdoc", "\x04\0\0\0"s + "\x06\0\0\0x\0 \0y\0"s + "\0\0\0\0"s + "\x02\0\0\0\x1B\0"s +
                            "\x02\0\0\0\0\xD8"s +
                            "\x01\0\0\0\0\xFF\xFF\xFF\xFF\x01\0\0\0\x03\0\0\0\x01\0\0\0\x03\0\0\0"s +
                            "\x01\x02\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0\0\0\0\0"s + "\x04\x63\0\0\0"s + "\x09"s);
    Write("lines", "first\r\n\n(\u00E4)\n");
    Write("wide", std::string("\xFF\xFE\xE4\0\0\xD8", 6));
    Write("wide-swapped", std::string("\xFE\xFF\0\xE4", 4));
    Write("marked", "\xEF\xBB\xBF\u00E4");
    const struct {
        std::string line;
        std::string output;
    } rows[] = {
        // Files, pipes and streams.
        {"parvel convert menu.xml menu.bdoc && parvel show menu.bdoc", kMenuTree},
        {"parvel convert menu.xml - | parvel show -", kMenuTree},
        {"parvel convert - - <menu.xml | parvel show -", kMenuTree},
        {"cat menu.xml | parvel convert - x.bdoc && parvel show - <x.bdoc", kMenuTree},
        {"parvel convert /dev/stdin x.bdoc <menu.xml && parvel show x.bdoc", kMenuTree},
        {"mkfifo pipe && (cat menu.xml >pipe &) && parvel convert pipe x.bdoc && parvel show x.bdoc", kMenuTree},
        {"mkfifo back && (parvel convert menu.xml back &) && parvel show back", kMenuTree},
        {"parvel convert größe*.xml größe.bdoc && parvel show größe.bdoc", kMenuTree},
        {"ln -s menu.xml link.xml && parvel convert link.xml x.bdoc && parvel show x.bdoc", kMenuTree},
        {"parvel convert -- menu.xml -x.bdoc && parvel show -- -x.bdoc", kMenuTree},
        {"(trap '' PIPE; parvel convert menu.xml -) | parvel show -", kMenuTree},
        {"parvel export menu.bdoc x.xml && cat x.xml", exported},
        {"parvel export menu.bdoc x.xml && cat x.xml", exported},
        {"parvel convert menu.xml - | parvel export - -", exported},
        // Depth.
        {"parvel show --depth 1 menu.bdoc", "menu lang=\"en\" … 3 children\n"},
        {"parvel show menu.bdoc --depth 2",
         "menu lang=\"en\"\n  dish price=\"3\": \"Soup\"\n  dish hot=\"\" price=\"7\" … 2 children\n"
         "  rest … 2 children\n"},
        {"parvel show --depth=3 menu.bdoc | tail -n 2", "    a … 1 child\n    c\n"},
        {"parvel show --depth 4 menu.bdoc", kMenuTree},
        // Long texts are cut unless asked for.
        {"parvel convert long.xml long.bdoc && parvel show long.bdoc",
         "a\n  b x=\"" + v.substr(1) + "\"… +1 characters\n  \"" + x + "𝄞" + y.substr(0, 99) + "\"… +51 characters\n"},
        {"parvel show --full long.bdoc", "a\n  b x=\"" + v + "\"\n  \"" + x + "𝄞" + y + "\"\n"},
        // What a terminal must not get.
        {"parvel convert odd.xml odd.bdoc && parvel show odd.bdoc",
         "a b=\"\\t\\\"\\\\\": \"\\u{202E}\\u{9B}[2J\\u{7F}\\u{200B}\\r\\n\"\n"},
        {"parvel show names.bdoc",
         "\"x y\" \"\"=\"\\u{D800}\"\n  \"\\u{1B}\"\n  [CDATA] \"\"\n  (unreadable record)\n"},
        // Results with their types.
        {"parvel result ''", "word \"\"\n"},
        {"parvel result '((1 (2 3)) 4)'",
         "list of 2 items\n  list of 2 items\n    integer 1\n    list of 0 items\n  integer \" 4\"\n"},
        {"parvel result '(1 -2.50 ab \"c\\n\\\" d\" \"5\")'",
         "list of 5 items\n  integer 1\n  number -2.50 = -2.5\n  word ab\n  string \"c\\n\\\" d\"\n  string \"5\"\n"},
        {"parvel result '(+07 2147483648 0x1P-1 1e999 -INF 1x - 5\t)'",
         "list of 8 items\n  integer +07 = 7\n  number 2147483648\n  number 0x1P-1 = 0.5\n  number 1e999 = inf\n"
         "  number -INF = -inf\n  word 1x\n  word -\n  word \"5\\t\"\n"},
        {"parvel result --depth 1 '(1 2)'", "list of 2 items …\n"},
        {"parvel result '((1) 2)' --depth 2", "list of 2 items\n  list of 1 item …\n  integer 2\n"},
        {"parvel result --full \"$(printf %201d 0)\" | tail -c 4", " 0\"\n"},
        {"parvel result \"$(printf '=%0201d' 0)\" | tail -c 19", "\"… +2 characters\n"},
        {"parvel result -5", "integer -5\n"},
        {"parvel result -- --5", "word --5\n"},
        {"parvel result convert", "word convert\n"},
        {"parvel result \"$(printf '\\033\\342\\200\\256')\"", "word \"\\u{1B}\\u{202E}\"\n"},
        {"parvel result - <lines", "list of 1 item\n  word ä\n"},
        {"parvel result - <wide", "word \"ä\\u{D800}\"\n"},
        {"parvel result - <wide-swapped", "word ä\n"},
        {"parvel result - <marked", "word ä\n"},
        {"parvel result - </dev/null", "word \"\"\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const Outcome outcome = Run(row.line);
        EXPECT_EQ(outcome.output, row.output);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.code, 0);
    }
}

TEST_F(Tool, LeavesNothingBehind) {
    const Outcome outcome = Run(
        "mkdir tmp; export TMPDIR=$PWD/tmp; parvel convert - - <menu.xml | parvel show - >shown; echo '<a' | parvel "
        "convert - -; echo '<a' | parvel convert - x.bdoc; cp menu.xml y.bdoc; echo '<a' | parvel convert - y.bdoc; "
        "cmp menu.xml y.bdoc && rm .errors .output && find . -type f | sort");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(Run("find . -type f | sort").output, "./.errors\n./.output\n./menu.xml\n./shown\n./y.bdoc\n");
}

TEST_F(Tool, ShowsResultsThatNestDeeperThanAnyStackAndSaysWhereItStops) {
    const auto nested = [](std::size_t levels) {
        std::string text;
        for (std::size_t i = 0; i < levels; ++i) text += "'(";
        return text + std::string(levels, ')');
    };
    Write("deep", nested(20'000));
    Write("long", "(" + std::string(20'000'000, 'x') + " " + nested(2'500) + ")");
    const Row rows[] = {
        {"(ulimit -s 256; parvel result - <deep) | tail -n 1", 0, "[level 20000] list of 0 items\n", nullptr},
        {"parvel result - <long", 2, "[level 1999] list of 1 item …\n", "ended at level 1999; --depth"},
        {"parvel result --depth 1500 - <long", 0, "[level 1500] list of 1 item …\n", nullptr},
    };
    Check(rows);
}

TEST_F(Tool, TellsWhereAndWhatIsWrong) {
    Write("open.xml", "<a>\n  <b>\n</a>\n");
    Write("empty.xml", "");
    Write("charset.xml", "<?xml version='1.0' encoding='klingon'?><a/>");
    Write("gbk.xml", "<?xml version='1.0' encoding='gbk'?><a>\xD6\xD0</a>");
    Write("binary.xml", std::string("\0\1\2\3", 4));
    Write("xml.bdoc", "\xEF\xBB\xBF <a/>");
    Write("short.bdoc", std::string("\1\0\0\0\4\0\0\0a\0", 10));
    Write("three.bdoc", "abc");
    Write("empty.bdoc", "");
    Write("many.bdoc", std::string("\x41\x42\x0F\0", 4));
    Write("big.bdoc", std::string("\1\0\0\0\x02\xA0\x0F\0a\0b\0", 12) + std::string(1024000, 'x'));
    Write("minus.bdoc", std::string("\1\0\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 12));
    Write("record.bdoc", std::string("\1\0\0\0\2\0\0\0a\0\1\0", 12));
    Run("parvel convert menu.xml menu.bdoc");
    const Row rows[] = {
        {"parvel convert open.xml x.bdoc", 2, nullptr, "open.xml:3:"},
        {"parvel convert - x.bdoc <open.xml", 2, nullptr, "standard input:3:"},
        {"parvel convert empty.xml x.bdoc", 2, nullptr, "empty.xml"},
        {"parvel convert charset.xml x.bdoc", 2, nullptr, "charset.xml"},
#ifndef PARVEL_IS_SANITIZED  // sanitizers need descriptors of their own
        {"exec 3>&- 4>&-; ulimit -n 5; parvel convert gbk.xml x.bdoc", 2, nullptr,
         "gbk.xml: this system cannot convert from"},
#endif
        {"parvel convert binary.xml x.bdoc", 2, nullptr, "binary.xml:1:1: "},
        {"parvel convert none.xml x.bdoc", 3, nullptr, "none.xml: cannot open: No such file"},
        {"parvel convert /proc/self/mem x.bdoc", 2, nullptr, "cannot be read; check that it can be read"},
        {"parvel convert . x.bdoc", 3, nullptr, ".: cannot read: Is a directory"},
        {"parvel convert menu.xml none/x.bdoc", 3, nullptr, "none/x.bdoc: cannot open for writing: No such file"},
        {"parvel convert menu.xml .", 3, nullptr, ".: cannot open for writing: Is a directory"},
        {"parvel convert menu.xml /dev/full", 3, nullptr, "/dev/full: cannot write: No space left"},
        {"parvel convert menu.xml - >/dev/full", 3, nullptr, "standard output: cannot write: No space left"},
        {"said=$(ulimit -f 0; trap '' XFSZ; parvel convert menu.xml x.bdoc 2>&1); code=$?; echo \"$said\" >&2; exit "
         "$code",
         3, nullptr, "x.bdoc: could not be written"},
        {"TMPDIR=/none parvel convert menu.xml -", 3, nullptr, "set TMPDIR"},
        {"parvel convert - x.bdoc <&-", 3, nullptr, "standard input: cannot open"},
        {"parvel show none.bdoc", 3, nullptr, "none.bdoc: cannot open: No such file"},
        {"parvel show .", 3, nullptr, "Is a directory"},
        {"parvel convert menu.xml x.bdoc; parvel show x.bdoc >/dev/full", 3, nullptr, "standard output: cannot write"},
        {"parvel show xml.bdoc", 2, nullptr, "convert it first"},
        {"parvel show short.bdoc", 2, nullptr,
         "short.bdoc: byte 10: not a binary document: the file ends within word 0"},
        {"parvel show three.bdoc", 2, nullptr, "three.bdoc: byte 3: "},
        {"parvel show empty.bdoc", 2, nullptr, "the file is empty"},
        {"parvel show many.bdoc", 2, nullptr, "it has 1000001 words, more than the 1000000"},
        {"parvel show big.bdoc", 2, nullptr, "byte 4: not a binary document: word 0 has 1024002 bytes"},
        {"parvel show minus.bdoc", 2, nullptr, "word 0 has a length of -1 bytes"},
        {"parvel result \"$(printf 'ab\\377')\"", 2, nullptr, "the text: byte 2: not UTF-8; "},
        {"parvel result \"$(printf '\\377\\376a')\"", 2, nullptr, "the text: byte 0: not UTF-8; "},
        {"printf '\\342\\202' | parvel result -", 2, nullptr, "standard input: byte 0: not UTF-8; "},
        {"printf '\\377\\376a' | parvel result -", 2, nullptr, "byte 2: half a UTF-16 code unit"},
        {"printf '(a\\0)' | parvel result -", 2, nullptr, "standard input: character 2: a zero character"},
        {"parvel result - <&-", 3, nullptr, "standard input: cannot read"},
        {"parvel result x >/dev/full", 3, nullptr, "standard output: cannot write"},
        {"parvel show record.bdoc", 2, nullptr, "byte 10: not a binary document: the records behind its 1 words"},
        {"parvel export none.bdoc y.xml", 3, nullptr, "none.bdoc: cannot open"},
        {"parvel export menu.xml y.xml", 2, nullptr, "convert it first"},
        {"parvel export menu.bdoc none/y.xml", 3, nullptr, "none/y.xml: cannot open for writing: No such file"},
        {"parvel export menu.bdoc .", 3, nullptr, ".: cannot open for writing: Is a directory"},
        {"parvel export menu.bdoc /dev/full", 3, nullptr, "/dev/full: cannot write: No space left"},
        {"parvel export menu.bdoc menu.bdoc", 4, nullptr, "menu.bdoc: is the input as well"},
        {"parvel export menu.bdoc", 4, nullptr, "OUT.xml"},
        {"test -e y.xml || { echo gone >&2; exit 1; }", 1, nullptr, "gone"},
        // Wrong use.
        {"parvel", 4, nullptr, "parvel --help"},
        {"parvel frobnicate", 4, nullptr, "frobnicate"},
        {"parvel convert", 4, nullptr, "IN.xml"},
        {"parvel convert menu.xml", 4, nullptr, "OUT.bdoc"},
        {"parvel convert menu.xml a b", 4, nullptr, "parvel --help"},
        {"parvel convert --fast menu.xml a", 4, nullptr, "--fast"},
        {"parvel convert '' a", 4, nullptr, "empty"},
        {"parvel convert menu.xml menu.xml", 4, nullptr, "menu.xml: is the input as well"},
        {"ln menu.xml same.xml; parvel convert menu.xml same.xml", 4, nullptr, "same.xml: is the input as well"},
        {"parvel convert menu.xml \"$(printf 'x\\377')\"", 4, nullptr, "x\\xFF: the file name is not UTF-8"},
        {"parvel convert \"$(printf 'x\\377')\" x", 4, nullptr, "x\\xFF: the file name is not UTF-8"},
        {"parvel show --depth 0 x", 4, nullptr, "--depth"},
        {"parvel show --depth many x", 4, nullptr, "--depth"},
        {"parvel show --depth -1 x", 4, nullptr, "--depth"},
        {"parvel result --depth 0x0 x", 4, nullptr, "--depth"},
        {"parvel result", 4, nullptr, "TEXT"},
        {"parvel result a b", 4, nullptr, "parvel --help"},
        {"parvel result --depth 0 x", 4, nullptr, "--depth"},
        {"parvel show x y", 4, nullptr, "parvel --help"},
    };
    Check(rows);
    EXPECT_EQ(ReadText(m_folder.File("menu.xml")), kMenuXml);
}

TEST_F(Tool, HelpsAndTellsItsVersion) {
    const Row rows[] = {
        {"parvel --help", 0, "  5  internal fault\n", nullptr},
        {"parvel -h", 0, "convert", nullptr},
        {"parvel convert --help", 0, "OUT.bdoc", nullptr},
        {"parvel show --help", 0, "--depth", nullptr},
        {"parvel export --help", 0, "OUT.xml", nullptr},
        {"parvel result --help", 0, "standard input", nullptr},
        {"echo abc | parvel result -", 0, "word \"\"\n", "ends with a line feed"},
        {"parvel --version", 0, "parvel 1.", nullptr},
    };
    Check(rows);
}

TEST_F(Tool, RunsTheExamplesOfItsHelpAndManual) {
    const std::string manual = ReadText(std::filesystem::path(PARVEL_ROOT) / "docs/parvel.1");
    const std::string examples = manual.substr(manual.find(".SH EXAMPLES\n.nf\n"));
    std::istringstream lines(examples);
    int count = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("parvel ", 0) != 0) continue;
        while (line.find("\\-") != std::string::npos) line.replace(line.find("\\-"), 2, "-");
        const Outcome outcome = Run(line);
        EXPECT_EQ(outcome.code, 0) << line << '\n' << outcome.errors;
        EXPECT_NE(Run("parvel --help").output.find("  " + line + "\n"), std::string::npos) << line;
        ++count;
    }
    EXPECT_GE(count, 4);
}

TEST_F(Tool, NamesTheLimitThatTheReaderWouldRefuse) {
    std::ofstream words(m_folder.File("words.xml"));
    words << "<a>";
    for (int i = 0; i < 1000000; ++i) words << "<b>" << i << "</b>";
    words << "</a>";
    words.close();
    Write("word.xml", "<a><b/>start" + std::string(512000, 'x') + "</a>");
    const Row rows[] = {
        {"parvel convert words.xml x.bdoc", 2, nullptr, "it has 1000002 words"},
        {"parvel convert word.xml x.bdoc", 2, nullptr, "word 2 has 1024010 bytes, more than the 1024000"},
        {"parvel convert word.xml -", 2, nullptr, "it starts \"startxxxxxxx"},
        {"test -e x.bdoc || { echo gone >&2; exit 1; }", 1, nullptr, "gone"},
    };
    Check(rows);
}

TEST_F(Tool, ShowsAMillionLevelsAndStopsQuietly) {
    std::ofstream deep(m_folder.File("deep.xml"));
    for (int i = 0; i < 1000000; ++i) deep << "<d>";
    for (int i = 0; i < 1000000; ++i) deep << "</d>";
    deep.close();
    const Outcome outcome = Run("parvel convert deep.xml deep.bdoc && parvel show deep.bdoc | tail -n 1");
    EXPECT_EQ(outcome.output, std::string(80, ' ') + "[level 1000000] d\n") << outcome.errors;
    const Outcome stopped = Run("{ parvel show deep.bdoc; echo $? >code; } | head -n 1; cat code");
    EXPECT_EQ(stopped.output, "d\n0\n");
    EXPECT_EQ(stopped.errors, "");
}

}  // namespace
