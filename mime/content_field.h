// A structured header value with parameters, as Content-Type and Content-Disposition are.
//
//   field     := value *(";" parameter)
//   parameter := name ["*" section] ["*"] "=" (quoted | text up to ";")
//
// Read leniently: white space anywhere, comments behind the value, unquoted text with spaces (file
// names), a missing closing quote. Parameters split into numbered sections or written with a
// charset and percent encoding (RFC 2231) are put together and decoded; of a parameter given both
// ways the decoded one counts, else the first one that is not empty.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/pooled_object.h"
#include "platform/recycled_vector.h"

namespace Tessary {

struct Parameter {
  std::string name;       // lower case
  std::string value;      // bytes as found, or UTF-8 when `extended`
  bool extended = false;  // it was written the RFC 2231 way, with a charset
};

class ContentField : public parvane::platform::PooledObject<ContentField> {
 public:
  ContentField() = default;
  // `text` is unfolded. `charset` is tried for extended values that name none.
  explicit ContentField(std::string_view text, std::string_view charset = {});

  // In the letter case of the message, without white space and comments.
  const std::string& value() const { return _value; }
  void SetValue(std::string_view value) { _value = value; }
  // Null when there is none of that (lower-case) name.
  const Parameter* Find(std::string_view name) const;
  // The value of that parameter, empty when there is none.
  std::string_view Get(std::string_view name) const;

 private:
  std::string _value;
  parvane::platform::RecycledVector<Parameter> _parameters;
};

}  // namespace Tessary
