// The report as a page: one file with its style, its script and the JSON report inside, which loads
// nothing and opens from the disk. It is put together from the parts in desk/page
// (desk/page/README.md says of what and how).
#pragma once

#include <string_view>

#include "desk/report.h"

namespace parvane::desk {

// ".html", ".htm".
bool IsNamedLikePage(std::u16string_view path);

// Piece by piece, as Report.
void ReportPage(const ConversionRecord& record, const TakeText& take);

}  // namespace parvane::desk
