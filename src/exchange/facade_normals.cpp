// The interface's methods: import of a block of normals.
#include "component/tessera.h"

namespace tessera {

// Version of the graphic streams that the host is about to import.
int g_tdgImportVer = 0;

HRESULT CTessera::SetTDGImportVer(int tdgImpVer) {
    g_tdgImportVer = tdgImpVer;
    return STATUS_OK;
}

HRESULT CTessera::ImportTriNormals(unsigned char** dataStream, int* errCode) {
    if (!dataStream || !*dataStream) return Refuse(errCode);
    TriNormalTable block;
    *dataStream += block.Read(*dataStream) - *dataStream;
    g_triNormalBase = triNormals.Append(block);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

}  // namespace tessera
