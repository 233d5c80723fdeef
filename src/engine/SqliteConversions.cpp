// Values between the storage and SQLite; the other conversions of Values.h are in Values.cpp.

#include <sqlite3.h>

#include <cmath>
#include <limits>

#include "core/Error.h"
#include "core/Text.h"
#include "engine/Utf8Ansi.h"
#include "engine/Values.h"
#include "sql/SqliteValues.h"

namespace vmlib::engine {
namespace {

void SetText(sqlite3_context* context, std::string_view utf8)
{
    sqlite3_result_text64(context, utf8.data(), utf8.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void SetBlob(sqlite3_context* context, const void* data, std::size_t size)
{
    if (size == 0) return sqlite3_result_zeroblob(context, 0);
    sqlite3_result_blob64(context, data, size, SQLITE_TRANSIENT);
}

struct ResultSetter
{
    sqlite3_context* context;

    void operator()(Null) const { sqlite3_result_null(context); }
    void operator()(bool value) const { sqlite3_result_int(context, value ? -1 : 0); }
    void operator()(std::uint8_t value) const { sqlite3_result_int(context, value); }
    void operator()(std::int16_t value) const { sqlite3_result_int(context, value); }
    void operator()(std::int32_t value) const { sqlite3_result_int(context, value); }
    void operator()(Currency value) const { sqlite3_result_int64(context, value.units); }
    void operator()(float value) const { sqlite3_result_double(context, static_cast<double>(value)); }
    void operator()(double value) const { sqlite3_result_double(context, value); }
    void operator()(Date value) const { sqlite3_result_double(context, value.serial); }
    void operator()(const std::string& ansi) const
    {
        std::string room;
        SetText(context, AnsiToUtf8(ansi, room));
    }
    void operator()(const Bytes& bytes) const { SetBlob(context, bytes.data(), bytes.size()); }
    void operator()(const Guid& guid) const { SetBlob(context, guid.bytes.data(), guid.bytes.size()); }
    void operator()(const Text& text) const { SetText(context, ToUtf8(text)); }
};

jet::Value ReadText(sqlite3_stmt* statement, int column)
{
    const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    const std::string_view utf8(data ? data : "", static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    if (auto ansi = Utf8ToAnsi(utf8)) return std::move(*ansi);
    return FromUtf8(utf8);  // what has no byte stays whole until a field has to take it
}

Bytes ReadBytes(sqlite3_stmt* statement, int column)
{
    const auto* data = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement, column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
    return data ? Bytes(data, data + size) : Bytes();
}

/// The integer in the wanted width; one beyond it cannot equal a stored value.
template <class Integer>
std::optional<jet::Value> Narrowed(std::int64_t value)
{
    if (value < std::numeric_limits<Integer>::min() || value > std::numeric_limits<Integer>::max()) return std::nullopt;
    return jet::Value(static_cast<Integer>(value));
}

std::optional<std::int64_t> WholeNumber(sqlite3_value* value)
{
    if (sqlite3_value_type(value) == SQLITE_INTEGER) return sqlite3_value_int64(value);
    if (sqlite3_value_type(value) != SQLITE_FLOAT) return std::nullopt;
    const double real = sqlite3_value_double(value);
    if (std::abs(real) > 9e15 || real != std::floor(real)) return std::nullopt;
    return static_cast<std::int64_t>(real);
}

std::optional<double> RealNumber(sqlite3_value* value)
{
    const int type = sqlite3_value_type(value);
    if (type == SQLITE_FLOAT) return sqlite3_value_double(value);
    if (type != SQLITE_INTEGER) return std::nullopt;
    const std::int64_t whole = sqlite3_value_int64(value);
    if (std::abs(whole) > (std::int64_t{1} << 53)) return std::nullopt;
    return static_cast<double>(whole);
}

std::optional<jet::Value> IntegerConstraint(sqlite3_value* value, jet::ColumnType type)
{
    const auto whole = WholeNumber(value);
    if (!whole) return std::nullopt;
    switch (type) {
        case jet::ColumnType::Boolean:
            if (*whole != 0 && *whole != -1) return std::nullopt;
            return jet::Value(*whole != 0);
        case jet::ColumnType::Byte:
            return Narrowed<std::uint8_t>(*whole);
        case jet::ColumnType::Integer:
            return Narrowed<std::int16_t>(*whole);
        case jet::ColumnType::Long:
            return Narrowed<std::int32_t>(*whole);
        default:
            return jet::Value(Currency{*whole});
    }
}

std::optional<jet::Value> RealConstraint(sqlite3_value* value, jet::ColumnType type)
{
    const auto real = RealNumber(value);
    if (!real) return std::nullopt;
    if (type == jet::ColumnType::Date) return jet::Value(Date{*real});
    if (type == jet::ColumnType::Double) return jet::Value(*real);
    const auto single = static_cast<float>(*real);
    if (static_cast<double>(single) != *real) return std::nullopt;
    return jet::Value(single);
}

}  // namespace

void SetResult(sqlite3_context* context, const jet::Value& value)
{
    std::visit(ResultSetter{context}, value);
}

jet::Value ReadResult(sqlite3_stmt* statement, int column, sql::ValueType type)
{
    using sql::ValueType;
    if (sqlite3_column_type(statement, column) == SQLITE_NULL) return Null{};
    switch (type) {
        case ValueType::Boolean:
            return sqlite3_column_int64(statement, column) != 0;
        case ValueType::Long:
        case ValueType::Integer:
        case ValueType::Byte: {
            // The dialect widens results, so a value may lie outside the type that its column is shown with.
            const std::int64_t whole = sqlite3_column_int64(statement, column);
            if (type == ValueType::Byte && whole >= 0 && whole <= 255) return static_cast<std::uint8_t>(whole);
            if (type == ValueType::Integer && whole >= INT16_MIN && whole <= INT16_MAX)
                return static_cast<std::int16_t>(whole);
            if (whole >= INT32_MIN && whole <= INT32_MAX) return static_cast<std::int32_t>(whole);
            return static_cast<double>(whole);
        }
        case ValueType::Currency:
            return Currency{sqlite3_column_int64(statement, column)};
        case ValueType::Single:
            return static_cast<float>(sqlite3_column_double(statement, column));
        case ValueType::Double:
            return sqlite3_column_double(statement, column);
        case ValueType::Date:
            return Date{sqlite3_column_double(statement, column)};
        case ValueType::Text:
        case ValueType::Memo:
            return ReadText(statement, column);
        case ValueType::Binary:
        case ValueType::LongBinary:
            return ReadBytes(statement, column);
        case ValueType::Guid: {
            const Bytes bytes = ReadBytes(statement, column);
            Guid guid;
            if (bytes.size() != guid.bytes.size()) throw Error(ErrorNumber::DataConversion);
            std::copy(bytes.begin(), bytes.end(), guid.bytes.begin());
            return guid;
        }
        case ValueType::Value:
            break;
    }
    return ToValue(sql::ReadColumn(statement, column, type));
}

std::optional<jet::Value> FromConstraint(sqlite3_value* value, jet::ColumnType type)
{
    switch (type) {
        case jet::ColumnType::Boolean:
        case jet::ColumnType::Byte:
        case jet::ColumnType::Integer:
        case jet::ColumnType::Long:
        case jet::ColumnType::Currency:
            return IntegerConstraint(value, type);
        case jet::ColumnType::Single:
        case jet::ColumnType::Double:
        case jet::ColumnType::Date:
            return RealConstraint(value, type);
        case jet::ColumnType::Text: {
            if (sqlite3_value_type(value) != SQLITE_TEXT) return std::nullopt;
            const auto* data = reinterpret_cast<const char*>(sqlite3_value_text(value));
            auto ansi = Utf8ToAnsi(std::string_view(data, static_cast<std::size_t>(sqlite3_value_bytes(value))));
            if (!ansi) return std::nullopt;
            return jet::Value(std::move(*ansi));
        }
        case jet::ColumnType::Guid: {
            if (sqlite3_value_type(value) != SQLITE_BLOB || sqlite3_value_bytes(value) != 16) return std::nullopt;
            Guid guid;
            const auto* data = static_cast<const std::uint8_t*>(sqlite3_value_blob(value));
            std::copy(data, data + 16, guid.bytes.begin());
            return jet::Value(guid);
        }
        default:
            return std::nullopt;
    }
}

}  // namespace vmlib::engine
