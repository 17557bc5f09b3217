// What stands behind a TsMime: one entity of a tree that all views of it share.
#pragma once

#include <memory>
#include <mutex>
#include <string_view>

#include "mime/facade/operation_log.h"
#include "mime/mime_message2.h"

namespace Tessary {

class ClsString;

class ClsMime {
 public:
  ClsMime() : _entity(std::make_shared<MimeMessage2>()) {}

  bool Load(const char* operation, const ByteSlice& text);
  int NumParts();
  // Null for a bad index.
  std::unique_ptr<ClsMime> Part(int index);
  bool ContentType(ClsString& out);
  bool IsAttachment();
  bool IsMultipartRelated();
  bool Encoding(ClsString& out);

  int NumHeaderFields();
  bool HeaderField(std::string_view name, ClsString& out);
  bool HeaderFieldName(int index, ClsString& out);
  bool HeaderFieldValue(int index, ClsString& out);
  bool SetHeaderField(std::string_view name, std::string_view value);
  bool RemoveHeaderField(std::string_view name);

  // An empty encoding leaves the field of that name alone.
  bool SetBody(const char* operation, std::string_view encoding, const ByteSlice& text);
  ByteSlice EntireBody();
  ByteSlice DecodedBody();
  ByteSlice Mime();

  std::string LastErrorText();
  // The entity itself, for those that change it through no facade.
  MimeMessage2& Entity() { return *_entity; }
  // The charset that raw 8-bit text of this entity may be in.
  std::string_view Charset() const { return _entity->contentType().Get("charset"); }

  bool utf8Flag = false;

 private:
  // The frame of every operation: the critical section, and a log context closed with the outcome.
  template <typename Work>
  auto Run(const char* operation, Work work);

  void GiveValue(const MimeField& field, ClsString& out) const;
  void GiveText(std::string_view text, ClsString& out) const;
  const MimeField* FieldAt(int index);

  std::mutex _criticalSection;
  OperationLog _log;
  std::shared_ptr<MimeMessage2> _entity;
};

}  // namespace Tessary
