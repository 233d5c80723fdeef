#include <gmock/gmock.h>

#include "core/ByteOrder.h"
#include "jet/DefinitionCodec.h"
#include "jet/GenuineTables.h"
#include "jet/MdbExport.h"
#include "jet/RowCodec.h"
#include "jet/RowStore.h"

// What genuine files say: every definition and every row is read, compared with what an independent reader makes of it,
// and written again byte for byte.
namespace vmlib::jet {
namespace {

class GenuineTable : public testing::TestWithParam<const char*>
{
};

TEST_P(GenuineTable, RowsReadAsAnotherReaderReadsThem)
{
    VMLIB_GENUINE_FILE(path, GetParam());
    GenuineTables file(path);
    std::size_t compared = 0;
    for (const auto& table : file.tables) {
        const auto count = CompareWithMdbExport(*table, path);
        if (!count) GTEST_SKIP() << "mdb-export is not there";
        compared += *count;
    }
    EXPECT_GT(compared, 600u);
    EXPECT_EQ(file.pager.HeldPages(), 0u);
}

/// Writes zeros over what means nothing in a definition: the order of unused index columns. Sorts the maps of long
/// values, whose order is free.
Bytes Normalized(Bytes joined, const TableDefinition& table)
{
    joined.resize(LoadLittle<std::uint32_t>(joined.data() + 8));
    std::size_t at = 43 + 8 * table.trees.size() + 18 * table.columns.size();
    for (std::size_t i = 0; i < table.columns.size(); ++i) at += 1u + joined[at];
    for (std::size_t tree = 0; tree < table.trees.size(); ++tree, at += 39) {
        for (std::size_t i = table.trees[tree].columns.size(); i < 10; ++i) joined[at + 3 * i + 2] = 0;
    }
    std::size_t longCount = 0;
    for (const ColumnDefinition& column : table.columns) longCount += column.ownedMap ? 1 : 0;
    std::vector<Bytes> maps;
    for (std::size_t i = 0; i < longCount; ++i) {
        const auto map = joined.end() - 2 - static_cast<std::ptrdiff_t>(10 * (longCount - i));
        maps.emplace_back(map, map + 10);
    }
    std::sort(maps.begin(), maps.end());
    std::size_t to = joined.size() - 2 - 10 * longCount;
    for (const Bytes& map : maps)
        to = static_cast<std::size_t>(
            std::copy(map.begin(), map.end(), joined.begin() + static_cast<std::ptrdiff_t>(to)) - joined.begin());
    return joined;
}

TEST_P(GenuineTable, DefinitionsAreWrittenAsTheyStand)
{
    VMLIB_GENUINE_FILE(path, GetParam());
    GenuineTables file(path);
    for (const auto& table : file.tables) {
        const TableDefinition& definition = table->Definition();
        Bytes joined;
        for (const PageNumber page : DefinitionPages(file.pager, definition.page)) {
            const auto bytes = file.pager.Read(page).Bytes().subspan(joined.empty() ? 0 : 8);
            joined.insert(joined.end(), bytes.begin(), bytes.end());
        }
        Bytes written = EncodeDefinition(definition);
        std::copy_n(joined.begin() + 4, 4, written.begin() + 4);
        EXPECT_EQ(Normalized(written, definition), Normalized(joined, definition)) << ToUtf8(definition.name);
    }
}

TEST_P(GenuineTable, RowsAreWrittenAsTheyStand)
{
    VMLIB_GENUINE_FILE(path, GetParam());
    GenuineTables file(path);
    std::size_t compared = 0, older = 0;
    for (const auto& table : file.tables) {
        const TableDefinition& definition = table->Definition();
        const RowCodec codec(definition);
        RowStore store(file.pager, file.allocator, definition.page, definition.ownedMap, definition.roomMap);
        for (auto cursor = table->Scan(); cursor.Next();) {
            const auto found = store.Find(cursor.Where())->bytes;
            Bytes stored(found.begin(), found.end());
            if (stored[0] != definition.columnsEver) {
                ++older;
                continue;
            }
            const RowFields fields = codec.Parse(stored, noPage);
            std::vector<Bytes> longFields(definition.columns.size());
            for (std::size_t i = 0; i < longFields.size(); ++i) {
                if (!IsLongValue(definition.columns[i].type)) continue;
                if (const auto field = codec.Field(fields, i)) longFields[i].assign(field->begin(), field->end());
            }
            for (std::size_t i = 0; i < definition.columns.size(); ++i) {  // a Null number keeps whatever was there
                const ColumnDefinition& column = definition.columns[i];
                if (!column.fixedSize || column.type == ColumnType::Boolean || codec.Field(fields, i)) continue;
                std::fill_n(stored.begin() + 1 + column.fixedOffset, column.size, std::uint8_t{0});
            }
            RowCodec::Buffer buffer;
            codec.Encode(cursor.Current(), longFields, buffer);
            const Bytes written(buffer.bytes.begin(), buffer.bytes.begin() + static_cast<std::ptrdiff_t>(buffer.size));
            EXPECT_EQ(written, stored) << ToUtf8(definition.name) << " page " << cursor.Where().page << " row "
                                       << int{cursor.Where().row};
            ++compared;
        }
    }
    EXPECT_GT(compared, 80u);
    EXPECT_EQ(older, GetParam() == std::string("employee.mdb") ? 10021u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Files, GenuineTable, GenuineFileNames(), GenuineCaseName);

}  // namespace
}  // namespace vmlib::jet
