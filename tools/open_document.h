// Binary documents from files.
#pragma once

#include "files.h"
#include "parvel/parvel.h"
#include "platform/com_ptr.h"

/// The document, or null when the library's reader refuses the file.
CComRef<IBinDocument> TryLoad(const WCHAR* path);

/// The document; throws the CFault (BadInput) that tells what is wrong with the file and where.
CComRef<IBinDocument> OpenDocument(const CSource& source);
