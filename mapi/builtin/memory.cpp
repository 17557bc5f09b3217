#include "mapi/builtin/memory.h"

#include <cstring>
#include <limits>
#include <new>

#include "mapi/diagnostics_recorder.h"
#include "mapi/results.h"
#include "mapi/structures.h"

namespace parvane::mapi::builtin {
namespace {

// Stands before every block. A head's `next` leads through its whole chain, in any order.
struct alignas(16) Header {
  std::uint64_t magic;
  Header* next;
};

constexpr std::uint64_t kHead = 0x6461656849504150;
constexpr std::uint64_t kLink = 0x6B6E696C49504150;

Header* NewBlock(ULONG size, std::uint64_t magic) {
  auto* header =
      static_cast<Header*>(::operator new (sizeof(Header) + std::size_t{size}, std::nothrow));
  if (header != nullptr) *header = {magic, nullptr};
  return header;
}

Header* HeaderOf(void* buffer) { return static_cast<Header*>(buffer) - 1; }

}  // namespace

SCODE AllocateBuffer(ULONG size, void** buffer) noexcept {
  if (buffer == nullptr) return MAPI_E_INVALID_PARAMETER;
  *buffer = nullptr;
  Header* header = NewBlock(size, kHead);
  if (header == nullptr) return MAPI_E_NOT_ENOUGH_MEMORY;
  CountBuffers(1);
  *buffer = header + 1;
  return S_OK;
}

SCODE AllocateMore(ULONG size, void* head, void** buffer) noexcept {
  if (buffer == nullptr) return MAPI_E_INVALID_PARAMETER;
  *buffer = nullptr;
  if (head == nullptr || HeaderOf(head)->magic != kHead) return MAPI_E_INVALID_PARAMETER;
  Header* header = NewBlock(size, kLink);
  if (header == nullptr) return MAPI_E_NOT_ENOUGH_MEMORY;
  header->next = HeaderOf(head)->next;
  HeaderOf(head)->next = header;
  *buffer = header + 1;
  return S_OK;
}

ULONG FreeBuffer(void* buffer) noexcept {
  if (buffer == nullptr) return S_OK;
  Header* header = HeaderOf(buffer);
  if (header->magic != kHead) return static_cast<ULONG>(MAPI_E_INVALID_PARAMETER);
  CountBuffers(-1);
  while (header != nullptr) {
    Header* next = header->next;
    header->magic = 0;
    ::operator delete(header);
    header = next;
  }
  return S_OK;
}

void FreeRows(SRowSet* rows) noexcept {
  if (rows == nullptr) return;
  for (ULONG i = 0; i < rows->cRows; ++i) FreeBuffer(rows->aRow[i].lpProps);
  FreeBuffer(rows);
}

void* Chain::Allocate(std::size_t size) {
  if (size > std::numeric_limits<ULONG>::max()) throw std::bad_alloc();
  void* buffer = nullptr;
  const auto bytes = static_cast<ULONG>(size);
  const SCODE result =
      _head == nullptr ? AllocateBuffer(bytes, &buffer) : AllocateMore(bytes, _head, &buffer);
  if (Failed(result)) throw std::bad_alloc();
  if (_head == nullptr) _head = buffer;
  return buffer;
}

LPWSTR Chain::Copy(std::u16string_view text) {
  auto* copy = AllocateArray<char16_t>(text.size() + 1);
  if (!text.empty()) std::memcpy(copy, text.data(), text.size() * sizeof(char16_t));
  copy[text.size()] = 0;
  return copy;
}

LPSTR Chain::Copy(std::string_view text) {
  auto* copy = AllocateArray<char>(text.size() + 1);
  if (!text.empty()) std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = 0;
  return copy;
}

BYTE* Chain::Copy(std::span<const std::byte> bytes) {
  auto* copy = AllocateArray<BYTE>(bytes.size());
  if (!bytes.empty()) std::memcpy(copy, bytes.data(), bytes.size());
  return copy;
}

}  // namespace parvane::mapi::builtin
