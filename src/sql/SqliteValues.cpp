#include "sql/SqliteValues.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <variant>

#include "automation/Convert.h"
#include "core/ByteOrder.h"
#include "core/Error.h"
#include "sql/Functions.h"
#include "sql/GuidText.h"
#include "sql/SqliteErrors.h"

namespace vmlib::sql {
namespace {

std::string_view TextOf(sqlite3_value* value)
{
    const auto* data = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return data == nullptr ? std::string_view()
                           : std::string_view(data, static_cast<std::size_t>(sqlite3_value_bytes(value)));
}

std::span<const std::uint8_t> BytesOf(sqlite3_value* value)
{
    const auto* data = static_cast<const std::uint8_t*>(sqlite3_value_blob(value));
    if (data == nullptr) return {};
    return {data, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

template <class T>
bool Fits(std::int64_t number)
{
    return number >= std::numeric_limits<T>::min() && number <= std::numeric_limits<T>::max();
}

/// A whole number in its type, or in the next larger one that holds it.
Variant WholeNumber(std::int64_t number, ValueType type)
{
    if (type == ValueType::Byte && Fits<std::uint8_t>(number)) return static_cast<std::uint8_t>(number);
    if (type <= ValueType::Integer && Fits<std::int16_t>(number)) return static_cast<std::int16_t>(number);
    if (Fits<std::int32_t>(number)) return static_cast<std::int32_t>(number);
    return static_cast<double>(number);
}

Variant BytesVariant(std::span<const std::uint8_t> bytes)
{
    return Array(Bytes(bytes.begin(), bytes.end()));
}

Variant GuidVariant(std::span<const std::uint8_t> bytes)
{
    const auto guid = GuidFromBytes(bytes);
    if (!guid) throw Error(ErrorNumber::DataConversion);
    return GuidToText(*guid);
}

/// What Value keeps in a BLOB: the type's code, then the value.
Variant Untagged(std::span<const std::uint8_t> blob)
{
    const auto need = [&](std::size_t size) {
        if (blob.size() != size + 1) throw Error(ErrorNumber::DataConversion);
        return blob.data() + 1;
    };
    if (blob.empty()) throw Error(ErrorNumber::DataConversion);
    switch (static_cast<ValueType>(blob[0])) {
        case ValueType::Boolean:
            return *need(1) != 0;
        case ValueType::Currency:
            return Currency{LoadLittle<std::int64_t>(need(8))};
        case ValueType::Single:
            return LoadLittle<float>(need(4));
        case ValueType::Date:
            return Date{LoadLittle<double>(need(8))};
        case ValueType::Binary:
            return BytesVariant(blob.subspan(1));
        case ValueType::Guid:
            return GuidVariant(blob.subspan(1));
        default:
            throw Error(ErrorNumber::DataConversion);
    }
}

template <class T>
Bytes Tagged(ValueType type, T value)
{
    Bytes blob(1 + sizeof value);
    blob[0] = static_cast<std::uint8_t>(type);
    StoreLittle(blob.data() + 1, value);
    return blob;
}

/// A value ready for SQLite, for parameters and results alike.
using Stored = std::variant<Null, std::int64_t, double, std::string, Bytes>;

Stored AsValueForm(const Variant& value)
{
    switch (value.Type()) {
        case VarType::Empty:
        case VarType::Null:
            return Null{};
        case VarType::Boolean:
            return Tagged(ValueType::Boolean, static_cast<std::uint8_t>(value.As<bool>() ? 1 : 0));
        case VarType::Byte:
            return std::int64_t{value.As<std::uint8_t>()};
        case VarType::Integer:
            return std::int64_t{value.As<std::int16_t>()};
        case VarType::Long:
            return std::int64_t{value.As<std::int32_t>()};
        case VarType::Single:
            return Tagged(ValueType::Single, value.As<float>());
        case VarType::Double:
            return value.As<double>();
        case VarType::Currency:
            return Tagged(ValueType::Currency, value.As<Currency>().units);
        case VarType::Date:
            return Tagged(ValueType::Date, value.As<Date>().serial);
        case VarType::String:
            return ToUtf8(value.As<Text>());
        case VarType::Decimal:
            return ToDouble(value);
        default:
            break;
    }
    if (value.IsArray() && value.AsArray().HoldsBytes()) {
        Bytes blob = value.AsArray().AsBytes();
        blob.insert(blob.begin(), static_cast<std::uint8_t>(ValueType::Binary));
        return blob;
    }
    throw Error(ErrorNumber::TypeMismatch);
}

Stored AsBytes(const Variant& value)
{
    if (value.IsArray() && value.AsArray().HoldsBytes()) return value.AsArray().AsBytes();
    // Text counts as its bytes, two a character, as a byte array assigned from text does.
    if (!value.IsText()) throw Error(ErrorNumber::TypeMismatch);
    Bytes bytes;
    for (const char16_t character : value.As<Text>()) {
        bytes.push_back(static_cast<std::uint8_t>(character & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(character >> 8));
    }
    return bytes;
}

Stored AsGuid(const Variant& value)
{
    const auto guid = value.IsText() ? GuidFromText(value.As<Text>()) : std::nullopt;
    if (!guid) throw Error(ErrorNumber::TypeMismatch);
    return Bytes(guid->bytes.begin(), guid->bytes.end());
}

/// Whole numbers keep what the runtime's operators widened.
Stored AsWhole(const Variant& value, ValueType type)
{
    if (value.Holds<std::int32_t>()) return std::int64_t{value.As<std::int32_t>()};
    if (type == ValueType::Long && value.Holds<double>()) {
        const double number = value.As<double>();
        if (number == std::floor(number) && std::abs(number) < 9e15) return static_cast<std::int64_t>(number);
    }
    switch (type) {
        case ValueType::Byte:
            return std::int64_t{ToByte(value)};
        case ValueType::Integer:
            return std::int64_t{ToInteger(value)};
        default:
            return std::int64_t{ToLong(value)};
    }
}

Stored InForm(const Variant& value, ValueType type)
{
    if (value.IsNull() || value.IsEmpty()) return Null{};
    switch (type) {
        case ValueType::Value:
            return AsValueForm(value);
        case ValueType::Boolean:
            return std::int64_t{ToBoolean(value) ? -1 : 0};
        case ValueType::Byte:
        case ValueType::Integer:
        case ValueType::Long:
            return AsWhole(value, type);
        case ValueType::Currency:
            return ToCurrency(value).units;
        case ValueType::Single:
            return static_cast<double>(ToSingle(value));
        case ValueType::Double:
            return ToDouble(value);
        case ValueType::Date:
            return ToDate(value).serial;
        case ValueType::Text:
        case ValueType::Memo:
            return ToUtf8(ToText(value));
        case ValueType::Binary:
        case ValueType::LongBinary:
            return AsBytes(value);
        case ValueType::Guid:
            return AsGuid(value);
    }
    return Null{};
}

struct ResultWriter
{
    sqlite3_context* context;

    void operator()(Null) const { sqlite3_result_null(context); }
    void operator()(std::int64_t number) const { sqlite3_result_int64(context, number); }
    void operator()(double number) const { sqlite3_result_double(context, number); }
    void operator()(const std::string& text) const
    {
        sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    void operator()(const Bytes& bytes) const
    {
        if (bytes.empty())
            sqlite3_result_zeroblob(context, 0);
        else
            sqlite3_result_blob64(context, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
    }
};

struct ParameterWriter
{
    sqlite3_stmt* statement;
    int parameter;

    int operator()(Null) const { return sqlite3_bind_null(statement, parameter); }
    int operator()(std::int64_t number) const { return sqlite3_bind_int64(statement, parameter, number); }
    int operator()(double number) const { return sqlite3_bind_double(statement, parameter, number); }
    int operator()(const std::string& text) const
    {
        return sqlite3_bind_text64(statement, parameter, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    int operator()(const Bytes& bytes) const
    {
        if (bytes.empty()) return sqlite3_bind_zeroblob(statement, parameter, 0);
        return sqlite3_bind_blob64(statement, parameter, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
    }
};

}  // namespace

Variant ReadValue(sqlite3_value* value, ValueType type)
{
    const int stored = sqlite3_value_type(value);
    if (stored == SQLITE_NULL) return Null{};
    switch (type) {
        case ValueType::Boolean:
            return sqlite3_value_int64(value) != 0;
        case ValueType::Byte:
        case ValueType::Integer:
        case ValueType::Long:
            if (stored == SQLITE_FLOAT) return sqlite3_value_double(value);
            return WholeNumber(sqlite3_value_int64(value), type);
        case ValueType::Currency:
            // SQLite turns whole numbers that overflow into reals.
            if (stored == SQLITE_FLOAT) throw Error(ErrorNumber::Overflow);
            return Currency{sqlite3_value_int64(value)};
        case ValueType::Single:
            return static_cast<float>(sqlite3_value_double(value));
        case ValueType::Double:
            return sqlite3_value_double(value);
        case ValueType::Date:
            return Date{sqlite3_value_double(value)};
        case ValueType::Text:
        case ValueType::Memo:
            return FromUtf8(TextOf(value));
        case ValueType::Binary:
        case ValueType::LongBinary:
            return BytesVariant(BytesOf(value));
        case ValueType::Guid:
            return GuidVariant(BytesOf(value));
        case ValueType::Value:
            break;
    }
    switch (stored) {
        case SQLITE_INTEGER:
            return WholeNumber(sqlite3_value_int64(value), ValueType::Long);
        case SQLITE_FLOAT:
            return sqlite3_value_double(value);
        case SQLITE_TEXT:
            return FromUtf8(TextOf(value));
        default:
            return Untagged(BytesOf(value));
    }
}

Variant ReadColumn(sqlite3_stmt* statement, int column, ValueType type)
{
    return ReadValue(sqlite3_column_value(statement, column), type);
}

void Bind(sqlite3_stmt* statement, int parameter, ValueType type, const Variant& value)
{
    if (parameter > sqlite3_bind_parameter_count(statement)) return;
    Stored stored;
    try {
        stored = InForm(value, type);
    } catch (const Error&) {
        throw Error(ErrorNumber::DataConversion);
    }
    const int code = std::visit(ParameterWriter{statement, parameter}, stored);
    if (code != SQLITE_OK) ThrowFailure(sqlite3_db_handle(statement));
}

void StoreResult(sqlite3_context* context, ValueType type, const Variant& value)
{
    std::visit(ResultWriter{context}, InForm(value, type));
}

namespace {

int CompareTexts(void* context, int leftSize, const void* left, int rightSize, const void* right)
{
    int result = 0;
    Guarded([&] {
        const TextOrder& order = static_cast<const FunctionContext*>(context)->order;
        result = order({static_cast<const char*>(left), static_cast<std::size_t>(leftSize)},
                       {static_cast<const char*>(right), static_cast<std::size_t>(rightSize)});
    });
    return result;
}

}  // namespace

void RegisterFunctions(sqlite3* connection, TextOrder order, Clock now)
{
    // The collation owns the context; functions refer to it and end with the same connection.
    auto* context = new FunctionContext{std::move(order), std::move(now)};
    const int code = sqlite3_create_collation_v2(connection, "jet", SQLITE_UTF8, context, CompareTexts,
                                                 [](void* owned) { delete static_cast<FunctionContext*>(owned); });
    if (code != SQLITE_OK) {
        delete context;
        ThrowFailure(connection);
    }
    RegisterScalarFunctions(connection, *context);
    RegisterOperators(connection, *context);
    RegisterAggregates(connection);
}

}  // namespace vmlib::sql
