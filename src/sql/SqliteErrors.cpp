#include "sql/SqliteErrors.h"

#include <sqlite3.h>

#include <exception>
#include <string_view>

namespace vmlib::sql {
namespace {

thread_local std::exception_ptr kept;

}  // namespace

void KeepCurrentException() noexcept
{
    if (!kept) kept = std::current_exception();
}

void ForgetException() noexcept
{
    kept = nullptr;
}

void ThrowFailure(sqlite3* connection)
{
    if (kept) std::rethrow_exception(std::exchange(kept, nullptr));

    const std::string_view message = sqlite3_errmsg(connection);
    if (sqlite3_errcode(connection) == SQLITE_NOMEM) throw Error(ErrorNumber::OutOfMemory);
    // SQLite's own limits have no codes, only these texts.
    const auto says = [&](std::string_view part) { return message.find(part) != std::string_view::npos; };
    if (says("parser stack overflow") || says("too large") || says("too many") || says("at most 64 tables")) {
        throw Error(ErrorNumber::QueryTooComplex);
    }
    if (says("integer overflow")) throw Error(ErrorNumber::Overflow);
    throw Error(static_cast<std::int32_t>(ErrorNumber::Internal), FromUtf8(message));
}

}  // namespace vmlib::sql
