// Methods that a host may call and that have nothing to do: storage of other components, and notes.
#include "component/tessera.h"

namespace tessera {

HRESULT CTessera::Save(IStorage*) { return STATUS_OK; }
HRESULT CTessera::Load(IUnknown*) { return STATUS_OK; }
HRESULT CTessera::Import(IUnknown*) { return STATUS_OK; }
HRESULT CTessera::EndTDGImport() { return STATUS_OK; }
HRESULT CTessera::GetFirstNoteID(int*, int*) { return STATUS_OK; }
HRESULT CTessera::GetNextNoteID(int*, int*) { return STATUS_OK; }
HRESULT CTessera::DeleteNote(int, int*) { return STATUS_OK; }

HRESULT CTessera::PickNote(float*, double*, float, float, float, int, int, int, LONG* picked, float*, int*, int*,
                           int*) {
    Give(picked, LONG{0});
    return STATUS_OK;
}

HRESULT CTessera::SetNoteMessage(int, BSTR, int*) { return STATUS_OK; }
HRESULT CTessera::SetNoteText(int, BSTR, int*) { return STATUS_OK; }
HRESULT CTessera::SetNoteURL(int, BSTR, int*) { return STATUS_OK; }
HRESULT CTessera::SetNoteArrowPosition(int, float*, int*) { return STATUS_OK; }
HRESULT CTessera::SetNoteTextPosition(int, float*, int*) { return STATUS_OK; }
HRESULT CTessera::SetNoteTextColor(int, ULONG, int*) { return STATUS_OK; }
HRESULT CTessera::SetNoteFont(int, tagQNRLOGFONT, int*) { return STATUS_OK; }
HRESULT CTessera::EnableNoteCrossSection(int, LONG, int*) { return STATUS_OK; }

}  // namespace tessera
