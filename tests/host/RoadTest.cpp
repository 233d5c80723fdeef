#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "host/Program.h"
#include "support/TemporaryFolder.h"

// The sample road from end to end, and what independent readers find in the document afterwards.
namespace vmlib::host::test {
namespace {

namespace fs = std::filesystem;
using vmlib::test::TemporaryFolder;

const fs::path sources = VMLIB_SOURCES;

std::string Contents(const fs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Standard output of a shell command; no value when it fails.
std::optional<std::string> Shell(const std::string& command)
{
    FILE* const pipe = ::popen((command + " 2>/dev/null").c_str(), "r");
    if (pipe == nullptr) return std::nullopt;
    std::string output;
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, count);
    if (::pclose(pipe) != 0) return std::nullopt;
    return output;
}

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

// Field types, as `vmlib info --json` gives them.
constexpr int byte = 2, currency = 5, doubleReal = 7, date = 8;

/// A value of `vmlib export --json` as the readers below show it too.
std::string Plain(const Json& value, int type)
{
    if (value.is_null()) return "<null>";
    if (value.is_boolean()) return value.get<bool>() ? "1" : "0";
    if (value.is_number() || type == currency) {
        const double number =
            value.is_number() ? value.get<double>() : std::strtod(value.get<std::string>().c_str(), nullptr);
        char text[64];
        std::snprintf(text, sizeof text, "%.4f", number);
        return text;
    }
    std::string text = value.get<std::string>();
    if (type == date && text.size() == 10) text += "T00:00:00";
    return text;
}

/// A value of mdb-export in the same form.
std::string Exported(const std::string& text, int type)
{
    if (text == "<null>" || type < byte || type > doubleReal) return text;
    return Plain(Json(std::strtod(text.c_str(), nullptr)), type);
}

class RoadTest : public testing::Test
{
protected:
    RoadTest()
    {
        fs::create_directory(folder_.Native("tmp"));
        vmlib_.environment["TMPDIR"] = folder_.Native("tmp").string();
        document_ = folder_.Native("Bakker.ord").string();
        layout_ = folder_.Native("Layout.ord").string();
    }

    std::string Run(const std::vector<std::string>& words, const std::string& input = {})
    {
        const Outcome outcome = vmlib_.Run(words, input);
        EXPECT_EQ(0, outcome.code) << words.front() << ": " << outcome.err;
        return outcome.out;
    }

    /// A document of version 1 with the sample rows, and a layout of version 2.
    void MakeOldDocument()
    {
        Run({"layout", "import", layout_}, Contents(sources / "examples/orders-v1.json"));
        Run({"create", document_, "--type", "ORDERS", "--layout", layout_});
        for (const std::string& statement : Split(Contents(sources / "examples/orders.sql"), '\n'))
            Run({"query", document_, statement});
        Run({"query", document_, "UPDATE Klanten SET Notitie = Notitie & String(5000, 'é') WHERE KlantNr = 1"});
        Run({"layout", "import", layout_}, Contents(sources / "examples/orders-v2.json"));
    }

    /// The same, converted to version 2, changed and saved.
    void MakeDocument()
    {
        MakeOldDocument();
        std::string working = Run({"open", document_, "--type", "ORDERS", "--layout", layout_});
        working.erase(working.find_last_not_of('\n') + 1);
        Run({"query", working,
             "INSERT INTO Betalingen (OrderNr, Datum, Bedrag) VALUES (2402, #3/20/2024 8:15:00 AM#, 12.80)"});
        Run({"save", working, document_, "--type", "ORDERS", "--layout", layout_});
        Run({"release", document_});
    }

    struct Column
    {
        std::string name;
        int type;
    };
    std::map<std::string, std::vector<Column>> Tables()
    {
        std::map<std::string, std::vector<Column>> tables;
        const Json info = Json::parse(Run({"info", document_, "--json"}));
        for (const Json& table : info["tables"])
            for (const Json& field : table["fields"])
                tables[table["name"].get<std::string>()].push_back(
                    {field["name"].get<std::string>(), field["type"].get<int>()});
        return tables;
    }

    /// The rows of a table, a text a row, sorted.
    std::vector<std::string> OwnRows(const std::string& table, const std::vector<Column>& columns)
    {
        std::vector<std::string> rows;
        for (const std::string& line : Split(Run({"export", document_, table, "--json"}), '\n'))
            rows.push_back(RowOf(Json::parse(line), columns));
        std::ranges::sort(rows);
        return rows;
    }

