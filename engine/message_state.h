// What a source knows of a message beside the message itself: read, answered, flagged, tagged.
//
// The interfaces of the asset model have "read" and nothing else. A source that knows more offers
// it beside its items; nobody need ask, and nothing is read for it before somebody does
// (OfferState).
//
// Everything is optional. What no origin tells is unknown, which is not the same as "no": an index
// that was never written does not make mail unread.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/time.h"

namespace QuelmarMIMEEngineCommon {
class IAssetStore;
}

namespace parvane::engine {

// Who says so. Where several do, the first of this list that knows is believed (docs/state.md).
enum class StateOrigin {
  kNobody,
  kIndex,           // Thunderbird's index beside the mailbox
  kEmlxList,        // the property list behind the message in an EMLX file
  kFileName,        // the name of a file in a maildir
  kSequences,       // an MH folder's sequences
  kDateField,       // the Date, where repair did not understand it and it reads all the same
  kDeliveryDate,    // the field of that name
  kReceived,        // the topmost Received field with a date
  kSeparator,       // the line before the message
  kFileTime,        // when the message's own file was written last
  kMozillaHeaders,  // X-Mozilla-Status, X-Mozilla-Status2, X-Mozilla-Keys
  kStatusHeaders,   // Status, X-Status, X-Keywords, X-Label
  kLabels,          // X-Gmail-Labels
  kSender,          // what the sender wrote into the header
};

template <typename Value>
struct KnownState {
  std::optional<Value> value;
  StateOrigin origin = StateOrigin::kNobody;

  // Believes what was said first.
  void Learn(Value said, StateOrigin by) {
    if (value) return;
    value = std::move(said);
    origin = by;
  }
  bool Is(const Value& wanted) const { return value && *value == wanted; }
};

enum class Importance { kLow, kNormal, kHigh };

struct MessageState {
  KnownState<bool> read;
  KnownState<bool> replied;
  KnownState<bool> forwarded;
  KnownState<bool> flagged;  // the star
  KnownState<bool> draft;    // never sent
  KnownState<bool> junk;
  KnownState<bool> deleted;  // no longer shown by its mail program, and not yet taken out
  KnownState<Importance> importance;
  // Tags, keywords and labels, by the names that people see.
  KnownState<std::vector<std::u16string>> categories;
  // Those of them whose names are not known: the keys that stand for the names.
  std::vector<std::string> namelessKeywords;
  std::size_t moreCategories = 0;  // than a message can have
  // X-Mozilla-Status stands somewhere in the header: a conversion by the header alone takes "read"
  // from it, which may not be so.
  bool statusInHeader = false;
  // No usable Date; only then is looked for a date elsewhere.
  bool undated = false;
  KnownState<platform::FileTime> date;
  // Fetched in part only: the rest of the message never came to this disk.
  bool partial = false;
};

// What a source needs for telling its messages' state.
struct StateWishes {
  // The names of tags by their keys in lower case ("project_x": "Project X"), as their user chose
  // them.
  std::map<std::string, std::u16string, std::less<>> tagNames;
  // Messages that are marked as deleted are no items; the observer hears of each.
  bool skipDeleted = false;
  // Only messages without a usable Date have a state, for the date in it.
  bool datesOnly = false;
};

// An item that offers its state; found by dynamic_cast.
class IStatefulAsset {
 public:
  virtual ~IStatefulAsset() = default;
  // Null when its source was not asked to tell; valid as long as the item.
  virtual const MessageState* State() const = 0;
};

// Asks the store to offer the state of the messages it yields from now on; with null no longer.
// `wishes` must outlive the store. False when the store is not one of the engine's.
bool OfferState(QuelmarMIMEEngineCommon::IAssetStore& store, const StateWishes* wishes);

}  // namespace parvane::engine
