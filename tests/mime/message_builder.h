// Verbs for building and reading messages in tests.
#pragma once

#include <string>
#include <string_view>
#include <type_traits>

#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"
#include "mime/facade/ts_string_array.h"

namespace parvane::mime_test {

// Cases are written with LF; most messages have CR LF.
inline std::string CrLf(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '\n') out += '\r';
    out += c;
  }
  return out;
}

inline Tessary::TsString AsString(std::string_view bytes) {
  Tessary::TsString text;
  text.put_Utf8(true);
  text.append(bytes);
  return text;
}

inline void Parse(Tessary::TsEmail& email, std::string_view mime) {
  Tessary::TsByteData bytes;
  bytes.append2(mime.data(), mime.size());
  email.SetFromMimeBytes(bytes);
}

inline void Load(Tessary::TsMime& mime, std::string_view text) {
  Tessary::TsByteData bytes;
  bytes.append2(text.data(), text.size());
  mime.LoadMimeBytes(bytes);
}

// A getter's text as UTF-8; "(fails)" when it fails, which must leave its output empty.
template <typename Object>
std::string Get(Object& object, bool (Object::*getter)(Tessary::TsString&)) {
  Tessary::TsString text = AsString("stale");
  const bool success = (object.*getter)(text);
  if (success) return std::string(text.viewUtf8());
  return text.isEmpty() ? "(fails)" : "(fails with output left)";
}

// The same for a getter by index or name.
template <typename Object, typename Key>
std::string Get(Object& object, bool (Object::*getter)(Key, Tessary::TsString&),
                std::type_identity_t<Key> key) {
  Tessary::TsString text = AsString("stale");
  const bool success = (object.*getter)(key, text);
  if (success) return std::string(text.viewUtf8());
  return text.isEmpty() ? "(fails)" : "(fails with output left)";
}

inline std::string Serialised(Tessary::TsMime& mime) {
  Tessary::TsString text;
  mime.getMime(text);
  return std::string(text.viewRaw());
}

template <typename Object>
std::string LogOf(Object& object) {
  Tessary::TsString text;
  object.get_LastErrorText(text);
  return std::string(text.viewUtf8());
}

}  // namespace parvane::mime_test
