// Makes documents of the platform's XML DOM: from a file, or empty with an XML declaration.
//
// A document comes back with one reference for the caller, or null; nothing throws. On Windows the host has initialised
// COM on the calling thread.
#pragma once

#include <cstdint>

#include "platform/text.h"
#include "platform/xml_steps.h"
#include "platform/xmldom.h"

/// The setting "LogLevel": at 1 and more, people are told what is wrong with an XML file. Written at start-up only.
extern std::int32_t g_logLevel;

/// What the DOM says about a file that did not load.
struct XmlLoadFault {
    bool isRefused = false;  // the DOM has read the file and refuses it; the rest is empty where it does not say why
    Text reason;
    Text sourceLine;
    std::int32_t byteOffset = 0;  // in the file, from 0
    std::int32_t line = 0;        // from 1; 0 when there is no place: the file could not be read
    std::int32_t column = 0;      // from 1
};

class MSXMLHelper {
public:
    virtual ~MSXMLHelper() = default;

    /// Loads a file. Null when it cannot be read or is not well-formed; then, at "LogLevel" 1 and more, a message box
    /// tells why, and `fault`, where given, gets the same.
    static IXMLDOMDocument* LoadXmlDocument(const WCHAR* path, XmlLoadFault* fault = nullptr) noexcept;

    /// The same, but a DOM that can hands what it reads to the receiver instead of keeping it: then the document that
    /// comes back is empty. Otherwise the receiver gets nothing.
    static IXMLDOMDocument* LoadXmlSteps(const WCHAR* path, CXmlStepReceiver& receiver) noexcept;

    /// A document that holds nothing but a declaration with this encoding.
    static IXMLDOMDocument* CreateXmlDocument(const WCHAR* encoding) noexcept;
};
