#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "jet/MemoryPager.h"
#include "jet/Table.h"
#include "support/GenuineFiles.h"

namespace vmlib::jet {

/// A genuine file in memory with all its local tables, system tables too.
class GenuineTables
{
public:
    explicit GenuineTables(const std::filesystem::path& path)
        : pager(MemoryPager::FileBytes(path.string())), allocator(pager)
    {
        TableDefinition catalogue = Table::ReadDefinition(pager, objectsTablePage);
        const std::size_t id = *catalogue.ColumnNamed(u"Id"), name = *catalogue.ColumnNamed(u"Name");
        const std::size_t type = *catalogue.ColumnNamed(u"Type");
        Table objects(pager, allocator, catalogue);
        for (auto cursor = objects.Scan(); cursor.Next();) {
            const Row& row = cursor.Current();
            if (std::get<std::int16_t>(row[type]) != 1) continue;
            TableDefinition definition =
                Table::ReadDefinition(pager, static_cast<PageNumber>(std::get<std::int32_t>(row[id])));
            definition.name = FromAnsi(std::get<std::string>(row[name]));
            tables.push_back(std::make_unique<Table>(pager, allocator, std::move(definition)));
        }
    }

    MemoryPager pager;
    PageAllocator allocator;
    std::vector<std::unique_ptr<Table>> tables;
};

/// The genuine files of format 3 that are not encrypted.
inline auto GenuineFileNames()
{
    return testing::Values("testV1997.mdb", "test2V1997.mdb", "indexTestV1997.mdb", "queryTestV1997.mdb",
                           "employee.mdb");
}

/// The name of a case with one of them: without the extension.
inline std::string GenuineCaseName(const testing::TestParamInfo<const char*>& file)
{
    return std::filesystem::path(file.param).stem().string();
}

}  // namespace vmlib::jet
