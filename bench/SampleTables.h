#pragma once

#include "automation/Object.h"
#include "core/Text.h"

namespace vmlib::bench {

/// Creates the tables of Rows.h with their indexes in an open database.
void MakeTables(const ObjectRef& database);

/// Adds rows to a table as a host does it: AddNew, one assignment a field, Update.
/// @param count  rows; their keys begin behind `first`
void AddRows(const ObjectRef& database, int table, int first, int count);

}  // namespace vmlib::bench
