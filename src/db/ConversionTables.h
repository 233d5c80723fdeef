#pragma once

#include "db/Dao.h"

/// The two halves of a conversion that skip what fails: what the new layout has no place for is left out that way. Full
/// disk, damage, locks and want of memory are errors all the same, as they would take rows that are still wanted.
namespace vmlib::db {

/// Makes the tables of the file type's layout, without indexes. Unlike the building of a new document, the fields of a
/// table come in the order in which the engine gives the rows. A type without rows is error 3021.
void BuildConvertedTables(const dao::Database& target, const dao::Database& layout, const Text& fileType);

/// Moves the rows of every table that both databases have (names compared exactly), the fields that both have (case
/// ignored), with one statement a table.
void CopyConvertedData(const dao::Database& source, const dao::Database& target, const Text& targetPath);

}  // namespace vmlib::db
