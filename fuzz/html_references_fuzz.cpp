// What a text of HTML refers to, and the forms in which references are compared.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "carry/html_references.h"
#include "fuzz/expect.h"

namespace {

using namespace parvane::carry;

bool LiesIn(std::string_view part, std::string_view whole) {
  const std::less_equal<> before;
  return before(whole.data(), part.data()) &&
         before(part.data() + part.size(), whole.data() + whole.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  std::size_t references = 0;
  ForEachReference(bytes, [&](std::string_view reference) {
    ++references;
    Expect(LiesIn(reference, bytes), "a reference is a piece of the text");
    Expect(reference.size() <= kLongestReference, "long ones are not told");
    Expect(ComparableReference(reference).size() <= reference.size(), "nothing undone grows");
  });
  Expect(references <= size / 4, "each takes an attribute or a url()");

  // The part's own name and a reference to it meet, whatever characters make up the name.
  const std::string name = ReferenceToContentId(bytes);
  if (name.find_first_of("&%") == name.npos && bytes.find_first_of("&%") == bytes.npos)
    Expect(ComparableReference(name) == name, "a name refers to itself");
  return 0;
}
