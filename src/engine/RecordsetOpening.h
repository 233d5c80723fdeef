#pragma once

#include "engine/Cursor.h"

/// How a recordset comes to be: what its source means, which type it gets, and how its rows are fetched.
namespace vmlib::engine {

class RecordsetObject;

/// DAO's options of OpenRecordset and Execute that the engine looks at.
inline constexpr std::int32_t readOnlyOption = 4;
inline constexpr std::int32_t inconsistentOption = 16;
inline constexpr std::int32_t consistentOption = 32;
inline constexpr std::int32_t failOnErrorOption = 128;
inline constexpr std::int32_t forwardOnlyOption = 256;

/// OpenRecordset(Name, Type, Options): the name of a table, of a stored query, or SQL. Without type a table opens as
/// table, anything else as dynaset. @throws Error 3001 for an unknown type or options that exclude each other, 3011 for
/// what is no table as table type, 3078, 3219 for a statement that selects nothing
std::shared_ptr<RecordsetObject> OpenByName(const DatabaseRef& database, const Text& source, const Optional& type,
                                            const Optional& options, const Parameters& parameters);

/// Options and LockEdit as one set of options; of LockEdit only "read only" counts here. @throws Error 3001 when both say it
Optional WithLockEdit(const Optional& options, const Optional& lockEdit);

/// LockEdit of a recordset just opened: 2 and 4 lock the page in Edit, as nothing given does; the other kinds only in
/// Update. @throws Error 3001 for a number that is no kind
void ApplyLockEdit(RecordsetObject& recordset, const Optional& lockEdit);

/// A SELECT that is at hand already.
std::shared_ptr<RecordsetObject> OpenSelect(const DatabaseRef& database, const Text& name,
                                            sql::SelectStatement statement, const Optional& type,
                                            const Optional& options, const Parameters& parameters);

/// @throws Error 3219 for a statement that selects nothing (make-table queries too)
sql::SelectStatement RequireSelect(const sql::Statement& statement);

}  // namespace vmlib::engine
