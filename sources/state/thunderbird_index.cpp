#include "sources/state/thunderbird_index.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <deque>
#include <map>
#include <unordered_map>
#include <utility>

#include "platform/file.h"
#include "sources/state/mork/mork_reader.h"

namespace parvane::sources {
namespace {

using platform::Result;
using platform::Status;
using platform::StatusCode;

constexpr std::string_view kMark = "// <!-- <mdb:mork:z v=";
// Different sets of keywords, and the bytes of them all: no owner of mail has so many.
constexpr std::size_t kMostKeywordSets = 65'536;
constexpr std::size_t kMostKeywordBytes = 4 << 20;

enum Name : mork::Column {
  kMessages = 1,  // scope of messages
  kFolderInfo,    // scope of what is said of the folder
  kMessageTable,  // kind of the table of all messages
  kOtherTable,    // kind of a table of one thread's
  // Columns of messages; those before kSize are kept whole.
  kFirstColumn,
  kMessageId = kFirstColumn,
  kStoreToken,
  kMessageOffset,
  kSize,
  kFlags,
  kPriority,
  kLabel,
  kKeywords,
  kJunkScore,
  kDateReceived,
  kEndOfColumns,
  // Columns of the folder.
  kFolderSize = kEndOfColumns,
  kUidValidity,
};
constexpr std::size_t kColumns = kEndOfColumns - kFirstColumn;

constexpr std::pair<std::string_view, Name> kNames[] = {
    {"ns:msg:db:row:scope:msgs:all", kMessages},
    {"ns:msg:db:row:scope:dbfolderinfo:all", kFolderInfo},
    {"ns:msg:db:table:kind:msgs", kMessageTable},
    {"ns:msg:db:table:kind:thread", kOtherTable},
    {"message-id", kMessageId},
    {"storeToken", kStoreToken},
    {"msgOffset", kMessageOffset},
    {"size", kSize},
    {"flags", kFlags},
    {"priority", kPriority},
    {"label", kLabel},
    {"keywords", kKeywords},
    {"junkscore", kJunkScore},
    {"dateReceived", kDateReceived},
    {"folderSize", kFolderSize},
    {"UIDValidity", kUidValidity},
};

// All of the text is a number, or there is none.
std::optional<std::uint64_t> NumberIn(std::string_view text, int base) {
  std::uint64_t value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (text.empty() || read.ec != std::errc() || read.ptr != text.data() + text.size()) return {};
  return value;
}

int BaseOf(Name column) { return column == kStoreToken || column == kJunkScore ? 10 : 16; }

// One message while the index is read: a value where it is known, the number of one else. There may
// be two million of them, and so only what needs 64 bits has them.
class RawRow {
 public:
  std::uint16_t set = 0;       // a bit for each column
  std::uint16_t numbered = 0;  // whose cell is the number of a value
  std::uint32_t listed = 0;    // by the table as it was after so many emptyings; 0: not

  std::uint64_t At(std::size_t column) const {
    if (column < kWhole) return _whole[column];
    const std::uint32_t cell = _short[column - kWhole];
    return cell == kNone ? ThunderbirdIndex::kNowhere : cell;
  }
  void Put(std::size_t column, std::uint64_t cell) {
    if (column < kWhole) {
      _whole[column] = cell;
    } else {
      _short[column - kWhole] = static_cast<std::uint32_t>(std::min<std::uint64_t>(cell, kNone));
    }
  }

 private:
  static constexpr std::size_t kWhole = kSize - kFirstColumn;
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  std::array<std::uint64_t, kWhole> _whole{};
  std::array<std::uint32_t, kColumns - kWhole> _short{};
};

constexpr std::uint16_t BitOf(Name column) {
  return static_cast<std::uint16_t>(1u << (column - kFirstColumn));
}

}  // namespace

std::uint64_t HashOfMessageId(std::string_view id) {
  if (id.empty()) return 0;
  std::uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
  for (const char c : id) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return hash == 0 ? 1 : hash;
}

// Takes the rows on the first reading, and the values they refer to on the second.
class IndexBuilder : public mork::Sink {
 public:
  mork::Column ColumnNamed(std::string_view name) override {
    for (const auto& [known, number] : kNames) {
      if (known == name) return number;
    }
    return 0;
  }

