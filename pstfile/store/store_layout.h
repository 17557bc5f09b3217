// What every new store contains: the columns of its template tables, in the order that gives the
// layout Outlook gives them, behind 67F2 and 67F3.
#pragma once

#include <array>
#include <span>

#include "pstfile/ltp/property_tag.h"
#include "pstfile/ndb/ids.h"

namespace parvane::pstfile {

struct TemplateTable {
  NodeId node;
  std::span<const PropTag> columns;
};

// The hierarchy, contents and associated contents tables of folders, the contents of search
// folders, the tables of messages, and those nobody fills here but every store has.
std::span<const TemplateTable> TemplateTables();
// The columns of one of them; empty for other nodes.
std::span<const PropTag> TemplateColumns(NodeId templateNode);
// What the contents tables of new folders have beyond the template: the columns from which views
// show a message's icon, its flag and what becomes of it in the list of things to do. Named ones
// come on top, by the ids that the file gives them (PstStore::State::ContentsColumns).
std::span<const PropTag> ViewColumns();
// The template of a folder's table of this kind.
constexpr NodeId TemplateOf(NodeKind table) {
  switch (table) {
    case NodeKind::kHierarchyTable:
      return kNidHierarchyTableTemplate;
    case NodeKind::kContentsTable:
      return kNidContentsTableTemplate;
    default:
      return kNidAssociatedContentsTableTemplate;
  }
}

}  // namespace parvane::pstfile
