// Items ("assets"): what a source folder yields and a destination folder takes.
#pragma once

#include <cstdint>
#include <iosfwd>

#include "engine/releasable.h"
#include "engine/values.h"

namespace parvane::mapi {
class IMessage;
class IMAPISession;
}  // namespace parvane::mapi

namespace QuelmarMIMEEngineCommon {

class IAsset : public Releasable {
 public:
  // One human-readable description of the item: the progress message and the line of the log. Holds
  // until the item is released.
  virtual const NullableString& Details() const = 0;
};

// ConvertToMAPIMessage writes the item into a message that has been created and is still empty;
// true on success. A null message is a failure.
class IEmailAsset : public IAsset {
 public:
  virtual bool IsRead() const = 0;
  virtual bool ConvertToMAPIMessage(parvane::mapi::IMessage* message,
                                    parvane::mapi::IMAPISession* session) = 0;
  virtual bool ConvertToMBOX(std::ostream* mboxStream) = 0;
  virtual bool ConvertToEML(std::ostream* emlStream) = 0;
};

class IContactAsset : public IAsset {
 public:
  virtual bool ConvertToMAPIMessage(parvane::mapi::IMessage* message,
                                    parvane::mapi::IMAPISession* session) = 0;
  virtual bool ConvertToVCF(std::ostream* vcfStream) = 0;
};

class ICalendarEventAsset : public IAsset {
 public:
  virtual bool ConvertToMAPIMessage(parvane::mapi::IMessage* message,
                                    parvane::mapi::IMAPISession* session) = 0;
  virtual bool ConvertToICS(std::ostream* icsStream) = 0;
};

// An item together with its weight. Owns the item: destroying the result releases it.
class IAssetQueryResult {
 public:
  virtual ~IAssetQueryResult() = default;
  virtual IAsset* Asset() const = 0;
  // In progress units; bytes for mail from mbox files.
  virtual std::int64_t AssetUnitSize() const = 0;
};

}  // namespace QuelmarMIMEEngineCommon
