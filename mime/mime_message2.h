// One entity of a MIME message, and through its children the whole tree.
//
// Loading splits the text into header and body, indexes the header, and splits a multipart body
// into child entities, recursively. Nothing is copied: every entity is a slice of the one buffer.
// Only a message with bare line feeds is rewritten, once as a whole, with CR LF.
//
// Loading never fails. What it tolerates it notes in the log.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mime/byte_slice.h"
#include "mime/content_field.h"
#include "mime/header_facts.h"
#include "mime/mime_header.h"
#include "mime/parse_log.h"
#include "mime/transfer_encoding.h"
#include "platform/pooled_object.h"

namespace Tessary {

// Bounds that no real mail meets. Beyond them the rest of the bytes is kept as one leaf.
struct MimeLimits {
  static constexpr int kNesting = 100;               // multipart and message levels together
  static constexpr std::size_t kEntities = 200'000;  // in one message
  static constexpr std::size_t kMessageBytes = std::size_t{1} << 36;
};

class MimeMessage2 {
 public:
  using Log = Tessary::ParseLog;

  MimeMessage2() = default;
  MimeMessage2(const MimeMessage2&) = delete;
  MimeMessage2& operator=(const MimeMessage2&) = delete;

  // Replaces everything by the message in `text`. `depth` is how deep it is nested already.
  void Load(const ByteSlice& text, Log& log, int depth = 0);
  // The same for text of which it is known that all its line ends are CR LF.
  void LoadCrLf(const ByteSlice& text, Log& log);
  // Puts changed header fields into their serialised form, as if the entity had been serialised
  // and loaded again. True when that was all there was to do, and nothing needs to be read again;
  // false when only serialising and loading can tell what became of the message.
  bool Settle();

  bool IsEmpty() const { return Loaded().empty() && !IsChanged(); }

  // ---- Header ----
  const MimeHeader& header() const { return _header; }
  // The header's lines as loaded, without the empty line behind them.
  std::string_view headerText() const { return _headerText; }
  ByteSlice headerSlice() const {
    return HasOwnHeader() ? _rare->headerBytes : _text.Part(_headerText);
  }
  // A settled header has a NUL behind it; null for any other.
  const char* terminatedHeader() const {
    return HasOwnHeader() ? _rare->headerBytes.data() : nullptr;
  }
  const ContentField& contentType() const { return OrNone(_contentType); }
  const ContentField& disposition() const { return OrNone(_disposition); }
  // The name in Content-Transfer-Encoding, as it stands; empty without the field.
  const std::string& transferEncoding() const { return OrNone(_transferEncoding); }
  // What is known of the header as it stands; null when that is nothing.
  const HeaderFacts* facts() const { return _rare ? _rare->facts.get() : nullptr; }
  // The boundary in the form in which the body has it.
  const std::string& boundary() const { return OrNone(_boundary); }
  // The declared charset's code page; 0 when it is missing or unknown, and for binary content.
  unsigned charset() const;
  // The declared charset's name under the same rules.
  std::string_view charsetName() const;

  bool IsMultipart() const;
  bool ContentTypeIs(std::string_view type) const;

  // ---- Body ----
  // Still in its transfer encoding, sub-parts included.
  std::string_view body() const { return _body; }
  ByteSlice bodySlice() const {
    return _rare && _rare->bodyReplaced ? _rare->newBody : _text.Part(_body);
  }
  // Decoded; shares the message's bytes when there is nothing to decode. A message/rfc822 part is
  // decoded only where it really is encoded: mailers label such parts with encodings that they did
  // not apply.
  ByteSlice DecodedBody() const;
  // How many bytes that is at most, told without decoding.
  std::size_t DecodedSizeAtMost() const;
  // The same bytes, piece by piece.
  void DecodeBodyTo(ByteSink& sink) const;
  using Children = std::vector<std::shared_ptr<MimeMessage2>>;
  const Children& children() const { return OrNone(_children); }
  // The parts too small to be kept.
  const std::vector<std::string_view>& droppedParts() const {
    return _rare ? _rare->droppedParts : None<std::vector<std::string_view>>();
  }
  // The nesting limit was met here: the body was not looked into.
  bool beyondLimit() const { return _beyondLimit; }
  // How deep the entity lies, nested messages counted.
  int depth() const { return _depth; }

  // ---- Changes ----
  void SetField(std::string_view name, std::string_view value);
  // SetField for several fields, all there and none of them a content field, at the cost of one.
  // The new header is put into `buffer` (null: into a new one), which nobody else may look into;
  // `facts` are what is known of it.
  void RewriteFields(std::span<const FieldChange> changes,
                     std::shared_ptr<std::string> buffer = nullptr,
                     std::unique_ptr<const HeaderFacts> facts = nullptr);
  std::size_t RemoveField(std::string_view name);
  // Replaces body and children.
  void ReplaceBody(ByteSlice body);
  // Serialises the entity, or its body alone: as loaded where nothing was changed.
  ByteSlice Serialise() const;
  ByteSlice SerialiseBody() const;

 private:
  struct Context;
  // What few entities have: a message may have 200,000, and each byte counts.
  struct Rare : parvane::platform::PooledObject<Rare> {
    ByteSlice loaded;  // as given, where _text is not that
    bool rewritten = false;
    std::unique_ptr<const HeaderFacts> facts;
    ByteSlice headerBytes;  // of a settled header, which has bytes of its own; else empty
    ByteSlice newBody;
    bool bodyReplaced = false;
    std::vector<std::string_view> droppedParts;
  };

  template <typename Value>
  static const Value& None() {
    static const Value kNone;
    return kNone;
  }
  template <typename Value>
  static const Value& OrNone(const std::unique_ptr<Value>& value) {
    return value ? *value : None<Value>();
  }
  Rare& MakeRare() {
    if (!_rare) _rare = std::make_unique<Rare>();
    return *_rare;
  }
  void ForgetFacts() {
    if (_rare) _rare->facts.reset();
  }
  const ByteSlice& Loaded() const { return _rare && _rare->rewritten ? _rare->loaded : _text; }
  bool HasOwnHeader() const { return _rare && !_rare->headerBytes.empty(); }
  bool IsBodyReplaced() const { return _rare && _rare->bodyReplaced; }

  TransferEncoding EncodingToDecode() const;
  void LoadRoot(const ByteSlice& given, const ByteSlice& text, Context& context);
  void LoadMimeComplete2(const ByteSlice& text, Context& context, std::size_t usualLines);
  ByteSlice NormaliseLineEnds(const ByteSlice& text, Log& log) const;
  void ReadContentFields();
  void SplitBody(Context& context);
  void FinishLeaf(Log& log);
  void ContentFieldsChanged();
  bool IsChanged() const;
  bool IsBodyChanged() const;
  void AppendTo(std::string& out) const;
  void AppendBodyTo(std::string& out) const;

  ByteSlice _text;  // as given, but with its line ends put right; what all views look into
  std::string_view _body;
  std::string_view _headerText;
  MimeHeader _header;
  // Null for a field that is not there.
  std::unique_ptr<ContentField> _contentType;
  std::unique_ptr<ContentField> _disposition;
  std::unique_ptr<std::string> _transferEncoding;
  std::unique_ptr<std::string> _boundary;
  std::unique_ptr<Children> _children;  // null for a leaf
  std::unique_ptr<Rare> _rare;
  int _depth = 0;
  std::uint8_t _separatorSize = 0;  // of the empty line between header and body: CR LF or LF
  bool _binary = false;
  bool _beyondLimit = false;
  bool _contentFieldsChanged = false;
};

}  // namespace Tessary
