// The interface's methods: levels of detail.
#include "component/tessera.h"

namespace tessera {

HRESULT CTessera::LODsAvailable(LONG* value) {
    Give(value, static_cast<LONG>(lodsAvailable));
    return STATUS_OK;
}

HRESULT CTessera::ResetAcceleration() {
    accumulated = 0;
    return STATUS_OK;
}

}  // namespace tessera
