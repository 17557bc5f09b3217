#include "moves/mail_there.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "engine/assets.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/results.h"
#include "mapi/structures.h"
#include "mapi/table.h"
#include "mapi/tags.h"

namespace parvane::moves {
namespace {

using platform::Status;
using platform::StatusCode;

constexpr mapi::LONG kRowsAtATime = 200;

Status Failure(std::string_view what) {
  return {StatusCode::kCorrupt, std::string(what) + " cannot be read"};
}

}  // namespace

Status MailThere::Add(mapi::IMAPIFolder& folder) {
  mapi::ComPointer<mapi::IMAPITable> table;
  if (mapi::Failed(folder.GetContentsTable(0, table.Put()))) return Failure("its list of messages");
  mapi::SizedSPropTagArray<1> columns = {1, {mapi::PR_SEARCH_KEY}};
  if (mapi::Failed(table->SetColumns(columns.get(), 0))) return Failure("its list of messages");
  for (std::uint64_t number = 1;;) {
    mapi::RowSet rows;
    if (mapi::Failed(table->QueryRows(kRowsAtATime, 0, rows.Put())))
      return Failure("one of the messages from number " + std::to_string(number) + " on");
    if (rows.size() == 0) return {};
    for (const mapi::SRow& row : rows) {
      ++number;
      ++_left;
      engine::MessageKey key;
      // Mail by others may have keys of other lengths, or none: no item is that message.
      const mapi::SPropValue* value = row.cValues == 1 ? row.lpProps : nullptr;
      if (!value || value->ulPropTag != mapi::PR_SEARCH_KEY || value->Value.bin.cb != key.size())
        continue;
      std::memcpy(key.data(), value->Value.bin.lpb, key.size());
      ++_counts[key];
    }
  }
}

Judgement MailThere::Judge(QuelmarMIMEEngineCommon::IAsset& item) {
  if (_left == 0) return {};
  auto* facts = dynamic_cast<engine::IMessageFacts*>(&item);
  const auto key = facts ? facts->Key() : std::nullopt;
  std::uint32_t* count = key ? _counts.Find(*key) : nullptr;
  if (!count || *count == 0) return {};
  --*count;
  --_left;
  return {Verdict::kAlreadyThere};
}

}  // namespace parvane::moves
