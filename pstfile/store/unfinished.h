// The mark of a store that is still being made: a property of the message store object that its
// maker takes off when everything is in it. A file with the mark that nobody holds is what a maker
// left that did not get that far.
#pragma once

#include <string_view>

#include "platform/file.h"
#include "platform/status.h"
#include "pstfile/ltp/property_list.h"

namespace parvane::pstfile {

// Secure: MAPI shows it to nobody who does not ask for it.
inline constexpr PropTag kUnfinishedMark{0x67F8001F};
inline constexpr std::u16string_view kUnfinishedText = u"Parvane has not finished this file";

// Whether the PST carries the mark. Fails for what does not open as a PST.
platform::Result<bool> IsUnfinished(platform::FileSystem& files, std::u16string_view path);
// Takes the mark off, and where the store was given the name `wasNamed`, which it took from its
// file while it was being made, calls it `name`. Nobody else may have the file open for writing.
platform::Status MarkFinished(platform::FileSystem& files, std::u16string_view path,
                              std::u16string_view wasNamed, std::u16string_view name);

}  // namespace parvane::pstfile