    static std::string RowOf(const Json& values, const std::vector<Column>& columns)
    {
        std::string row;
        for (const Column& column : columns)
            row += column.name + "=" + Plain(values.at(column.name), column.type) + "|";
        return row;
    }

    TemporaryFolder folder_;
    Program vmlib_;
    std::string document_, layout_;
};

/// What ./run shows; it stops at the first thing that is not as it should be.
TEST_F(RoadTest, TheSampleRoadRunsToItsEnd)
{
    const auto said = Shell("'" + (sources / "examples/road.sh").string() + "' '" +
                            fs::path(VMLIB_PROGRAM).parent_path().string() + "'");
    ASSERT_TRUE(said);
    EXPECT_THAT(*said, testing::EndsWith("The document arrived: converted, changed, saved, released and sound.\n"));
}

TEST_F(RoadTest, AHostInPythonConverts)
{
    if (!Shell("python3 --version")) GTEST_SKIP() << "python3 is not there";
    MakeOldDocument();
    const auto said = Shell("TMPDIR='" + vmlib_.environment["TMPDIR"] + "' python3 '" +
                            (sources / "examples/orders_host.py").string() + "' '" VMLIB_PROGRAM "' '" + document_ +
                            "' '" + layout_ + "'");
    ASSERT_TRUE(said);
    const std::string working = said->substr(0, said->find('\n'));
    EXPECT_EQ(Run({"query", working, "SELECT Bedrijfsnaam FROM Klanten WHERE KlantNr = 2", "--json"}),
              "{\"Bedrijfsnaam\":\"Van 't Hof & Zonen\"}\n");
}

TEST_F(RoadTest, IndependentCheckerFindsTheFilesSound)
{
    if (!Shell("python3 --version")) GTEST_SKIP() << "python3 is not there";
    MakeDocument();
    for (const std::string& file : {document_, layout_}) {
        const auto said = Shell("python3 '" + (sources / "tests/tools/jetcheck.py").string() + "' '" + file + "'");
        ASSERT_TRUE(said) << file;
        EXPECT_THAT(*said, testing::StartsWith("ok ")) << file;
    }
}

TEST_F(RoadTest, MdbReaderReadsTheSameRows)
{
    const fs::path modules = sources / "build/node";
    if (!Shell("node --version") || !fs::exists(modules / "node_modules/mdb-reader"))
        GTEST_SKIP() << "node or mdb-reader is not there";
    MakeDocument();
    for (const auto& [table, columns] : Tables()) {
        const auto output =
            Shell("MDB_PASSWORD=Zonnebloemen node '" + (sources / "tests/tools/mdbreader.mjs").string() + "' '" +
                  modules.string() + "' '" + document_ + "' '" + table + "'");
        ASSERT_TRUE(output) << table;
        std::vector<std::string> rows;
        for (const std::string& line : Split(*output, '\n')) rows.push_back(RowOf(Json::parse(line), columns));
        std::ranges::sort(rows);
        EXPECT_EQ(OwnRows(table, columns), rows) << table;
    }
}

TEST_F(RoadTest, MdbExportReadsTheSameRows)
{
    if (!Shell("command -v mdb-export")) GTEST_SKIP() << "mdb-export is not there";
    MakeDocument();
    for (const auto& [table, columns] : Tables()) {
        const auto output = Shell(
            "mdb-export -H -Q -b hex -0 '<null>' -d '\x1f' -R '\x1e' -T '%Y-%m-%dT%H:%M:%S' -D '%Y-%m-%dT%H:%M:%S' '" +
            document_ + "' '" + table + "'");
        ASSERT_TRUE(output) << table;
        std::vector<std::string> rows;
        for (const std::string& line : Split(*output, '\x1e')) {
            const std::vector<std::string> values = Split(line + '\x1f', '\x1f');
            ASSERT_EQ(columns.size(), values.size()) << table << ": " << line;
            std::string row;
            for (std::size_t i = 0; i < columns.size(); ++i)
                row += columns[i].name + "=" + Exported(values[i], columns[i].type) + "|";
            rows.push_back(row);
        }
        std::ranges::sort(rows);
        EXPECT_EQ(OwnRows(table, columns), rows) << table;
    }
}

}  // namespace
}  // namespace vmlib::host::test
