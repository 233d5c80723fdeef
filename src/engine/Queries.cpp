#include "engine/Queries.h"

namespace vmlib::engine {
namespace {

constexpr std::uint32_t typeFlags = 0xF0;
constexpr std::uint32_t systemFlags = 0x80000002;

}  // namespace

std::int32_t QueryType(const jet::Database::StoredQuery& query)
{
    return static_cast<std::int32_t>(query.flags & typeFlags);
}

Text QueryText(const jet::Database::StoredQuery& query)
{
    std::vector<sql::ClauseRow> rows;
    for (const auto& row : query.rows)
        rows.push_back({row.attribute, row.order, row.name1, row.name2, row.expression, row.flag});
    return sql::ToText(QueryType(query), rows);
}

jet::Database::StoredQuery ToStoredQuery(TextView name, TextView sql)
{
    const sql::ClauseRows clauses = sql::ToClauses(sql);
    jet::Database::StoredQuery query;
    query.name = name;
    query.flags = static_cast<std::uint32_t>(clauses.type);
    for (const auto& row : clauses.rows)
        query.rows.push_back({row.attribute, row.order, row.name1, row.name2, row.expression, row.flag});
    return query;
}

bool IsSystem(const jet::ObjectEntry& entry)
{
    return (entry.flags & systemFlags) != 0;
}

}  // namespace vmlib::engine
