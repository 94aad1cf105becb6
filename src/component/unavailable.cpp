// Methods that this version of the engine does not offer yet: they change nothing and fail.
#include "component/tessera.h"

namespace tessera {

HRESULT CTessera::ExportU3D(BSTR, float*, ULONG, VARIANT_BOOL) { return STATUS_FAIL; }

}  // namespace tessera
