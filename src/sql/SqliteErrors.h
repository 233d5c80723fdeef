#pragma once

#include <utility>

#include "core/Error.h"

struct sqlite3;
struct sqlite3_context;

/// How an Error travels through SQLite, whose C frames no exception may cross. A callback (function, collation, method
/// of a virtual table) runs its body under Guarded: an exception is kept for this thread and SQLite is told of a
/// failure. Whoever called sqlite3_step or sqlite3_prepare then calls ThrowFailure, which throws the kept error with
/// its own number.
///
///     int Next(sqlite3_vtab_cursor* cursor)
///     {
///         return Guarded([&] { CursorOf(cursor).Next(); }) ? SQLITE_OK : SQLITE_ERROR;
///     }
///     ...
///     const int code = sqlite3_step(statement);
///     if (code != SQLITE_ROW && code != SQLITE_DONE) ThrowFailure(connection);
namespace vmlib::sql {

/// Keeps the exception being handled (call it in a catch block) for ThrowFailure on the same thread; the first one kept
/// stays until then.
void KeepCurrentException() noexcept;

/// True when the body ran through; false when it threw, and the exception was kept.
template <class Body>
bool Guarded(Body&& body) noexcept
{
    try {
        std::forward<Body>(body)();
        return true;
    } catch (...) {
        KeepCurrentException();
        return false;
    }
}

/// Forgets a kept exception; before a statement is stepped anew after a failure that was not reported.
void ForgetException() noexcept;

/// Throws the kept exception; without one an Error for SQLite's own failure: 7 no memory, 3360 limits of its parser, 6
/// integer overflow, else 51 with SQLite's text.
[[noreturn]] void ThrowFailure(sqlite3* connection);

}  // namespace vmlib::sql
