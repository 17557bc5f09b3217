// TsByteData: the mail library's byte buffer.
//
// Bytes that come out of a message are shared with it, not copied; copies of a TsByteData share
// their bytes too, and appending to one leaves the others alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tessary {

class ClsByteData;

class TsByteData {
 public:
  TsByteData();
  ~TsByteData();
  TsByteData(const TsByteData& other);
  TsByteData& operator=(const TsByteData& other);
  TsByteData(TsByteData&& other) noexcept;
  TsByteData& operator=(TsByteData&& other) noexcept;

  // How narrow arguments (the path of loadFile) are read: UTF-8 when set, the process's ANSI code
  // page when clear (the state of a new object).
  bool get_Utf8() const;
  void put_Utf8(bool utf8);

  void append2(const void* bytes, std::size_t count);
  // Appends the bytes of a NUL-terminated text as they are.
  void appendStr(const char* text);
  // Appends a whole file; false, with nothing appended, when it cannot be read or is larger than
  // 1 GiB.
  bool appendFileW(const char16_t* path);
  // Replaces the content by a whole file; on failure the content is empty.
  bool loadFile(const char* path);
  // Replaces the content by `bytes`, which are taken over without a copy.
  void adopt(std::string&& bytes);
  void adopt(std::vector<char>&& bytes);
  void adopt(std::vector<std::uint8_t>&& bytes);
  void clear();

  // Null when there are no bytes. Holds until the object changes.
  const unsigned char* getBytes() const;
  std::size_t getSize() const;
  std::string_view view() const;

 private:
  friend ClsByteData& ImplementationOf(const TsByteData&);
  std::unique_ptr<ClsByteData> _implP;
};

}  // namespace Tessary
