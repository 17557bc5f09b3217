// A damaged PST that mail is added to: what is reported as written must be there afterwards.
#include <string>
#include <vector>

#include "fuzz/expect.h"
#include "fuzz/pst_image.h"
#include "tests/pstfile/store_walk.h"

namespace {

using namespace parvane;
using namespace parvane::pstfile;
using platform::Status;

constexpr PropTag kBody{0x1000001F};
constexpr PropTag kLongName{0x3707001F};

std::u16string SubjectOf(std::size_t number) {
  return u"added " + std::u16string(number % 7, u'x') + static_cast<char16_t>(u'a' + number % 26);
}

class Appending {
 public:
  explicit Appending(PstImage& image) : _image(image) {}

  void Run() {
    auto opened = PstStore::Open(_image.files(), kFuzzedPath, StoreOpenMode::kReadWrite);
    if (!opened.ok()) return;
    PstStore& store = **opened;
    std::vector<NodeId> folders{store.ipmSubtree()};
    if (auto children = store.Subfolders(store.ipmSubtree()); children.ok()) {
      for (std::size_t i = 0; i < std::min<std::size_t>(children->size(), 4); ++i) {
        folders.push_back((*children)[i].node);
      }
    }
    if (auto made = store.CreateFolder(store.ipmSubtree(), u"Added"); made.ok()) {
      folders.push_back(*made);
    }
    for (const NodeId folder : folders) {
      for (int i = 0; i < 3; ++i) Add(store, folder);
      Disturb(store, folder);
      if ((_image.flags() & 2) != 0) (void)store.Commit();
    }
    if (!store.Close().ok()) return;
    opened->reset();
    LookAgain();
  }

 private:
  void Add(PstStore& store, NodeId folder) {
    PropertyList list;
    list.SetText(tags::kMessageClass, u"IPM.Note");
    list.SetInt32(tags::kMessageFlags, 1);
    list.SetText(tags::kSubject, SubjectOf(_added.size()));
    list.SetText(kBody, std::u16string(_added.size() * 900, u'b'));
    auto id = store.PropertyIdOfName(PropertyName::String(kPsInternetHeaders, u"x-added"), true);
    if (id.ok()) list.SetText(PropTag(*id, PropType::kUnicode), u"value");
    std::vector<StoredAttachment> attachments;
    if (_added.size() % 3 == 1) {
      PropertyList file;
      file.SetText(kLongName, u"data.bin");
      file.SetInt32(tags::kAttachMethod, 1);
      file.SetBytes(tags::kAttachDataBinary, std::vector<std::byte>(9000));
      auto attachment = store.WriteAttachment(std::move(file));
      if (attachment.ok()) attachments.push_back(std::move(*attachment));
    }
    PropertyList recipient;
    recipient.SetInt32(tags::kRecipientType, 1);
    recipient.SetText(tags::kDisplayName, u"Somebody");
    const std::vector<PropertyList> recipients{recipient};
    auto message =
        store.WriteMessage(std::move(list), ListRowSource(recipients), std::move(attachments));
    if (!message.ok()) return;
    auto node = store.InsertMessage(folder, std::move(*message));
    if (node.ok()) _added.push_back(*node);
  }

  // Changes what was there before: removals, names, new versions.
  void Disturb(PstStore& store, NodeId folder) {
    if ((_image.flags() & 4) != 0) {
      PropertyList name;
      name.SetText(PropTag(0x3004001F), u"a comment");
      (void)store.ChangeFolderProperties(folder, name);
    }
    if ((_image.flags() & 8) == 0) return;
    auto table = store.OpenContentsTable(folder);
    if (!table.ok() || table->rows() == 0 || !table->SelectRow(0).ok()) return;
    const NodeId first(table->RowId());
    if (std::ranges::find(_added, first) == _added.end()) (void)store.DeleteMessage(first);
  }

  void LookAgain() {
    auto again = PstStore::Open(_image.files(), kFuzzedPath, StoreOpenMode::kRead);
    Expect(again.ok(), "a file that was closed opens");
    for (std::size_t i = 0; i < _added.size(); ++i) {
      auto message = (*again)->OpenMessage(_added[i]);
      Expect(message.ok(), "what was added is there");
      auto subject = message->properties().Text(tags::kSubject);
      Expect(subject.ok() && *subject == SubjectOf(i), "with its text");
    }
    StoreWalker(**again, 5'000).Walk();
  }

  PstImage& _image;
  std::vector<NodeId> _added;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  PstImage image(std::as_bytes(std::span(data, size)));
  Appending(image).Run();
  return 0;
}
