// What is wrong with an XML file, and where: the library only says that it could not convert it.
#pragma once

#include <string>

#include "platform/text.h"

struct XmlFault {
    bool isFound = false;
    std::string position;  // ":line:column", from 1; empty when the fault has no place
    std::string reason;
};

/// Reads the file as the conversion does. `isFound` is false when nothing is wrong with it.
XmlFault FindXmlFault(const WCHAR* path);