  void BeginTable(mork::RowId table, mork::Column kind, bool emptied) override {
    if (_resolving) return;
    // A thread may bear the number of the table of all messages.
    _ofMessages = table.scope == kMessages && table.number == 1 && kind != kOtherTable;
    // What was listed before is not looked at: a file may empty its table at every second byte.
    if (_ofMessages && emptied) ++_emptied;
  }

  void ListRow(mork::RowId row, bool removed) override {
    if (_resolving || !_ofMessages || row.scope != kMessages) return;
    if (RawRow* raw = Find(row.number)) raw->listed = removed ? 0 : _emptied;
  }

  void BeginRow(mork::RowId row, bool emptied) override {
    if (_resolving) return;
    _scope = row.scope;
    _row = row.scope == kMessages ? Find(row.number) : nullptr;
    if (_row && emptied) _row->set = _row->numbered = 0;
  }

  void Cell(mork::Column name, const mork::Value& value) override {
    if (_resolving) return;
    const Name column = static_cast<Name>(name);
    if (_row && column >= kFirstColumn && column < kEndOfColumns)
      return CellOfMessage(column, value);
    if (_scope != kFolderInfo) return;
    if (column == kUidValidity) _index._folder.onServer = true;
    if (column != kFolderSize) return;
    _index._folder.mailboxSize = value.isNumber ? std::nullopt : NumberIn(value.text, 16);
    _folderSizeNumber = value.isNumber ? std::optional(value.number) : std::nullopt;
  }

  void DefineValue(std::uint32_t number, std::string_view text) override {
    if (!_resolving) return;
    if (_folderSizeNumber == number) _index._folder.mailboxSize = NumberIn(text, 16);
    for (auto at = std::ranges::lower_bound(_wanted, KeyOf(number, 0));
         at != _wanted.end() && *at < KeyOf(number + std::uint64_t{1}, 0); ++at) {
      const auto column = static_cast<Name>(*at - KeyOf(number, 0));
      _values[static_cast<std::size_t>(at - _wanted.begin())] = Coded(column, text);
    }
  }

  bool tooMany() const { return _tooMany; }

  // Whether a second reading is needed.
  bool BeginResolving() {
    _resolving = true;
    _places = {};
    const auto forEach = [this](auto take) {
      for (const RawRow& row : _rows) {
        for (std::size_t i = 0; IsListed(row) && i < kColumns; ++i) {
          if (row.numbered >> i & 1) take(KeyOf(row.At(i), kFirstColumn + i));
        }
      }
    };
    std::size_t count = 0;
    forEach([&](std::uint64_t) { ++count; });
    _wanted.reserve(count);
    forEach([&](std::uint64_t key) { _wanted.push_back(key); });
    std::ranges::sort(_wanted);
    _wanted.erase(std::unique(_wanted.begin(), _wanted.end()), _wanted.end());
    _values.assign(_wanted.size(), ThunderbirdIndex::kNowhere);
    return !_wanted.empty() || _folderSizeNumber.has_value();
  }

  bool ListsMessages() const {
    return std::ranges::any_of(_rows, [this](const RawRow& row) { return IsListed(row); });
  }

  ThunderbirdIndex Take() {
    const auto listed =
        std::ranges::count_if(_rows, [this](const RawRow& r) { return IsListed(r); });
    _index._rows.reserve(static_cast<std::size_t>(listed));
    for (; !_rows.empty(); _rows.pop_front()) {
      if (IsListed(_rows.front())) _index._rows.push_back(Finished(_rows.front()));
    }
    _wanted = {};
    _values = {};
    _index._byId.reserve(_index._rows.size());
    std::ranges::sort(_index._rows, {}, &ThunderbirdIndex::Row::offset);
    for (std::uint32_t i = 0; i < _index._rows.size(); ++i) {
      if (_index._rows[i].idHash) _index._byId.emplace_back(_index._rows[i].idHash, i);
    }
    std::ranges::sort(_index._byId);
    return std::move(_index);
  }

