// TsStringArray: an ordered list of strings, as TsString::tokenize yields it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace Tessary {

class ClsStringArray;

class TsStringArray {
 public:
  TsStringArray();
  ~TsStringArray();
  TsStringArray(const TsStringArray& other);
  TsStringArray& operator=(const TsStringArray& other);
  TsStringArray(TsStringArray&& other) noexcept;
  TsStringArray& operator=(TsStringArray&& other) noexcept;

  int get_Count() const;
  // The string at `index`, NUL-terminated UTF-8; null for a bad index. Holds as long as the array
  // is unchanged.
  const char* strAt(int index) const;
  // The same as UTF-16; empty for a bad index.
  std::u16string_view viewAt(int index) const;

  void append(std::u16string_view text);

 private:
  std::unique_ptr<ClsStringArray> _implP;
};

}  // namespace Tessary
