#include "jet/MdbExport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <sstream>

#include "support/TemporaryFolder.h"

namespace vmlib::jet {

namespace {

using Lines = std::vector<std::vector<std::string>>;

/// The rows of a table as the program prints them, its column names first.
Lines Exported(const std::filesystem::path& file, const std::string& table)
{
    const test::TemporaryFolder folder;
    const auto out = folder.Native("export.txt");
    const std::string command = "mdb-export -b hex -0 '<null>' -Q -d '\x1f' -R '\x1e' -T '%Y-%m-%d %H:%M:%S' '" +
                                file.string() + "' '" + table + "' >'" + out.string() + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0 || !std::filesystem::exists(out)) return {};
    std::istringstream stream(test::ReadNative(out));
    Lines lines;
    for (std::string line; std::getline(stream, line, '\x1e');) {
        auto& fields = lines.emplace_back();
        std::istringstream parts(line);
        for (std::string field; std::getline(parts, field, '\x1f');) fields.push_back(field);
        if (line.empty() || line.ends_with('\x1f')) fields.emplace_back();
    }
    return lines;
}

/// Whether the printed text stands for the value.
bool Agrees(const Value& value, const std::string& printed)
{
    struct Visitor
    {
        const std::string& printed;
        double Number() const { return printed == "<null>" ? std::nan("") : std::strtod(printed.c_str(), nullptr); }
        bool operator()(Null) const { return printed == "<null>"; }
        bool operator()(bool v) const { return printed == (v ? "1" : "0"); }
        bool operator()(std::uint8_t v) const { return printed == std::to_string(v); }
        bool operator()(std::int16_t v) const { return printed == std::to_string(v); }
        bool operator()(std::int32_t v) const { return printed == std::to_string(v); }
        bool operator()(Currency v) const { return std::abs(Number() * 10000 - static_cast<double>(v.units)) < 0.5; }
        bool operator()(float v) const { return std::abs(Number() - double{v}) <= 1e-6 * std::abs(double{v}); }
        bool operator()(double v) const { return std::abs(Number() - v) <= 1e-14 * std::abs(v); }
        bool operator()(Date v) const
        {
            std::tm time{};
            std::istringstream(printed) >> std::get_time(&time, "%Y-%m-%d %H:%M:%S");
            const auto days =
                std::chrono::sys_days(std::chrono::year(1900 + time.tm_year) / (time.tm_mon + 1) / time.tm_mday) -
                std::chrono::sys_days(std::chrono::year(1899) / 12 / 30);
            const double serial =
                static_cast<double>(days.count()) + (time.tm_hour * 3600 + time.tm_min * 60 + time.tm_sec) / 86400.0;
            return std::abs(serial - v.serial) < 1.01 / 86400;
        }
        bool operator()(const std::string& v) const
        {
            const std::string shown = ToUtf8(FromAnsi(v.substr(0, v.find('\0'))));  // mdb-export cuts text there
            return printed == shown || (shown.empty() && printed == "<null>");
        }
        bool operator()(const Bytes& v) const
        {
            std::string hex;
            for (const std::uint8_t byte : v) hex += {"0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
            if (printed == hex) return true;
            // mdb-export cuts binary of a fixed size at its first zero byte.
            const auto zero = std::find(v.begin(), v.end(), std::uint8_t{0});
            return printed ==
                   (zero == v.begin() ? "<null>" : hex.substr(0, 2 * static_cast<std::size_t>(zero - v.begin())));
        }
        bool operator()(const Guid&) const { return true; }
        bool operator()(const Text& v) const { return printed == ToUtf8(v); }
    };
    return std::visit(Visitor{printed}, value);
}

}  // namespace

std::optional<std::size_t> CompareWithMdbExport(Table& table, const std::filesystem::path& file)
{
    const std::string name = ToUtf8(table.Definition().name);
    const Lines expected = Exported(file, name);
    if (expected.empty()) return std::nullopt;
    std::vector<std::size_t> order;
    for (const std::string& column : expected[0])
        order.push_back(table.Definition().ColumnNamed(FromUtf8(column)).value());

    // The program prints a row that moved where it stands now, so lines are looked for: mostly the first that is left
    // is the one.
    std::vector<bool> used(expected.size());
    std::size_t rows = 0, first = 1;
    for (auto cursor = table.Scan(); cursor.Next(); ++rows) {
        const auto agrees = [&](std::size_t line) {
            for (std::size_t i = 0; i < order.size(); ++i) {
                if (i >= expected[line].size() || !Agrees(cursor.Current()[order[i]], expected[line][i])) return false;
            }
            return true;
        };
        while (first < used.size() && used[first]) ++first;
        std::size_t line = first;
        while (line < used.size() && (used[line] || !agrees(line))) ++line;
        if (line == used.size()) {
            ADD_FAILURE() << name << ": row " << cursor.Where().page << "." << int{cursor.Where().row}
                          << " reads otherwise in mdb-export";
        } else {
            used[line] = true;
        }
    }
    EXPECT_EQ(rows, expected.size() - 1) << name;
    return rows * order.size();
}

}  // namespace vmlib::jet
