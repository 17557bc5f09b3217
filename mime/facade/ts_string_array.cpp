#include "mime/facade/ts_string_array.h"

#include <string>
#include <vector>

#include "platform/text.h"

namespace Tessary {

class ClsStringArray {
 public:
  struct Item {
    std::u16string text;
    std::string utf8;
  };
  std::vector<Item> items;

  const Item* At(int index) const {
    const bool good = index >= 0 && static_cast<std::size_t>(index) < items.size();
    return good ? &items[static_cast<std::size_t>(index)] : nullptr;
  }
};

TsStringArray::TsStringArray() : _implP(std::make_unique<ClsStringArray>()) {}
TsStringArray::~TsStringArray() = default;
TsStringArray::TsStringArray(const TsStringArray& other)
    : _implP(std::make_unique<ClsStringArray>(*other._implP)) {}
TsStringArray& TsStringArray::operator=(const TsStringArray& other) {
  if (this != &other) *_implP = *other._implP;
  return *this;
}
TsStringArray::TsStringArray(TsStringArray&& other) noexcept : TsStringArray() {
  _implP.swap(other._implP);
}
TsStringArray& TsStringArray::operator=(TsStringArray&& other) noexcept {
  _implP.swap(other._implP);
  return *this;
}

int TsStringArray::get_Count() const { return static_cast<int>(_implP->items.size()); }

const char* TsStringArray::strAt(int index) const {
  const auto* item = _implP->At(index);
  return item == nullptr ? nullptr : item->utf8.c_str();
}

std::u16string_view TsStringArray::viewAt(int index) const {
  const auto* item = _implP->At(index);
  return item == nullptr ? std::u16string_view() : std::u16string_view(item->text);
}

void TsStringArray::append(std::u16string_view text) {
  _implP->items.push_back({std::u16string(text), parvane::platform::Utf16ToUtf8(text)});
}

}  // namespace Tessary
