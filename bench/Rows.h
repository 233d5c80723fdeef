#pragma once

#include <cstdint>
#include <string>

/// The document of the benchmarks: twelve tables of eight fields with 10,000 rows each, a unique and a plain index on each table.
namespace vmlib::bench {

inline constexpr int tableCount = 12;
inline constexpr int rowsPerTable = 10000;

struct SampleRow
{
    std::int32_t id;
    std::int32_t number;
    std::string name;  // plain ASCII, about 20 characters
    std::string place;
    std::int64_t amount;  // 1/10,000
    double date;
    std::int16_t count;
    bool active;
};

inline SampleRow MakeRow(int table, int row)
{
    static const char* const places[] = {"Utrecht",    "Amersfoort", "Den Helder", "Groningen",
                                         "Maastricht", "Zwolle",     "Breda"};
    // A fixed scramble, so that the name index is not filled in order.
    const auto scrambled = static_cast<std::uint32_t>(row) * 2654435761u + static_cast<std::uint32_t>(table);
    return {row + 1,
            rowsPerTable - row,
            "Relatie " + std::to_string(scrambled) + " bv",
            places[scrambled % 7],
            static_cast<std::int64_t>(scrambled % 1000000) * 100,
            36526.0 + static_cast<double>(scrambled % 3650) + 0.25,
            static_cast<std::int16_t>(scrambled % 500),
            scrambled % 3 == 0};
}

inline std::string TableName(int table)
{
    return "Tabel" + std::to_string(10 + table);
}

}  // namespace vmlib::bench
