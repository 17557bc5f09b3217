// Out of memory: every allocation of a session fails once, alone. Nobody crashes or is told a lie,
// nothing is left behind, and the file stays sound.
#include <cstdlib>
#include <new>
#include <utility>

#include "pstfile/check/integrity_checker.h"
#include "tests/mapi_builtin/session_fixture.h"
#include "tests/support/findings.h"

namespace {

std::size_t g_countdown = 0;  // the nth allocation from now fails; 0: none
std::int64_t g_live = 0;

void* Allocate(std::size_t size) {
  if (g_countdown != 0 && --g_countdown == 0) throw std::bad_alloc();
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  ++g_live;
  return memory;
}
void Free(void* memory) {
  if (memory != nullptr) --g_live;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t& none) noexcept {
  return operator new(size, none);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept { Free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { Free(memory); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Free(memory); }

namespace parvane::mapi {
namespace {

// A disk has no memory to run out of.
struct Paused {
  std::size_t left = std::exchange(g_countdown, 0);
  ~Paused() { g_countdown = left; }
};
struct DiskFile : pstfile::MemoryFile {
  using MemoryFile::MemoryFile;
  platform::Status WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override {
    const Paused paused;
    return MemoryFile::WriteAt(offset, bytes);
  }
  platform::Status Resize(std::uint64_t size) override {
    const Paused paused;
    return MemoryFile::Resize(size);
  }
};
struct Disk : pstfile::MemoryFiles {
  platform::Result<std::unique_ptr<platform::RandomAccessFile>> Open(std::u16string_view name,
                                                                     OpenMode mode) override {
    const Paused paused;
    auto file = MemoryFiles::Open(name, mode);
    if (!file.ok()) return file;
    return std::unique_ptr<platform::RandomAccessFile>(
        std::make_unique<DiskFile>(*this, std::u16string(name), mode != OpenMode::kRead));
  }
};

class OutOfMemory : public SessionTest {
 protected:
  Disk disk;
  const std::string data = std::string(40'000, 'd');  // the caller has the memory that he needs
  HRESULT told = S_OK;                                // the first failure
  bool savedLater = false;

  bool Note(HRESULT result) {
    if (Failed(result) && !Failed(told)) told = result;
    return Succeeded(result);
  }
  void AddRecipient(IMessage& message) {
    ComPointer<IAddrBook> book;
    if (!Note(session->OpenAddressBook(0, nullptr, 0, book.Put()))) return;
    ULONG size = 0;
    MapiBuffer<ENTRYID> id;
    Note(book->CreateOneOff(ToTString(u"Ann"), ToTString(u"SMTP"), ToTString(u"ann@example.org"),
                            MAPI_UNICODE, &size, id.Put()));
    SPropValue values[] = {BinaryValue(PR_ENTRYID, id.get(), size),
                           TextValue(PR_DISPLAY_NAME_W, u"Ann"),
                           LongValue(PR_RECIPIENT_TYPE, MAPI_TO)};
    ADRLIST list{1, {{0, 3, values}}};
    Note(message.ModifyRecipients(MODRECIP_ADD, &list));
  }
  void AddAttachments(IMessage& message) {
    ULONG number = 0;
    ComPointer<IAttach> file, holder;
    if (Note(message.CreateAttach(nullptr, 0, &number, file.Put()))) {
      Note(Set(*file, LongValue(PR_ATTACH_METHOD, ATTACH_BY_VALUE)));
      Note(WriteStream(*file, PR_ATTACH_DATA_BIN, data));
      Note(file->SaveChanges(KEEP_OPEN_READWRITE));
    }
    if (!Note(message.CreateAttach(nullptr, 0, &number, holder.Put()))) return;
    Note(Set(*holder, LongValue(PR_ATTACH_METHOD, ATTACH_EMBEDDED_MSG)));
    ComPointer<IMessage> inner;
    if (Note(holder->OpenProperty(PR_ATTACH_DATA_OBJ, &IID_IMessage, 0, MAPI_CREATE | MAPI_MODIFY,
                                  inner.PutUnknown()))) {
      Note(Set(*inner, TextValue(PR_SUBJECT_W, u"inner")));
      Note(inner->SaveChanges(KEEP_OPEN_READWRITE));
    }
    Note(holder->SaveChanges(KEEP_OPEN_READWRITE));
  }
  void Write() {
    ComPointer<IMAPIFolder> folder;
    if (!Note(top->CreateFolder(FOLDER_GENERIC, ToTString(u"New"), nullptr, nullptr,
                                MAPI_UNICODE | OPEN_IF_EXISTS, folder.Put()))) {
      return;
    }
    ComPointer<IMessage> message;
    if (!Note(folder->CreateMessage(nullptr, 0, message.Put()))) return;
    Note(Set(*message, TextValue(PR_SUBJECT_W, u"whole")));
    Note(Set(*message, AnsiValue(PR_BODY_A, "text")));
    AddRecipient(*message);
    AddAttachments(*message);
    const bool whole = !Failed(told);
    // What a save that failed has left must not pass for the message.
    if (!Note(message->SaveChanges(KEEP_OPEN_READWRITE)))
      savedLater = whole && Succeeded(message->SaveChanges(KEEP_OPEN_READWRITE));
    ULONG flags = 0;
    Note(store->StoreLogoff(&flags));
  }
  void Read() {
    ComPointer<IMAPITable> table;
    if (!Note(top->GetContentsTable(0, table.Put()))) return;
    RowSet rows;
    if (!Note(table->QueryRows(10, 0, rows.Put())) || rows.size() == 0) return;
    const SPropValue* id = FindColumn(rows[0], PR_ENTRYID);
    ComPointer<IMessage> message;
    if (!Note(top->OpenEntry(id->Value.bin.cb, ToEntryId(id->Value.bin.lpb), nullptr, MAPI_MODIFY,
                             nullptr, message.PutUnknown()))) {
      return;
    }
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    Note(message->GetProps(nullptr, MAPI_UNICODE, &count, values.Put()));
    ComPointer<IStream> body;
    char buffer[5000];
    ULONG read = 1;
    Note(message->OpenProperty(PR_BODY_W, &IID_IStream, 0, 0, body.PutUnknown()));
    while (body && read != 0 && Note(body->Read(buffer, sizeof buffer, &read))) continue;
    Note(message->SetReadFlag(0));
  }
  // What was told is what is there.
  void Judge() {
    pstfile::Findings found;
    const auto checked = pstfile::CheckFile(disk, path, {.acceptUnclosed = true}, found);
    ASSERT_TRUE(checked.ok()) << checked.status().message();
    EXPECT_EQ(checked->errors, 0u) << found.text;
    EXPECT_GE(checked->messages, 1u);
    if (Failed(told) && !savedLater) return;
    EXPECT_EQ(checked->messages, 2u);
    EXPECT_EQ(checked->attachments, 2u);
  }
};

TEST_F(OutOfMemory, WhereverItComesTheFileIsSoundAndTheCallerKnows) {
  builtin::TheEnvironment().files = &disk;
  LogOn();
  auto first = NewMessage(*top);
  ASSERT_EQ(Set(*first, TextValue(PR_SUBJECT_W, u"first")), S_OK);
  ASSERT_EQ(WriteStream(*first, PR_BODY_W, BytesOf(std::u16string(30'000, u'f'))), S_OK);
  ASSERT_EQ(first->SaveChanges(FORCE_SAVE), S_OK);
  first.Reset();
  LogOff();
  const pstfile::Bytes before = disk[path];
  std::size_t nth = 0;
  std::int64_t live = 0;
  for (bool failed = true; failed && !HasFatalFailure();) {
    SCOPED_TRACE("allocation " + std::to_string(++nth));
    disk[path] = before;
    LogOn();
    told = S_OK;
    savedLater = false;
    g_countdown = nth;
    Write();
    Read();
    Note(session->Logoff(0, 0, 0));
    failed = g_countdown == 0;
    g_countdown = 0;
    EXPECT_TRUE(told == S_OK || told == MAPI_E_NOT_ENOUGH_MEMORY ||
                told == STG_E_INSUFFICIENTMEMORY)
        << std::hex << told;
    LogOff();
    EXPECT_EQ(LiveObjects(), 0u);
    EXPECT_EQ(LiveBuffers(), 0u);
    Judge();
    if (nth == 1) live = g_live;
  }
  EXPECT_LT(g_live, live + 50) << "what is kept for the next time aside, nothing is left";
  EXPECT_GT(nth, 100u);
}

// A PST that could not be made whole is not there, and there is nothing beside it.
TEST_F(OutOfMemory, WhereverItComesThereIsAWholeFileOrNone) {
  builtin::TheEnvironment().files = &disk;
  std::size_t nth = 0;
  for (bool failed = true; failed;) {
    SCOPED_TRACE("allocation " + std::to_string(++nth));
    disk.contents.clear();
    ASSERT_EQ(Admin()->CreateProfile(ToTString(kProfileName), nullptr, 0, 0), S_OK);
    const auto services = Services();
    ASSERT_EQ(NewService(*services), S_OK);
    const MAPIUID id = ServiceIds(*services).at(0);
    g_countdown = nth;
    HRESULT result = Configure(*services, id, path);
    if (Succeeded(result)) {
      result = MAPILogonEx(0, ToTString("test.profile"), nullptr, kLogonFlags & ~MAPI_UNICODE,
                           session.Put());
    }
    failed = g_countdown == 0;
    g_countdown = 0;
    EXPECT_TRUE(result == S_OK || result == MAPI_E_NOT_ENOUGH_MEMORY) << std::hex << result;
    LogOff();
    EXPECT_EQ(LiveObjects(), services ? 1u : 0u);
    EXPECT_LE(disk.contents.size(), 1u);
    if (disk.contents.empty()) continue;
    pstfile::Findings found;
    const auto checked = pstfile::CheckFile(disk, path, {.acceptUnclosed = true}, found);
    ASSERT_TRUE(checked.ok()) << checked.status().message();
    EXPECT_EQ(checked->errors, 0u) << found.text;
  }
  EXPECT_GT(nth, 100u);
}

}  // namespace
}  // namespace parvane::mapi
