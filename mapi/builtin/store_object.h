// What stores, folders, messages and attachments share: they belong to an open PST, streams read
// and write their properties, OpenProperty asks all of them the same. Of messages and attachments
// changes are kept until they are saved; of stores and folders they take effect at once.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "mapi/builtin/property_object.h"
#include "mapi/builtin/stream.h"
#include "mapi/builtin/transacted.h"
#include "mapi/constants.h"

namespace parvane::mapi::builtin {

template <typename Face>
class StoreObject : public PropertyObject<Face>, public StreamHost {
 public:
  bool IsWritable() const override { return _writable; }
  StoreCore* NameScope() override { return _core.get(); }
  IUnknown* Anchor() override { return static_cast<Face*>(this); }
  StoreCore& Core() override { return *_core; }
  unsigned StreamCodePage() override { return kDefaultHtmlCodePage; }

  HRESULT PARVANE_STDCALL OpenProperty(ULONG ulPropTag, const IID* lpiid, ULONG ulInterfaceOptions,
                                       ULONG ulFlags, IUnknown** lppUnk) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lppUnk) || lpiid == nullptr || PropType(ulPropTag) == PT_UNSPECIFIED) {
        return MAPI_E_INVALID_PARAMETER;
      }
      if (const HRESULT result = this->Prepare(); Failed(result)) return result;
      if (!(*lpiid == IID_IStream)) {
        return OpenOther(ulPropTag, *lpiid, ulInterfaceOptions, ulFlags, lppUnk);
      }
      IStream* stream = nullptr;
      const HRESULT result = OpenStream(ulPropTag, ulInterfaceOptions, ulFlags, &stream);
      *lppUnk = stream;
      return result;
    });
  }

 protected:
  StoreObject(StoreCorePtr core, bool writable) : _core(std::move(core)), _writable(writable) {}

  // OpenProperty with IID_IStream, and with any other interface.
  virtual HRESULT OpenStream(ULONG tag, ULONG options, ULONG flags, IStream** out) = 0;
  virtual HRESULT OpenOther(ULONG /*tag*/, const IID& wanted, ULONG /*options*/, ULONG /*flags*/,
                            IUnknown** /*out*/) {
    return wanted == IID_IMAPITable || wanted == IID_IMessage ? MAPI_E_NO_SUPPORT
                                                              : MAPI_E_INTERFACE_NOT_SUPPORTED;
  }

  StoreCorePtr _core;
  bool _writable;
};

// A store or a folder. Streams on its properties only read.
template <typename Face>
class ImmediateObject : public StoreObject<Face> {
 public:
  HRESULT Set(const SPropValue& value) override {
    return StoreValue(value, kDefaultHtmlCodePage, _pending);
  }
  HRESULT Remove(ULONG id) override {
    if (!_reader->TagOf(static_cast<std::uint16_t>(id))) return MAPI_E_NOT_FOUND;
    _pendingRemovals.push_back(static_cast<std::uint16_t>(id));
    return S_OK;
  }
  HRESULT FlushChanges() override {
    if (_pending.empty() && _pendingRemovals.empty()) return S_OK;
    _reader.reset();
    const platform::Status status = Change(*this->_core->store(), _pending, _pendingRemovals);
    _pending.Clear();
    _pending.ShrinkToFit();  // callers keep thousands of folders open
    _pendingRemovals.clear();
    this->_core->Publish();
    return status.ok() ? S_OK : this->_core->Note(status);
  }
  HRESULT PARVANE_STDCALL SaveChanges(ULONG) override {
    return this->_core->store() == nullptr ? MAPI_E_END_OF_SESSION : S_OK;
  }

  HRESULT OpenValue(ULONG id, Value& value, std::optional<pstfile::ValueReader>& reader) override {
    return OpenInFile(*this->_core, *_reader, id, value, reader);
  }
  HRESULT InstallBytes(ULONG, std::span<const std::byte>) override { return MAPI_E_NO_SUPPORT; }
  HRESULT InstallStored(ULONG, const pstfile::StoredValue&) override { return MAPI_E_NO_SUPPORT; }

 protected:
  using StoreObject<Face>::StoreObject;

