#include "pstfile/store/pst_store.h"

#include <algorithm>
#include <new>

#include "platform/path.h"
#include "platform/stage_times.h"
#include "platform/system.h"
#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/ltp/stored_values.h"
#include "pstfile/ltp/value_reader_state.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/store/message_builder.h"
#include "pstfile/store/store_creation.h"
#include "pstfile/store/store_state.h"
#include "pstfile/store/value_writer_state.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

// ---- Life --------------------------------------------------------------------------------------

PstStore::PstStore(std::unique_ptr<State> state) : _state(std::move(state)) {}

PstStore::~PstStore() {
  try {
    if (Status ignored = Close(); !ignored.ok()) return;
  } catch (const std::bad_alloc&) {
    // What was committed stands.
  }
}

Result<std::unique_ptr<PstStore>> PstStore::Create(platform::FileSystem& files,
                                                   std::u16string_view path,
                                                   const StoreCreateOptions& options) {
  CreateOptions create;
  create.crypt = static_cast<CryptMethod>(options.encoding);
  if (options.store.sizeLimit != 0) create.open.sizeLimit = options.store.sizeLimit;
  create.inPlace = options.emptyFile == StoreCreateOptions::EmptyFile::kFilled;
  create.unfinished = options.unfinished;
  create.replace = options.emptyFile == StoreCreateOptions::EmptyFile::kReplaced;
  auto state = std::make_unique<State>();
  state->options = options.store;
  platform::FillRandom(state->recordKey);
  auto database = NodeDatabase::Create(files, path, create);
  if (!database.ok()) return database.status();
  Status status = PopulateStore(**database, options, state->recordKey);
  if (status.ok()) status = (*database)->Publish();
  if (!status.ok()) return status;
  state->database = std::move(*database);
  state->ipmSubtree = kNidIpmSubtree;
  state->folders.emplace(*state->database, options.store.openTables, options.store.tablePages);
  state->lastCommit = state->Now();
  return std::unique_ptr<PstStore>(new PstStore(std::move(state)));
}

Result<std::unique_ptr<PstStore>> PstStore::Open(platform::FileSystem& files,
                                                 std::u16string_view path, StoreOpenMode mode,
                                                 const StoreOptions& options) {
  OpenOptions open;
  if (options.sizeLimit != 0) open.sizeLimit = options.sizeLimit;
  auto database = NodeDatabase::Open(
      files, path, mode == StoreOpenMode::kRead ? OpenMode::kRead : OpenMode::kReadWrite, open);
  if (!database.ok()) return database.status();
  auto state = std::make_unique<State>();
  state->options = options;
  state->database = std::move(*database);
  if (Status status = state->LoadStoreObject(); !status.ok()) {
    return status.WithContext(platform::PathForDisplay(path));
  }
  state->folders.emplace(*state->database, options.openTables, options.tablePages);
  state->lastCommit = state->Now();
  return std::unique_ptr<PstStore>(new PstStore(std::move(state)));
}

Status PstStore::Commit() {
  if (Status status = _state->Ready(); !status.ok()) return status;
  if (!_state->status.ok()) return _state->status;
  return _state->Commit();
}

Status PstStore::Close() {
  State& s = *_state;
  if (s.closed) return {};
  // Its failure is in the status; the file is closed all the same, as of the last commit.
  if (s.status.ok()) (void)s.Commit();
  s.closed = true;
  s.folders.reset();
  const Status closed = s.database->Close();
  if (s.status.ok()) s.status = closed;
  return s.status;
}

const Status& PstStore::status() const { return _state->status; }
bool PstStore::hasPassword() const { return _state->hasPassword; }
const StoreStatistics& PstStore::statistics() const { return _state->statistics; }
std::uint64_t PstStore::changes() const { return _state->changes; }
NodeDatabase& PstStore::database() { return *_state->database; }

// ---- The message store object ------------------------------------------------------------------

const RecordKey& PstStore::recordKey() const { return _state->recordKey; }

EntryId PstStore::ToEntryId(NodeId node) const { return MakeEntryId(_state->recordKey, node); }

std::optional<NodeId> PstStore::FromEntryId(std::span<const std::byte> entryId) const {
  if (entryId.size() != EntryId().size()) return std::nullopt;
  const NodeId node(LoadField<std::uint32_t>(entryId, fields::EntryId::kNode));
  // With its record key: the nodes of another store have the same numbers.
  if (!std::ranges::equal(entryId, ToEntryId(node))) return std::nullopt;
  return node;
}

Result<PropertyReader> PstStore::OpenStoreProperties() {
  if (Status status = _state->Ready(); !status.ok()) return status;
  auto node = _state->Node(kNidMessageStore);
  if (!node.ok()) return node.status();
  return PropertyReader::Open(*_state->database, {node->nid, node->data, node->sub});
}

Status PstStore::ChangeStoreProperties(const PropertyList& set,
                                       std::span<const std::uint16_t> removeIds) {
  State& s = *_state;
  const State::Change change(s);
  if (Status status = s.Begin(); !status.ok()) return status;
  auto node = s.Node(kNidMessageStore);
  if (!node.ok()) return node.status();
  auto properties = CopyProperties(*s.database, *node);
  if (!properties.ok()) return properties.status();
  for (std::size_t i = 0; i < set.size(); ++i) properties->Set(set.at(i));
  for (const std::uint16_t id : removeIds) properties->Remove(id);
  return s.End(ReplaceProperties(*s.database, *node, *properties));
}

// ---- Named properties --------------------------------------------------------------------------

