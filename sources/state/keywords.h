// Keywords: the words by which mail programs mark messages ("$label1", "project_x"). Some of them
// are state of another kind, the rest are tags, which people see under names of their own.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/message_state.h"

namespace parvane::sources {

// Gathers the categories of one message; none comes twice.
class Categories {
 public:
  // More than anybody gives one message; what goes beyond is counted.
  static constexpr std::size_t kMost = 100;

  void Add(std::u16string name);
  std::vector<std::u16string> Take() { return std::move(_names); }
  std::size_t more() const { return _more; }

 private:
  std::vector<std::u16string> _names;
  std::size_t _more = 0;
};

// Whose keywords they are. Thunderbird's keys are not what people see: the names are in its
// settings. Elsewhere a keyword is its own name, but for those that begin with "$".
enum class KeywordKind { kThunderbird, kOther };

// Blank-separated keywords into `state`, those that are tags into `categories`.
void ReadKeywords(std::string_view keywords, KeywordKind kind, const engine::StateWishes& wishes,
                  engine::StateOrigin origin, engine::MessageState& state, Categories& categories);

}  // namespace parvane::sources
