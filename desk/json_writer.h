// Writes JSON text piece by piece, indented for people.
//
//   JsonWriter json;
//   json.BeginObject();
//   json.Key("read").Number(3);
//   json.Key("path").BeginArray(); json.String(u"Inbox"); json.EndArray();
//   json.EndObject();
//
// The text is valid JSON in UTF-8 when the calls nest; unpaired surrogates become U+FFFD.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace parvane::desk {

class JsonWriter {
 public:
  JsonWriter& BeginObject() { return Open('{', '}'); }
  JsonWriter& EndObject() { return Close(); }
  JsonWriter& BeginArray() { return Open('[', ']'); }
  JsonWriter& EndArray() { return Close(); }
  JsonWriter& Key(std::string_view name);
  JsonWriter& String(std::string_view utf8);
  JsonWriter& String(std::u16string_view text);
  JsonWriter& Number(std::uint64_t value);
  JsonWriter& Seconds(std::uint64_t milliseconds);
  JsonWriter& Bool(bool value);
  JsonWriter& Null();

  // The text so far; taking it leaves the writer ready to go on (for long output in pieces).
  std::string Take();

 private:
  struct Level {
    char close;
    bool empty = true;
  };
  JsonWriter& Open(char open, char close);
  JsonWriter& Close();
  JsonWriter& Raw(std::string_view text);
  void BeforeValue();

  std::string _text;
  std::vector<Level> _levels;
  bool _afterKey = false;
};

}  // namespace parvane::desk
