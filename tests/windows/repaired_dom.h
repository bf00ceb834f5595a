// Steps around a fault of the XML DOM under Wine, for as long as this is there: an element's put_nodeTypedValue takes
// its text as markup there, so "a&b" becomes nothing. COM must be initialised.
#pragma once

#include <windows.h>

#include <optional>

#include "dll/patched_table.h"

class RepairedDom {
public:
    RepairedDom();

private:
    std::optional<PatchedTable> m_patch;
};