  // Writes the changes of one call.
  virtual platform::Status Change(pstfile::PstStore& store, const pstfile::PropertyList& set,
                                  const std::vector<std::uint16_t>& removed) = 0;
  HRESULT OpenStream(ULONG tag, ULONG options, ULONG flags, IStream** out) override {
    if ((flags & (MAPI_CREATE | MAPI_MODIFY)) != 0) return MAPI_E_NO_SUPPORT;
    return OpenPropertyStream(*this, tag, options, flags, false, out);
  }
  // What Prepare does with the object's properties, once they have been opened.
  HRESULT Begin(platform::Result<pstfile::PropertyReader> opened) {
    if (!opened.ok()) return this->_core->Note(opened.status());
    _reader.emplace(std::move(opened).value());
    _pending.Clear();
    _pendingRemovals.clear();
    return S_OK;
  }

  std::optional<pstfile::PropertyReader> _reader;  // as of the current call

 private:
  pstfile::PropertyList _pending;  // set in the current call
  std::vector<std::uint16_t> _pendingRemovals;
};

// True when these flags of SaveChanges end writing. Callers that pass none of the "keep open" flags
// promise to release the object next; FORCE_SAVE alone, which some take for "keep open", does not
// hold them to it.
bool EndsWriting(ULONG saveFlags);

// A message or an attachment.
template <typename Face>
class TransactedObject : public StoreObject<Face> {
 public:
  HRESULT Prepare() override {
    return this->_core->store() == nullptr ? MAPI_E_END_OF_SESSION : S_OK;
  }
  HRESULT Set(const SPropValue& value) override {
    const bool wideHtml = value.ulPropTag == PR_BODY_HTML_W;
    return _properties.Set(value, wideHtml ? this->StreamCodePage() : kDefaultHtmlCodePage);
  }
  HRESULT Remove(ULONG id) override {
    pstfile::PropertyReader* reader = nullptr;
    if (const HRESULT result = OpenReader(reader); Failed(result)) return result;
    return _properties.Remove(id, reader);
  }
  HRESULT FlushChanges() override { return S_OK; }
  HRESULT PARVANE_STDCALL SaveChanges(ULONG ulFlags) override {
    return Guarded([&]() -> HRESULT {
      if (const HRESULT result = Prepare(); Failed(result)) return result;
      if (!this->_writable) return MAPI_E_NO_ACCESS;
      // What a failed save has given back cannot be saved again; half an object must not pass for
      // a whole one.
      if (Failed(_failure)) return _failure;
      if (IsChanged()) {
        const HRESULT result = CheckUnchanged((ulFlags & FORCE_SAVE) != 0);
        if (Failed(result)) return result;
        // Stays when an exception leaves it half done.
        _failure = MAPI_E_NOT_ENOUGH_MEMORY;
        _failure = WriteOut();
      }
      if (Failed(_failure)) return _failure;
      if (EndsWriting(ulFlags)) this->_writable = false;
      return S_OK;
    });
  }

  HRESULT InstallBytes(ULONG tag, std::span<const std::byte> bytes) override {
    _properties.SetBytes(tag, bytes);
    return S_OK;
  }
  HRESULT InstallStored(ULONG tag, const pstfile::StoredValue& stored) override {
    _properties.SetStored(tag, stored);
    return S_OK;
  }

 protected:
  TransactedObject(StoreCorePtr core, bool writable)
      : StoreObject<Face>(std::move(core), writable), _properties(*this->_core) {}

  // What is in the file, opened when first needed; null for an object that is not there yet.
  virtual HRESULT OpenReader(pstfile::PropertyReader*& reader) = 0;
  // Something has not been saved.
  virtual bool IsChanged() const = 0;
  // Before a new version is written: the one it builds on must still be the object's.
  virtual HRESULT CheckUnchanged(bool /*force*/) { return S_OK; }
  virtual HRESULT WriteOut() = 0;

  HRESULT OpenStream(ULONG tag, ULONG options, ULONG flags, IStream** out) override {
    const bool writes = (flags & (MAPI_CREATE | MAPI_MODIFY)) != 0;
    if (writes && this->IsComputed(tag)) return MAPI_E_NO_ACCESS;
    return OpenPropertyStream(*this, tag, options, flags, this->_writable, out);
  }
  HRESULT OpenOther(ULONG tag, const IID& wanted, ULONG options, ULONG flags,
                    IUnknown** out) override {
    return wanted == IID_IStreamDocfile
               ? MAPI_E_NO_SUPPORT
               : StoreObject<Face>::OpenOther(tag, wanted, options, flags, out);
  }

  TransactedProperties _properties;
  HRESULT _failure = 0;  // of a save
};

}  // namespace parvane::mapi::builtin
