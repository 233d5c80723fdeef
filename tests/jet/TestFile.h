#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <vector>

#include "jet/Check.h"
#include "jet/MemoryPager.h"
#include "jet/NewFile.h"
#include "jet/SystemTables.h"
#include "jet/Table.h"
#include "platform/Platform.h"
#include "support/TemporaryFolder.h"

namespace vmlib::jet {

/// An empty file of the format in memory, to make tables in; they are entered in MSysObjects, so that the check and
/// other readers find them.
///
///     TestFile file;
///     Table& table = file.Add(u"T", {Column(u"Id", ColumnType::Long)}, {PrimaryKey(0)});
///     UnitOfWork unit(file.pager);
class TestFile
{
public:
    TestFile() : pager(Bytes{}), allocator(pager)
    {
        UnitOfWork unit(pager);
        LayDownNewFile(pager, SortLocale{}, {}, Date{36526});
        unit.Commit();
    }

    Table& Add(TextView name, std::vector<ColumnDefinition> columns, const std::vector<NewIndex>& indexes = {})
    {
        UnitOfWork unit(pager);
        TableDefinition wanted;
        wanted.name = name;
        wanted.columns = std::move(columns);
        tables.push_back(std::make_unique<Table>(pager, allocator, Table::Create(pager, allocator, std::move(wanted))));
        Table& table = *tables.back();
        for (const NewIndex& index : indexes) AddIndex(table, index);

        Table objects(pager, allocator, Table::ReadDefinition(pager, objectsTablePage));
        Row row(system::object::count);
        row[system::object::id] = static_cast<std::int32_t>(table.Definition().page);
        row[system::object::parentId] = system::tablesContainer;
        row[system::object::name] = ToAnsi(name);
        row[system::object::type] = system::tableType;
        row[system::object::dateCreate] = row[system::object::dateUpdate] = Date{36526};
        row[system::object::owner] = system::adminSid;
        row[system::object::flags] = std::int32_t{0};
        objects.Insert(row);
        Table rights(pager, allocator, Table::ReadDefinition(pager, acesTablePage));
        for (const Bytes& sid : {system::usersSid, system::adminSid}) {
            rights.Insert({static_cast<std::int32_t>(table.Definition().page), sid, std::int32_t{0xFFFFF}, false});
        }
        unit.Commit();
        return table;
    }

    void AddIndex(Table& table, const NewIndex& index) { table.AddIndex(index, NativePlatform().files, folder.Path()); }

    /// Faults that the check finds, with the notes that only genuine files may cause.
    std::vector<std::string> Faults()
    {
        CheckReport report = Check(pager);
        report.faults.insert(report.faults.end(), report.notes.begin(), report.notes.end());
        return report.faults;
    }

    /// The file on disk, for programs that read it.
    std::filesystem::path Saved()
    {
        const Bytes bytes = pager.Contents();
        folder.Write("saved.mdb", std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
        return folder.Native("saved.mdb");
    }

    MemoryPager pager;
    PageAllocator allocator;
    test::TemporaryFolder folder;
    std::vector<std::unique_ptr<Table>> tables;
};

inline ColumnDefinition Column(TextView name, ColumnType type, std::uint16_t size = 0, bool fixedSize = false)
{
    ColumnDefinition column;
    column.name = name;
    column.type = type;
    column.size = size;
    column.fixedSize = fixedSize;
    return column;
}

inline NewIndex PrimaryKey(std::uint16_t column)
{
    return {.name = u"PrimaryKey", .columns = {{column, false}}, .primary = true};
}

inline std::vector<Row> RowsOf(Table& table)
{
    std::vector<Row> rows;
    for (auto cursor = table.Scan(); cursor.Next();) rows.push_back(cursor.Current());
    return rows;
}

}  // namespace vmlib::jet
