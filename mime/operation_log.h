// The log that every facade object keeps of its last operation: the object's last-error text.
//
// Entries are kept as they are given and put into words only when the text is asked for, so that
// an operation that nobody asks about costs no formatting. The log is bounded: a message with very
// many parts loses the tail of its notes, never the outcome.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace parvane::mime {

class OperationLog {
 public:
  enum class Keeping { kAll, kNothing };

  OperationLog() = default;
  // One that nobody will ask takes no notes.
  explicit OperationLog(Keeping keeping) : _keeping(keeping) {}

  // Begins the log of a new operation, forgetting the last one. `name` must be a literal.
  void Begin(const char* name);
  // Closes the operation's context with "Success" or the failure texts already logged.
  void End(bool success);

  // Opens and closes a context inside the operation. Literals only.
  void Open(const char* name);
  void Close();
  // One line. `text` must be a literal; "%d" in it stands for `number`.
  void Say(const char* text);
  void Say(const char* text, int number);
  // A line "name: value".
  void Data(const char* name, std::string_view value);

  // Indented four columns a context, lines ended by LF:
  //
  //   GetHtmlBody:
  //       No HTML alternative.
  //       No HTML body!
  //       Failed.
  //   --GetHtmlBody
  std::string Text() const;

 private:
  enum class Kind : unsigned char { kOpen, kClose, kLine, kNumber, kData };
  enum class Outcome : unsigned char { kNone, kSuccess, kFailure };
  struct Entry {
    Kind kind;
    const char* text;
    int number;
    std::size_t valueStart;  // in _values
    std::size_t valueSize;
  };
  static constexpr std::size_t kMaxEntries = 1000;

  void Add(Kind kind, const char* text, int number = 0, std::string_view value = {});

  // The operation's own frame is no entry: one that notes nothing costs three stores.
  Keeping _keeping = Keeping::kAll;
  const char* _operation = nullptr;
  Outcome _outcome = Outcome::kNone;
  std::vector<Entry> _entries;
  std::vector<const char*> _open;
  std::string _values;
};

// Opens a context for the time of a scope.
class LogContext {
 public:
  LogContext(OperationLog& log, const char* name) : _log(log) { _log.Open(name); }
  ~LogContext() { _log.Close(); }
  LogContext(const LogContext&) = delete;
  LogContext& operator=(const LogContext&) = delete;

 private:
  OperationLog& _log;
};

}  // namespace parvane::mime
