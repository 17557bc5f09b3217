// Reads everything a store holds, as the layers above would, and counts it.
#pragma once

#include <set>

#include "pstfile/store/pst_store.h"

namespace parvane::pstfile {

struct WalkResult {
  std::size_t folders = 0;
  std::size_t messages = 0;
  std::size_t attachments = 0;
  std::size_t recipients = 0;
  std::size_t properties = 0;
  std::size_t failures = 0;     // things that could not be read
  std::size_t differences = 0;  // row cells that are not what the object has
  std::string firstFailure;
};

class StoreWalker {
 public:
  // Stops, with what it has, after reading `budget` rows, values or pieces of large values: a
  // damaged file can hold the same things inside each other any number of times.
  explicit StoreWalker(PstStore& store, std::uint64_t budget = UINT64_MAX)
      : _store(store), _budget(budget) {}

  WalkResult Walk() {
    auto properties = _store.OpenStoreProperties();
    if (Ok(properties)) ReadProperties(*properties);
    for (std::uint32_t id = 0x8000; id < 0x8040; ++id) {
      if (_store.NameOfPropertyId(static_cast<std::uint16_t>(id)).ok()) ++_result.properties;
    }
    WalkFolder(_store.rootFolder(), 0);
    return _result;
  }

 private:
  static constexpr std::uint64_t kRowsLimit = 5000;

  template <typename T>
  bool Ok(const T& result) {
    const platform::Status status = StatusOf(result);
    if (status.ok()) return true;
    if (_result.failures++ == 0) _result.firstFailure = status.message();
    return false;
  }
  static platform::Status StatusOf(const platform::Status& status) { return status; }
  template <typename T>
  static platform::Status StatusOf(const platform::Result<T>& result) {
    return result.status();
  }

  bool Spend() { return _budget != 0 && _budget-- != 0; }

  void ReadProperties(PropertyReader& reader) {
    for (const PropertyReader::Entry& entry : reader.entries()) {
      if (!Spend()) return;
      ++_result.properties;
      const PropType type = entry.tag.Type();
      if (type == PropType::kObject) {
        Ok(reader.Object(entry.tag));
      } else if (IsScalar(type)) {
        Ok(reader.Scalar(entry.tag));
      } else {
        auto value = reader.OpenValue(entry.tag);
        if (!Ok(value)) continue;
        std::vector<std::byte> piece(16384);
        for (std::uint64_t at = 0; at < value->size() && Spend();) {
          auto count = value->ReadAt(at, piece);
          if (!Ok(count) || *count == 0) break;
          at += *count;
        }
      }
    }
  }

  void CompareRow(TableReader& table, PropertyReader& object) {
    for (const TableColumn& column : table.columns()) {
      if (!table.Has(column.tag) || !object.Has(column.tag)) continue;
      auto cell = table.Bytes(column.tag);
      auto value = object.Bytes(column.tag);
      if (cell.ok() && value.ok() && *cell != *value) ++_result.differences;
    }
  }

  void WalkMessage(MessageReader& message) {
    ReadProperties(message.properties());
    auto recipients = message.Recipients();
    if (Ok(recipients) && *recipients) {
      for (std::uint64_t row = 0; row < std::min((*recipients)->rows(), kRowsLimit) && Spend();
           ++row) {
        PropertyList cells;
        if (Ok((*recipients)->SelectRow(row)) && Ok((*recipients)->ReadRow(cells, nullptr))) {
          ++_result.recipients;
        }
      }
    }
    auto table = message.Attachments();
    if (!Ok(table) || !*table) return;
    for (std::uint64_t row = 0; row < std::min((*table)->rows(), kRowsLimit) && Spend(); ++row) {
      if (!Ok((*table)->SelectRow(row))) continue;
      auto attachment = message.OpenAttachment(NodeId((*table)->RowId()));
      if (!Ok(attachment)) continue;
      ++_result.attachments;
      ReadProperties(attachment->properties());
      CompareRow(**table, attachment->properties());
      if (attachment->properties().Has(tags::kAttachDataObject)) {
        auto embedded = attachment->OpenEmbedded();
        if (Ok(embedded)) WalkMessage(*embedded);
      }
    }
  }

  void WalkMessages(platform::Result<TableReader> table) {
    if (!Ok(table)) return;
    for (std::uint64_t row = 0; row < std::min(table->rows(), kRowsLimit) && Spend(); ++row) {
      if (!Ok(table->SelectRow(row))) continue;
      auto message = _store.OpenMessage(NodeId(table->RowId()));
      if (!Ok(message)) continue;
      ++_result.messages;
      CompareRow(*table, message->properties());
      WalkMessage(*message);
    }
  }

  void WalkFolder(NodeId folder, int depth) {
    if (depth > 400 || !_seen.insert(folder).second) return;
    ++_result.folders;
    Ok(_store.CountsOf(folder));
    auto properties = _store.OpenFolderProperties(folder);
    if (Ok(properties)) ReadProperties(*properties);
    if (folder.Kind() == NodeKind::kSearchFolder) return;
    WalkMessages(_store.OpenContentsTable(folder));
    WalkMessages(_store.OpenAssociatedTable(folder));
    auto children = _store.Subfolders(folder);
    if (!Ok(children)) return;
    for (const SubfolderEntry& child : *children) WalkFolder(child.node, depth + 1);
  }

  PstStore& _store;
  std::uint64_t _budget;
  WalkResult _result;
  std::set<NodeId> _seen;
};

}  // namespace parvane::pstfile
