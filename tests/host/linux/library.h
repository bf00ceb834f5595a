// The library as the tests of tests/host have it: here linked in.
#pragma once

#include "parvel/parvel.h"
#include "platform/text.h"

struct Library {
    decltype(&KestQueryBinDocInterface) query = KestQueryBinDocInterface;
    decltype(&TransXml2Bin) convert = TransXml2Bin;
    decltype(&EcSpt) ecSpt = EcSpt;
    decltype(&DeSpt) deSpt = DeSpt;
    decltype(&FreeSpt) freeSpt = FreeSpt;
    decltype(&GetScriptResultParser) parse = GetScriptResultParser;
};

inline const Library& Parvel() {
    static const Library library;
    return library;
}

/// What a host must do first on a thread that converts or exports: here nothing.
struct CHostSession {
    CHostSession() {}
};
