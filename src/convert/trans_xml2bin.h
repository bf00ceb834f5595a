// XML to binary: the work behind the export TransXml2Bin.
#pragma once

#include "platform/text.h"

/// Converts an XML file to a binary document file. False when a path is null or empty, the XML cannot be read, the
/// output cannot be opened, or the DOM fails on the way; what was at `binPath` is untouched then. Write failures are not
/// detected. Nothing throws.
bool TransformXmlToBinary(const WCHAR* xmlPath, const WCHAR* binPath) noexcept;
