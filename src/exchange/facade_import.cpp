// The interface's methods: import of graphic streams.
#include <new>

#include "component/tessera.h"
#include "exchange/graphic_stream.h"
#include "geometry/lod_group.h"
#include "scene/part.h"

namespace tessera {

int g_tdgImportVer = 0;

HRESULT CTessera::SetTDGImportVer(int tdgImpVer) {
    g_tdgImportVer = tdgImpVer;
    return STATUS_OK;
}

HRESULT CTessera::ImportTriNormals(unsigned char** dataStream, int* errCode) try {
    if (!dataStream || !*dataStream) return Refuse(errCode);
    TriNormalTable block;
    *dataStream += block.Read(*dataStream) - *dataStream;
    g_triNormalBase = triNormals.Append(block);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

// A host that looks at the status alone sees success in any case.
HRESULT CTessera::Import3DGPartElements(int partID, unsigned char** dataStream, int* errCode) try {
    g_lodsPresent = false;
    CPart* const part = PartOf(partID, errCode);
    if (!part) return STATUS_OK;
    if (part->IsBuilding() || !dataStream || !*dataStream) {
        Refuse(errCode, part->IsBuilding() ? ErrState : ErrNotFound);
        return STATUS_OK;
    }
    m_root->InvalidateBoundBox();  // first, as memory may run out on the way
    GraphicStream stream(*dataStream);
    const bool done = part->ReadStream(stream);
    *dataStream += stream.Position() - *dataStream;
    Give(errCode, static_cast<int>(done ? ErrDone : ErrState));
    if (g_lodsPresent) lodsAvailable = true;
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

}  // namespace tessera
