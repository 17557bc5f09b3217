// Reads Mork 1.4, the text format of Thunderbird's indexes: a log of dictionaries, rows and tables
// in which what comes later replaces what came before.
//
//   file    := (dict | table | row | group | comment)*
//   dict    := "<" ["<(a=c)>"] entry* ">"          of columns when marked so, else of values
//   entry   := "(" id "=" text ")"
//   table   := "{" ["-"] id [":" scope] "{" cell* "}" (row | ["-"] id [":" scope] | "!" id)* "}"
//   row     := "[" ["-"] id [":" scope] cell* "]"
//   cell    := "(" ("^" id | name) ("=" text | "^" id [":c"]) ")"
//   scope   := "^" id | name                       the id or name of a column
//   text    := bytes up to ")"; "\" before a byte makes it text, "\" before a line end goes with
//   it,
//              "$XX" is the byte of that number
//   group   := "@$${" id "{@" ... "@$$}" id "}@"   see mork_stream.h
//   comment := "//" up to the end of the line
//
// Columns and values have numbers of their own, which are the same numbers. A row in a table has
// the table's scope unless it says otherwise. "-" in front of a table empties it, in front of a row
// empties the row, in front of an entry of a table takes it out.
//
// The file is read once, forward, and nothing of it is kept here but the columns that the sink
// knows.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "sources/state/mork/mork_stream.h"

namespace parvane::sources::mork {

// A column or scope as the sink numbers it; 0: one that it does not know.
using Column = int;

struct RowId {
  Column scope = 0;
  std::uint32_t number = 0;
};

// A value: text as it stands, or the number of one in the dictionary.
struct Value {
  bool isNumber = false;
  std::uint32_t number = 0;
  std::string_view text;  // valid during the call
};

class Sink {
 public:
  virtual ~Sink() = default;
  virtual Column ColumnNamed(std::string_view name) = 0;
  virtual void DefineValue(std::uint32_t /*number*/, std::string_view /*text*/) {}
  // A table begins, or is gone on with; its rows follow. `kind` is 0 where it says none.
  virtual void BeginTable(RowId /*table*/, Column /*kind*/, bool /*emptied*/) {}
  // One more row in the table in hand, or one taken out of it.
  virtual void ListRow(RowId /*row*/, bool /*removed*/) {}
  virtual void BeginRow(RowId /*row*/, bool /*emptied*/) {}
  // Of the row in hand. `column` is never 0.
  virtual void Cell(Column /*column*/, const Value& /*value*/) {}
};

class Reader {
 public:
  // Longer text is cut.
  static constexpr std::size_t kMostText = 4096;
  // More columns than that mean nothing, and are not known.
  static constexpr std::size_t kMostColumns = 1024;

  Reader(CharStream& in, Sink& sink) : _in(in), _sink(sink) {}
  void Run();

 private:
  void Dict();
  void Table();
  void TableEntry(const RowId& table);
  void Row(Column scope, bool inTable);
  void CellOfRow();
  void Other(char first);
  Column TableKind();
  bool ReadRowId(Column scope, RowId& id);
  Column ColumnHere();
  std::string_view Text();
  void SkipText();
  void SkipBlanks();
  void SkipPast(char end);
  bool IsColumns();

  CharStream& _in;
  Sink& _sink;
  std::string _text;
  std::string _name;
  std::unordered_map<std::uint32_t, Column> _columns;  // those that the sink knows
};

}  // namespace parvane::sources::mork
