#include "platform/xmldom.h"

// The one identifier that the system's own library of identifiers lacks: {F5078F32-C551-11D3-89B9-0000F81FE221}.
extern "C" const CLSID CLSID_DOMDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
