#pragma once

#include <string>
#include <vector>

#include "jet/Database.h"

namespace vmlib::jet {

/// What the strict structural check found.
struct CheckReport
{
    std::vector<std::string> faults;  // UTF-8, one line each, with page numbers
    std::vector<std::string>
        notes;  // what genuine files have too: pages that nobody owns, a row count that is off, unused maps
    std::size_t tables = 0, rows = 0, indexEntries = 0, pages = 0;
    bool Sound() const { return faults.empty(); }
};

/// The check of an open file; see below. The file is of format 3.
CheckReport Check(Pager& pager);

/// Every page owned once, maps against pages, free bytes, keys against rows and entries against keys, counts, relations
/// against rows, catalogue against definitions. Never throws for damage: damage is a fault of the report.
CheckReport Check(Database& database);

}  // namespace vmlib::jet