 private:
  using Row = ThunderbirdIndex::Row;

  // Sorts by number first.
  static std::uint64_t KeyOf(std::uint64_t number, std::size_t column) {
    return number << 8 | column;
  }

  bool IsListed(const RawRow& row) const { return row.listed == _emptied; }

  RawRow* Find(std::uint32_t number) {
    const auto known = _places.find(number);
    if (known != _places.end()) return &_rows[known->second];
    if (_rows.size() >= ThunderbirdIndex::kMostRows) {
      _tooMany = true;
      return nullptr;
    }
    _places.emplace(number, static_cast<std::uint32_t>(_rows.size()));
    return &_rows.emplace_back();
  }

  void CellOfMessage(Name column, const mork::Value& value) {
    const std::uint16_t bit = BitOf(column);
    _row->set |= bit;
    _row->numbered =
        static_cast<std::uint16_t>(value.isNumber ? _row->numbered | bit : _row->numbered & ~bit);
    _row->Put(static_cast<std::size_t>(column - kFirstColumn),
              value.isNumber ? value.number : Coded(column, value.text));
  }

  // Text in eight bytes; ~0 where it is not what the column should hold.
  std::uint64_t Coded(Name column, std::string_view text) {
    if (column == kMessageId) return HashOfMessageId(text);
    if (column == kKeywords) return KeywordSet(text);
    return NumberIn(text, BaseOf(column)).value_or(ThunderbirdIndex::kNowhere);
  }

  std::uint64_t KeywordSet(std::string_view text) {
    if (text.empty()) return 0;
    const auto known = _keywordSets.find(text);
    if (known != _keywordSets.end()) return known->second;
    if (_keywordSets.size() >= kMostKeywordSets ||
        _keywordBytes + text.size() > kMostKeywordBytes) {
      _tooMany = true;
      return 0;
    }
    _keywordBytes += text.size();
    _index._keywords.emplace_back(text);
    _keywordSets.emplace(text, _index._keywords.size() - 1);
    return _index._keywords.size() - 1;
  }

  std::optional<std::uint64_t> CellIn(const RawRow& raw, Name column) const {
    if (!(raw.set & BitOf(column))) return {};
    std::uint64_t cell = raw.At(static_cast<std::size_t>(column - kFirstColumn));
    if (raw.numbered & BitOf(column)) {
      const auto wanted = std::ranges::lower_bound(_wanted, KeyOf(cell, column));
      if (wanted == _wanted.end() || *wanted != KeyOf(cell, column)) return {};
      cell = _values[static_cast<std::size_t>(wanted - _wanted.begin())];
    }
    return cell == ThunderbirdIndex::kNowhere ? std::nullopt : std::optional(cell);
  }

  Row Finished(const RawRow& raw) const {
    const auto number = [&](Name column) { return CellIn(raw, column).value_or(0); };
    Row row;
    row.idHash = number(kMessageId);
    row.offset = CellIn(raw, kStoreToken)
                     .value_or(CellIn(raw, kMessageOffset).value_or(ThunderbirdIndex::kNowhere));
    row.size = static_cast<std::uint32_t>(std::min<std::uint64_t>(number(kSize), 0xFFFFFFFF));
    row.received =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(number(kDateReceived), 0xFFFFFFFF));
    row.flags = static_cast<std::uint32_t>(number(kFlags));
    row.keywords = static_cast<std::uint32_t>(number(kKeywords));
    row.priority = static_cast<std::uint8_t>(std::min<std::uint64_t>(number(kPriority), 7));
    row.label = static_cast<std::uint8_t>(std::min<std::uint64_t>(number(kLabel), 7));
    constexpr std::uint64_t kJunk = 100;
    if (const auto score = CellIn(raw, kJunkScore)) row.junk = *score >= kJunk;
    return row;
  }

