#include "mapi/entry_points.h"

#include "mapi/results.h"
#include "mapi/system_entry_points.h"

namespace parvane::mapi {
namespace {

HRESULT PARVANE_STDCALL NoInitialize(void*) { return MAPI_E_NOT_INITIALIZED; }
void PARVANE_STDCALL NoUninitialize() {}
HRESULT PARVANE_STDCALL NoAdminProfiles(ULONG, IProfAdmin** lppProfAdmin) {
  if (lppProfAdmin != nullptr) *lppProfAdmin = nullptr;
  return MAPI_E_NOT_INITIALIZED;
}
HRESULT PARVANE_STDCALL NoLogonEx(ULONG_PTR, LPTSTR, LPTSTR, ULONG, IMAPISession** lppSession) {
  if (lppSession != nullptr) *lppSession = nullptr;
  return MAPI_E_NOT_INITIALIZED;
}
SCODE PARVANE_STDCALL NoAllocateBuffer(ULONG, void** lppBuffer) {
  if (lppBuffer != nullptr) *lppBuffer = nullptr;
  return MAPI_E_NOT_INITIALIZED;
}
SCODE PARVANE_STDCALL NoAllocateMore(ULONG, void*, void** lppBuffer) {
  if (lppBuffer != nullptr) *lppBuffer = nullptr;
  return MAPI_E_NOT_INITIALIZED;
}
ULONG PARVANE_STDCALL NoFreeBuffer(void*) { return static_cast<ULONG>(MAPI_E_NOT_INITIALIZED); }
void PARVANE_STDCALL NoFreeProws(SRowSet*) {}

constexpr EntryPoints kNone = {NoInitialize,     NoUninitialize, NoAdminProfiles, NoLogonEx,
                               NoAllocateBuffer, NoAllocateMore, NoFreeBuffer,    NoFreeProws};

struct Selection {
  EntryPoints entryPoints = kNone;
  bool made = false;
};

Selection& TheSelection() {
  static Selection selection;
  return selection;
}

}  // namespace

void SelectEntryPoints(const EntryPoints& entryPoints) {
  const auto orNone = [](auto chosen, auto none) { return chosen != nullptr ? chosen : none; };
  TheSelection().made = true;
  EntryPoints& selected = TheSelection().entryPoints;
  selected.MAPIInitialize = orNone(entryPoints.MAPIInitialize, kNone.MAPIInitialize);
  selected.MAPIUninitialize = orNone(entryPoints.MAPIUninitialize, kNone.MAPIUninitialize);
  selected.MAPIAdminProfiles = orNone(entryPoints.MAPIAdminProfiles, kNone.MAPIAdminProfiles);
  selected.MAPILogonEx = orNone(entryPoints.MAPILogonEx, kNone.MAPILogonEx);
  selected.MAPIAllocateBuffer = orNone(entryPoints.MAPIAllocateBuffer, kNone.MAPIAllocateBuffer);
  selected.MAPIAllocateMore = orNone(entryPoints.MAPIAllocateMore, kNone.MAPIAllocateMore);
  selected.MAPIFreeBuffer = orNone(entryPoints.MAPIFreeBuffer, kNone.MAPIFreeBuffer);
  selected.FreeProws = orNone(entryPoints.FreeProws, kNone.FreeProws);
}

const EntryPoints& SelectedEntryPoints() {
  Selection& selection = TheSelection();
  if (!selection.made) {
    const auto system = SystemEntryPoints();
    SelectEntryPoints(system.ok() ? *system : EntryPoints());
  }
  return selection.entryPoints;
}

}  // namespace parvane::mapi
