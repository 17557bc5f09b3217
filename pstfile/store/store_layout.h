// What every new store contains: the columns of its template tables, in the order that gives the
// layout Outlook gives them, behind 67F2 and 67F3.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "pstfile/ltp/property_tag.h"
#include "pstfile/ndb/ids.h"

namespace parvane::pstfile {

class NameMap;

struct TemplateTable {
  NodeId node;
  std::span<const PropTag> columns;
};

// The hierarchy, contents and associated contents tables of folders, the contents of search
// folders, the tables of messages, and those nobody fills here but every store has.
std::span<const TemplateTable> TemplateTables();
// The columns of one of them; empty for other nodes.
std::span<const PropTag> TemplateColumns(NodeId templateNode);
// Those of the contents tables of folders that are made here: the template's, and those from which
// views show a message's icon, flag, categories and paper clip, and what becomes of it in the list
// of things to do. `names` gives the named ones their ids; null, or where it is full: without them.
std::vector<PropTag> ContentsColumns(NameMap* names);
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
