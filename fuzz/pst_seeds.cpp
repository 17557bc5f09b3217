// Writes small PSTs, or those named, as inputs of the PST's fuzz targets (fuzz/pst_image.h).
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/pst_image.h"
#include "platform/path.h"
#include "pstfile/ndb/header.h"
#include "pstfile/store/pst_store.h"

namespace {

using namespace parvane;
using namespace parvane::pstfile;

constexpr std::size_t kUnit = 64;
// Sealed, and everything done to it that a target can do.
constexpr std::uint8_t kFlags = 15;

std::string ToInput(const Bytes& file, std::uint8_t flags) {
  std::string out{static_cast<char>(flags), static_cast<char>(file.size() / kUnit),
                  static_cast<char>(file.size() / kUnit >> 8)};
  const auto empty = [&](std::size_t unit) {
    const auto bytes = std::span(file).subspan(unit * kUnit, kUnit);
    return std::ranges::all_of(bytes, [](std::byte b) { return b == std::byte{0}; });
  };
  const std::size_t units = std::min<std::size_t>(file.size() / kUnit, 0xFFFF);
  for (std::size_t at = 0; at < units;) {
    std::size_t count = 0;
    while (count < 255 && at + count < units && !empty(at + count)) ++count;
    if (count == 0) {
      ++at;
      continue;
    }
    out += {static_cast<char>(at), static_cast<char>(at >> 8), static_cast<char>(count)};
    out.append(reinterpret_cast<const char*>(file.data()) + at * kUnit, count * kUnit);
    at += count;
  }
  return out;
}

template <typename T>
T Must(platform::Result<T> result) {
  if (result.ok()) return std::move(*result);
  std::fprintf(stderr, "%s\n", result.status().message().c_str());
  std::exit(1);
}
void Must(const platform::Status& status) {
  if (!status.ok()) (void)Must(platform::Result<int>(status));
}

PropertyList Mail(std::u16string_view subject) {
  PropertyList list;
  list.SetText(tags::kMessageClass, u"IPM.Note");
  list.SetInt32(tags::kMessageFlags, 1);
  list.SetText(tags::kSubject, subject);
  list.SetText(PropTag(0x1000001F), u"A body.");
  return list;
}

StoredMessage Write(PstStore& store, PropertyList list, std::vector<StoredAttachment> files = {}) {
  std::vector<PropertyList> recipients(2);
  for (PropertyList& row : recipients) {
    row.SetInt32(tags::kRecipientType, 1);
    row.SetText(tags::kDisplayName, u"Somebody");
  }
  return Must(store.WriteMessage(std::move(list), ListRowSource(recipients), std::move(files)));
}

using Fill = void (*)(PstStore&, NodeId);

// Attachments by value, in an XBLOCK and embedded; a named property; an associated message.
void Various(PstStore& store, NodeId folder) {
  std::vector<StoredAttachment> files;
  PropertyList file;
  file.SetText(PropTag(0x3707001F), u"data.bin");
  file.SetInt32(tags::kAttachMethod, 1);
  file.SetBytes(tags::kAttachDataBinary, std::vector<std::byte>(20'000));
  files.push_back(Must(store.WriteAttachment(std::move(file))));
  files.push_back(Must(store.WriteAttachment({}, Write(store, Mail(u"inside")))));
  PropertyList list = Mail(u"outside");
  const std::uint16_t id =
      Must(store.PropertyIdOfName(PropertyName::String(kPsInternetHeaders, u"x-name"), true));
  list.SetText(PropTag(id, PropType::kUnicode), u"value");
  Must(store.InsertMessage(folder, Write(store, std::move(list), std::move(files))));
  PropertyList hidden = Mail(u"hidden");
  hidden.SetInt32(tags::kMessageFlags, 0x41);
  Must(store.InsertMessage(folder, Write(store, std::move(hidden)), true));
}

// Enough rows for a matrix of its own, enough nodes for two storeys of pages.
void Many(PstStore& store, NodeId folder) {
  for (int i = 0; i < 40; ++i) {
    Must(store.InsertMessage(folder, Must(store.WriteMessage(Mail(u"m"), ListRowSource({}), {}))));
  }
}

void Nothing(PstStore&, NodeId) {}

using Damage = void (*)(Bytes&);

// Less than the header tells of, though all that is in use is there, and no id that is free.
void CutOff(Bytes& file) {
  FileHeader header = FileHeader::Decode(std::span(file).first<kHeaderSize>());
  header.nextBlockId = 0;
  std::ranges::copy(header.Encode(), file.begin());
  file.resize(kFirstAMapOffset + 5 * kAMapInterval / 2);
}

struct Seed {
  const char* name;
  Fill fill;
  StoreEncoding encoding;
  bool close;
  Damage damage = nullptr;
};

constexpr Seed kSeeds[] = {
    {"empty", Nothing, StoreEncoding::kNone, true},
    {"various", Various, StoreEncoding::kNone, true},
    {"permute", Nothing, StoreEncoding::kPermute, true},
    {"cyclic", Nothing, StoreEncoding::kCyclic, true},
    {"many", Many, StoreEncoding::kNone, true},
    {"unclosed", Various, StoreEncoding::kNone, false},
    {"cut", Various, StoreEncoding::kNone, false, CutOff},
};

Bytes Make(const Seed& seed) {
  MemoryFiles files;
  auto store = Must(
      PstStore::Create(files, kFuzzedPath, {.displayName = u"Seed", .encoding = seed.encoding}));
  seed.fill(*store, Must(store->CreateFolder(store->ipmSubtree(), u"Inbox")));
  Must(store->Commit());
  // As a crash would leave it, when it is not to be closed.
  Bytes file = files[kFuzzedPath];
  Must(store->Close());
  if (seed.close) file = files[kFuzzedPath];
  if (seed.damage != nullptr) seed.damage(file);
  return file;
}

void Save(std::u16string_view folder, std::string_view name, const Bytes& file) {
  const std::string input = ToInput(file, kFlags);
  auto& files = platform::FileSystem::Default();
  const std::u16string path = platform::JoinPath(folder, platform::PathFromNative(name));
  (void)files.Remove(path);
  auto out = Must(files.Open(path, platform::FileSystem::OpenMode::kCreateNew));
  Must(out->WriteAt(0, std::as_bytes(std::span(input))));
  std::printf("%.*s: %zu bytes\n", static_cast<int>(name.size()), name.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::u16string folder = platform::PathFromNative(argv[1]);
  for (const Seed& seed : kSeeds) {
    if (argc == 2) Save(folder, seed.name, Make(seed));
  }
  for (int i = 2; i < argc; ++i) {
    const std::u16string path = platform::PathFromNative(argv[i]);
    const std::string text = Must(platform::ReadWholeFile(platform::FileSystem::Default(), path));
    const auto bytes = std::as_bytes(std::span(text));
    Save(folder, platform::PathForDisplay(platform::FileNameOfPath(path)),
         Bytes(bytes.begin(), bytes.end()));
  }
  return 0;
}
