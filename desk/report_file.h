// The report's life on the disk: about this run, and whole, or not there.
#pragma once

#include <string>
#include <string_view>

#include "desk/conversion_record.h"
#include "platform/file.h"
#include "platform/status.h"

namespace parvane::desk {

class ReportFile {
 public:
  // A path that ends in ".html" or ".htm" gets the page, any other one JSON.
  // Removes the report of an earlier run, so that a run that is killed leaves none, and makes sure
  // that a new one can be written there. Any other file stays until Write; that it may be replaced
  // is the caller's to know. A link is followed.
  static platform::Result<ReportFile> Begin(std::u16string_view path);

  // Under a name of its own first, which it changes for the report's when it is on the disk. Fails
  // when something other than a report has taken that name since Begin.
  platform::Status Write(const ConversionRecord& record) const;

 private:
  explicit ReportFile(std::u16string path) : _path(std::move(path)) {}
  bool MayReplace() const;

  std::u16string _path;
  platform::FileInformation _replaced;  // what Begin left there, if anything
};

}  // namespace parvane::desk
