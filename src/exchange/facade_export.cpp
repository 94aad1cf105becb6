// The interface's methods: what leaves the engine.
#include <memory>
#include <new>

#include "component/tessera.h"
#include "exchange/export.h"
#include "exchange/vrml.h"
#include "scene/assembly.h"
#include "tessera/igraphic_collector.h"
#include "tessera/u3d_view.h"

namespace tessera {

HRESULT CTessera::WriteTDPM(BSTR filename, int* errCode) try {
    const bool written = WriteTDPMFile(ToString(filename), *m_root, triNormals);
    Give(errCode, static_cast<int>(written ? ErrDone : ErrNotFound));
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::WriteVRML(BSTR fname) try {
    WriteVRMLFile(ToString(fname), *m_root, Vrml::One);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::WriteVRML_2(BSTR fname) try {
    WriteVRMLFile(ToString(fname), *m_root, Vrml::Two);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

// There is no code for a file that could not be written.
HRESULT CTessera::SaveCrossSection(BSTR filename, int* errCode) try {
    SaveSectionFile(ToString(filename), *m_root);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

// Of the two values that switch something, only one is taken for true here.
HRESULT CTessera::ExportU3D(BSTR fname, float* pViews, ULONG numViews, VARIANT_BOOL useCompression) try {
    ExportU3DFile(ToString(fname), *m_root, reinterpret_cast<const U3dView*>(pViews), pViews ? numViews : 0,
                  useCompression == VARIANT_TRUE);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

// Only the root is scanned; any other node is merely looked for.
HRESULT CTessera::ScanGraphicData(int nodeID, int, IUnknown* graphicDataPtr, int* errCode) try {
    void* found = nullptr;
    if (!graphicDataPtr || graphicDataPtr->QueryInterface(IID_IGraphicDataCollector, &found) < 0 || !found) {
        Give(errCode, static_cast<int>(ErrState));
        return STATUS_OK;
    }
    // Whatever the collector throws.
    const std::unique_ptr<IUnknown, void (*)(IUnknown*)> taken(graphicDataPtr, [](IUnknown* o) { o->Release(); });
    auto* const collector = static_cast<IGraphicDataCollector*>(found);
    if (nodeID == m_root->id) {
        m_root->ScanGraphicData(CMatrix(), CMatrix(), *collector);
        Give(errCode, static_cast<int>(ErrDone));
    } else {
        NodeOf(nodeID, errCode);
    }
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

}  // namespace tessera
