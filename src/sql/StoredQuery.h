#pragma once

#include <optional>
#include <vector>

#include "sql/Syntax.h"

/// Stored queries are kept as rows, one a clause part. Facts: docs/file-format.md, "Stored queries".
namespace vmlib::sql {

/// One row, as the storage has it.
struct ClauseRow
{
    std::uint8_t attribute = 0;  // 0 start, 1 type, 2 parameter, 3 options, 4 source IN, 5 source, 6 column, 7 join, 8
                                 // where, 9 group, 10 having, 11 order, 255 end
    std::optional<std::uint32_t> order;
    std::optional<Text> name1, name2, expression;
    std::optional<std::int16_t> flag;
    bool operator==(const ClauseRow&) const = default;
};

struct ClauseRows
{
    std::int32_t type = 0;  // DAO's query type: 0 select, 16 crosstab, 32 delete, 48 update, 64 append, 80 make-table,
                            // 96 data definition, 128 union ...
    std::vector<ClauseRow> rows;  // in the order in which a program's query is written
};

/// SQL text to rows; "" gives the start and end rows alone. @throws what Parse throws
ClauseRows ToClauses(TextView sql);

/// Rows to SQL text as DAO returns it (clauses joined by CR LF, ending in ";" CR LF). @throws Error 3340 when the rows
/// make no statement
Text ToText(std::int32_t type, const std::vector<ClauseRow>& rows);

}  // namespace vmlib::sql
