// Trees read back from an XML DOM in tests, and one line of notation for them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "parvel/parvel.h"
#include "platform/com_ptr.h"
#include "platform/xmldom.h"
#include "small_tree.h"
#include "test_files.h"

/// The node and all below it, as the DOM tells it; the text of a processing instruction begins with its target.
SmallTree ReadDom(IXMLDOMNode& node);

/// <a x="1">'text'[cdata]<b></b><!--c--><?t d?>&e;</a>, control characters as in C.
std::string Notation(const SmallTree& tree);

/// XML that stands in a test, as a file.
class XmlTest : public ::testing::Test {
protected:
    Text Write(std::string_view xml) const;
    CComRef<IXMLDOMDocument> Load(std::string_view xml) const;
    /// The document element, or "(refused)".
    std::string Loaded(std::string_view xml) const;
    /// The binary document; empty when the conversion fails.
    std::vector<unsigned char> Converted(std::string_view xml) const;

    CTestFolder m_folder;
};
