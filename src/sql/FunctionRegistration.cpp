#include "sql/FunctionRegistration.h"

#include <algorithm>
#include <string>
#include <vector>

#include "sql/Functions.h"
#include "sql/Typed.h"

namespace vmlib::sql {
namespace {

constexpr int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;

/// What a registered function is called with: its table line and the connection's surroundings.
struct Registered
{
    const FunctionInfo* function;
    const FunctionContext* context;
};

/// name(arguments..., signature): the first letter of the signature is the type of the result, the others those of the
/// arguments.
void CallFunction(sqlite3_context* context, int count, sqlite3_value** values)
{
    RunFunction(context, [&] {
        const auto& registered = *static_cast<const Registered*>(sqlite3_user_data(context));
        const auto* signature = reinterpret_cast<const char*>(sqlite3_value_text(values[count - 1]));
        std::vector<Variant> arguments;
        arguments.reserve(static_cast<std::size_t>(count));
        bool null = false;
        for (int i = 0; i + 1 < count; ++i) {
            arguments.push_back(ReadValue(values[i], TypeOfLetter(signature[i + 1])));
            null = null || arguments.back().IsNull();
        }
        if (null && registered.function->nullSpreads) {
            if (signature[count] == '$') throw Error(ErrorNumber::InvalidUseOfNull);
            return sqlite3_result_null(context);
        }
        StoreResult(context, TypeOfLetter(signature[0]), registered.function->body(arguments, *registered.context));
    });
}

}  // namespace

void RegisterScalar(sqlite3* connection, const char* name, int count, const void* data, SqliteFunction function)
{
    const int code = sqlite3_create_function_v2(connection, name, count, flags, const_cast<void*>(data), function,
                                                nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) ThrowFailure(connection);
}

void RegisterAggregate(sqlite3* connection, const char* name, SqliteFunction step, void (*finish)(sqlite3_context*))
{
    if (sqlite3_create_function_v2(connection, name, 1, flags, nullptr, nullptr, step, finish, nullptr) != SQLITE_OK) {
        ThrowFailure(connection);
    }
}

void RegisterScalarFunctions(sqlite3* connection, const FunctionContext& context)
{
    for (const auto& list : {TextFunctions(), DateFunctions(), NumberFunctions(), ConversionFunctions()}) {
        for (const FunctionInfo& function : list) {
            const int code = sqlite3_create_function_v2(
                connection, SqliteName(function).c_str(), -1, flags, new Registered{&function, &context}, CallFunction,
                nullptr, nullptr, [](void* data) { delete static_cast<Registered*>(data); });
            if (code != SQLITE_OK) ThrowFailure(connection);
        }
    }
}

const FunctionInfo* FunctionNamed(TextView name)
{
    for (const auto& list : {TextFunctions(), DateFunctions(), NumberFunctions(), ConversionFunctions()}) {
        const auto found = std::find_if(list.begin(), list.end(),
                                        [&](const FunctionInfo& one) { return EqualIgnoringCase(one.name, name); });
        if (found != list.end()) return &*found;
    }
    return nullptr;
}

std::string SqliteName(const FunctionInfo& function)
{
    return "vba_" + ToUtf8(LowerCase(function.name));
}

int FunctionContext::Compare(TextView left, TextView right) const
{
    return order(ToUtf8(left), ToUtf8(right));
}

}  // namespace vmlib::sql
