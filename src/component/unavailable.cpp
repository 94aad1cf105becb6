// Methods that this version of the engine does not offer yet: they change nothing, fail, and give errCode 0.
#include "component/tessera.h"

namespace tessera {
namespace {

HRESULT Unavailable(int* errCode = nullptr) {
    Give(errCode, static_cast<int>(ErrNotFound));
    return STATUS_FAIL;
}

}  // namespace

HRESULT CTessera::WriteVRML(BSTR) { return Unavailable(); }
HRESULT CTessera::WriteVRML_2(BSTR) { return Unavailable(); }
HRESULT CTessera::WriteTDPM(BSTR, int* errCode) { return Unavailable(errCode); }
HRESULT CTessera::SaveCrossSection(BSTR, int* errCode) { return Unavailable(errCode); }
HRESULT CTessera::ScanGraphicData(int, int, IUnknown*, int* errCode) { return Unavailable(errCode); }
HRESULT CTessera::ExportU3D(BSTR, float*, ULONG, VARIANT_BOOL) { return Unavailable(); }

}  // namespace tessera
