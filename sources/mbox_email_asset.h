// One message of an mbox file, repaired and parsed, ready to be written into a MAPI message.
#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "convert/conversion_step.h"
#include "engine/asset_bases.h"
#include "engine/foretold.h"
#include "engine/message_facts.h"
#include "engine/message_shape.h"
#include "engine/message_state.h"
#include "engine/source_observer.h"
#include "mime/byte_slice.h"
#include "sources/mbox_reading.h"
#include "sources/message_repair.h"

namespace Tessary {
class MimeHeader;
class MimeMessage2;
class TsEmail;
}  // namespace Tessary

namespace QuelmarMIMEEngineCommon {

// The Message-ID as it stands in the header, with its folds; empty when there is none.
std::string_view MessageIdIn(const Tessary::MimeHeader& header);

class MBOXEmailAsset : public EmailAssetBase,
                       public parvane::engine::IStatefulAsset,
                       public parvane::engine::IMessageFacts,
                       public parvane::engine::IForetold,
                       public parvane::engine::IShapedAsset,
                       public parvane::convert::IMailAsset {
 public:
  // Takes the bytes of one message over. A message that cannot be parsed is appended to the dump
  // file; the asset then has no details, and every conversion of it fails.
  explicit MBOXEmailAsset(ByteVector mimeBytes);
  // The same for a message as ScanMboxMessage reads it, all its line ends being CR LF; `observer`
  // (may be null) learns what becomes of it. The repaired header is put into `headerBuffer`;
  // `readState` (may be empty) is called with the header as it came, and the bytes it views.
  using StateReader = std::function<std::unique_ptr<parvane::engine::MessageState>(
      const Tessary::MimeHeader& header, std::string_view message)>;
  MBOXEmailAsset(const Tessary::ByteSlice& message, std::shared_ptr<std::string> headerBuffer,
                 parvane::engine::SourceObserver* observer,
                 const parvane::engine::MessageLocation& location,
                 const StateReader& readState = {});
  // For a message that memory did not suffice to read, which `observer` (may be null) is told.
  MBOXEmailAsset(parvane::engine::SourceObserver* observer,
                 const parvane::engine::MessageLocation& location);
  ~MBOXEmailAsset() override;

  bool ConvertToMAPIMessage(parvane::mapi::IMessage* message,
                            parvane::mapi::IMAPISession* session) override;
  // Neither export exists for this source: both write nothing.
  bool ConvertToMBOX(std::ostream* mboxStream) override;  // true
  bool ConvertToEML(std::ostream* emlStream) override;    // false
  void Release() override;

  // Before it is converted, as is SetState; told to the observer with what the conversion notes.
  void AddRemarks(std::vector<parvane::engine::Remark> remarks);
  void SetState(std::unique_ptr<parvane::engine::MessageState> state) { _state = std::move(state); }
  parvane::engine::MessageState* MutableState() { return _state.get(); }
  const parvane::engine::MessageState* State() const override { return _state.get(); }
  std::optional<parvane::engine::MessageKey> Key() override;
  std::function<parvane::engine::MessageKey()> KeyWork() const override;
  parvane::platform::FileTime Delivered() const override;
  std::u16string MessageId() const override;
  parvane::engine::ConversionNotes Foretell() const override;
  Tessary::EmailMessage* Parsed() const override;
  parvane::engine::MessageShape Shape() const override;
  // Known only to observed items.
  bool LacksDate() const override { return _observer && _emailP && !_dateBefore.usable; }
  // The Date as it came, before repair; 0 when it cannot be read.
  parvane::platform::FileTime DateAsItCame() const { return _dateBefore.time; }

  void SetConversionStep(parvane::convert::ConversionStep* step) override { _step = step; }
  std::string_view HeaderAsItCame(const parvane::convert::MailInHand& mail) const override;

 private:
  void Parse(const Tessary::ByteSlice& message, bool isCrLf,
             std::shared_ptr<std::string> headerBuffer, const StateReader& readState);
  void ParseUnguarded(const Tessary::ByteSlice& message, bool isCrLf,
                      std::shared_ptr<std::string> headerBuffer, const StateReader& readState);
  bool Convert(parvane::mapi::IMessage& message, parvane::mapi::IMAPISession& session);
  // Tells the observer that memory did not suffice for `step`.
  void ReportTooLarge(std::string_view step) const;
  void Remember(parvane::sources::RepairNotes&& notes);
  void FillMembers();

  std::unique_ptr<Tessary::TsEmail> _emailP;  // null when parsing failed
  parvane::engine::SourceObserver* _observer = nullptr;
  parvane::engine::MessageLocation _location;
  std::unique_ptr<parvane::engine::MessageState> _state;  // null: nobody asked
  std::vector<parvane::engine::Remark> _remarks;          // of what the parse saw
  parvane::sources::DateBefore _dateBefore;
  Tessary::ByteSlice _message;  // as it came, as is the header
  Tessary::ByteSlice _header;
  std::optional<parvane::engine::MessageKey> _key;
  parvane::sources::RepairNotes::HeadersInside _headersInside;
  parvane::convert::ConversionStep* _step = nullptr;
};

}  // namespace QuelmarMIMEEngineCommon
