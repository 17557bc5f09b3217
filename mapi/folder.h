// IMAPIContainer and IMAPIFolder. Changes of a folder take effect at once.
#pragma once

#include "mapi/message.h"

namespace parvane::mapi {

class IMAPIContainer : public IMAPIProp {
 public:
  virtual HRESULT PARVANE_STDCALL GetContentsTable(ULONG ulFlags, IMAPITable** lppTable) = 0;
  virtual HRESULT PARVANE_STDCALL GetHierarchyTable(ULONG ulFlags, IMAPITable** lppTable) = 0;
  virtual HRESULT PARVANE_STDCALL OpenEntry(ULONG cbEntryID, ENTRYID* lpEntryID,
                                            const IID* lpInterface, ULONG ulFlags,
                                            ULONG* lpulObjType, IUnknown** lppUnk) = 0;
  virtual HRESULT PARVANE_STDCALL SetSearchCriteria(SRestriction* lpRestriction,
                                                    ENTRYLIST* lpContainerList,
                                                    ULONG ulSearchFlags) = 0;
  virtual HRESULT PARVANE_STDCALL GetSearchCriteria(ULONG ulFlags, SRestriction** lppRestriction,
                                                    ENTRYLIST** lppContainerList,
                                                    ULONG* lpulSearchState) = 0;

 protected:
  ~IMAPIContainer() = default;
};

class IMAPIFolder : public IMAPIContainer {
 public:
  virtual HRESULT PARVANE_STDCALL CreateMessage(const IID* lpInterface, ULONG ulFlags,
                                                IMessage** lppMessage) = 0;
  virtual HRESULT PARVANE_STDCALL CopyMessages(ENTRYLIST* lpMsgList, const IID* lpInterface,
                                               void* lpDestFolder, ULONG_PTR ulUIParam,
                                               IMAPIProgress* lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL DeleteMessages(ENTRYLIST* lpMsgList, ULONG_PTR ulUIParam,
                                                 IMAPIProgress* lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL CreateFolder(ULONG ulFolderType, LPTSTR lpszFolderName,
                                               LPTSTR lpszFolderComment, const IID* lpInterface,
                                               ULONG ulFlags, IMAPIFolder** lppFolder) = 0;
  virtual HRESULT PARVANE_STDCALL CopyFolder(ULONG cbEntryID, ENTRYID* lpEntryID,
                                             const IID* lpInterface, void* lpDestFolder,
                                             LPTSTR lpszNewFolderName, ULONG_PTR ulUIParam,
                                             IMAPIProgress* lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL DeleteFolder(ULONG cbEntryID, ENTRYID* lpEntryID,
                                               ULONG_PTR ulUIParam, IMAPIProgress* lpProgress,
                                               ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL SetReadFlags(ENTRYLIST* lpMsgList, ULONG_PTR ulUIParam,
                                               IMAPIProgress* lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL GetMessageStatus(ULONG cbEntryID, ENTRYID* lpEntryID,
                                                   ULONG ulFlags, ULONG* lpulMessageStatus) = 0;
  virtual HRESULT PARVANE_STDCALL SetMessageStatus(ULONG cbEntryID, ENTRYID* lpEntryID,
                                                   ULONG ulNewStatus, ULONG ulNewStatusMask,
                                                   ULONG* lpulOldStatus) = 0;
  virtual HRESULT PARVANE_STDCALL SaveContentsSort(SSortOrderSet* lpSortCriteria,
                                                   ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL EmptyFolder(ULONG_PTR ulUIParam, IMAPIProgress* lpProgress,
                                              ULONG ulFlags) = 0;

 protected:
  ~IMAPIFolder() = default;
};

}  // namespace parvane::mapi
