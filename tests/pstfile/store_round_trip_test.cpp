// Stores written, closed, judged by independent readers, and read back.
#include <algorithm>
#include <cstring>

#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/store/folder_set.h"
#include "tests/pstfile/store_fixture.h"

namespace parvane::pstfile {
namespace {

struct StoreRoundTrip : StoreTest {
  // Everything a message was given is there, and its contents row says the same.
  void ExpectMessage(NodeId node, const PropertyList& expected) {
    auto message = store->OpenMessage(node);
    STORE_OK(message);
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const Property property = expected.at(i);
      if (property.kind == Property::Kind::kScalar) {
        auto scalar = message->properties().Scalar(property.tag);
        STORE_OK(scalar);
        EXPECT_EQ(*scalar, property.scalar) << ToString(property.tag);
      } else if (property.kind == Property::Kind::kBytes) {
        auto bytes = message->properties().Bytes(property.tag, 1u << 30);
        STORE_OK(bytes);
        EXPECT_TRUE(std::ranges::equal(*bytes, property.bytes)) << ToString(property.tag);
      }
    }
    auto parent = store->ParentOf(node);
    STORE_OK(parent);
    auto table = store->OpenContentsTable(*parent);
    STORE_OK(table);
    for (std::uint64_t row = 0; table->RowId() != node.value; ++row) {
      STORE_OK(table->SelectRow(row));
    }
    for (const TableColumn& column : table->columns()) {
      if (!message->properties().Has(column.tag)) continue;
      auto cell = table->Bytes(column.tag, 1u << 30);
      STORE_OK(cell);
      EXPECT_EQ(*cell, *message->properties().Bytes(column.tag, 1u << 30)) << ToString(column.tag);
    }
  }
};

TEST_F(StoreRoundTrip, EmptyStore) {
  Create();
  Close();
  ExpectFlawless();
  ExpectItems(0);
  Open(StoreOpenMode::kRead);
  auto properties = store->OpenStoreProperties();
  STORE_OK(properties);
  EXPECT_EQ(*properties->Text(tags::kDisplayName), u"Test store");
  EXPECT_EQ(store->FromEntryId(*properties->Bytes(tags::kIpmSubtreeEntryId)), kNidIpmSubtree);
  EXPECT_EQ(store->FromEntryId(std::vector<std::byte>(24)), std::nullopt);
  auto top = store->Subfolders(store->rootFolder());
  STORE_OK(top);
  ASSERT_EQ(top->size(), 3u);
  EXPECT_EQ((*top)[0].name, u"Top of Outlook data file");
  EXPECT_EQ(*store->FindFolder(kNidIpmSubtree, u"DELETED items"), kNidDeletedItems);
  EXPECT_EQ(store->CreateFolder(kNidIpmSubtree, u"x").status().code(),
            platform::StatusCode::kAccessDenied);
}

TEST_F(StoreRoundTrip, LongValuesAndManyParts) {
  Create();
  const NodeId inbox = Folder(u"Inbox");
  const std::u16string longSubject(10'000, u's');
  PropertyList list = Message(longSubject, u"");
  auto body = store->NewValue(ValueWriter::Kind::kText);
  STORE_OK(body);
  const std::u16string line = u"All work and no play \x05D0\x4E2D\xD83D\xDE00.\r\n";
  std::u16string text;
  while (text.size() < 15'000'000) text += line;
  for (std::size_t at = 0; at < text.size(); at += 9973) {
    STORE_OK(body->AppendText(std::u16string_view(text).substr(at, 9973)));
  }
  auto stored = body->Finish();
  STORE_OK(stored);
  EXPECT_EQ(stored->size, 2 * text.size());
  list.SetStored(kBody, *stored);
  std::vector<PropertyList> recipients;
  for (int i = 0; i < 5000; ++i) {
    const std::u16string number = platform::Utf8ToUtf16(std::to_string(i));
    recipients.push_back(Recipient(u"Recipient " + number, number + u"@example.com"));
  }
  std::vector<StoredAttachment> attachments;
  for (int i = 0; i < 500; ++i) {
    attachments.push_back(Attachment(platform::Utf8ToUtf16("file" + std::to_string(i) + ".bin"),
                                     std::string(i % 7 * 1500, static_cast<char>(i))));
  }
  const NodeId node = Insert(inbox, Write(list, recipients, std::move(attachments)));
  Close();
  ExpectFlawless();

  Open(StoreOpenMode::kRead);
  list.Remove(kBody.Id());
  list.SetInt32(tags::kMessageFlags, 0x11);
  ExpectMessage(node, list);
  auto message = store->OpenMessage(node);
  STORE_OK(message);
  auto value = message->properties().OpenValue(kBody);
  STORE_OK(value);
  std::vector<std::byte> piece(1 << 20);
  std::u16string read;
  while (read.size() < text.size()) {
    auto count = value->ReadAt(2 * read.size(), piece);
    STORE_OK(count);
    ASSERT_GT(*count, 0u);
    read += DecodeText(std::span(piece).first(*count));
  }
  EXPECT_TRUE(read == text);
  auto table = message->Recipients();
  STORE_OK(table);
  ASSERT_EQ((*table)->rows(), recipients.size());
  for (std::size_t i = 0; i < recipients.size(); ++i) {
    STORE_OK((*table)->SelectRow(i));
    PropertyList row;
    STORE_OK((*table)->ReadRow(row, nullptr));
    ASSERT_EQ(row.size(), recipients[i].size());
    ASSERT_EQ(*row.Text(kAddress), *recipients[i].Text(kAddress));
  }
  auto nodes = message->AttachmentNodes();
  STORE_OK(nodes);
  ASSERT_EQ(nodes->size(), 500u);
  for (int i = 0; i < 500; ++i) {
    auto attachment = message->OpenAttachment((*nodes)[i]);
    STORE_OK(attachment);
    const auto data = *attachment->properties().Bytes(tags::kAttachDataBinary);
    ASSERT_EQ(data, std::vector<std::byte>(i % 7 * 1500, static_cast<std::byte>(i)));
  }
}

TEST_F(StoreRoundTrip, FoldersSideBySideAndNested) {
  Create();
  constexpr std::u16string_view kScripts[] = {u"\x0416\x0443\x043A", u"\x65E5\x672C\x8A9E",
                                              u"\x05E9\x05DC\x05D5\x05DD", u"a/b\\c",
                                              u"\xD83D\xDE00 smile"};
  NodeId parent = store->ipmSubtree();
  for (int i = 0; i < 150; ++i) {
    parent = Folder(parent, u"Nested " + platform::Utf8ToUtf16(std::to_string(i)));
  }
  const NodeId wide = Folder(u"Wide");
  for (int i = 0; i < 150; ++i) {
    const std::u16string name =
        std::u16string(kScripts[i % 5]) + platform::Utf8ToUtf16(std::to_string(i));
    const NodeId folder = Folder(wide, name);
    // More folders than tables are kept open, visited twice.
    for (int m = 0; m < 2; ++m) Insert(folder, Message(u"First", u"text", m));
  }
  auto children = store->Subfolders(wide);
  STORE_OK(children);
  ASSERT_EQ(children->size(), 150u);
  for (const SubfolderEntry& child : *children) Insert(child.node, Message(u"Second", u"text"));
  EXPECT_EQ(store->CreateFolder(wide, u"\x0416\x0423\x041A" + std::u16string(u"0")).status().code(),
            platform::StatusCode::kExists);
  EXPECT_EQ(store->FindFolder(wide, u"none").status().code(), platform::StatusCode::kNotFound);
  Close();
  EXPECT_EQ(store->statistics().foldersCommitted, 301u);
  ExpectFlawless();
  ExpectItems(450);
  Open(StoreOpenMode::kRead);
  EXPECT_EQ(store->CountsOf((*children)[77].node)->messages, 3u);
  EXPECT_EQ(store->CountsOf((*children)[77].node)->unread, 1u);
  EXPECT_TRUE(store->CountsOf(wide)->hasSubfolders);
}

TEST_F(StoreRoundTrip, ChangesAfterReopening) {
  Create();
  const NodeId inbox = Folder(u"Inbox");
  std::vector<NodeId> nodes;
  for (int i = 0; i < 200; ++i) nodes.push_back(Insert(inbox, Message(u"Old", u"text", 0)));
  Close();
  for (int round = 0; round < 3; ++round) {
    Open();
    for (int i = 0; i < 50; ++i) {
      STORE_OK(store->DeleteMessage(nodes[i]));
    }
    nodes.erase(nodes.begin(), nodes.begin() + 50);
    for (int i = 0; i < 10; ++i) {
      STORE_OK(store->ReplaceMessage(
          nodes[i], Write(Message(std::u16string(3000 * round, u'r'), u"new text", 1))));
    }
    for (int i = 0; i < 30; ++i) nodes.push_back(Insert(inbox, Message(u"New", u"text", 1)));
    // What was changed but not committed is there for readers.
    EXPECT_EQ(store->OpenContentsTable(inbox)->rows(), nodes.size());
    auto properties = store->OpenFolderProperties(inbox);
    STORE_OK(properties);
    EXPECT_EQ(*properties->Scalar(tags::kContentCount), nodes.size());
    EXPECT_EQ(*properties->Scalar(tags::kContentUnreadCount), store->CountsOf(inbox)->unread);
    Close();
    ExpectFlawless();
    ExpectItems(nodes.size());
  }
}

// Another program may have left wrong counts behind.
TEST_F(StoreRoundTrip, CountsAreMadeRightAndNeverLessThanNone) {
  Create();
  const NodeId inbox = Folder(u"Inbox");
  const NodeId nodes[] = {Insert(inbox, Message(u"one", u"x", 0)),
                          Insert(inbox, Message(u"two", u"x", 0))};
  Close();
  Open();
  NodeDatabase& database = store->database();
  const NodeRecord folder = **database.FindNode(inbox);
  PropertyList properties = *CopyProperties(database, folder);
  properties.SetInt32(tags::kContentUnreadCount, 0);
  properties.SetInt32(tags::kContentCount, 7);
  STORE_OK(ReplaceProperties(database, folder, properties));
  STORE_OK(store->ReplaceMessage(nodes[0], Write(Message(u"one", u"x", 1))));
  EXPECT_EQ(store->CountsOf(inbox)->unread, 0u);
  EXPECT_EQ(store->CountsOf(inbox)->messages, 2u);
  STORE_OK(store->DeleteMessage(nodes[1]));
  EXPECT_EQ(store->CountsOf(inbox)->unread, 0u);
}

// New folders share the blocks of an empty template, but no more of them than a count can hold.
TEST_F(StoreRoundTrip, ATemplateIsSharedWithinItsLimit) {
  Create();
  Folder(u"First");
  NodeDatabase& database = store->database();
  const BlockId shared =
      (*database.FindNode(Folder(u"Second").Sibling(NodeKind::kContentsTable)))->data;
  const auto other = [](std::uint32_t i) { return NodeId(NodeKind::kMessage, 0x20000 + i); };
  std::uint32_t others = 0;
  while (database.PutNode({other(others), shared, {}, {}}).ok()) ++others;
  EXPECT_GT(others, 60'000u);
  Folder(u"Third");
  while (others > 0) STORE_OK(database.DeleteNode(other(--others)));
  Close();
  ExpectFlawless();
}

TEST_F(StoreRoundTrip, AttachmentsSurviveANewVersionOfTheirMessage) {
  Create();
  const NodeId inbox = Folder(u"Inbox");
  std::vector<StoredAttachment> attachments;
  attachments.push_back(Attachment(u"large.bin", std::string(100'000, 'L')));
  const NodeId node = Insert(inbox, Write(Message(u"One", u"x"), {}, std::move(attachments)));
  Close();
  Open();
  auto message = store->OpenMessage(node);
  STORE_OK(message);
  std::vector<StoredAttachment> kept;
  auto nodes = message->AttachmentNodes();
  STORE_OK(nodes);
  for (const NodeId attachment : *nodes) {
    auto shared = store->ShareAttachment(*message, attachment);
    STORE_OK(shared);
    kept.push_back(std::move(*shared));
  }
  kept.push_back(Attachment(u"more.txt", "more"));
  PropertyList changed = Message(u"Two", u"");
  auto body = store->ShareValue(message->properties(), kBody);
  STORE_OK(body);
  changed.SetStored(kBody, *body);
  STORE_OK(store->ReplaceMessage(node, Write(std::move(changed), {}, std::move(kept))));
  Close();
  ExpectFlawless();
  Open(StoreOpenMode::kRead);
  message = store->OpenMessage(node);
  STORE_OK(message);
  EXPECT_EQ(message->AttachmentNodes()->size(), 2u);
  EXPECT_EQ(*message->properties().Text(kBody), u"x");
}

TEST_F(StoreRoundTrip, AbandonedPartsLeaveNothing) {
  Create();
  const NodeId inbox = Folder(u"Inbox");
  store->Abandon(Attachment(u"gone.bin", std::string(50'000, 'g')));
  store->Abandon(Write(Message(u"gone", std::u16string(9000, u'g'))));
  {
    auto dropped = store->NewValue(ValueWriter::Kind::kBytes);
    STORE_OK(dropped);
    STORE_OK(dropped->Append(std::vector<std::byte>(30'000)));
  }
  auto open = store->NewValue(ValueWriter::Kind::kBytes);
  STORE_OK(open);
  STORE_OK(open->Append(std::vector<std::byte>(30'000, std::byte{1})));
  Insert(inbox, Message(u"kept", u"text"));
  STORE_OK(store->Commit());
  // A value begun before a commit can be used after it.
  STORE_OK(open->Append(std::vector<std::byte>(30'000, std::byte{2})));
  PropertyList list = Message(u"spans a commit", u"text");
  list.SetStored(kHtml, *open->Finish());
  const NodeId node = Insert(inbox, std::move(list));
  Close();
  ExpectFlawless();
  ExpectItems(2);
  Open(StoreOpenMode::kRead);
  auto html = store->OpenMessage(node)->properties().Bytes(kHtml);
  STORE_OK(html);
  EXPECT_EQ(html->size(), 60'000u);
  EXPECT_EQ(html->back(), std::byte{2});
}

TEST_F(StoreRoundTrip, FolderProperties) {
  Create();
  const NodeId one = Folder(u"One");
  const NodeId two = Folder(u"Two");
  Insert(two, Message(u"in two", u"x", 0));
  PropertyList set;
  set.SetText(tags::kDisplayName, u"ONE");
  EXPECT_EQ(store->ChangeFolderProperties(two, set).code(), platform::StatusCode::kExists);
  STORE_OK(store->ChangeFolderProperties(one, set));
  set.SetText(tags::kDisplayName, u"Three");
  set.SetText(tags::kComment, std::u16string(4000, u'c'));
  set.SetInt32(tags::kContentCount, 99);
  STORE_OK(store->ChangeFolderProperties(two, set));
  EXPECT_EQ(store->FindFolder(store->ipmSubtree(), u"two").status().code(),
            platform::StatusCode::kNotFound);
  EXPECT_EQ(*store->FindFolder(store->ipmSubtree(), u"three"), two);
  const std::uint16_t removed[] = {tags::kContainerClass.Id()};
  STORE_OK(store->ChangeFolderProperties(one, {}, removed));
  PropertyList storeSet;
  storeSet.SetText(tags::kDisplayName, u"Renamed store");
  STORE_OK(store->ChangeStoreProperties(storeSet));
  Close();
  ExpectFlawless();
  Open(StoreOpenMode::kRead);
  EXPECT_EQ(*store->OpenStoreProperties()->Text(tags::kDisplayName), u"Renamed store");
  EXPECT_EQ(store->OpenFolderProperties(two)->Text(tags::kComment)->size(), 4000u);
  EXPECT_EQ(*store->OpenFolderProperties(two)->Scalar(tags::kContentCount), 1u);
  EXPECT_FALSE(store->OpenFolderProperties(one)->Has(tags::kContainerClass));
}

TEST_F(StoreRoundTrip, AssociatedMessagesStayApart) {
  Create();
  const NodeId inbox = Folder(u"Inbox");
  EXPECT_EQ(store->InsertMessage(inbox, Write(Message(u"view", u"x")), true).status().code(),
            platform::StatusCode::kInvalidArgument);
  auto node = store->InsertMessage(inbox, Write(Message(u"view", u"x", 0x41)), true);
  STORE_OK(node);
  EXPECT_EQ(store->OpenAssociatedTable(inbox)->rows(), 1u);
  EXPECT_EQ(store->CountsOf(inbox)->messages, 0u);
  Close();
  ExpectFlawless();
  Open();
  STORE_OK(store->DeleteMessage(*node));
  Close();
  ExpectFlawless();
}

TEST_F(StoreRoundTrip, MessagesThatSumUpToTwoGiBAreRefused) {
  Create();
  StoredAttachment large = Attachment(u"a", "x");
  large.size = 0x7FFFFFFF;  // as if it were
  const auto written = store->WriteMessage(Message(u"s", u"b"), ListRowSource({}), {large});
  EXPECT_EQ(written.status().code(), platform::StatusCode::kTooBig);
  Close();
  ExpectFlawless();
}

TEST_F(StoreRoundTrip, NamedProperties) {
  const PropertyName names[] = {
      PropertyName::String(kPsInternetHeaders, u"X-Custom-Header"),
      PropertyName::String(kPsPublicStrings, u"Keywords"),
      PropertyName::Number(kPsMapi, 0x1234),
      PropertyName::Number(MakeGuid(1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}), 0x8005),
      PropertyName::String(MakeGuid(9, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}), u"\x0416 name"),
      PropertyName::Number(Guid{}, 7),
  };
  Create();
  std::vector<std::uint16_t> ids;
  for (const PropertyName& name : names) {
    auto id = store->PropertyIdOfName(name, true);
    STORE_OK(id);
    ids.push_back(*id);
  }
  for (int i = 0; i < 600; ++i) {
    const auto name = u"x-generated-" + platform::Utf8ToUtf16(std::to_string(i));
    STORE_OK(store->PropertyIdOfName(PropertyName::String(kPsInternetHeaders, name), true));
  }
  PropertyList list = Message(u"named", u"x");
  list.SetText(PropTag(ids[0], PropType::kUnicode), u"value");
  Insert(Folder(u"Inbox"), std::move(list));
  Close();
  ExpectFlawless();
  ExpectItems(1);
  Open(StoreOpenMode::kRead);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    EXPECT_EQ(*store->PropertyIdOfName(names[i], false), ids[i]);
  }
  EXPECT_EQ(*store->PropertyIdOfName(PropertyName::String(kPsPublicStrings, u"KEYWORDS"), false),
            ids[1]);
  EXPECT_EQ(store->NameOfPropertyId(ids[0])->name, u"x-custom-header");
  EXPECT_EQ(*store->NameOfPropertyId(ids[4]), names[4]);
  EXPECT_EQ(store->NameOfPropertyId(0xFFF0).status().code(), platform::StatusCode::kNotFound);
  EXPECT_EQ(store->PropertyIdOfName(PropertyName::Number(kPsMapi, 1), false).status().code(),
            platform::StatusCode::kNotFound);
}

TEST_F(StoreRoundTrip, TextStreamsAreFreedOfUnpairedSurrogates) {
  Create();
  auto text = store->NewValue(ValueWriter::Kind::kText);
  STORE_OK(text);
  STORE_OK(text->AppendText(std::u16string(4000, u'x') + u"\xD83D"));
  STORE_OK(text->AppendText(u"\xDE00\xD83D"));
  STORE_OK(text->AppendText(u"y\xDC00"));
  const std::uint8_t split[] = {0x3D, 0xD8, 0x00, 0xDE, 0x41};
  STORE_OK(text->Append(std::as_bytes(std::span(split).first(3))));
  STORE_OK(text->Append(std::as_bytes(std::span(split).subspan(3))));
  STORE_OK(text->Append(std::as_bytes(std::span(split).first(1))));
  STORE_OK(text->AppendText(u"\xD800"));
  PropertyList list = Message(u"\xDE00 lonely \xD83D", u"");
  list.SetStored(kBody, *text->Finish());
  const NodeId node = Insert(Folder(u"Inbox \xD800"), std::move(list));
  Close();
  ExpectFlawless();
  Open(StoreOpenMode::kRead);
  auto message = store->OpenMessage(node);
  STORE_OK(message);
  EXPECT_EQ(DecodeSubject(*message->properties().Text(tags::kSubject)).subject,
            u"\xFFFD lonely \xFFFD");
  const std::u16string body = *message->properties().Text(kBody);
  EXPECT_EQ(body.substr(4000), u"\xD83D\xDE00\xFFFDy\xFFFD\xD83D\xDE00\x3D41\xFFFD");
  STORE_OK(store->FindFolder(store->ipmSubtree(), u"inbox \xFFFD"));
}

TEST(StoreSubject, PrefixForms) {
  EXPECT_EQ(EncodeSubject(u"RE: x", 4), u"\x01\x05RE: x");
  EXPECT_EQ(EncodeSubject(u"x", 4), u"\x01\x01x");
  EXPECT_EQ(EncodeSubject(u"\x01y", 0), u"\x01\x01\x01y");
  EXPECT_EQ(DecodeSubject(u"\x01\x05RE: x").prefixLength, 4u);
  EXPECT_EQ(DecodeSubject(u"\x01\x05RE: x").subject, u"RE: x");
  EXPECT_EQ(DecodeSubject(u"\x01\x09RE").prefixLength, 0u);
  EXPECT_EQ(DecodeSubject(u"plain").subject, u"plain");
  EXPECT_EQ(DecodeSubject(u"\x01").subject, u"\x01");
}

}  // namespace
}  // namespace parvane::pstfile
