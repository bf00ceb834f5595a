// What a loaded XML document holds: the load rules row by row.
#include <gtest/gtest.h>

#include <string>

#include "dom_tree.h"

namespace {

class XmlLoad : public XmlTest {};

TEST_F(XmlLoad, FollowsTheRules) {
    const std::string outside = m_folder.File("outside").string();
    WriteBytes(outside, std::string("<!ENTITY e 'outside'>"));
    const std::string system = "SYSTEM '" + outside + "'";
    const struct {
        const char* name;
        std::string xml;
        std::string tree;
    } rows[] = {
        // White space is dropped unless preserved.
        {"between elements", "<a> <b/>\t\r\n<c/> </a>", "<a><b></b><c></c></a>"},
        {"alone", "<a> \n </a>", "<a></a>"},
        {"beside a text", "<a> x <b/> y\n</a>", "<a>' x '<b></b>' y\\n'</a>"},
        {"no white space to XML", "<a>\xC2\xA0<b/>\xE3\x80\x80</a>", "<a>'\xC2\xA0'<b></b>'\xE3\x80\x80'</a>"},
        {"beside comments and instructions", "<a> <!--c--> <?p d?> </a>", "<a><!--c--><?p d?></a>"},
        {"beside CDATA", "<a> <![CDATA[ ]]> </a>", "<a>[ ]</a>"},
        {"preserved", "<a xml:space='preserve'> <b/>\n</a>", "<a xml:space=\"preserve\">' '<b></b>'\\n'</a>"},
        {"preserved below, not behind", "<a> <b xml:space='preserve'> <c> </c></b> <d> </d></a>",
         "<a><b xml:space=\"preserve\">' '<c>' '</c></b><d></d></a>"},
        {"back to default", "<a xml:space='preserve'> <b xml:space='default'> <c> </c> </b> </a>",
         "<a xml:space=\"preserve\">' '<b xml:space=\"default\"><c></c></b>' '</a>"},
        {"preserved by the document type",
         "<!DOCTYPE a [<!ATTLIST b xml:space (default|preserve) 'preserve'>]><a> <b> </b> </a>",
         "<a><b xml:space=\"preserve\">' '</b></a>"},
        {"another prefix or value", "<a x:space='preserve' xml:space='keep'> </a>",
         "<a x:space=\"preserve\" xml:space=\"keep\"></a>"},
        {"around the element", "\n<a/>\n \n", "<a></a>"},
        // Texts are one node between two others.
        {"line ends", "<a>1\r\n2\r3\n4\r\r\n5</a>", "<a>'1\\n2\\n3\\n4\\n\\n5'</a>"},
        {"character references", "<a>&#65;&#x42;&#x1D11E;&#13;&#10;x</a>", "<a>'AB\U0001D11E\\r\\nx'</a>"},
        {"the five entities", "<a>&lt;&gt;&amp;&quot;&apos;</a>", "<a>'<>&\"''</a>"},
        {"internal entities", "<!DOCTYPE a [<!ENTITY e 'x&#38;#38;y'><!ENTITY f '1&e;2'>]><a>0&f;3</a>",
         "<a>'01x&y23'</a>"},
        {"an entity with markup", "<!DOCTYPE a [<!ENTITY e 'x<b>y</b>'>]><a>0&e;1</a>", "<a>'0x'<b>'y'</b>'1'</a>"},
        {"an entity of blanks", "<!DOCTYPE a [<!ENTITY e ' '>]><a>&e;<b/></a>", "<a><b></b></a>"},
        {"a declaration in a parameter entity",
         "<!DOCTYPE a [<!ENTITY % p \"<!ENTITY e 'x'>\">%p;<!ENTITY f 'y'>]><a>&e;&f;</a>", "<a>'xy'</a>"},
        {"the first declaration counts", "<!DOCTYPE a [<!ENTITY e '1'><!ENTITY e '2'>]><a>&e;</a>", "<a>'1'</a>"},
        {"CDATA apart", "<a>x<![CDATA[<y>&amp;\r\n]]>z</a>", "<a>'x'[<y>&amp;\\n]'z'</a>"},
        {"CDATA side by side and empty", "<a><![CDATA[]]><![CDATA[x]]><![CDATA[]]]]></a>", "<a>[][x][]]]</a>"},
        {"comments and instructions part", "<a>x<!--c-->y<?p?>z<?q  d ?></a>",
         "<a>'x'<!--c-->'y'<?p ?>'z'<?q d ?></a>"},
        {"long and astral", "<a>" + std::string(100'000, 'x') + "\U0001D11E</a>",
         "<a>'" + std::string(100'000, 'x') + "\U0001D11E'</a>"},
        // Attributes come in source order.
        {"in order", "<a z='1' b='2' c='3'/>", "<a z=\"1\" b=\"2\" c=\"3\"></a>"},
        {"namespaces in their place", "<p:a b='1' xmlns:p='u' c='2' xmlns='v'/>",
         "<p:a b=\"1\" xmlns:p=\"u\" c=\"2\" xmlns=\"v\"></p:a>"},
        {"prefixes need no declaration", "<p:a q:b='1'/>", "<p:a q:b=\"1\"></p:a>"},
        {"defaults last",
         "<!DOCTYPE a [<!ATTLIST a d CDATA 'x' b CDATA 'y' c CDATA #FIXED 'z' e CDATA #IMPLIED>]><a n='1' b='2'/>",
         "<a n=\"1\" b=\"2\" d=\"x\" c=\"z\"></a>"},
        {"white space in values", "<a b=' 1\r\n2\t3 ' c='&#9;&#10;&#13;'/>", "<a b=\" 1 2 3 \" c=\"\\t\\n\\r\"></a>"},
        {"tokens", "<!DOCTYPE a [<!ATTLIST a t NMTOKENS #IMPLIED>]><a t='  x \n y '/>", "<a t=\"x y\"></a>"},
        {"entities in values", "<!DOCTYPE a [<!ENTITY e 'x\ny'>]><a b='&e;&lt;&#x4E2D;'/>", "<a b=\"x y<\u4E2D\"></a>"},
        {"empty", "<a b=''/>", "<a b=\"\"></a>"},
        {"the same twice", "<a b='1' b='2'/>", "(refused)"},
        // Nothing outside the file is read.
        {"undeclared", "<a>&e;</a>", "(refused)"},
        {"undeclared, though all declarations are here", "<!DOCTYPE a [<!ENTITY f ''>]><a>&e;</a>", "(refused)"},
        {"maybe declared outside", "<!DOCTYPE a " + system + "><a>x&e;y</a>", "<a>'x'&e;'y'</a>"},
        {"not, as it says itself", "<?xml version='1.0' standalone='yes'?><!DOCTYPE a " + system + "><a>&e;</a>",
         "(refused)"},
        {"external", "<!DOCTYPE a [<!ENTITY e " + system + ">]><a> &e; </a>", "<a>&e;</a>"},
        {"external in an entity", "<!DOCTYPE a [<!ENTITY e " + system + "><!ENTITY f '1&e;2'>]><a>&f;&e;</a>",
         "<a>'1'&e;'2'&e;</a>"},
        {"external in a value", "<!DOCTYPE a [<!ENTITY e " + system + ">]><a b='&e;'/>", "(refused)"},
        {"an external parameter entity, and what is behind it",
         "<!DOCTYPE a [<!ENTITY % p " + system + "><!ENTITY f '1'>%p;<!ENTITY g '2'>]><a>&f;&g;&e;</a>",
         "<a>'1'&g;&e;</a>"},
        {"unparsed", "<!DOCTYPE a [<!NOTATION n SYSTEM 'n'><!ENTITY e " + system + " NDATA n>]><a>&e;</a>",
         "(refused)"},
        {"in itself", "<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a>&e;</a>", "(refused)"},
        {"in itself, in a value", "<!DOCTYPE a [<!ENTITY e '&e;'>]><a b='&e;'/>", "(refused)"},
        // The version is 1.something.
        {"1.0", "<?xml version='1.0'?><a/>", "<a></a>"},
        {"1.10", "<?xml version='1.10' standalone='no'?><a/>", "<a></a>"},
        {"1", "<?xml version='1' standalone='no'?><a/>", "(refused)"},
        {"1.", "<?xml version='1.'?><a/>", "(refused)"},
        {"1.0a", "<?xml version='1.0a'?><a/>", "(refused)"},
        {"2.0", "<?xml version='2.0'?><a/>", "(refused)"},
    };
    for (const auto& row : rows) EXPECT_EQ(Loaded(row.xml), row.tree) << row.name << ": " << row.xml;
}

TEST_F(XmlLoad, TheDocumentShowsWhatIsAroundItsElement) {
    const auto document = Load("<!--1--><?p 2?><!DOCTYPE a [<!--no--><?no no?>]><a/><!--3-->");
    CComRef<IXMLDOMNodeList> list;
    CheckCom(document->get_childNodes(list.Out()));
    std::string shown;
    CComRef<IXMLDOMNode> child;
    for (LONG i = 0; list->get_item(i, child.Out()) == S_OK; ++i) shown += Notation(ReadDom(*child.Get()));
    EXPECT_EQ(shown, "<!--1--><?p 2?><a></a><!--3-->");
}

TEST_F(XmlLoad, EveryPrefixIsRefused) {
    const std::string files[] = {
        "<?xml version=\"1.0\" encoding='utf-8'?>\n<!DOCTYPE a [<!ENTITY e 'x'><!ATTLIST a b CDATA 'c'>]>\n"
        "<!--c--><a d=\"&e;&#x41;\"><?p q?>&e;<b/><![CDATA[y]]>\xE4\xB8\xAD</a>",
        std::string("<\0a\0 \0b\0=\0'\0\x2D\x4E\0D8\0DC'\0>\0x\0<\0/\0a\0>\0", 34),
        "<?xml version='1.0' encoding='gb18030'?><a b='\xD6\xD0\x81\x39\xEE\x39'>\x95\x32\x82\x36</a>",
    };
    for (const std::string& file : files) {
        ASSERT_NE(Loaded(file), "(refused)");
        for (std::size_t size = 0; size < file.size(); ++size) EXPECT_EQ(Loaded(file.substr(0, size)), "(refused)");
    }
}

}  // namespace
