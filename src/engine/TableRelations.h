#pragma once

#include <list>

#include "engine/RowChange.h"

namespace vmlib::engine {

/// One enforced relation as one of its tables sees it.
struct TableChanger::Relation
{
    const jet::RelationDefinition* definition = nullptr;
    Text otherTable;
    std::vector<std::size_t> own, other;  // key columns as positions, pair by pair
    std::unique_ptr<KeyFinder> otherRows;
};

struct TableChanger::Relations
{
    std::vector<Relation> parents;   // this table is the many side
    std::vector<Relation> children;  // this table is the one side
};

}  // namespace vmlib::engine
