#pragma once

#include <sqlite3.h>

#include <span>

#include "core/Error.h"
#include "sql/SqliteErrors.h"

/// How functions are made known to SQLite.
namespace vmlib::sql {

using SqliteFunction = void (*)(sqlite3_context*, int, sqlite3_value**);

/// @param count  arguments, -1 for any number
/// Everything is registered as deterministic, the clock too: one statement sees one moment.
void RegisterScalar(sqlite3* connection, const char* name, int count, const void* data, SqliteFunction function);
void RegisterAggregate(sqlite3* connection, const char* name, SqliteFunction step, void (*finish)(sqlite3_context*));

/// Runs the body of a function; an exception is kept and the call fails.
template <class Body>
void RunFunction(sqlite3_context* context, Body&& body)
{
    if (!Guarded(body)) sqlite3_result_error(context, "failed", -1);
}

}  // namespace vmlib::sql
