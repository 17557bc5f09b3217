#include "pstfile/check/name_map_check.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "pstfile/check/property_check.h"
#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {
namespace {

using fields::NameEntry;

constexpr std::size_t kEntrySize = fields::kSizeOf<NameEntry>;
constexpr std::uint32_t kUsualBuckets = 251;
constexpr std::uint16_t kFirstBucket = 0x1000;
constexpr std::size_t kMaximumEntries = 0x7FFE;
constexpr std::size_t kMaximumStrings = std::size_t{32} << 20;
constexpr std::uint16_t kFirstStreamGuid = 3;

class NameMapCheck {
 public:
  NameMapCheck(Context& context, PropertyContext& pc) : _context(context), _pc(pc) {}

  void Run() {
    if (!ReadStreams()) return;
    CheckEntries();
    CheckBuckets();
    CheckDuplicates();
  }

 private:
  struct Entry {
    std::uint32_t hash = 0;  // the number itself, or the check sum of the text
    std::uint16_t guid = 0;  // wGuid: bit 0 set for text
    bool sound = false;
    std::uint32_t index = 0;
    std::uint32_t offset = 0;  // of the text
  };

  void Fault(const std::string& what) { _pc.heap().Fault(codes::kNameMap, what); }

  std::vector<std::byte> Stream(std::uint16_t id, std::size_t limit) {
    const auto bytes = _pc.Bytes(PropTag(id, PropType::kBinary), limit + 1);
    if (!bytes) {
      Fault(Say("stream ", Hex{id}, " is missing"));
      return {};
    }
    if (bytes->size() > limit) {
      Fault(Say("stream ", Hex{id}, " has more than ", limit, " bytes"));
      return {};
    }
    return *bytes;
  }

  bool ReadStreams() {
    const auto buckets = _pc.Number(PropTag(1, PropType::kInt32));
    // Each is a property of its own, from id 0x1000 on.
    if (!buckets || *buckets == 0 || *buckets > 0xE000) {
      Fault("the number of its hash buckets is missing or impossible");
      return false;
    }
    _buckets = static_cast<std::uint32_t>(*buckets);
    if (_buckets != kUsualBuckets) {
      _pc.heap().Habit(codes::kNameMap,
                       Say(_buckets, " hash buckets, every known file has ", kUsualBuckets));
    }
    const auto guids = Stream(2, 16 * (kMaximumEntries + 1));
    _guids = guids.size() / 16;
    if (guids.size() % 16 != 0) Fault("its stream of GUIDs ends within one");
    const auto entries = Stream(3, kEntrySize * kMaximumEntries);
    if (entries.size() % kEntrySize != 0) Fault("its stream of entries ends within one");
    _strings = Stream(4, kMaximumStrings);
    _raw.assign(entries.begin(), entries.end());
    _context.names = static_cast<std::uint32_t>(entries.size() / kEntrySize);
    return true;
  }

  // The text at an offset of the string stream.
  std::optional<std::span<const std::byte>> TextAt(std::uint32_t offset) const {
    if (std::uint64_t{offset} + 4 > _strings.size()) return std::nullopt;
    const std::uint64_t size = LoadU32(_strings, offset);
    if (size > _strings.size() - offset - 4) return std::nullopt;
    return std::span(_strings).subspan(offset + 4, static_cast<std::size_t>(size));
  }

  void CheckEntries() {
    for (std::size_t at = 0; at + kEntrySize <= _raw.size(); at += kEntrySize) {
      Entry entry;
      entry.index = static_cast<std::uint32_t>(at / kEntrySize);
      entry.hash = LoadField<std::uint32_t>(_raw, NameEntry::kName, at);
      entry.guid = LoadField<std::uint16_t>(_raw, NameEntry::kGuid, at);
      entry.sound = true;
      if (const auto number = LoadField(_raw, NameEntry::kIndex, at); number != entry.index) {
        Fault(Say("entry ", entry.index, " is numbered ", number));
      }
      const unsigned guid = entry.guid >> 1;
      if (guid >= kFirstStreamGuid && guid - kFirstStreamGuid >= _guids) {
        Fault(Say("entry ", entry.index, " has GUID number ", guid, " of ", _guids, " and 3"));
      }
      if ((entry.guid & 1) != 0) {
        entry.offset = entry.hash;
        const auto text = TextAt(entry.offset);
        if (text) {
          entry.hash = Crc(*text);
        } else {
          entry.sound = false;
          Fault(
              Say("entry ", entry.index, ": its text is not inside the stream, at ", entry.offset));
        }
      }
      _entries.push_back(entry);
    }
  }

