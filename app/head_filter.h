// Takes fields out of a request's head before the HTTP library sees them, as the bytes come in.
//
// Browsers send the cookies of 127.0.0.1 to every server there, and other servers' cookies may be
// longer than the line the library is allowed to take; it is not allowed more because it reads
// Range by a regular expression, which takes a kilobyte of stack for each character. Nobody here
// asks for either field.
#pragma once

#include <string>
#include <string_view>

namespace parvane::app {

class HeadFilter {
 public:
  // Appends to `passed` what of `bytes` goes on. The first letters of a line may be held back until
  // the next call; what follows the head's end goes on as it is.
  void Take(std::string_view bytes, std::string& passed);

 private:
  enum class At { kName, kValue, kUnwanted, kBody };

  void TakeName(char c, std::string& passed);

  At _at = At::kName;
  std::string _name;  // of the line so far, held back
};

}  // namespace parvane::app
