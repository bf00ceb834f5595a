// The functions that leave the library. cmake/exports.map and tests/exports.txt name the same ones.
//
// Nothing throws across this edge: memory exhaustion, and whatever else a room below raises, becomes the function's
// failure result.
#include <new>

#include "convert/trans_xml2bin.h"
#include "model/document.h"
#include "parvel/parvel.h"
#include "script/script_result_parser.h"

namespace {

constexpr HRESULT kFailed = static_cast<HRESULT>(0x80004005);

}  // namespace

HRESULT PARVEL_CALL KestQueryBinDocInterface(const IID* iid, IBinDocument** out) {
    if (!iid || !out || *iid != IID_IBinDocument) return kFailed;
    try {
        *out = CBinaryDocument::Create();
        return 0;
    } catch (...) {
        return kFailed;
    }
}

bool PARVEL_CALL TransXml2Bin(const WCHAR* xmlPath, const WCHAR* binPath) {
    return TransformXmlToBinary(xmlPath, binPath);
}

bool PARVEL_CALL EcSpt(std::uint32_t, std::uint32_t) {
    return true;
}

std::uint32_t PARVEL_CALL DeSpt(std::uint32_t) {
    return 0;
}

bool PARVEL_CALL FreeSpt(void* block) {
    if (!block) return false;
    delete[] static_cast<unsigned char*>(block);
    return true;
}

bool PARVEL_CALL GetScriptResultParser(const WCHAR* text, IScriptResultParser** out) {
    return CScriptResultParser::Create(text, out);
}
