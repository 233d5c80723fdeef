#pragma once

#include "sql/StoredQuery.h"

/// Constants that the reading and the writing of stored queries share.
namespace vmlib::sql::stored {

enum Attribute : std::uint8_t
{
    start = 0,
    type = 1,
    parameter = 2,
    options = 3,
    place = 4,
    source = 5,
    column = 6,
    join = 7,
    where = 8,
    group = 9,
    having = 10,
    order = 11,
    end = 255,
};

/// Flag of the type row.
enum Kind : std::int16_t
{
    select = 1,
    makeTable = 2,
    append = 3,
    update = 4,
    remove = 5,
    crosstab = 6,
    definition = 7,
    passThrough = 8,
    unite = 9,
};

/// DAO's type of each kind, and back.
std::int32_t DaoTypeOf(Kind kind);
std::optional<Kind> KindOfDaoType(std::int32_t type);

/// Bits of the options row.
inline constexpr std::int16_t allColumns = 1;
inline constexpr std::int16_t distinct = 2;
inline constexpr std::int16_t ownerAccess = 4;
inline constexpr std::int16_t distinctRow = 8;
inline constexpr std::int16_t top = 0x10;
inline constexpr std::int16_t percent = 0x20;
// Of a union: 1 alone is UNION ALL, with bit 2 it is UNION.
inline constexpr std::int16_t unionAll = 1;
inline constexpr std::int16_t unionDistinct = 3;

// Flags of column and group rows.
inline constexpr std::int16_t plainColumn = 0;
inline constexpr std::int16_t pivotColumn = 1;
inline constexpr std::int16_t headingColumn = 2;
inline constexpr std::int16_t insertedValue = INT16_MIN;

/// Names of the two parts of a union.
inline constexpr TextView firstPart = u"X7YZ_____1";
inline constexpr TextView secondPart = u"X7YZ_____2";

inline constexpr TextView lineEnd = u"\r\n";

}  // namespace vmlib::sql::stored
