#include "sources/mail_index.h"

#include <set>
#include <string>

namespace parvane::sources {
namespace {

// So many that no log of changes takes them all out again before the file is written anew.
constexpr std::size_t kManyMessages = 100'000;
// Longer names and ids than these mean nothing here.
constexpr std::size_t kLongestToken = 64;
constexpr char kEnd = '\0';

class IndexReader {
 public:
  explicit IndexReader(platform::InputStream& stream) : _stream(stream) {}

  bool ListsMessages() {
    while (const char c = Enough() ? kEnd : Next()) {
      if (c == '<') {
        Dict();
      } else if (c == '{') {
        Table();
      } else {
        Other(c);
      }
    }
    return !_messages.empty();
  }

 private:
  bool Enough() const { return _messages.size() >= kManyMessages; }

  // NUL bytes, which have no place in an index, end it.
  char Peek() {
    if (_at == _buffer.size()) {
      _stream.Skip(_at);
      _at = 0;
      _buffer = _stream.Position() < kMostIndexBytes ? _stream.Buffer() : std::span<const char>();
    }
    return _at < _buffer.size() ? _buffer[_at] : kEnd;
  }
  char Next() {
    const char c = Peek();
    if (c != kEnd) ++_at;
    return c;
  }

  // What may stand anywhere between the tokens that matter.
  void Other(char c) {
    if (c == '(') Text();
    if (c == '[') SkipTo(']');
    if (c == '@') SkipTo('@');
    if (c == '/' && Peek() == '/') SkipLine();
  }

  void SkipLine() {
    for (char c = Peek(); c != kEnd && c != '\n' && c != '\r'; c = Peek()) Next();
  }

  // To the end of a row, of the start or the end of a group, of a table's head. None holds another.
  void SkipTo(char end) {
    for (char c = Next(); c != kEnd && c != end; c = Next()) {
      if (c == '(') Text();
    }
  }

  // The rest of a cell; its beginning is returned.
  std::string Text() {
    std::string text;
    for (char c = Next(); c != kEnd && c != ')'; c = Next()) {
      if (c == '\\') c = Next();
      if (text.size() < kLongestToken) text += c;
    }
    return text;
  }

  // An id as far as it goes, here and in front of ":" or a cell.
  std::string Id() {
    std::string id;
    const auto isDigit = [](char c) {
      return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
    };
    for (; isDigit(Peek()); Next()) {
      if (id.size() < kLongestToken) id += Peek();
    }
    return id;
  }

  // ":^80" or ":name".
  std::string Scope() {
    if (Peek() != ':') return {};
    Next();
    const bool byId = Peek() == '^';
    if (byId) Next();
    std::string scope;
    for (char c = Peek(); c > ' ' && std::string_view("()[]{}<>").find(c) == std::string::npos;
         c = Peek()) {
      Next();
      if (scope.size() < kLongestToken) scope += c;
    }
    const bool messages = byId ? scope == _messageScope : scope == kMessageScope;
    return messages ? std::string(kMessageScope) : scope;
  }

  void Dict() {
    bool columns = false;
    for (char c = Next(); c != kEnd && c != '>'; c = Next()) {
      if (c == '<') {
        for (c = Next(); c != kEnd && c != '>'; c = Next()) {
          if (c == '(') columns |= Text() == "a=c";
        }
      } else if (c == '(') {
        const std::string cell = Text();
        const std::size_t equals = cell.find('=');
        if (columns && equals != cell.npos && cell.substr(equals + 1) == kMessageScope)
          _messageScope = cell.substr(0, equals);
      } else {
        Other(c);
      }
    }
  }

  void Table() {
    const bool emptied = Peek() == '-';
    if (emptied) Next();
    const bool first = Id() == "1";
    const bool ofMessages = Scope() == kMessageScope && first;
    if (ofMessages && emptied) _messages.clear();
    for (char c = Peek(); c != kEnd && c != '}' && !Enough(); c = Peek()) Entry(ofMessages);
    Next();
  }

  void Entry(bool ofMessages) {
    const char c = Peek();
    const bool row = c == '[';
    if (row) Next();
    const bool minus = Peek() == '-';
    if (minus) Next();
    const std::string id = Id();
    if (!id.empty()) {
      Scope();
      // "-" in front of the id of a whole row only empties the row before it is filled.
      if (ofMessages && minus && !row) _messages.erase(id);
      if (ofMessages && (!minus || row)) _messages.insert(id);
    }
    if (row) return SkipTo(']');
    if (!id.empty() || minus) return;
    Next();
    if (c == '{') return SkipTo('}');
    if (c == '!') {
      while (Peek() == ' ') Next();
      Id();
      return;
    }
    Other(c);
  }

  platform::InputStream& _stream;
  std::span<const char> _buffer;
  std::size_t _at = 0;
  std::string _messageScope;        // the id of that name among the columns
  std::set<std::string> _messages;  // by id
};

}  // namespace

bool IndexListsMessages(platform::InputStream& index) { return IndexReader(index).ListsMessages(); }

bool IndexListsMessages(std::u16string_view path) {
  const auto index = platform::OpenInputStream(platform::FileSystem::Default(), path, 64u << 10);
  return index.ok() && IndexListsMessages(**index);
}

}  // namespace parvane::sources
