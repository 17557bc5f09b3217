// Files and folders as the page knows them: by a path to be shown and an id, which stands for the
// very bytes of a name that no text could say, or for the files of an export that belong together.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "app/json.h"

namespace parvane::app {

std::string IdOf(const std::vector<std::u16string>& paths);
// What a request names by {"id": ...} or {"path": ...}: at least one; empty where it names none.
std::vector<std::u16string> PathsOf(const Json& named);
// The same of one alone.
std::u16string PathOf(const Json& named);
void Name(Json& json, const std::vector<std::u16string>& paths);

// Whether it is the same from wherever one looks.
bool IsWhole(std::u16string_view path);

// What the person has chosen, found or had made: nothing else is read. May be used from several
// threads.
class Chosen {
 public:
  void Add(const std::vector<std::u16string>& paths, std::string_view kind);
  // Throws a Refusal for one that was not.
  void Require(const std::vector<std::u16string>& paths) const;
  // Of what kind it is, as the page calls it; empty: it was not chosen.
  std::string KindOf(const std::u16string& path) const;

 private:
  mutable std::mutex _mutex;
  std::map<std::u16string, std::string> _kinds;
};

}  // namespace parvane::app
