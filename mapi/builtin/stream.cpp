#include "mapi/builtin/stream.h"

#include <algorithm>
#include <cstring>

#include "mapi/builtin/object.h"
#include "mapi/builtin/stream_contents.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "platform/code_pages/code_page.h"
#include "platform/pooled_object.h"
#include "platform/text.h"

namespace parvane::mapi::builtin {
namespace {

// How the stream's bytes and the stored ones relate.
enum class Form {
  kBytes,      // the same
  kText,       // the same, UTF-16
  kHtmlBytes,  // the same, HTML in its code page, seen as an 8-bit string
  kAnsi,       // 8-bit text here, UTF-16 stored
  kHtmlText,   // UTF-16 here, HTML bytes stored
};

bool FormOf(ULONG tag, Form& form) {
  const bool isHtml = PropId(tag) == kHtmlId;
  switch (PropType(tag)) {
    case PT_BINARY:
      form = Form::kBytes;
      return true;
    case PT_UNICODE:
      form = isHtml ? Form::kHtmlText : Form::kText;
      return true;
    case PT_STRING8:
      form = isHtml ? Form::kHtmlBytes : Form::kAnsi;
      return true;
    default:
      return false;
  }
}

// Converted forms are held whole in memory.
bool IsConverted(Form form) { return form == Form::kAnsi || form == Form::kHtmlText; }
bool IsWide(Form form) { return form == Form::kText || form == Form::kHtmlText; }
std::size_t TerminatorOf(Form form) {
  if (form == Form::kBytes) return 0;
  return IsWide(form) ? 2 : 1;
}

std::vector<std::byte> ToBytes(std::string_view chars) {
  const auto* data = reinterpret_cast<const std::byte*>(chars.data());
  return {data, data + chars.size()};
}

class PropertyStream final : public Object<IStream>, public platform::PooledObject<PropertyStream> {
 public:
  PropertyStream(StreamHost& host, ULONG tag, Form form, bool writable)
      : _anchor(ComPointer<IUnknown>::Share(host.Anchor())),
        _host(host),
        _contents(host.Core(), form == Form::kText, !IsConverted(form)),
        _tag(tag),
        _form(form),
        _writable(writable) {}

  // Letting go of a stream keeps what was written to it. Nobody is left to be told when it does
  // not.
  ~PropertyStream() override {
    if (!_dirty || Failed(_failure)) return;
    if (Guarded([this] { return CommitContents(); }) == MAPI_E_NOT_ENOUGH_MEMORY) {
      RecordFailure(_host.Core().record().get(), MAPI_E_NOT_ENOUGH_MEMORY,
                    "out of memory: what was written to a property is lost");
    }
  }

  bool Implements(const IID& iid) const override {
    return iid == IID_IStream || iid == IID_ISequentialStream;
  }

  // Prepares the value there is.
  HRESULT OpenExisting(Value& value, std::optional<pstfile::ValueReader> reader) {
    const ULONG storedType = PropType(value.tag);
    const bool asStored = IsConverted(_form) ? false : storedType == PropType(StoredTag(_tag));
    if (asStored) {
      if (reader) {
        _contents.Adopt(*std::move(reader));
      } else {
        _contents.Adopt(std::vector<std::byte>(value.bytes.begin(), value.bytes.end()));
      }
      return S_OK;
    }
    StreamContents source(_host.Core(), false, false);
    if (reader) {
      source.Adopt(*std::move(reader));
    } else {
      source.Adopt(std::vector<std::byte>(value.bytes.begin(), value.bytes.end()));
    }
    if (const HRESULT result = source.Load(); Failed(result)) return result;
    return Convert(source.memory(), storedType);
  }
  void StartEmpty() { _dirty = true; }
  void StartAtEnd() { _position = _contents.Size(); }

