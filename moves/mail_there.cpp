#include "moves/mail_there.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <string>

#include "engine/assets.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/results.h"
#include "mapi/structures.h"
#include "mapi/table.h"
#include "mapi/tags.h"
#include "platform/sha256.h"

namespace parvane::moves {
namespace {

using engine::MessageKey;
using platform::Status;
using platform::StatusCode;

constexpr mapi::LONG kRowsAtATime = 200;

Status Failure(std::string_view what) {
  return {StatusCode::kCorrupt, std::string(what) + " cannot be read"};
}

// Null when the row has no such value.
const mapi::SPropUnion* ValueOf(const mapi::SRow& row, mapi::ULONG tag) {
  for (mapi::ULONG i = 0; i < row.cValues; ++i) {
    if (row.lpProps[i].ulPropTag == tag) return &row.lpProps[i].Value;
  }
  return nullptr;
}

// Nothing without a Message-ID: a moment alone is none's.
std::optional<MessageKey> KeyOfId(std::u16string_view messageId, platform::FileTime delivered) {
  constexpr std::u16string_view kBlank = u" \t\r\n";
  const std::size_t first = messageId.find_first_not_of(kBlank);
  if (first == messageId.npos) return std::nullopt;
  messageId = messageId.substr(first, messageId.find_last_not_of(kBlank) + 1 - first);
  platform::Sha256 hash;
  hash.Update(std::as_bytes(std::span(&delivered, 1)));
  hash.Update(std::as_bytes(std::span(messageId)));
  const platform::Sha256Digest digest = hash.Finish();
  MessageKey key;
  std::copy_n(digest.begin(), key.size(), key.begin());
  return key;
}

}  // namespace

Status MailThere::Add(mapi::IMAPIFolder& folder) {
  mapi::ComPointer<mapi::IMAPITable> table;
  if (mapi::Failed(folder.GetContentsTable(mapi::MAPI_UNICODE, table.Put())))
    return Failure("its list of messages");
  mapi::SizedSPropTagArray<3> columns = {
      3, {mapi::PR_SEARCH_KEY, mapi::PR_INTERNET_MESSAGE_ID_W, mapi::PR_MESSAGE_DELIVERY_TIME}};
  if (_knownBy == KnownBy::kKey) columns.cValues = 1;
  if (mapi::Failed(table->SetColumns(columns.get(), 0))) return Failure("its list of messages");
  for (std::uint64_t number = 0;;) {
    mapi::RowSet rows;
    if (mapi::Failed(table->QueryRows(kRowsAtATime, 0, rows.Put()))) {
      return Failure("one of the " + std::to_string(kRowsAtATime) + " messages behind number " +
                     std::to_string(number));
    }
    if (rows.size() == 0) return {};
    for (const mapi::SRow& row : rows) AddRow(row);
    number += rows.size();
  }
}

void MailThere::AddRow(const mapi::SRow& row) {
  ++_left;
  // Mail by others may have keys of other lengths, or none: no item is that message.
  MessageKey key;
  const mapi::SPropUnion* search = ValueOf(row, mapi::PR_SEARCH_KEY);
  if (search && search->bin.cb == key.size()) {
    std::memcpy(key.data(), search->bin.lpb, key.size());
    ++_counts[key];
  }
  const mapi::SPropUnion* id = ValueOf(row, mapi::PR_INTERNET_MESSAGE_ID_W);
  if (!id) return;
  const mapi::SPropUnion* delivered = ValueOf(row, mapi::PR_MESSAGE_DELIVERY_TIME);
  if (const auto known = KeyOfId(id->lpszW, delivered ? delivered->ft : platform::FileTime{}))
    ++_countsOfIds[*known];
}

bool MailThere::TakeOne(KeyTable& counts, const MessageKey& key) {
  std::uint32_t* count = counts.Find(key);
  if (!count || *count == 0) return false;
  --*count;
  return true;
}

Judgement MailThere::Judge(QuelmarMIMEEngineCommon::IAsset& item) {
  if (_left == 0) return {};
  auto* facts = dynamic_cast<engine::IMessageFacts*>(&item);
  if (!facts) return {};
  const auto key = facts->Key();
  bool there = key && TakeOne(_counts, *key);
  if (_knownBy == KnownBy::kKeyOrMessageId) {
    // One that is known by its key has a Message-ID too, which is no other's then.
    const auto id = KeyOfId(facts->MessageId(), facts->Delivered());
    there = (id && TakeOne(_countsOfIds, *id)) || there;
  }
  if (!there) return {};
  --_left;
  return {Verdict::kAlreadyThere};
}

}  // namespace parvane::moves
