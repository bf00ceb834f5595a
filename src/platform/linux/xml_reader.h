// Reads an XML file: its nodes go into a sink.
#pragma once

#include <cstdint>

#include "platform/linux/xml_sink.h"
#include "platform/text.h"

/// Why a file did not load, and where.
struct XmlFault {
    Text reason;
    Text sourceLine;               // the line that holds the place, without its line end
    std::uint64_t byteOffset = 0;  // in the file
    std::uint64_t line = 0;        // from 1; 0 when there is no place
    std::uint64_t column = 0;      // in characters, from 1
};

/// False, and `fault` filled, when the file cannot be read or is not well-formed; the sink, which must be fresh, then
/// has got a part. Memory exhaustion throws std::bad_alloc.
bool ReadXmlFile(const WCHAR* path, CXmlSink& sink, XmlFault& fault);
