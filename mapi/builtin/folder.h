// IMAPIFolder. Everything done to a folder takes effect at once.
#pragma once

#include <optional>
#include <vector>

#include "mapi/builtin/identity.h"
#include "mapi/builtin/store_object.h"
#include "mapi/com_pointer.h"
#include "mapi/folder.h"

namespace parvane::mapi::builtin {

class Folder final : public ImmediateObject<IMAPIFolder> {
 public:
  // `parent` is kept alive.
  static HRESULT Open(StoreCorePtr core, IUnknown* parent, pstfile::NodeId node, bool writable,
                      Folder** out);

  bool Implements(const IID& iid) const override {
    return iid == IID_IMAPIFolder || iid == IID_IMAPIContainer || iid == IID_IMAPIProp;
  }

  HRESULT PARVANE_STDCALL GetContentsTable(ULONG ulFlags, IMAPITable** lppTable) override;
  HRESULT PARVANE_STDCALL GetHierarchyTable(ULONG ulFlags, IMAPITable** lppTable) override;
  HRESULT PARVANE_STDCALL OpenEntry(ULONG cbEntryID, ENTRYID* lpEntryID, const IID* lpInterface,
                                    ULONG ulFlags, ULONG* lpulObjType, IUnknown** lppUnk) override;
  HRESULT PARVANE_STDCALL SetSearchCriteria(SRestriction*, ENTRYLIST*, ULONG) override;
  HRESULT PARVANE_STDCALL GetSearchCriteria(ULONG ulFlags, SRestriction** lppRestriction,
                                            ENTRYLIST** lppContainerList,
                                            ULONG* lpulSearchState) override;
  HRESULT PARVANE_STDCALL CreateMessage(const IID* lpInterface, ULONG ulFlags,
                                        IMessage** lppMessage) override;
  HRESULT PARVANE_STDCALL CopyMessages(ENTRYLIST*, const IID*, void*, ULONG_PTR, IMAPIProgress*,
                                       ULONG) override;
  HRESULT PARVANE_STDCALL DeleteMessages(ENTRYLIST* lpMsgList, ULONG_PTR ulUIParam,
                                         IMAPIProgress* lpProgress, ULONG ulFlags) override;
  HRESULT PARVANE_STDCALL CreateFolder(ULONG ulFolderType, LPTSTR lpszFolderName,
                                       LPTSTR lpszFolderComment, const IID* lpInterface,
                                       ULONG ulFlags, IMAPIFolder** lppFolder) override;
  HRESULT PARVANE_STDCALL CopyFolder(ULONG, ENTRYID*, const IID*, void*, LPTSTR, ULONG_PTR,
                                     IMAPIProgress*, ULONG) override;
  HRESULT PARVANE_STDCALL DeleteFolder(ULONG, ENTRYID*, ULONG_PTR, IMAPIProgress*, ULONG) override;
  HRESULT PARVANE_STDCALL SetReadFlags(ENTRYLIST* lpMsgList, ULONG_PTR ulUIParam,
                                       IMAPIProgress* lpProgress, ULONG ulFlags) override;
  HRESULT PARVANE_STDCALL GetMessageStatus(ULONG cbEntryID, ENTRYID* lpEntryID, ULONG ulFlags,
                                           ULONG* lpulMessageStatus) override;
  HRESULT PARVANE_STDCALL SetMessageStatus(ULONG, ENTRYID*, ULONG, ULONG,
                                           ULONG* lpulOldStatus) override;
  HRESULT PARVANE_STDCALL SaveContentsSort(SSortOrderSet*, ULONG) override;
  HRESULT PARVANE_STDCALL EmptyFolder(ULONG_PTR, IMAPIProgress*, ULONG) override;

  HRESULT Prepare() override;
  HRESULT ListTags(std::vector<ULONG>& tags) override;
  HRESULT Find(ULONG id, Value& value) override;
  bool IsComputed(ULONG tag) const override;
  HRESULT Remove(ULONG id) override;

 private:
  Folder(StoreCorePtr core, IUnknown* parent, pstfile::NodeId node, bool writable);
  Identity MakeIdentity() const;
  HRESULT OpenOther(ULONG tag, const IID& wanted, ULONG options, ULONG flags,
                    IUnknown** out) override;
  platform::Status Change(pstfile::PstStore& store, const pstfile::PropertyList& set,
                          const std::vector<std::uint16_t>& removed) override {
    return store.ChangeFolderProperties(_node, set, removed);
  }
  HRESULT OpenOrCreateFolder(const std::u16string& name, const std::u16string& comment,
                             bool openExisting, pstfile::NodeId& node);

  ComPointer<IUnknown> _parent;
  pstfile::NodeId _node;
  pstfile::NodeId _parentNode;
};

// IMsgStore::OpenEntry and IMAPIContainer::OpenEntry. No entry id: `top`.
HRESULT OpenStoreEntry(StoreCorePtr core, IUnknown* parent, pstfile::NodeId top, ULONG size,
                       const ENTRYID* entryId, const IID* wanted, ULONG flags, ULONG* objectType,
                       IUnknown** out);

}  // namespace parvane::mapi::builtin
