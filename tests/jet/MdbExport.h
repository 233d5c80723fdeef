#pragma once

#include <filesystem>
#include <optional>

#include "jet/Table.h"

namespace vmlib::jet {

/// Compares the rows of a table with those that mdb-export, a reader written by others, prints of a file; each
/// difference is a failure of the test. Gives the number of fields compared; no value where the program is not
/// installed.
std::optional<std::size_t> CompareWithMdbExport(Table& table, const std::filesystem::path& file);

}  // namespace vmlib::jet
