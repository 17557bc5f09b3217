#include "sources/state/mork/mork_reader.h"

namespace parvane::sources::mork {
namespace {

constexpr char kEnd = CharStream::kEnd;

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

}  // namespace

void Reader::Run() {
  while (const char c = _in.Next()) {
    if (c == '<') {
      Dict();
    } else if (c == '{') {
      Table();
    } else if (c == '[') {
      Row(0, false);
    } else {
      Other(c);
    }
  }
}

// What may stand between things: a comment, the mark of a group, what nobody knows.
void Reader::Other(char first) {
  if (first == '(') SkipText();
  if (first == '@') SkipPast('@');
  if (first == '/' && _in.Peek() == '/') {
    for (char c = _in.Peek(); c != kEnd && c != '\n' && c != '\r'; c = _in.Peek()) _in.Next();
  } else if (first == '/' && _in.Peek() == '*') {
    _in.Next();
    while (_in.SkipTo('*')) {
      _in.Next();
      if (_in.Peek() == '/') return _in.Next(), void();
    }
  }
}

void Reader::SkipBlanks() {
  for (char c = _in.Peek(); IsBlank(c) || c == '/'; c = _in.Peek()) Other(_in.Next());
}

// Past `end`, wherever no text holds it.
void Reader::SkipPast(char end) {
  for (char c = _in.Next(); c != kEnd && c != end; c = _in.Next()) {
    if (c == '(') SkipText();
  }
}

void Reader::SkipText() {
  for (char c = _in.Next(); c != kEnd && c != ')'; c = _in.Next()) {
    if (c == '\\') _in.Next();
  }
}

// Up to the ")", which is taken.
std::string_view Reader::Text() {
  _text.clear();
  const auto add = [this](char c) {
    if (_text.size() < kMostText) _text += c;
  };
  for (char c = _in.Next(); c != kEnd && c != ')'; c = _in.Next()) {
    if (c == '\\') {
      c = _in.Next();
      if (c == '\r' && _in.Peek() == '\n') _in.Next();
      if (c != '\r' && c != '\n' && c != kEnd) add(c);
    } else if (c == '$' && HexDigit(_in.Peek()) >= 0) {
      const int high = HexDigit(_in.Next());
      const int low = HexDigit(_in.Peek());
      if (low >= 0) _in.Next();
      add(static_cast<char>(low >= 0 ? high * 16 + low : high));
    } else {
      add(c);
    }
  }
  return _text;
}

// Of a dictionary: "<(a=c)>", its "<" taken.
bool Reader::IsColumns() {
  bool columns = false;
  for (char c = _in.Next(); c != kEnd && c != '>'; c = _in.Next()) {
    if (c == '(') columns |= Text() == "a=c";
  }
  return columns;
}

void Reader::Dict() {
  bool columns = false;
  for (char c = _in.Next(); c != kEnd && c != '>'; c = _in.Next()) {
    if (c == '<') {
      columns = IsColumns();
      continue;
    }
    if (c != '(') {
      Other(c);
      continue;
    }
    std::uint32_t number = 0;
    const bool numbered = ReadId(_in, number);
    SkipBlanks();
    if (!numbered || _in.Peek() != '=') {
      SkipText();
      continue;
    }
    _in.Next();
    const std::string_view text = Text();
    if (!columns) {
      _sink.DefineValue(number, text);
    } else if (const Column known = _sink.ColumnNamed(text); known == 0) {
      _columns.erase(number);
    } else if (_columns.size() < kMostColumns || _columns.contains(number)) {
      _columns[number] = known;
    }
  }
}

// "^80" or a name, up to what cannot belong to it.
Column Reader::ColumnHere() {
  if (_in.Peek() == '^') {
    _in.Next();
    std::uint32_t number = 0;
    const auto found = ReadId(_in, number) ? _columns.find(number) : _columns.end();
    return found == _columns.end() ? 0 : found->second;
  }
  _name.clear();
  for (char c = _in.Peek(); c > ' ' && std::string_view("()[]{}<>=^").find(c) == std::string::npos;
       c = _in.Peek()) {
    _in.Next();
    if (_name.size() < kMostText) _name += c;
  }
  return _sink.ColumnNamed(_name);
}

bool Reader::ReadRowId(Column scope, RowId& id) {
  id.scope = scope;
  if (!ReadId(_in, id.number)) return false;
  if (_in.Peek() == ':') {
    _in.Next();
    id.scope = ColumnHere();
  }
  return true;
}

void Reader::CellOfRow() {
  const Column column = ColumnHere();
  if (_in.Peek() == ':') {
    _in.Next();
    ColumnHere();
  }
  SkipBlanks();
  Value value;
  if (_in.Peek() == '^') {
    _in.Next();
    value.isNumber = true;
    const bool numbered = ReadId(_in, value.number);
    const bool ofColumns = _in.Peek() == ':';
    SkipText();
    if (column != 0 && numbered && !ofColumns) _sink.Cell(column, value);
    return;
  }
  if (_in.Peek() != '=' || column == 0) return SkipText();
  _in.Next();
  value.text = Text();
  _sink.Cell(column, value);
}

void Reader::Row(Column scope, bool inTable) {
  SkipBlanks();
  const bool emptied = _in.Peek() == '-';
  if (emptied) _in.Next();
  RowId id;
  if (!ReadRowId(scope, id)) return SkipPast(']');
  if (inTable) _sink.ListRow(id, false);
  _sink.BeginRow(id, emptied);
  for (char c = _in.Next(); c != kEnd && c != ']'; c = _in.Next()) {
    if (c == '(') {
      CellOfRow();
    } else if (c == '[') {
      SkipPast(']');
    } else {
      Other(c);
    }
  }
}

// "{(k^96:c)(s=9)}", its "{" taken.
Column Reader::TableKind() {
  Column kind = 0;
  for (char c = _in.Next(); c != kEnd && c != '}'; c = _in.Next()) {
    if (c == '[') SkipPast(']');
    if (c != '(') continue;
    if (_in.Peek() == 'k') {
      _in.Next();
      if (_in.Peek() == '=') _in.Next();
      kind = ColumnHere();
    }
    SkipText();
  }
  return kind;
}

void Reader::Table() {
  SkipBlanks();
  const bool emptied = _in.Peek() == '-';
  if (emptied) _in.Next();
  RowId table;
  if (!ReadRowId(0, table)) return;
  SkipBlanks();
  Column kind = 0;
  if (_in.Peek() == '{') {
    _in.Next();
    kind = TableKind();
  }
  _sink.BeginTable(table, kind, emptied);
  for (char c = _in.Peek(); c != kEnd && c != '}'; c = _in.Peek()) TableEntry(table);
  _in.Next();
}

void Reader::TableEntry(const RowId& table) {
  const char c = _in.Peek();
  if (c == '[') {
    _in.Next();
    return Row(table.scope, true);
  }
  if (c == '-' || HexDigit(c) >= 0) {
    if (c == '-') _in.Next();
    RowId row;
    if (ReadRowId(table.scope, row)) _sink.ListRow(row, c == '-');
    return;
  }
  _in.Next();
  if (c == '!') {
    SkipBlanks();
    std::uint32_t position = 0;
    ReadId(_in, position);
  } else if (c == '{') {
    TableKind();
  } else {
    Other(c);
  }
}

}  // namespace parvane::sources::mork
