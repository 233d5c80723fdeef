#pragma once

#include "jet/Database.h"
#include "sql/StoredQuery.h"

/// Stored queries between the storage, which keeps rows, and the dialect, which reads and writes text.
namespace vmlib::engine {

// Types of MSysObjects rows that the engine asks for.
inline constexpr std::int16_t tableObject = 1;
inline constexpr std::int16_t queryObject = 5;

/// DAO's query type of the stored flags: 0 select, 32 delete, 48 update, 64 append, 80 make-table ...
std::int32_t QueryType(const jet::Database::StoredQuery& query);
Text QueryText(const jet::Database::StoredQuery& query);
/// @throws what parsing raises; "" is allowed and makes a query without clauses
jet::Database::StoredQuery ToStoredQuery(TextView name, TextView sql);

/// True for a system table of the file, also those of Access: nobody writes to them.
bool IsSystem(const jet::ObjectEntry& entry);

}  // namespace vmlib::engine
