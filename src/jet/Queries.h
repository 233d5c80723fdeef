#pragma once

#include "jet/DatabaseFile.h"

/// Stored queries of a file: an object of type 5 each, and its clauses as rows of MSysQueries. Knows no SQL. Changes
/// need a running unit of work.
namespace vmlib::jet {

/// By name; the rows of each as they stand in the file.
std::vector<Database::StoredQuery> ReadQueries(DatabaseFile& file);

/// Adds a query with the properties that a program's queries have, or replaces the rows of an existing one. Rows 0 and
/// 255, which every query has, are added when they are missing.
/// @throws Error 3125 bad name, 3012 when a table has the name
void StoreQuery(DatabaseFile& file, const Database::StoredQuery& query);
/// @throws Error 3011
void DropQuery(DatabaseFile& file, TextView name);
void RenameQuery(DatabaseFile& file, TextView from, TextView to);

}  // namespace vmlib::jet
