// Which properties of a message the store computes, and from what.
#pragma once

#include <string>
#include <string_view>

#include "mapi/builtin/recipients.h"
#include "mapi/builtin/values.h"

namespace parvane::mapi::builtin {

// Callers may never set these; `saved` adds those that may be set only before the first save.
bool IsComputedOfMessage(ULONG id, bool saved);

// Units of the prefix that starts a subject ("Re: "): the one given when the subject does start
// with it, else one to three letters followed by a colon and a space.
std::size_t SubjectPrefixLength(std::u16string_view subject, std::u16string_view given);

// Turns a stored subject, PR_MESSAGE_FLAGS and absent lists into what readers of PR_SUBJECT,
// PR_SUBJECT_PREFIX, PR_NORMALIZED_SUBJECT, PR_HASATTACH and PR_DISPLAY_TO/CC/BCC get.
// `stored` finds a property in the file.
template <typename Stored>
HRESULT FindDerived(Stored&& stored, ULONG id, Value& value);

// Tags FindDerived answers although they are not stored.
bool IsDerived(ULONG id);

// What CompleteMessage must know beside the properties.
struct SaveContext {
  bool first = true;         // the message's first save
  bool associated = false;   // goes to the associated contents
  bool plainSubject = true;  // the subject is as a caller set it, not as the file holds it
};

// Everything the store adds when a message is saved. What it wrote for that to the file is among
// the list's stored values, also when it fails.
platform::Status CompleteMessage(pstfile::PstStore& store, pstfile::PropertyList& list,
                                 const RecipientList& recipients, const SaveContext& context);

HRESULT SplitStoredSubject(ULONG id, Value& value);

template <typename Stored>
HRESULT FindDerived(Stored&& stored, ULONG id, Value& value) {
  switch (id) {
    case PropId(PR_SUBJECT_W):
    case PropId(PR_SUBJECT_PREFIX_W):
    case PropId(PR_NORMALIZED_SUBJECT_W): {
      const HRESULT result = stored(PropId(PR_SUBJECT_W), value);
      return result == 0 && !value.large ? SplitStoredSubject(id, value) : result;
    }
    case PropId(PR_HASATTACH): {
      const HRESULT result = stored(PropId(PR_MESSAGE_FLAGS), value);
      if (result == 0) value.SetScalar(PR_HASATTACH, (value.scalar >> 4) & 1);
      return result;
    }
    case PropId(PR_DISPLAY_TO_W):
    case PropId(PR_DISPLAY_CC_W):
    case PropId(PR_DISPLAY_BCC_W): {
      const HRESULT result = stored(id, value);
      if (result != 0) value.SetText(PropTag(PT_UNICODE, id), {});
      return 0;
    }
    default:
      return stored(id, value);
  }
}

}  // namespace parvane::mapi::builtin
