// IMAPIFolder. Everything done to a folder takes effect at once.
#pragma once

#include <optional>
#include <vector>

#include "mapi/builtin/identity.h"
#include "mapi/builtin/property_object.h"
#include "mapi/builtin/stream.h"
#include "mapi/com_pointer.h"
#include "mapi/folder.h"

namespace parvane::mapi::builtin {

class Folder final : public PropertyObject<IMAPIFolder>, public StreamHost {
 public:
  // `parent` is kept alive.
  static HRESULT Open(StoreCorePtr core, IUnknown* parent, pstfile::NodeId node, bool writable,
                      Folder** out);

  bool Implements(const IID& iid) const override {
    return iid == IID_IMAPIFolder || iid == IID_IMAPIContainer || iid == IID_IMAPIProp;
  }

  HRESULT PARVANE_STDCALL SaveChanges(ULONG ulFlags) override;
  HRESULT PARVANE_STDCALL OpenProperty(ULONG ulPropTag, const IID* lpiid, ULONG ulInterfaceOptions,
                                       ULONG ulFlags, IUnknown** lppUnk) override;
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
  bool IsWritable() const override { return _writable; }
  bool IsComputed(ULONG tag) const override;
  HRESULT Set(const SPropValue& value) override;
  HRESULT Remove(ULONG id) override;
  HRESULT FlushChanges() override;
  StoreCore* NameScope() override { return _core.get(); }

  // Streams on a folder's properties only read.
  IUnknown* Anchor() override { return static_cast<IMAPIFolder*>(this); }
  StoreCore& Core() override { return *_core; }
  HRESULT OpenValue(ULONG id, Value& value, std::optional<pstfile::ValueReader>& reader) override;
  HRESULT InstallBytes(ULONG, std::span<const std::byte>) override { return MAPI_E_NO_SUPPORT; }
  HRESULT InstallStored(ULONG, const pstfile::StoredValue&) override { return MAPI_E_NO_SUPPORT; }
  unsigned StreamCodePage() override { return kDefaultHtmlCodePage; }

 private:
  Folder(StoreCorePtr core, IUnknown* parent, pstfile::NodeId node, bool writable);
  Identity MakeIdentity() const;
  HRESULT OpenOrCreateFolder(const std::u16string& name, const std::u16string& comment,
                             bool openExisting, pstfile::NodeId& node);

  StoreCorePtr _core;
  ComPointer<IUnknown> _parent;
  pstfile::NodeId _node;
  pstfile::NodeId _parentNode;
  std::optional<pstfile::PropertyReader> _reader;  // as of the current call
  pstfile::PropertyList _pending;                  // set in the current call
  std::vector<std::uint16_t> _pendingRemovals;
  bool _writable;
};

// IMsgStore::OpenEntry and IMAPIContainer::OpenEntry. No entry id: `top`.
HRESULT OpenStoreEntry(StoreCorePtr core, IUnknown* parent, pstfile::NodeId top, ULONG size,
                       const ENTRYID* entryId, const IID* wanted, ULONG flags, ULONG* objectType,
                       IUnknown** out);

}  // namespace parvane::mapi::builtin
