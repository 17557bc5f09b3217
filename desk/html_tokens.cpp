#include "desk/html_tokens.h"

#include <algorithm>
#include <array>

#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::EqualsIgnoreAsciiCase;
using platform::StartsWithIgnoreAsciiCase;

constexpr std::string_view kBlanks = " \t\r\n\f";
constexpr std::string_view kNameEnd = " \t\r\n\f/>";
constexpr std::string_view kAttributeEnd = " \t\r\n\f/>=";

constexpr std::array<std::string_view, 8> kRawTextElements = {
    "script", "style", "title", "textarea", "xmp", "iframe", "noembed", "noframes"};

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsBlank(char c) { return kBlanks.find(c) != kBlanks.npos; }

class Reader {
 public:
  Reader(std::string_view html, HtmlTokenSink& sink) : _html(html), _sink(sink) {}

  void Run() {
    std::size_t textBegin = 0;
    while ((_at = _html.find('<', _at)) != _html.npos) {
      const std::size_t open = _at;
      if (!BeginsMarkup(_html.substr(open))) {
        ++_at;
        continue;
      }
      Text(textBegin, open);
      ReadMarkup();
      textBegin = _at;
    }
    Text(textBegin, _html.size());
  }

 private:
  static bool BeginsMarkup(std::string_view rest) {
    return rest.size() > 1 &&
           (IsLetter(rest[1]) || rest[1] == '/' || rest[1] == '!' || rest[1] == '?');
  }

  void Text(std::size_t begin, std::size_t end) {
    if (begin < end) _sink.Text(_html.substr(begin, end - begin));
  }

  void ReadMarkup() {
    const std::string_view rest = _html.substr(_at);
    if (rest.starts_with("<!--")) return SkipComment();
    const std::size_t name = rest[1] == '/' ? 2 : 1;
    if (name >= rest.size() || !IsLetter(rest[name])) return GoBehind(_html.find('>', _at), 1);
    _tag.closing = name == 2;
    _at += name;
    ReadTag();
  }

  // "-->", and "--!>", which browsers take as well; "<!-->" and "<!--->" are whole comments.
  void SkipComment() {
    _at += 2;
    while ((_at = _html.find("--", _at)) != _html.npos) {
      const std::string_view rest = _html.substr(_at + 2);
      if (rest.starts_with('>')) return GoBehind(_at, 3);
      if (rest.starts_with("!>")) return GoBehind(_at, 4);
      ++_at;
    }
    _at = _html.size();
  }

  void GoBehind(std::size_t place, std::size_t length) {
    _at = place == _html.npos ? _html.size() : place + length;
  }

  std::size_t Find(std::string_view any) const {
    return std::min(_html.find_first_of(any, _at), _html.size());
  }

  void ReadTag() {
    const std::size_t begin = _at;
    _at = Find(kNameEnd);
    _tag.name = _html.substr(begin, _at - begin);
    _tag.attributes.clear();
    while (_at < _html.size() && _html[_at] != '>') {
      if (IsBlank(_html[_at]) || _html[_at] == '/') {
        ++_at;
      } else {
        ReadAttribute();
      }
    }
    if (_at >= _html.size()) return;  // cut off
    ++_at;
    _sink.Tag(_tag);
    if (_tag.closing) return;
    if (EqualsIgnoreAsciiCase(_tag.name, "plaintext")) return ReadRawText(_html.size());
    if (std::ranges::any_of(kRawTextElements, [&](std::string_view name) {
          return EqualsIgnoreAsciiCase(name, _tag.name);
        }))
      ReadRawText(EndOfRawText());
  }

  void ReadAttribute() {
    const std::size_t begin = _at++;  // what is first is of the name, even "="
    _at = Find(kAttributeEnd);
    const std::string_view name = _html.substr(begin, _at - begin);
    const std::size_t equals = _html.find_first_not_of(kBlanks, _at);
    if (equals == _html.npos || _html[equals] != '=') {
      _tag.attributes.push_back({name, {}});
      return;
    }
    _at = std::min(_html.find_first_not_of(kBlanks, equals + 1), _html.size());
    if (_at == _html.size()) return;
    const char quote = _html[_at];
    const bool quoted = quote == '"' || quote == '\'';
    const std::size_t value = _at + (quoted ? 1 : 0);
    _at = value;
    _at = quoted ? std::min(_html.find(quote, value), _html.size()) : Find(" \t\r\n\f>");
    _tag.attributes.push_back({name, _html.substr(value, _at - value)});
    if (quoted && _at < _html.size()) ++_at;
  }

  // The place of the closing tag, or the end.
  std::size_t EndOfRawText() const {
    for (std::size_t at = _html.find("</", _at); at != _html.npos; at = _html.find("</", at + 2)) {
      const std::string_view rest = _html.substr(at + 2);
      if (!StartsWithIgnoreAsciiCase(rest, _tag.name)) continue;
      const std::string_view behind = rest.substr(_tag.name.size());
      if (behind.empty() || kNameEnd.find(behind.front()) != kNameEnd.npos) return at;
    }
    return _html.size();
  }

  void ReadRawText(std::size_t end) {
    _sink.RawText(_html.substr(_at, end - _at));
    _at = end;
    GoBehind(_html.find('>', _at), 1);
  }

  std::string_view _html;
  HtmlTokenSink& _sink;
  HtmlTag _tag;
  std::size_t _at = 0;
};

}  // namespace

const HtmlAttribute* HtmlTag::Find(std::string_view attribute) const {
  const auto found = std::ranges::find_if(attributes, [&](const HtmlAttribute& one) {
    return EqualsIgnoreAsciiCase(one.name, attribute);
  });
  return found == attributes.end() ? nullptr : &*found;
}

void ReadHtml(std::string_view html, HtmlTokenSink& sink) { Reader(html, sink).Run(); }

}  // namespace parvane::desk
