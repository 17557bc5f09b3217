// The recipient and attachment tables of an open message. Both show changes at once.
#pragma once

#include <optional>

#include "mapi/builtin/message.h"
#include "mapi/builtin/table.h"

namespace parvane::mapi::builtin {

class RecipientRows final : public TableRows {
 public:
  explicit RecipientRows(Message& message) : _message(ComPointer<Message>::Share(&message)) {}
  HRESULT Count(ULONG& count) override;
  std::vector<ULONG> DefaultColumns() override { return RecipientColumns(); }
  HRESULT Select(ULONG index) override;
  HRESULT Find(ULONG tag, Value& value) override;

 private:
  ComPointer<Message> _message;
  pstfile::PropertyList _row;
  ULONG _rowId = 0;
};

class AttachmentRows final : public TableRows {
 public:
  explicit AttachmentRows(Message& message) : _message(ComPointer<Message>::Share(&message)) {}
  HRESULT Count(ULONG& count) override;
  std::vector<ULONG> DefaultColumns() override;
  HRESULT Select(ULONG index) override;
  HRESULT Find(ULONG tag, Value& value) override;

 private:
  ComPointer<Message> _message;
  std::optional<pstfile::PropertyReader> _reader;
  pstfile::ObjectLocation _location;
  ULONG _number = 0;
};

}  // namespace parvane::mapi::builtin