  ThunderbirdIndex _index;
  std::deque<RawRow> _rows;
  std::unordered_map<std::uint32_t, std::uint32_t> _places;  // in it, by the rows' numbers
  RawRow* _row = nullptr;                                    // the one in hand
  mork::Column _scope = 0;
  bool _ofMessages = false;
  std::uint32_t _emptied = 1;  // counted from 1
  bool _tooMany = false;
  bool _resolving = false;
  std::optional<std::uint32_t> _folderSizeNumber;
  std::vector<std::uint64_t> _wanted;  // values, by KeyOf; sorted, each once
  std::vector<std::uint64_t> _values;  // in the same order; kNowhere: not defined
  std::map<std::string, std::uint64_t, std::less<>> _keywordSets;
  std::size_t _keywordBytes = 0;
};

namespace {

Status LooksLikeIndex(const mork::Opener& open) {
  auto stream = open();
  if (!stream.ok()) return stream.status();
  for (const char c : kMark) {
    const std::span<const char> at = (*stream)->Buffer();
    if (at.empty() || at.front() != c)
      return {StatusCode::kCorrupt, "it does not begin like an index"};
    (*stream)->Skip(1);
  }
  return {};
}

Status ReadOnce(const mork::Opener& open, std::span<const mork::Range> skipped, mork::Sink& sink) {
  auto stream = open();
  if (!stream.ok()) return stream.status();
  mork::CharStream in(**stream, skipped);
  mork::Reader(in, sink).Run();
  return (*stream)->status();
}

const Status kTooMany(StatusCode::kTooBig, "it lists too many messages or keywords");

Status ReadRows(const mork::Opener& open, std::vector<mork::Range>& skipped,
                IndexBuilder& builder) {
  auto stream = open();
  if (!stream.ok()) return stream.status();
  auto groups = mork::GroupsToSkip(**stream);
  if (!groups.ok()) return groups.status();
  skipped = *std::move(groups);
  if (Status status = ReadOnce(open, skipped, builder); !status.ok()) return status;
  if (builder.tooMany()) return kTooMany;
  return {};
}

}  // namespace

Result<ThunderbirdIndex> ThunderbirdIndex::Read(const mork::Opener& open) {
  if (Status status = LooksLikeIndex(open); !status.ok()) return status;
  IndexBuilder builder;
  std::vector<mork::Range> skipped;
  if (Status status = ReadRows(open, skipped, builder); !status.ok()) return status;
  if (builder.BeginResolving()) {
    if (Status status = ReadOnce(open, skipped, builder); !status.ok()) return status;
    if (builder.tooMany()) return kTooMany;
  }
  return builder.Take();
}

const ThunderbirdIndex::Row* ThunderbirdIndex::At(std::uint64_t offset) const {
  const auto found = std::ranges::lower_bound(_rows, offset, {}, &Row::offset);
  return found != _rows.end() && found->offset == offset ? &*found : nullptr;
}

std::vector<const ThunderbirdIndex::Row*> ThunderbirdIndex::WithMessageId(std::uint64_t idHash,
                                                                          std::size_t most) const {
  std::vector<const Row*> rows;
  for (auto at = std::ranges::lower_bound(_byId, std::pair(idHash, std::uint32_t{0}));
       at != _byId.end() && at->first == idHash && rows.size() < most; ++at) {
    rows.push_back(&_rows[at->second]);
  }
  return rows;
}

mork::Opener OpenerOf(std::u16string path) {
  return [path = std::move(path)] {
    return platform::OpenInputStream(platform::FileSystem::Default(), path, 64u << 10);
  };
}

bool IndexListsMessages(const mork::Opener& open) {
  IndexBuilder builder;
  std::vector<mork::Range> skipped;
  const Status status = ReadRows(open, skipped, builder);
  return (status.ok() || builder.tooMany()) && builder.ListsMessages();
}

}  // namespace parvane::sources
