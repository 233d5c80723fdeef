#pragma once

#include "jet/Definition.h"
#include "jet/PageAllocator.h"

namespace vmlib::jet {

/// Lays down an empty database of 20 pages over a pager without pages, as the genuine engine does: header, page maps,
/// the four system tables with their rows. Needs a running unit of work.
/// @throws Error 3424, 3031
void LayDownNewFile(Pager& pager, const SortLocale& locale, TextView password, Date now);

/// The same with system tables that are still empty: their definitions, in the order of their pages.
std::vector<TableDefinition> LayDownSystemTables(Pager& pager, const SortLocale& locale, TextView password);

/// What MSysObjects and MSysACEs of an empty database hold.
std::vector<Row> ObjectsOfNewFile(Date now);
std::vector<Row> RightsOfNewFile();

}  // namespace vmlib::jet
