// Every method stands in its published slot of the virtual table.
#include <cstring>

#include <gtest/gtest.h>

#include "mapi/session.h"

namespace parvane::mapi {
namespace {

// Slot of a virtual method, from the representation of member pointers that the Itanium C++ ABI
// prescribes: 1 + the byte offset in the virtual table.
template <typename Method>
std::size_t SlotOf(Method method) {
  std::uintptr_t words[2];
  static_assert(sizeof method == sizeof words);
  std::memcpy(words, &method, sizeof words);
  EXPECT_EQ(words[0] & 1, 1u);
  return (words[0] - 1) / sizeof(void*);
}

struct Case {
  const char* name;
  std::size_t slot;
  std::size_t expected;
};

#define SLOT(face, method, number) \
  Case { #face "::" #method, SlotOf(&face::method), number }

TEST(Interfaces, MethodsStandInTheirPublishedSlots) {
  const Case cases[] = {
      SLOT(IUnknown, QueryInterface, 0),
      SLOT(IUnknown, AddRef, 1),
      SLOT(IUnknown, Release, 2),
      SLOT(IStream, Read, 3),
      SLOT(IStream, Write, 4),
      SLOT(IStream, Seek, 5),
      SLOT(IStream, SetSize, 6),
      SLOT(IStream, CopyTo, 7),
      SLOT(IStream, Commit, 8),
      SLOT(IStream, Revert, 9),
      SLOT(IStream, LockRegion, 10),
      SLOT(IStream, UnlockRegion, 11),
      SLOT(IStream, Stat, 12),
      SLOT(IStream, Clone, 13),
      SLOT(IMAPIAdviseSink, OnNotify, 3),
      SLOT(IMAPIProp, GetLastError, 3),
      SLOT(IMAPIProp, SaveChanges, 4),
      SLOT(IMAPIProp, GetProps, 5),
      SLOT(IMAPIProp, GetPropList, 6),
      SLOT(IMAPIProp, OpenProperty, 7),
      SLOT(IMAPIProp, SetProps, 8),
      SLOT(IMAPIProp, DeleteProps, 9),
      SLOT(IMAPIProp, CopyTo, 10),
      SLOT(IMAPIProp, CopyProps, 11),
      SLOT(IMAPIProp, GetNamesFromIDs, 12),
      SLOT(IMAPIProp, GetIDsFromNames, 13),
      SLOT(IMAPIContainer, GetContentsTable, 14),
      SLOT(IMAPIContainer, GetHierarchyTable, 15),
      SLOT(IMAPIContainer, OpenEntry, 16),
      SLOT(IMAPIContainer, SetSearchCriteria, 17),
      SLOT(IMAPIContainer, GetSearchCriteria, 18),
      SLOT(IMAPIFolder, CreateMessage, 19),
      SLOT(IMAPIFolder, CopyMessages, 20),
      SLOT(IMAPIFolder, DeleteMessages, 21),
      SLOT(IMAPIFolder, CreateFolder, 22),
      SLOT(IMAPIFolder, CopyFolder, 23),
      SLOT(IMAPIFolder, DeleteFolder, 24),
      SLOT(IMAPIFolder, SetReadFlags, 25),
      SLOT(IMAPIFolder, GetMessageStatus, 26),
      SLOT(IMAPIFolder, SetMessageStatus, 27),
      SLOT(IMAPIFolder, SaveContentsSort, 28),
      SLOT(IMAPIFolder, EmptyFolder, 29),
      SLOT(IMessage, GetAttachmentTable, 14),
      SLOT(IMessage, OpenAttach, 15),
      SLOT(IMessage, CreateAttach, 16),
      SLOT(IMessage, DeleteAttach, 17),
      SLOT(IMessage, GetRecipientTable, 18),
      SLOT(IMessage, ModifyRecipients, 19),
      SLOT(IMessage, SubmitMessage, 20),
      SLOT(IMessage, SetReadFlag, 21),
      SLOT(IMsgStore, Advise, 14),
      SLOT(IMsgStore, Unadvise, 15),
      SLOT(IMsgStore, CompareEntryIDs, 16),
      SLOT(IMsgStore, OpenEntry, 17),
      SLOT(IMsgStore, SetReceiveFolder, 18),
      SLOT(IMsgStore, GetReceiveFolder, 19),
      SLOT(IMsgStore, GetReceiveFolderTable, 20),
      SLOT(IMsgStore, StoreLogoff, 21),
      SLOT(IMsgStore, AbortSubmit, 22),
      SLOT(IMsgStore, GetOutgoingQueue, 23),
      SLOT(IMsgStore, SetLockState, 24),
      SLOT(IMsgStore, FinishedMsg, 25),
      SLOT(IMsgStore, NotifyNewMail, 26),
      SLOT(IMAPITable, GetLastError, 3),
      SLOT(IMAPITable, Advise, 4),
      SLOT(IMAPITable, Unadvise, 5),
      SLOT(IMAPITable, GetStatus, 6),
      SLOT(IMAPITable, SetColumns, 7),
      SLOT(IMAPITable, QueryColumns, 8),
      SLOT(IMAPITable, GetRowCount, 9),
      SLOT(IMAPITable, SeekRow, 10),
      SLOT(IMAPITable, SeekRowApprox, 11),
      SLOT(IMAPITable, QueryPosition, 12),
      SLOT(IMAPITable, FindRow, 13),
      SLOT(IMAPITable, Restrict, 14),
      SLOT(IMAPITable, CreateBookmark, 15),
      SLOT(IMAPITable, FreeBookmark, 16),
      SLOT(IMAPITable, SortTable, 17),
      SLOT(IMAPITable, QuerySortOrder, 18),
      SLOT(IMAPITable, QueryRows, 19),
      SLOT(IMAPITable, Abort, 20),
      SLOT(IMAPITable, ExpandRow, 21),
      SLOT(IMAPITable, CollapseRow, 22),
      SLOT(IMAPITable, WaitForCompletion, 23),
      SLOT(IMAPITable, GetCollapseState, 24),
      SLOT(IMAPITable, SetCollapseState, 25),
      SLOT(IMAPISession, GetLastError, 3),
      SLOT(IMAPISession, GetMsgStoresTable, 4),
      SLOT(IMAPISession, OpenMsgStore, 5),
      SLOT(IMAPISession, OpenAddressBook, 6),
      SLOT(IMAPISession, OpenProfileSection, 7),
      SLOT(IMAPISession, GetStatusTable, 8),
      SLOT(IMAPISession, OpenEntry, 9),
      SLOT(IMAPISession, CompareEntryIDs, 10),
      SLOT(IMAPISession, Advise, 11),
      SLOT(IMAPISession, Unadvise, 12),
      SLOT(IMAPISession, MessageOptions, 13),
      SLOT(IMAPISession, QueryDefaultMessageOpt, 14),
      SLOT(IMAPISession, EnumAdrTypes, 15),
      SLOT(IMAPISession, QueryIdentity, 16),
      SLOT(IMAPISession, Logoff, 17),
      SLOT(IMAPISession, SetDefaultStore, 18),
      SLOT(IMAPISession, AdminServices, 19),
      SLOT(IMAPISession, ShowForm, 20),
      SLOT(IMAPISession, PrepareForm, 21),
      SLOT(IAddrBook, OpenEntry, 14),
      SLOT(IAddrBook, CompareEntryIDs, 15),
      SLOT(IAddrBook, Advise, 16),
      SLOT(IAddrBook, Unadvise, 17),
      SLOT(IAddrBook, CreateOneOff, 18),
      SLOT(IAddrBook, NewEntry, 19),
      SLOT(IAddrBook, ResolveName, 20),
      SLOT(IAddrBook, Address, 21),
      SLOT(IAddrBook, Details, 22),
      SLOT(IAddrBook, RecipOptions, 23),
      SLOT(IAddrBook, QueryDefaultRecipOpt, 24),
      SLOT(IAddrBook, GetPAB, 25),
      SLOT(IAddrBook, SetPAB, 26),
      SLOT(IAddrBook, GetDefaultDir, 27),
      SLOT(IAddrBook, SetDefaultDir, 28),
      SLOT(IAddrBook, GetSearchPath, 29),
      SLOT(IAddrBook, SetSearchPath, 30),
      SLOT(IAddrBook, PrepareRecips, 31),
      SLOT(IProfAdmin, GetLastError, 3),
      SLOT(IProfAdmin, GetProfileTable, 4),
      SLOT(IProfAdmin, CreateProfile, 5),
      SLOT(IProfAdmin, DeleteProfile, 6),
      SLOT(IProfAdmin, ChangeProfilePassword, 7),
      SLOT(IProfAdmin, CopyProfile, 8),
      SLOT(IProfAdmin, RenameProfile, 9),
      SLOT(IProfAdmin, SetDefaultProfile, 10),
      SLOT(IProfAdmin, AdminServices, 11),
      SLOT(IMsgServiceAdmin, GetLastError, 3),
      SLOT(IMsgServiceAdmin, GetMsgServiceTable, 4),
      SLOT(IMsgServiceAdmin, CreateMsgService, 5),
      SLOT(IMsgServiceAdmin, DeleteMsgService, 6),
      SLOT(IMsgServiceAdmin, CopyMsgService, 7),
      SLOT(IMsgServiceAdmin, RenameMsgService, 8),
      SLOT(IMsgServiceAdmin, ConfigureMsgService, 9),
      SLOT(IMsgServiceAdmin, OpenProfileSection, 10),
      SLOT(IMsgServiceAdmin, MsgServiceTransportOrder, 11),
      SLOT(IMsgServiceAdmin, AdminProviders, 12),
      SLOT(IMsgServiceAdmin, SetPrimaryIdentity, 13),
      SLOT(IMsgServiceAdmin, GetProviderTable, 14),
  };
  for (const Case& c : cases) EXPECT_EQ(c.slot, c.expected) << c.name;
}

}  // namespace
}  // namespace parvane::mapi
