#pragma once

#include "jet/DatabaseFile.h"

/// Relations of a file: rows of MSysRelationships, an object of type 8 each, and for enforced ones a logical index in
/// both tables. Changes need a running unit of work.
namespace vmlib::jet {

/// By name.
std::vector<RelationDefinition> ReadRelations(DatabaseFile& file);

/// @throws Error 3125 bad name, 3366 no fields, 3012 name taken, 3078 no such table, 3409 no such field, 3368 fields of
/// different types, 3609 no
///         unique index over the fields of the one side, 3379 rows of the many side without a row on the other
void CreateRelation(DatabaseFile& file, const RelationDefinition& relation);
/// @throws Error 3011
void DropRelation(DatabaseFile& file, TextView name);

/// True when a relation, enforced or not, names the table (on any side), or the field of it.
bool RelationUsesTable(DatabaseFile& file, TextView table);
bool RelationUsesField(DatabaseFile& file, TextView table, TextView field);

/// Relations name tables and fields by text: these follow a new name.
void RenameTableInRelations(DatabaseFile& file, TextView from, TextView to);
void RenameFieldInRelations(DatabaseFile& file, TextView table, TextView from, TextView to);

}  // namespace vmlib::jet
