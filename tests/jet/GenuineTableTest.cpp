#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <ctime>
#include <iomanip>
#include <sstream>

#include "core/ByteOrder.h"
#include "jet/DefinitionCodec.h"
#include "jet/GenuineTables.h"
#include "jet/PageMap.h"
#include "jet/RowCodec.h"
#include "jet/RowStore.h"
#include "support/TemporaryFolder.h"

// What genuine files say: every definition and every row is read, compared with what an independent reader makes of it, and written again byte for
// byte.
namespace vmlib::jet {
namespace {

class GenuineTable : public testing::TestWithParam<const char*>
{
protected:
    using Lines = std::vector<std::vector<std::string>>;

    /// The rows of a table as mdb-export prints them, its column names first; empty when the program is not there.
    Lines Exported(const std::filesystem::path& file, const std::string& table)
    {
        const auto out = folder_.Native("export.txt");
        const std::string command = "mdb-export -b hex -0 '<null>' -Q -d '\x1f' -R '\x1e' -T '%Y-%m-%d %H:%M:%S' '" + file.string() + "' '" +
                                    table + "' >'" + out.string() + "' 2>/dev/null";
        if (std::system(command.c_str()) != 0) return {};
        std::istringstream stream(test::ReadNative(out));
        Lines lines;
        for (std::string line; std::getline(stream, line, '\x1e');) {
            auto& fields = lines.emplace_back();
            std::istringstream parts(line);
            for (std::string field; std::getline(parts, field, '\x1f');) fields.push_back(field);
            if (line.ends_with('\x1f')) fields.emplace_back();
        }
        return lines;
    }

    test::TemporaryFolder folder_;
};

/// Whether the printed text stands for the value.
bool Agrees(const Value& value, const std::string& printed)
{
    struct Visitor
    {
        const std::string& printed;
        bool operator()(Null) const { return printed == "<null>"; }
        bool operator()(bool v) const { return printed == (v ? "1" : "0"); }
        bool operator()(std::uint8_t v) const { return printed == std::to_string(v); }
        bool operator()(std::int16_t v) const { return printed == std::to_string(v); }
        bool operator()(std::int32_t v) const { return printed == std::to_string(v); }
        bool operator()(Currency v) const { return std::llround(std::stod(printed) * 10000) == v.units; }
        bool operator()(float v) const { return std::abs(std::stof(printed) - v) <= 1e-6f * std::abs(v); }
        bool operator()(double v) const { return std::abs(std::stod(printed) - v) <= 1e-14 * std::abs(v); }
        bool operator()(Date v) const
        {
            std::tm time{};
            std::istringstream(printed) >> std::get_time(&time, "%Y-%m-%d %H:%M:%S");
            const auto days = std::chrono::sys_days(std::chrono::year(1900 + time.tm_year) / (time.tm_mon + 1) / time.tm_mday) -
                              std::chrono::sys_days(std::chrono::year(1899) / 12 / 30);
            const double serial = static_cast<double>(days.count()) + (time.tm_hour * 3600 + time.tm_min * 60 + time.tm_sec) / 86400.0;
            return std::abs(serial - v.serial) < 1.01 / 86400;
        }
        bool operator()(const std::string& v) const { return printed == ToUtf8(FromAnsi(v.substr(0, v.find('\0')))); }  // cut there by mdb-export
        bool operator()(const Bytes& v) const
        {
            std::string hex;
            for (const std::uint8_t byte : v) hex += {"0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
            if (printed == hex) return true;
            // mdb-export cuts binary of a fixed size at its first zero byte.
            const auto zero = std::find(v.begin(), v.end(), std::uint8_t{0});
            return printed == (zero == v.begin() ? "<null>" : hex.substr(0, 2 * static_cast<std::size_t>(zero - v.begin())));
        }
        bool operator()(const Guid&) const { return true; }
        bool operator()(const Text&) const { return false; }
    };
    return std::visit(Visitor{printed}, value);
}

TEST_P(GenuineTable, RowsReadAsAnotherReaderReadsThem)
{
    VMLIB_GENUINE_FILE(path, GetParam());
    GenuineTables file(path);
    std::size_t compared = 0;
    for (const auto& table : file.tables) {
        const std::string name = ToUtf8(table->Definition().name);
        const Lines expected = Exported(path, name);
        if (expected.empty()) GTEST_SKIP() << "mdb-export is not there";
        std::vector<std::size_t> order;
        for (const std::string& column : expected[0]) order.push_back(table->Definition().ColumnNamed(FromUtf8(column)).value());

        std::size_t line = 1;
        for (auto cursor = table->Scan(); cursor.Next(); ++line) {
            ASSERT_LT(line, expected.size()) << name;
            ASSERT_EQ(expected[line].size(), order.size()) << name;
            for (std::size_t i = 0; i < order.size(); ++i) {
                EXPECT_TRUE(Agrees(cursor.Current()[order[i]], expected[line][i]))
                    << name << " row " << line << " " << expected[0][i] << " is " << expected[line][i].substr(0, 200);
                ++compared;
            }
        }
        EXPECT_EQ(line, expected.size()) << name;
    }
    EXPECT_GT(compared, 600u);
    EXPECT_EQ(file.pager.HeldPages(), 0u);
}

/// Writes zeros over what means nothing in a definition: the order of unused index columns. Sorts the maps of long values, whose order is free.
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
    for (const Bytes& map : maps) to = static_cast<std::size_t>(std::copy(map.begin(), map.end(), joined.begin() + static_cast<std::ptrdiff_t>(to)) - joined.begin());
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
            EXPECT_EQ(written, stored) << ToUtf8(definition.name) << " page " << cursor.Where().page << " row " << int{cursor.Where().row};
            ++compared;
        }
    }
    EXPECT_GT(compared, 80u);
    EXPECT_EQ(older, GetParam() == std::string("employee.mdb") ? 10021u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Files, GenuineTable, GenuineFileNames(), [](const auto& info) {
    return std::string(info.param).substr(0, std::string(info.param).find('.'));
});

}  // namespace
}  // namespace vmlib::jet
