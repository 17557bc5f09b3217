// Guards for what MAPI hands out: references to objects, buffers, row sets.
#pragma once

#include <utility>

#include "mapi/entry_points.h"

namespace parvane::mapi {

// Holds one reference to an object and releases it.
template <typename T>
class ComPointer {
 public:
  ComPointer() = default;
  ComPointer(const ComPointer& other) : _object(other._object) {
    if (_object != nullptr) _object->AddRef();
  }
  ComPointer(ComPointer&& other) noexcept : _object(std::exchange(other._object, nullptr)) {}
  ~ComPointer() { Reset(); }
  ComPointer& operator=(ComPointer other) noexcept {
    std::swap(_object, other._object);
    return *this;
  }

  // Takes over a reference the caller holds.
  static ComPointer Attach(T* object) {
    ComPointer pointer;
    pointer._object = object;
    return pointer;
  }
  // Adds a reference of its own.
  static ComPointer Share(T* object) {
    if (object != nullptr) object->AddRef();
    return Attach(object);
  }

  T* get() const { return _object; }
  T* operator->() const { return _object; }
  T& operator*() const { return *_object; }
  explicit operator bool() const { return _object != nullptr; }

  void Reset() {
    if (_object != nullptr) std::exchange(_object, nullptr)->Release();
  }
  // Gives the reference up to the caller.
  T* Detach() { return std::exchange(_object, nullptr); }

  // For out parameters: drops what is held.
  T** Put() {
    Reset();
    return &_object;
  }
  IUnknown** PutUnknown() { return reinterpret_cast<IUnknown**>(Put()); }

 private:
  T* _object = nullptr;
};

// Holds one buffer of MAPI memory and frees it.
template <typename T>
class MapiBuffer {
 public:
  MapiBuffer() = default;
  explicit MapiBuffer(T* buffer) : _buffer(buffer) {}
  MapiBuffer(MapiBuffer&& other) noexcept : _buffer(std::exchange(other._buffer, nullptr)) {}
  ~MapiBuffer() { Reset(); }
  MapiBuffer& operator=(MapiBuffer&& other) noexcept {
    if (this != &other) {
      Reset();
      _buffer = std::exchange(other._buffer, nullptr);
    }
    return *this;
  }

  T* get() const { return _buffer; }
  T* operator->() const { return _buffer; }
  T& operator[](std::size_t index) const { return _buffer[index]; }
  explicit operator bool() const { return _buffer != nullptr; }
  void Reset() {
    if (_buffer != nullptr) MAPIFreeBuffer(std::exchange(_buffer, nullptr));
  }
  T* Detach() { return std::exchange(_buffer, nullptr); }
  T** Put() {
    Reset();
    return &_buffer;
  }

 private:
  T* _buffer = nullptr;
};

// Holds a set of rows.
class RowSet {
 public:
  RowSet() = default;
  RowSet(RowSet&& other) noexcept : _rows(std::exchange(other._rows, nullptr)) {}
  ~RowSet() { Reset(); }
  RowSet& operator=(RowSet&& other) noexcept {
    if (this != &other) {
      Reset();
      _rows = std::exchange(other._rows, nullptr);
    }
    return *this;
  }

  ULONG size() const { return _rows == nullptr ? 0 : _rows->cRows; }
  const SRow& operator[](ULONG index) const { return _rows->aRow[index]; }
  const SRow* begin() const { return _rows == nullptr ? nullptr : _rows->aRow; }
  const SRow* end() const { return begin() + size(); }
  SRowSet* get() const { return _rows; }
  void Reset() {
    if (_rows != nullptr) FreeProws(std::exchange(_rows, nullptr));
  }
  SRowSet** Put() {
    Reset();
    return &_rows;
  }

 private:
  SRowSet* _rows = nullptr;
};

}  // namespace parvane::mapi