  void CheckBuckets() {
    std::vector<bool> seen(_entries.size());
    for (const PropertyEntry& property : _pc.entries()) {
      const unsigned bucket = property.tag.Id() - unsigned{kFirstBucket};
      if (property.tag.Id() < kFirstBucket || bucket >= _buckets) continue;
      const auto records = _pc.Bytes(property.tag, kEntrySize * kMaximumEntries);
      if (!records) continue;
      if (records->size() % kEntrySize != 0) Fault(Say("bucket ", bucket, " ends within a record"));
      for (std::size_t at = 0; at + kEntrySize <= records->size(); at += kEntrySize) {
        const auto hash = LoadField<std::uint32_t>(*records, NameEntry::kName, at);
        const auto guid = LoadField<std::uint16_t>(*records, NameEntry::kGuid, at);
        const auto index = LoadField<std::uint16_t>(*records, NameEntry::kIndex, at);
        const bool fits = index < _entries.size() && _entries[index].hash == hash &&
                          _entries[index].guid == guid && (hash ^ guid) % _buckets == bucket &&
                          !seen[index];
        if (fits) {
          seen[index] = true;
        } else {
          Fault(Say("bucket ", bucket, ": the record of entry ", index, " (", Hex{hash}, ", ",
                    Hex{guid}, ") does not belong there"));
        }
      }
    }
    for (const Entry& entry : _entries) {
      if (entry.sound && !seen[entry.index]) {
        Fault(Say("entry ", entry.index, " is in no hash bucket"));
      }
    }
  }

  // Text compares without regard to the case of ASCII letters.
  std::u16string FoldedText(const Entry& entry) const {
    const auto bytes = TextAt(entry.offset);
    std::u16string text = bytes ? TextOf(*bytes) : std::u16string();
    for (char16_t& c : text) {
      if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
    }
    return text;
  }

  void CheckDuplicates() {
    struct Key {
      std::uint16_t guid;
      std::uint32_t number;
      std::u16string text;
      std::uint32_t index;
      auto Tie() const { return std::tie(guid, number, text, index); }
    };
    std::vector<Key> keys;
    for (const Entry& entry : _entries) {
      if (!entry.sound) continue;
      const bool isText = (entry.guid & 1) != 0;
      keys.push_back({entry.guid, isText ? 0 : entry.hash,
                      isText ? FoldedText(entry) : std::u16string(), entry.index});
    }
    std::sort(keys.begin(), keys.end(),
              [](const Key& a, const Key& b) { return a.Tie() < b.Tie(); });
    for (std::size_t i = 1; i < keys.size(); ++i) {
      if (keys[i].guid == keys[i - 1].guid && keys[i].number == keys[i - 1].number &&
          keys[i].text == keys[i - 1].text) {
        _pc.heap().Habit(codes::kNameDuplicate, Say("entries ", keys[i - 1].index, " and ",
                                                    keys[i].index, " have the same name"));
      }
    }
  }

  Context& _context;
  PropertyContext& _pc;
  std::uint32_t _buckets = 0;
  std::size_t _guids = 0;
  std::vector<std::byte> _raw;
  std::vector<std::byte> _strings;
  std::vector<Entry> _entries;
};

}  // namespace

void CheckNameMap(Context& context) {
  const auto node = context.image.FindNode(kNidNameToIdMap);
  if (!node) return;
  auto pc = PropertyContext::Open(context, {node->data, node->sub}, "name map");
  if (!pc) return;
  NameMapCheck(context, *pc).Run();
  pc->Finish();
}

}  // namespace parvane::pstfile::check
