#pragma once

#include "jet/DatabaseFile.h"

/// Changes of the design of tables: definition pages, catalogue and properties in step. They need a running unit of
/// work. Error numbers are those that Database states.
namespace vmlib::jet {

void CreateTable(DatabaseFile& file, const TableDefinition& wanted);
void DropTable(DatabaseFile& file, TextView name);
void RenameTable(DatabaseFile& file, TextView from, TextView to);

void CreateIndex(DatabaseFile& file, TextView table, const NewIndex& index);
void DropIndex(DatabaseFile& file, TextView table, TextView index);

void AddColumn(DatabaseFile& file, TextView table, ColumnDefinition column);
void DropColumn(DatabaseFile& file, TextView table, TextView column);
void RenameColumn(DatabaseFile& file, TextView table, TextView from, TextView to);
void SetTableProperties(DatabaseFile& file, TextView table, const PropertyList& properties);
void SetFieldPosition(DatabaseFile& file, TextView table, TextView column, std::uint16_t position);
void SetFieldProperties(DatabaseFile& file, TextView table, TextView column, const PropertyList& properties);

}  // namespace vmlib::jet
