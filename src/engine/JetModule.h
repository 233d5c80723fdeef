#pragma once

#include <functional>

#include "engine/TableAccess.h"

/// The virtual-table module "jet": each stored table that a statement names is a read-only table of the private
/// connection, `CREATE VIRTUAL TABLE t3 USING jet(3)`. Its columns are named as in the file, textual ones have the
/// collation "jet"; rowid is the row pointer, packed.
namespace vmlib::engine {

class TableNumbers
{
public:
    virtual ~TableNumbers() = default;
    /// The table of a number in `USING jet(number)`.
    virtual TableRef TableOf(int number) = 0;
    /// The sort order of the collation "jet".
    virtual std::uint16_t Langid() = 0;
};

/// @param numbers  outlives the connection
void RegisterJetModule(sqlite3* connection, TableNumbers& numbers);

/// A name in double quotes for SQLite, as UTF-8.
std::string QuotedName(TextView name);

}  // namespace vmlib::engine
