#pragma once

#include <gmock/gmock.h>

#include <filesystem>

#include "jet/Check.h"
#include "jet/Database.h"
#include "jet/NumberOf.h"
#include "platform/Platform.h"
#include "support/GenuineFiles.h"
#include "support/TemporaryFolder.h"

namespace vmlib::jet {

/// A folder with databases of a workspace whose clock stands still.
class DatabaseFixture : public ::testing::Test
{
protected:
    static constexpr Date now{45000.25};

    Text At(std::string_view name) const { return folder_.Path(FromUtf8(name)); }
    std::unique_ptr<Workspace> NewWorkspace(Files& files) const
    {
        return std::make_unique<Workspace>(files, folder_.Path(), [] { return now; });
    }

    /// A copy of a genuine file, to change.
    Text CopyOf(const std::filesystem::path& genuine) const
    {
        const std::string name = genuine.filename().string();
        folder_.Write(name, test::ReadNative(genuine));
        return At(name);
    }

    static ColumnDefinition Column(TextView name, ColumnType type, std::uint16_t size = 0)
    {
        ColumnDefinition column;
        column.name = name;
        column.type = type;
        column.size = size;
        return column;
    }

    static TableDefinition TableOf(TextView name, std::vector<ColumnDefinition> columns)
    {
        TableDefinition table;
        table.name = name;
        table.columns = std::move(columns);
        return table;
    }

    static NewIndex IndexOver(Table& table, TextView name, std::initializer_list<TextView> columns,
                              bool primary = false, bool unique = false)
    {
        NewIndex index;
        index.name = name;
        for (const TextView column : columns) {
            const TableDefinition& definition = table.Definition();
            index.columns.push_back({definition.columns.at(definition.ColumnNamed(column).value()).number, false});
        }
        index.primary = primary;
        index.unique = unique;
        return index;
    }

    static RowPointer Insert(Database& database, TextView table, Row row)
    {
        UnitOfWork unit(database.GetPager());
        const auto opened = database.OpenTable(table);
        const RowPointer at = opened->Insert(row);
        if (opened->Definition().columns.front().autoNumber)
            opened->NoteAutoNumber(std::get<std::int32_t>(row.front()));
        unit.Commit();
        return at;
    }

    static std::vector<Text> TableNames(Database& database)
    {
        std::vector<Text> names;
        for (const ObjectEntry& entry : database.Objects())
            if (entry.type == 1 && entry.flags == 0) names.push_back(entry.name);
        return names;
    }

    test::TemporaryFolder folder_;
    Files& files_ = NativePlatform().files;
    std::unique_ptr<Workspace> workspace_ = NewWorkspace(files_);
};

}  // namespace vmlib::jet
