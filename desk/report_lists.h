// The lists of the JSON report: every single thing that the account names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desk/conversion_record.h"
#include "desk/json_writer.h"
#include "desk/report.h"

namespace parvane::desk {

// Into the report's object, which is open. Some 100 KB at a time are handed on.
void WriteReportLists(const ConversionRecord& record, JsonWriter& json, const TakeText& take);
// A folder of the PST, as the list of the names on the way to it.
void WritePath(JsonWriter& json, std::string_view key, const std::vector<std::u16string>& path);

}  // namespace parvane::desk
