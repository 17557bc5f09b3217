// Files of other writers and damaged ones, read through the interfaces to the last byte: every
// answer is an answer.
#include <random>

#include "mapi/builtin/values.h"
#include "platform/path.h"
#include "pstfile/ltp/table_editor.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/ndb/node_database.h"
#include "tests/mapi_builtin/session_fixture.h"

namespace parvane::mapi {
namespace {

class Damage : public SessionTest {
 protected:
  ULONG _read = 0;         // properties that could be read
  ULONG _failed = 0;       // what could not, though it is listed
  ULONG _messages = 0;     // embedded ones included
  ULONG _attachments = 0;  // the others

  void ReadProperties(IMAPIProp& object) {
    MapiBuffer<SPropTagArray> tags;
    if (Failed(object.GetPropList(MAPI_UNICODE, tags.Put()))) return (void)++_failed;
    for (ULONG i = 0; i < tags->cValues; ++i) {
      const ULONG tag = tags->aulPropTag[i];
      const Got got = Get(object, tag, MAPI_UNICODE);
      const bool isLong = got.error() == MAPI_E_NOT_ENOUGH_MEMORY;
      ++(got.ok() || isLong || PropType(tag) == PT_OBJECT ? _read : _failed);
      if (PropType(tag) != PT_BINARY && PropType(tag) != PT_UNICODE) continue;
      const std::string stream = ReadStream(object, tag);
      // Not every property of folders can be streamed.
      const bool differs = got.bytes() != "<none>" && stream != got.bytes() && stream != "<none>";
      if (stream == "<failed>" || differs) ++_failed;
    }
  }
  void ReadMessage(IMessage& message) {
    ++_messages;
    ReadProperties(message);
    ComPointer<IMAPITable> table;
    RowSet rows;
    if (Failed(message.GetRecipientTable(0, table.Put())) ||
        Failed(table->QueryRows(1000, 0, rows.Put()))) {
      ++_failed;
    }
    for (ULONG number = 0; number < 4; ++number) {
      ComPointer<IAttach> attach;
      if (Failed(message.OpenAttach(number, nullptr, 0, attach.Put()))) continue;
      ReadProperties(*attach);
      ComPointer<IMessage> inner;
      if (Succeeded(
              attach->OpenProperty(PR_ATTACH_DATA_OBJ, &IID_IMessage, 0, 0, inner.PutUnknown()))) {
        ReadMessage(*inner);
      } else {
        ++_attachments;
      }
    }
  }
  void ReadFolder(IMAPIFolder& folder) {
    ReadProperties(folder);
    ComPointer<IMAPITable> table;
    RowSet rows;
    if (Failed(folder.GetContentsTable(MAPI_UNICODE, table.Put()))) return;
    for (int i = 0; i < 50 && table->QueryRows(1, 0, rows.Put()) == S_OK && rows.size() == 1; ++i) {
      const SPropValue* id = FindColumn(rows[0], PR_ENTRYID);
      ComPointer<IMessage> message;
      if (id != nullptr &&
          Succeeded(folder.OpenEntry(id->Value.bin.cb, ToEntryId(id->Value.bin.lpb), &IID_IMessage,
                                     0, nullptr, message.PutUnknown()))) {
        ReadMessage(*message);
      }
    }
  }
  // Everything that can be reached, whatever fails on the way.
  void ReadFile() {
    auto admin = Admin();
    ASSERT_EQ(admin->CreateProfile(ToTString(kProfileName), nullptr, 0, 0), S_OK);
    const auto services = Services();
    ASSERT_EQ(NewService(*services), S_OK);
    if (Failed(Configure(*services, ServiceIds(*services)[0], path))) return;
    ASSERT_EQ(MAPILogonEx(0, ToTString(u"test.profile"), nullptr, kLogonFlags, session.Put()),
              S_OK);
    ComPointer<IMAPITable> table;
    ASSERT_EQ(session->GetMsgStoresTable(0, table.Put()), S_OK);
    const RowSet stores = ReadAllRows(*table);
    const SBinary id = FindColumn(stores[0], PR_ENTRYID)->Value.bin;
    if (Failed(session->OpenMsgStore(0, id.cb, ToEntryId(id.lpb), nullptr, 0, store.Put()))) {
      return;
    }
    ReadProperties(*store);
    ComPointer<IMAPIFolder> root;
    if (Failed(store->OpenEntry(0, nullptr, nullptr, 0, nullptr, root.PutUnknown()))) return;
    ReadFolder(*root);
    RowSet rows;
    if (Failed(root->GetHierarchyTable(CONVENIENT_DEPTH, table.Put()))) return;
    if (Failed(table->QueryRows(100, 0, rows.Put()))) return;
    for (const SRow& row : rows) {
      const SPropValue* entry = FindColumn(row, PR_ENTRYID);
      ComPointer<IMAPIFolder> folder;
      if (entry != nullptr &&
          Succeeded(root->OpenEntry(entry->Value.bin.cb, ToEntryId(entry->Value.bin.lpb),
                                    &IID_IMAPIFolder, 0, nullptr, folder.PutUnknown()))) {
        ReadFolder(*folder);
      }
    }
  }
};

#ifdef PARVANE_PST_SAMPLES
TEST_F(Damage, IsNotWhatOtherWritersLeave) {
  const struct {
    const char* name;
    ULONG messages, attachments;
  } samples[] = {{"Empty.pst", 0, 0}, {"sample1.pst", 1, 1}, {"submessage.pst", 2, 0}};
  for (const auto& sample : samples) {
    SCOPED_TRACE(sample.name);
    const auto bytes = platform::ReadWholeFile(
        platform::FileSystem::Default(),
        platform::PathFromNative(std::string(PARVANE_PST_SAMPLES "/") + sample.name));
    ASSERT_TRUE(bytes.ok());
    const auto data = std::as_bytes(std::span(*bytes));
    files[path].assign(data.begin(), data.end());
    BuiltinOptions options;
    options.readOnly = true;
    SetBuiltinOptions(options);
    _read = _failed = _messages = _attachments = 0;
    ReadFile();
    LogOff();
    EXPECT_EQ(_failed, 0u);
    EXPECT_GT(_read, 100u);
    EXPECT_EQ(_messages, sample.messages);
    EXPECT_EQ(_attachments, sample.attachments);
  }
}
#endif

TEST(Values, OfTheWrongSizeAreNotReadBeyondTheirEnd) {
  for (const std::size_t size : {0u, 15u, 16u, 17u}) {
    for (const ULONG type : {PT_CLSID, PT_MV_LONG}) {
      builtin::Value value;
      value.SetBytes(PropTag(type, 0x6100), std::vector<std::byte>(size));
      builtin::Chain chain;
      SPropValue result{};
      const bool whole = type == PT_CLSID ? size == 16 : size >= 4;
      EXPECT_EQ(builtin::ReturnValue(value, value.tag, true, 65001, chain, result), whole) << size;
      if (type == PT_MV_LONG && whole) {
        EXPECT_EQ(result.Value.MVl.cValues, size / 4);
      }
    }
  }
}

TEST_F(Damage, LeadsInNoCircles) {
  LogOn();
  const auto outer = MakeFolder(*top, u"outer");
  const auto nodeOf = [](IMAPIFolder& folder) {
    const std::string id = Get(folder, PR_ENTRYID).bytes();
    return pstfile::NodeId(pstfile::LoadU32(std::as_bytes(std::span(id)), 20));
  };
  const pstfile::NodeId above = nodeOf(*outer);
  const pstfile::NodeId below = nodeOf(*MakeFolder(*outer, u"inner"));
  ASSERT_EQ(LogOff(), S_OK);
  {
    const auto database = pstfile::NodeDatabase::Open(files, path, pstfile::OpenMode::kReadWrite);
    const pstfile::NodeId table = below.Sibling(pstfile::NodeKind::kHierarchyTable);
    const auto node = **(*database)->FindNode(table);
    const auto editor = pstfile::TableEditor::Open(**database, node.data, node.sub);
    ASSERT_TRUE((*editor)->AppendRow(above.value, 1, {}).ok());
    const auto roots = (*editor)->Flush();
    ASSERT_TRUE((*database)->PutNode({table, roots->data, roots->subnodes, {}}).ok());
    ASSERT_TRUE((*database)->Close().ok());
  }
  LogOn();
  ComPointer<IMAPITable> table;
  ASSERT_EQ(MakeFolder(*top, u"outer")->GetHierarchyTable(CONVENIENT_DEPTH, table.Put()), S_OK);
  EXPECT_EQ(ReadAllRows(*table).size(), 1u);
}

TEST_F(Damage, IsMetWithErrorsOnly) {
  LogOn();
  const auto folder = MakeFolder(*top, u"Mail");
  const auto book = AddressBook();
  for (int m = 0; m < 5; ++m) {
    auto message = NewMessage(*folder);
    Set(*message, TextValue(PR_SUBJECT_W, u"Re: subject"));
    WriteStream(*message, PR_BODY_W, BytesOf(std::u16string(m * 3000, u'b')));
    AddRecipient(*book, *message, u"Bob", u"bob@example.com", MAPI_TO);
    const auto attach = NewAttachment(*message, NO_ATTACHMENT);
    const auto inner = NewInner(*attach);
    Set(*inner, TextValue(PR_SUBJECT_W, u"inner"));
    ASSERT_EQ(inner->SaveChanges(FORCE_SAVE), S_OK);
    ASSERT_EQ(attach->SaveChanges(FORCE_SAVE), S_OK);
    ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
  }
  ASSERT_EQ(LogOff(), S_OK);
  const pstfile::Bytes whole = files[path];
  ReadFile();
  LogOff();
  const ULONG everything = _read;
  EXPECT_GT(everything, 200u);

  // Only places that hold something are worth damaging.
  std::vector<std::size_t> used;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    if (whole[i] != std::byte{0}) used.push_back(i);
  }
  std::mt19937 random(4711);
  ULONG partly = 0;
  for (int round = 0; round < 150; ++round) {
    SCOPED_TRACE(round);
    pstfile::Bytes& bytes = files[path];
    bytes = whole;
    if (round % 10 == 0) {
      bytes.resize(random() % whole.size());
    } else {
      for (int flips = 0; flips < 1 << (round % 8); ++flips) {
        bytes[used[random() % used.size()]] = std::byte(random());
      }
    }
    if (bytes.empty()) continue;
    _read = 0;
    ReadFile();
    LogOff();
    if (_read > 20 && _read < everything) ++partly;
  }
  EXPECT_GT(partly, 10u);  // the damage did reach what is read
}

}  // namespace
}  // namespace parvane::mapi