Result<std::uint16_t> PstStore::PropertyIdOfName(const PropertyName& name, bool create) {
  State& s = *_state;
  if (Status status = s.Ready(); !status.ok()) return status;
  auto names = s.Names();
  if (!names.ok()) return names.status();
  auto id = (*names)->IdOf(name);
  if (id.ok() || !create) return id;
  if (Status status = s.Begin(); !status.ok()) return status;
  const State::Change change(s);
  return (*names)->Add(name);
}

Result<PropertyName> PstStore::NameOfPropertyId(std::uint16_t id) {
  if (Status status = _state->Ready(); !status.ok()) return status;
  auto names = _state->Names();
  if (!names.ok()) return names.status();
  return (*names)->NameOf(id);
}

// ---- Building messages -------------------------------------------------------------------------

Result<ValueWriter> PstStore::NewValue(ValueWriter::Kind kind) {
  if (Status status = _state->Begin(); !status.ok()) return status;
  return ValueWriter(
      std::make_unique<ValueWriter::State>(*_state->database, kind, [this](const Status& status) {
        if (Status latched = _state->End(status); !latched.ok()) return;
      }));
}

Result<StoredValue> PstStore::ShareValue(PropertyReader& from, PropTag tag) {
  if (Status status = _state->Ready(); !status.ok()) return status;
  auto value = from.OpenValue(tag);
  if (!value.ok()) return value.status();
  if (const StoredValue stored = value->stored(); stored.root) return stored;
  // On the heap of its object: small.
  auto bytes = from.Bytes(tag);
  if (!bytes.ok()) return bytes.status();
  if (Status status = _state->Begin(); !status.ok()) return status;
  return _state->End(StoreBytes(*_state->database, *bytes));
}

Result<ValueReader> PstStore::OpenStoredValue(const StoredValue& value) {
  if (Status status = _state->Ready(); !status.ok()) return status;
  auto tree = DataTree::Open(*_state->database, value.root);
  if (!tree.ok()) return tree.status();
  auto state = std::make_unique<ValueReader::State>();
  state->inTree = true;
  state->tree = std::move(tree).value();
  return ValueReader(std::move(state));
}

Result<StoredAttachment> PstStore::WriteAttachment(PropertyList properties,
                                                   std::optional<StoredMessage> embedded) {
  const platform::StageMark mark(platform::Stage::kTables);
  if (Status status = _state->Begin(); !status.ok()) {
    Abandon(properties);
    if (embedded) Abandon(*embedded);
    return status;
  }
  return _state->End(BuildAttachment(*_state->database, _state->attachmentRows,
                                     std::move(properties), std::move(embedded)));
}

Result<StoredAttachment> PstStore::ShareAttachment(MessageReader& message, NodeId attachment) {
  if (Status status = _state->Ready(); !status.ok()) return status;
  auto location = message.properties().Subnode(attachment);
  if (!location.ok()) return location.status();
  for (const BlockId root : {location->data, location->subnodes}) {
    if (!root) continue;
    auto share = _state->database->CanShare(root);
    if (!share.ok()) return share.status();
    if (!*share) return Status(StatusCode::kTooBig, "the attachment has too many references");
  }
  auto size = LogicalSizeOf(*_state->database, location->data, location->subnodes);
  if (!size.ok()) return size.status();
  auto properties =
      CopyProperties(*_state->database, {attachment, location->data, location->subnodes, NodeId()});
  if (!properties.ok()) return properties.status();
  StoredAttachment shared{attachment, 0, location->data, location->subnodes, *size};
  if (Status status = _state->Begin(); !status.ok()) return status;
  Status status = _state->End(
      KeepAttachmentRow(*_state->database, _state->attachmentRows, *properties, shared));
  if (!status.ok()) return status;
  return shared;
}

Result<StoredMessage> PstStore::WriteMessage(PropertyList properties, const RowSource& recipients,
                                             std::vector<StoredAttachment> attachments) {
  const platform::StageMark mark(platform::Stage::kTables);
  if (Status status = _state->Begin(); !status.ok()) {
    Abandon(properties);
    for (const StoredAttachment& attachment : attachments) Abandon(attachment);
    return status;
  }
  auto message = BuildMessage(*_state->database, std::move(properties), recipients, attachments,
                              _state->attachmentRows, _state->layouts);
  for (const StoredAttachment& attachment : attachments) {
    _state->attachmentRows.Release(*_state->database, attachment.row);
  }
  return _state->End(std::move(message));
}

Status PstStore::KeepRow(PackedRows& rows, const PropertyList& row, std::uint64_t& position) {
  if (Status status = _state->Begin(); !status.ok()) return status;
  return _state->End(rows.Add(_state->database.get(), row, position));
}

void PstStore::Abandon(const StoredValue& value) {
  if (!_state->closed) _state->database->AbandonBlock(value.root);
}

void PstStore::Abandon(const PropertyList& properties) {
  if (!_state->closed) AbandonValues(*_state->database, properties);
}

void PstStore::Abandon(const StoredAttachment& attachment) {
  if (_state->closed) return;
  _state->attachmentRows.Release(*_state->database, attachment.row);
  _state->database->AbandonBlock(attachment.data);
  _state->database->AbandonBlock(attachment.subnodes);
}

void PstStore::Abandon(const StoredMessage& message) {
  if (_state->closed) return;
  _state->database->AbandonBlock(message.data);
  _state->database->AbandonBlock(message.subnodes);
}

}  // namespace parvane::pstfile