  HRESULT PARVANE_STDCALL Read(void* pv, ULONG cb, ULONG* pcbRead) override {
    return GuardedStream([&]() -> HRESULT {
      if (pcbRead != nullptr) *pcbRead = 0;
      if (pv == nullptr) return STG_E_INVALIDPOINTER;
      std::size_t read = 0;
      const HRESULT result = _contents.Read(_position, {static_cast<std::byte*>(pv), cb}, read);
      if (Failed(result)) return result;
      _position += read;
      if (pcbRead != nullptr) *pcbRead = static_cast<ULONG>(read);
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL Write(const void* pv, ULONG cb, ULONG* pcbWritten) override {
    return GuardedChange([&]() -> HRESULT {
      if (pcbWritten != nullptr) *pcbWritten = 0;
      if (pv == nullptr && cb != 0) return STG_E_INVALIDPOINTER;
      if (const HRESULT result = CheckWritable(); Failed(result)) return result;
      const HRESULT result = _contents.Write(_position, {static_cast<const std::byte*>(pv), cb});
      if (Failed(result)) return _failure = result;
      _dirty = true;
      _position += cb;
      if (pcbWritten != nullptr) *pcbWritten = cb;
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin,
                               ULARGE_INTEGER* plibNewPosition) override {
    if (plibNewPosition != nullptr) plibNewPosition->QuadPart = _position;
    std::uint64_t origin = 0;
    if (dwOrigin == STREAM_SEEK_CUR) {
      origin = _position;
    } else if (dwOrigin == STREAM_SEEK_END) {
      origin = _contents.Size();
    } else if (dwOrigin != STREAM_SEEK_SET) {
      return STG_E_INVALIDFUNCTION;
    }
    const auto move = static_cast<std::uint64_t>(dlibMove.QuadPart);
    const std::uint64_t target = origin + move;
    const bool back = dlibMove.QuadPart < 0;
    if (back ? target > origin : target < origin) return STG_E_INVALIDFUNCTION;
    _position = target;
    if (plibNewPosition != nullptr) plibNewPosition->QuadPart = _position;
    return S_OK;
  }
  HRESULT PARVANE_STDCALL SetSize(ULARGE_INTEGER libNewSize) override {
    return GuardedChange([&]() -> HRESULT {
      if (const HRESULT result = CheckWritable(); Failed(result)) return result;
      const HRESULT result = _contents.Resize(libNewSize.QuadPart);
      if (Failed(result)) return _failure = result;
      _dirty = true;
      return result;
    });
  }
  HRESULT PARVANE_STDCALL CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                 ULARGE_INTEGER* pcbWritten) override {
    return GuardedStream([&]() -> HRESULT {
      ClearOut(pcbRead);
      ClearOut(pcbWritten);
      if (pstm == nullptr) return STG_E_INVALIDPOINTER;
      std::vector<std::byte> buffer(64 * 1024);
      std::uint64_t left = cb.QuadPart;
      while (left != 0) {
        const auto wanted = static_cast<ULONG>(std::min<std::uint64_t>(left, buffer.size()));
        ULONG read = 0;
        if (const HRESULT result = Read(buffer.data(), wanted, &read); Failed(result)) {
          return result;
        }
        if (read == 0) break;
        left -= read;
        if (pcbRead != nullptr) pcbRead->QuadPart += read;
        ULONG written = 0;
        const HRESULT result = pstm->Write(buffer.data(), read, &written);
        if (pcbWritten != nullptr) pcbWritten->QuadPart += written;
        if (Failed(result)) return result;
      }
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL Commit(DWORD) override {
    return GuardedChange([&]() -> HRESULT {
      if (Failed(_failure)) return _failure;
      return _dirty ? CommitContents() : S_OK;
    });
  }
  HRESULT PARVANE_STDCALL Revert() override { return S_OK; }
  HRESULT PARVANE_STDCALL LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return STG_E_INVALIDFUNCTION;
  }
  HRESULT PARVANE_STDCALL UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return STG_E_INVALIDFUNCTION;
  }
  HRESULT PARVANE_STDCALL Stat(STATSTG* pstatstg, DWORD) override {
    if (!ClearOut(pstatstg)) return STG_E_INVALIDPOINTER;
    pstatstg->type = STGTY_STREAM;
    pstatstg->cbSize.QuadPart = _contents.Size();
    pstatstg->grfMode = _writable ? STGM_READWRITE : STGM_READ;
    return S_OK;
  }
  HRESULT PARVANE_STDCALL Clone(IStream** ppstm) override {
    return ClearOut(ppstm) ? E_NOTIMPL : STG_E_INVALIDPOINTER;
  }

 private:
  template <typename Body>
  HRESULT GuardedStream(Body&& body) {
    const HRESULT result = Guarded(std::forward<Body>(body));
    return result == MAPI_E_NOT_ENOUGH_MEMORY ? STG_E_INSUFFICIENTMEMORY : result;
  }

  // Where memory runs out in the middle, what is there is no value any more.
  template <typename Body>
  HRESULT GuardedChange(Body&& body) {
    const HRESULT result = GuardedStream(std::forward<Body>(body));
    if (result == STG_E_INSUFFICIENTMEMORY) _failure = result;
    return result;
  }

  HRESULT CheckWritable() const {
    if (!_writable) return STG_E_ACCESSDENIED;
    if (Failed(_failure)) return _failure;
    return _host.Core().store() == nullptr ? STG_E_REVERTED : S_OK;
  }

  HRESULT Convert(std::span<const std::byte> stored, ULONG storedType) {
    const std::string_view chars(reinterpret_cast<const char*>(stored.data()), stored.size());
    // Text is not shown as bytes, except that of an HTML body.
    if (_form == Form::kBytes && PropId(_tag) != kHtmlId) return MAPI_E_NOT_FOUND;
    std::u16string text;
    if (storedType == PT_UNICODE) {
      text = pstfile::DecodeText(stored);
    } else if (storedType == PT_STRING8) {
      text = platform::AnsiToUtf16(chars);
    } else if (storedType == PT_BINARY && _form == Form::kHtmlText) {
      platform::DecodeCodePage(_host.StreamCodePage(), chars, text);
    } else {
      return MAPI_E_NOT_FOUND;  // there, but of a type this tag does not name
    }
    std::vector<std::byte> bytes;
    if (IsWide(_form)) {
      pstfile::AppendText(text, bytes);
    } else {
      bytes = ToBytes(platform::Utf16ToAnsi(text));
    }
    _contents.Adopt(std::move(bytes));
    return S_OK;
  }

  HRESULT CommitContents() {
    const std::size_t terminator = TerminatorOf(_form);
    if (!IsConverted(_form)) {
      const HRESULT result = _contents.Install(_host, StoredTag(_tag), terminator);
      if (Succeeded(result)) _dirty = false;
      return result;
    }
    if (const HRESULT result = _contents.Load(); Failed(result)) return result;
    const std::span<const std::byte> bytes = _contents.memory();
    StreamContents converted(_host.Core(), _form == Form::kAnsi, false);
    if (_form == Form::kAnsi) {
      const std::string_view chars(reinterpret_cast<const char*>(bytes.data()), bytes.size());
      std::vector<std::byte> stored;
      pstfile::AppendText(platform::AnsiToUtf16(chars), stored);
      converted.Adopt(std::move(stored));
    } else {
      std::string html;
      std::u16string text = pstfile::DecodeText(bytes);
      if (!text.empty() && text.back() == 0) text.pop_back();
      platform::EncodeCodePage(_host.StreamCodePage(), text, html);
      converted.Adopt(ToBytes(html));
    }
    const HRESULT result = converted.Install(_host, StoredTag(_tag), _form == Form::kAnsi ? 2 : 0);
    if (Succeeded(result)) _dirty = false;
    return result;
  }

  ComPointer<IUnknown> _anchor;
  StreamHost& _host;
  StreamContents _contents;
  std::uint64_t _position = 0;
  ULONG _tag;
  Form _form;
  bool _writable;
  bool _dirty = false;
  // Of a write. The beginning of a value must not pass for the value: nothing is kept of it.
  HRESULT _failure = S_OK;
};

}  // namespace

HRESULT OpenPropertyStream(StreamHost& host, ULONG tag, ULONG options, ULONG flags, bool writable,
                           IStream** out) {
  const bool create = (flags & MAPI_CREATE) != 0;
  const bool modify =
      create || (flags & MAPI_MODIFY) != 0 || (options & (STGM_WRITE | STGM_READWRITE)) != 0;
  if (modify && !writable) return MAPI_E_NO_ACCESS;
  Form form{};
  if (!FormOf(tag, form)) return MAPI_E_NO_SUPPORT;

  auto stream = ComPointer<PropertyStream>::Attach(new PropertyStream(host, tag, form, modify));
  if (create) {
    stream->StartEmpty();
  } else {
    Value value;
    std::optional<pstfile::ValueReader> reader;
    HRESULT result = host.OpenValue(PropId(tag), value, reader);
    if (Succeeded(result)) result = stream->OpenExisting(value, std::move(reader));
    if (Failed(result)) return result;
  }
  if ((flags & STREAM_APPEND) != 0) stream->StartAtEnd();
  *out = stream.Detach();
  return S_OK;
}

}  // namespace parvane::mapi::builtin
