// Verbs for tests of whole stores: build one on the disk, close it, let independent readers judge.
#pragma once

#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"
#include "platform/text.h"
#include "pstfile/store/pst_store.h"
#include "pstfile/store/subject.h"
#include "tests/support/findings.h"

namespace parvane::pstfile {

#define STORE_OK(expression)                                    \
  do {                                                          \
    const auto& storeOkStatus = StatusOf(expression);           \
    ASSERT_TRUE(storeOkStatus.ok()) << storeOkStatus.message(); \
  } while (false)

inline platform::Status StatusOf(const platform::Status& status) { return status; }
template <typename T>
platform::Status StatusOf(const platform::Result<T>& result) {
  return result.status();
}

inline constexpr PropTag kBody{0x1000001F};
inline constexpr PropTag kHtml{0x10130102};
inline constexpr PropTag kNormalizedSubject{0x0E1D001F};
inline constexpr PropTag kConversationTopic{0x0070001F};
inline constexpr PropTag kDisplayTo{0x0E04001F};
inline constexpr PropTag kAddressType{0x3002001F};
inline constexpr PropTag kAddress{0x3003001F};
inline constexpr PropTag kLongName{0x3707001F};
inline constexpr std::uint64_t kSomeTime = 0x01DA0000'12345678;

class StoreTest : public ::testing::Test {
 protected:
  platform::FileSystem& files = platform::FileSystem::Default();
  std::u16string path;
  std::unique_ptr<PstStore> store;
  std::uint8_t nextKey = 1;

  void SetUp() override {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string("parvane-") + std::to_string(platform::ProcessIdentifier()) +
                       "-" + test->test_suite_name() + "-" + test->name() + ".pst";
    for (char& c : name) c = c == '/' ? '-' : c;
    path = platform::JoinPath(platform::TemporaryFolder(), platform::Utf8ToUtf16(name));
    (void)files.Remove(path);
  }
  void TearDown() override {
    store.reset();
    (void)files.Remove(path);
  }

  void Create(const StoreCreateOptions& options = {.displayName = u"Test store"}) {
    auto created = PstStore::Create(files, path, options);
    STORE_OK(created);
    store = std::move(*created);
  }
  void Open(StoreOpenMode mode = StoreOpenMode::kReadWrite) {
    store.reset();
    auto opened = PstStore::Open(files, path, mode);
    STORE_OK(opened);
    store = std::move(*opened);
  }
  void Close() { STORE_OK(store->Close()); }

  NodeId Folder(NodeId parent, std::u16string_view name) {
    auto folder = store->CreateFolder(parent, name);
    EXPECT_TRUE(folder.ok()) << folder.status().message();
    return folder.ok() ? *folder : NodeId();
  }
  NodeId Folder(std::u16string_view name) { return Folder(store->ipmSubtree(), name); }

