// What is in a PST, as the page is told it.
#pragma once

#include "app/json.h"
#include "desk/pst_viewer.h"

namespace parvane::app {

Json FolderJson(const desk::ViewedFolder& folder);
Json RowJson(const desk::ViewedRow& row);
Json MessageJson(const desk::ViewedMessage& message);

}  // namespace parvane::app
