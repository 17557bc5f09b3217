// What the library noted while it parsed or searched a message: what it tolerated, what it looked
// for and did not find.
//
// Entries are kept as they are given and put into words only when somebody asks (see
// facade/operation_log.h), so that notes that nobody reads cost no formatting. The log is bounded:
// a message with very many parts loses the tail of its notes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Tessary {

class ParseLog {
 public:
  enum class Keeping { kAll, kNothing };

  ParseLog() = default;
  // One that nobody will ask takes no notes.
  explicit ParseLog(Keeping keeping) : _keeping(keeping) {}

  // Opens and closes a context. Literals only.
  void Open(const char* name);
  void Close();
  // One line. `text` must be a literal; "%d" in it stands for `number`.
  void Say(const char* text);
  void Say(const char* text, int number);
  // A line "name: value".
  void Data(const char* name, std::string_view value);

 protected:
  void Clear();
  void CloseAll();
  // What has been noted so far, a line each, indented four columns a context below `depth`.
  void AppendLines(std::size_t depth, std::string& text) const;

 private:
  enum class Kind : unsigned char { kOpen, kClose, kLine, kNumber, kData };
  struct Entry {
    Kind kind;
    const char* text;
    int number;
    std::size_t valueStart;  // in _values
    std::size_t valueSize;
  };
  static constexpr std::size_t kMaxEntries = 1000;

  void Add(Kind kind, const char* text, int number = 0, std::string_view value = {});
  void AppendLine(const Entry& entry, std::string& text) const;

  Keeping _keeping = Keeping::kAll;
  std::vector<Entry> _entries;
  std::vector<const char*> _open;
  std::string _values;
};

// Opens a context for the time of a scope.
class LogContext {
 public:
  LogContext(ParseLog& log, const char* name) : _log(log) { _log.Open(name); }
  ~LogContext() { _log.Close(); }
  LogContext(const LogContext&) = delete;
  LogContext& operator=(const LogContext&) = delete;

 private:
  ParseLog& _log;
};

}  // namespace Tessary