  PropertyList Message(std::u16string_view subject, std::u16string_view body,
                       std::uint32_t flags = 1) {
    PropertyList list;
    list.SetText(tags::kMessageClass, u"IPM.Note");
    list.SetInt32(tags::kMessageFlags, static_cast<std::int32_t>(flags));
    list.SetText(tags::kSubject, EncodeSubject(subject, 0));
    list.SetText(kConversationTopic, subject);
    list.SetText(kNormalizedSubject, subject);
    list.SetText(kBody, body);
    list.SetScalar(tags::kCreationTime, kSomeTime);
    list.SetScalar(tags::kLastModificationTime, kSomeTime + 7);
    list.SetScalar(PropTag(0x0E060040), kSomeTime + 1);
    list.SetScalar(PropTag(0x00390040), kSomeTime + 2);
    std::array<std::byte, 16> key{};
    key.fill(std::byte{nextKey++});
    list.SetBytes(tags::kSearchKey, key);
    return list;
  }
  static PropertyList Recipient(std::u16string_view name, std::u16string_view address) {
    PropertyList row;
    row.SetInt32(tags::kRecipientType, 1);
    row.SetBool(PropTag(0x0E0F000B), true);
    row.SetInt32(PropTag(0x0FFE0003), 6);
    row.SetInt32(PropTag(0x39000003), 0);
    row.SetText(tags::kDisplayName, name);
    row.SetText(kAddressType, u"SMTP");
    row.SetText(kAddress, address);
    row.SetText(PropTag(0x39FE001F), address);
    row.SetBool(PropTag(0x3A40000B), false);
    return row;
  }
  StoredAttachment Attachment(std::u16string_view name, std::string_view data) {
    PropertyList list;
    list.SetText(kLongName, name);
    list.SetText(tags::kDisplayName, name);
    list.SetInt32(tags::kAttachMethod, 1);
    list.SetBytes(tags::kAttachDataBinary, std::as_bytes(std::span(data.data(), data.size())));
    auto written = store->WriteAttachment(std::move(list));
    EXPECT_TRUE(written.ok()) << written.status().message();
    return written.ok() ? std::move(*written) : StoredAttachment();
  }
  StoredMessage Write(PropertyList list, const std::vector<PropertyList>& recipients = {},
                      std::vector<StoredAttachment> attachments = {}) {
    std::u16string to;
    for (const PropertyList& row : recipients) {
      if (!to.empty()) to += u"; ";
      to += row.Text(tags::kDisplayName).value_or(u"");
    }
    if (!recipients.empty()) list.SetText(kDisplayTo, to);
    auto written =
        store->WriteMessage(std::move(list), ListRowSource(recipients), std::move(attachments));
    EXPECT_TRUE(written.ok()) << written.status().message();
    return written.ok() ? std::move(*written) : StoredMessage();
  }
  NodeId Insert(NodeId folder, StoredMessage message) {
    auto node = store->InsertMessage(folder, std::move(message));
    EXPECT_TRUE(node.ok()) << node.status().message();
    return node.ok() ? *node : NodeId();
  }
  NodeId Insert(NodeId folder, PropertyList list) { return Insert(folder, Write(std::move(list))); }

  // ---- Judges outside of this project ----

  // Output (both streams) and exit code of a command with the store's path for "@".
  std::pair<int, std::string> Run(std::string command) {
    if (const auto at = command.find('@'); at != std::string::npos) {
      command.replace(at, 1, "'" + platform::PathToNative(path) + "'");
    }
    const std::u16string log = path + u".log";
    const int code =
        std::system((command + " >'" + platform::PathToNative(log) + "' 2>&1").c_str());
    auto output = platform::ReadWholeFile(files, log);
    (void)files.Remove(log);
    return {code, output.ok() ? *output : output.status().message()};
  }
  // Nothing at all found by our checker and by an independent one, in the rules for files we
  // write alone.
  void ExpectFlawless() {
    Findings found;
    STORE_OK(CheckFile(files, path, {.notes = true}, found));
    EXPECT_EQ(found.text, "");
#ifdef PARVANE_PSTCHECK
    const auto [code, output] = Run("python3 '" PARVANE_PSTCHECK "' check --writer @");
    EXPECT_EQ(code, 0) << output;
    EXPECT_NE(output.find(": 0 ERROR, 0 WARN;"), std::string::npos) << output;
#endif
  }
  // How many items readpst and lspst find.
  void ExpectItems([[maybe_unused]] std::size_t count) {
#ifdef PARVANE_LSPST
    const auto [code, output] = Run(std::string(PARVANE_LSPST) + " @");
    EXPECT_EQ(code, 0) << output;
    std::size_t found = 0;
    for (std::size_t at = output.find("Email"); at != std::string::npos;
         at = output.find("\nEmail", at + 1)) {
      ++found;
    }
    EXPECT_EQ(found, count) << output.substr(0, 2000);
#endif
#ifdef PARVANE_PFFINFO
    const auto [infoCode, info] = Run(std::string(PARVANE_PFFINFO) + " @");
    EXPECT_EQ(infoCode, 0) << info;
#endif
  }
};

}  // namespace parvane::pstfile
