#pragma once

#include <optional>

#include "jet/Definition.h"
#include "jet/Pager.h"
#include "jet/Salvage.h"

namespace vmlib::jet {

/// The definition that stands at a page of a damaged file, made so that a table can be built by it: sort orders that
/// are not known become `locale`, indexes that contradict each other go. Where only the columns can be read it has no
/// indexes. What it lacks is noted in `counts`.
/// @return  no value when the columns cannot be read either
std::optional<TableDefinition> SalvageDefinition(Pager& pager, PageNumber page, const SortLocale& locale,
                                                 SalvagedTable& counts);

/// Takes an index away by its logical number, and its tree when no other index is on that.
void RemoveIndex(TableDefinition& table, std::uint32_t number);

}  // namespace vmlib::jet
