// The interface's methods: names, paths, user names and dates.
#include <ctime>
#include <new>

#include "component/tessera.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {
namespace {

// Numbers the part names that had to be changed, in all components of the process.
int g_partNameCounter = 1;

void LocalTime(std::time_t time, std::tm& out) {
#if defined(_WIN32)
    localtime_s(&out, &time);
#else
    localtime_r(&time, &out);
#endif
}

}  // namespace

HRESULT CTessera::SetNodeName(int nodeID, BSTR name, int* errCode) try {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetName(ToString(name));
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::GetNodeName(int nodeID, BSTR* name, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(name, ToBstr(node->Name()));
    return STATUS_OK;
}

HRESULT CTessera::GetNodeIDFromPath(BSTR nodePath, int* nodeID, int* errCode) try {
    const String path = ToString(nodePath);
    const OLECHAR* const text = path.c_str();
    int found = -1;
    if (text[0] == '/' && text[1] == 0)
        found = m_root->id;
    else if (text[0] == '/' && text[1] == '/')
        found = text[2] == 0 ? m_root->id : m_root->GetNodeIDFromPath(text + 1);
    Give(nodeID, found);
    Give(errCode, static_cast<int>(found == -1 ? ErrNotFound : ErrDone));
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::SetUserName(int nodeID, BSTR name, int* errCode) try {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetUserName(ToString(name));
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::GetNodeUserName(int nodeID, BSTR* name, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(name, ToBstr(node->userName));
    return STATUS_OK;
}

HRESULT CTessera::SetDateAsNow(int nodeID, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetDateAsNow();
    return STATUS_OK;
}

HRESULT CTessera::GetLastModifiedDate(int nodeID, int* sec, int* minutes, int* hour, int* day, int* month, int* year,
                                      int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    std::tm local{};
    LocalTime(node->lastModified, local);
    Give(sec, local.tm_sec);
    Give(minutes, local.tm_min);
    Give(hour, local.tm_hour);
    Give(day, local.tm_wday);
    Give(month, local.tm_mon);
    Give(year, local.tm_year);
    return STATUS_OK;
}

HRESULT CTessera::GetNodeIDFromName(int nodeIDIN, BSTR nodeName, int* nodeID, int* errCode) {
    CNode* const node = NodeOf(nodeIDIN, errCode);
    if (!node) return STATUS_FAIL;
    Give(nodeID, node->GetNodeIDFromName(ToString(nodeName)));
    return STATUS_OK;
}

HRESULT CTessera::GetFirstUsername(int nodeID, BSTR* /*username*/, int* errCode) {
    // No instance ever adds a name to the list that the walk starts with, so that the walk ends at once.
    if (!NodeOf(nodeID, errCode)) return STATUS_FAIL;
    Give(errCode, static_cast<int>(ErrState));
    return STATUS_OK;
}

HRESULT CTessera::GetNextUsername(BSTR* /*username*/, int* errCode) {
    Give(errCode, static_cast<int>(ErrState));
    return STATUS_OK;
}

HRESULT CTessera::GetNumberOfPartInstance(int nodeID, int* num, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(num, node->GetNumberOfPartInstance());
    return STATUS_OK;
}

HRESULT CTessera::SetPropertyString(int nodeID, BSTR text, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->propertyString = ToString(text);
    return STATUS_OK;
}

HRESULT CTessera::GetPropertyString(int nodeID, BSTR* text, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(text, ToBstr(node->propertyString));
    return STATUS_OK;
}

HRESULT CTessera::SetPartName(int partID, BSTR name, int* errCode) try {
    CPart* const part = PartOf(partID, errCode);
    if (!part) return STATUS_OK;
    const String base = ToString(name);
    String candidate = base;
    if (candidate == FromAscii("default")) candidate = Numbered(base, g_partNameCounter++);
    while (index_.IsNameOfOtherPart(candidate, partID)) candidate = Numbered(base, g_partNameCounter++);
    index_.RenamePart(part, candidate);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::GetFullNodeName(int nodeID, BSTR* name, int* errCode) try {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(name, ToBstr(node->FullName()));
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::GetPartID(int nodeID, int* ID, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    Give(ID, instance->GetPartID());
    return STATUS_OK;
}

HRESULT CTessera::GetPartName(int nodeID, BSTR* name, int* errCode) try {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    Give(name, ToBstr(instance->Part() ? instance->Part()->name : String()));
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

}  // namespace tessera
