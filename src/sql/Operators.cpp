// The operators and conversions that translations call.

#include <cmath>

#include "automation/Arithmetic.h"
#include "automation/Convert.h"
#include "sql/FunctionRegistration.h"
#include "sql/Functions.h"
#include "sql/Like.h"
#include "sql/Typed.h"

namespace vmlib::sql {
namespace {

using BinaryOperator = Variant (*)(const Variant&, const Variant&);

/// The letters of types stand last: behind them each level of a nested call would take more of the stack of SQLite's
/// parser.
const char* SignatureOf(int count, sqlite3_value** values)
{
    return reinterpret_cast<const char*>(sqlite3_value_text(values[count - 1]));
}

const FunctionContext& ContextOf(sqlite3_context* context)
{
    return *static_cast<const FunctionContext*>(sqlite3_user_data(context));
}

/// operator(left, right, 'RLR')
template <BinaryOperator body>
void CallOperator(sqlite3_context* context, int count, sqlite3_value** values)
{
    RunFunction(context, [&] {
        const char* signature = SignatureOf(count, values);
        const Variant left = ReadValue(values[0], TypeOfLetter(signature[1]));
        const Variant right = ReadValue(values[1], TypeOfLetter(signature[2]));
        if (left.IsNull() || right.IsNull()) return sqlite3_result_null(context);
        StoreResult(context, TypeOfLetter(signature[0]), body(left, right));
    });
}

/// jet_as(value, 'TF'): from type F to type T.
void CallAs(sqlite3_context* context, int count, sqlite3_value** values)
{
    RunFunction(context, [&] {
        const char* signature = SignatureOf(count, values);
        StoreResult(context, TypeOfLetter(signature[0]), ReadValue(values[0], TypeOfLetter(signature[1])));
    });
}

/// The same for the side of a comparison; a number stays as fine as it is.
void CallCriterion(sqlite3_context* context, int count, sqlite3_value** values)
{
    RunFunction(context, [&] {
        const char* signature = SignatureOf(count, values);
        const Variant value = ReadValue(values[0], TypeOfLetter(signature[1]));
        try {
            StoreResult(context, TypeOfLetter(signature[0]), value);
        } catch (const Error&) {
            throw Error(ErrorNumber::CriteriaTypeMismatch);
        }
    });
}

/// jet_checked(value, 'T'): what arithmetic made of reals, when the type has such a value.
void CallChecked(sqlite3_context* context, int count, sqlite3_value** values)
{
    RunFunction(context, [&] {
        const double number = sqlite3_value_double(values[0]);  // 0 for Null
        if (!std::isfinite(number)) throw Error(ErrorNumber::Overflow);
        if (TypeOfLetter(SignatureOf(count, values)[0]) == ValueType::Date) SplitDate(Date{number});
        sqlite3_result_value(context, values[0]);
    });
}

/// Terms of &: Null counts as "", unless all are.
void CallJoin(sqlite3_context* context, int count, sqlite3_value** values)
{
    RunFunction(context, [&] {
        std::string joined;
        bool null = true;
        for (int i = 0; i < count; ++i) {
            if (sqlite3_value_type(values[i]) == SQLITE_NULL) continue;
            null = false;
            const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(values[i]));
            joined.append(text, static_cast<std::size_t>(sqlite3_value_bytes(values[i])));
        }
        if (null) return sqlite3_result_null(context);
        sqlite3_result_text64(context, joined.data(), joined.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    });
}

void CallLike(sqlite3_context* context, int, sqlite3_value** values)
{
    RunFunction(context, [&] {
        const Variant text = ReadValue(values[0], ValueType::Text), pattern = ReadValue(values[1], ValueType::Text);
        if (text.IsNull() || pattern.IsNull()) return sqlite3_result_null(context);
        sqlite3_result_int(context, IsLike(text.As<Text>(), pattern.As<Text>(), ContextOf(context)));
    });
}

/// -1, 0 or 1 for two values of types that are known row by row only.
void CallCompare(sqlite3_context* context, int, sqlite3_value** values)
{
    RunFunction(context, [&] {
        const Variant left = ReadValue(values[0], ValueType::Value), right = ReadValue(values[1], ValueType::Value);
        if (left.IsNull() || right.IsNull()) return sqlite3_result_null(context);
        if (left.IsText() != right.IsText() || left.IsArray() || right.IsArray())
            throw Error(ErrorNumber::CriteriaTypeMismatch);
        if (left.IsText())
            return sqlite3_result_int(context, ContextOf(context).Compare(left.As<Text>(), right.As<Text>()));
        sqlite3_result_int(context, Compare(left, right).value_or(0));
    });
}

void CallTruth(sqlite3_context* context, int, sqlite3_value** values)
{
    RunFunction(context, [&] {
        const Variant value = ReadValue(values[0], ValueType::Value);
        if (value.IsNull()) return sqlite3_result_null(context);
        if (value.IsText() || value.IsArray()) throw Error(ErrorNumber::CriteriaTypeMismatch);
        sqlite3_result_int(context, ToBoolean(value));
    });
}

/// A value in a form that sorts: numbers as such, text as text.
void CallPlain(sqlite3_context* context, int, sqlite3_value** values)
{
    RunFunction(context, [&] {
        if (sqlite3_value_type(values[0]) != SQLITE_BLOB) return sqlite3_result_value(context, values[0]);
        const Variant value = ReadValue(values[0], ValueType::Value);
        if (value.IsText() || value.IsArray()) return sqlite3_result_value(context, values[0]);
        sqlite3_result_double(context, ToDouble(value));
    });
}

/// The sum of money divided by a count, half to even as everything that becomes money.
void CallRatio(sqlite3_context* context, int, sqlite3_value** values)
{
    RunFunction(context, [&] {
        if (sqlite3_value_type(values[0]) == SQLITE_NULL) return sqlite3_result_null(context);
        if (sqlite3_value_type(values[0]) == SQLITE_FLOAT) throw Error(ErrorNumber::Overflow);
        const std::int64_t sum = sqlite3_value_int64(values[0]), count = sqlite3_value_int64(values[1]);
        std::int64_t whole = sum / count;
        const std::int64_t twice = 2 * std::abs(sum % count);
        if (twice > count || (twice == count && whole % 2 != 0)) whole += sum < 0 ? -1 : 1;
        sqlite3_result_int64(context, whole);
    });
}

}  // namespace

void RegisterOperators(sqlite3* connection, const FunctionContext& context)
{
    RegisterScalar(connection, "jet_add", 3, nullptr, CallOperator<Add>);
    RegisterScalar(connection, "jet_subtract", 3, nullptr, CallOperator<Subtract>);
    RegisterScalar(connection, "jet_multiply", 3, nullptr, CallOperator<Multiply>);
    RegisterScalar(connection, "jet_divide", 3, nullptr, CallOperator<Divide>);
    RegisterScalar(connection, "jet_quotient", 3, nullptr, CallOperator<IntegerDivide>);
    RegisterScalar(connection, "jet_modulo", 3, nullptr, CallOperator<Modulo>);
    RegisterScalar(connection, "jet_power", 3, nullptr, CallOperator<Power>);
    RegisterScalar(connection, "jet_as", 2, nullptr, CallAs);
    RegisterScalar(connection, "jet_checked", 2, nullptr, CallChecked);
    RegisterScalar(connection, "jet_criterion", 2, nullptr, CallCriterion);
    RegisterScalar(connection, "jet_join", -1, nullptr, CallJoin);
    RegisterScalar(connection, "jet_like", 2, &context, CallLike);
    RegisterScalar(connection, "jet_compare", 2, &context, CallCompare);
    RegisterScalar(connection, "jet_truth", 1, nullptr, CallTruth);
    RegisterScalar(connection, "jet_plain", 1, nullptr, CallPlain);
    RegisterScalar(connection, "jet_ratio", 2, nullptr, CallRatio);
}

}  // namespace vmlib::sql
