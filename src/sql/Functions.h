#pragma once

#include <span>

#include "automation/Convert.h"
#include "sql/SqliteValues.h"

namespace vmlib::sql {

/// What a function may ask for besides its arguments.
struct FunctionContext
{
    TextOrder order;  // the database's, for comparisons that ignore case
    Clock now;
    int Compare(TextView left, TextView right) const;
};

/// A scalar function of the dialect. The one list of them serves the translator (names, argument counts, types) and
/// SQLite (bodies).
struct FunctionInfo
{
    TextView name;
    int fewest = 0, most = 0;  // arguments
    ValueType result = ValueType::Value;
    bool ofArgument = false;  // the result has the type of the first argument (Abs, Int, Fix)
    bool nullSpreads = true;  // a Null argument gives Null without a call; with "$" behind the name error 94
    Variant (*body)(std::span<const Variant> arguments, const FunctionContext& context) = nullptr;
};

std::span<const FunctionInfo> TextFunctions();
std::span<const FunctionInfo> DateFunctions();
std::span<const FunctionInfo> NumberFunctions();
std::span<const FunctionInfo> ConversionFunctions();

/// The two optional arguments that say how weeks are counted: first weekday, first week; 0 is the system's, which is
/// the default. @throws Error 5 for other numbers
WeekRule WeekRuleOf(std::span<const Variant> arguments, std::size_t position);

/// By name, ignoring case; null when there is none.
const FunctionInfo* FunctionNamed(TextView name);

/// The name under which SQLite knows it.
std::string SqliteName(const FunctionInfo& function);

/// Aggregates of the dialect.
struct AggregateInfo
{
    enum class Kind : std::uint8_t
    {
        Count,
        Sum,
        Average,
        Least,
        Greatest,
        First,
        Last,
        Spread,  // StDev, StDevP, Var, VarP
    };
    TextView name;
    Kind kind;
    const char* sqliteName;
};
const AggregateInfo* AggregateNamed(TextView name);

// Parts of RegisterFunctions; the context lives as long as the connection.
void RegisterScalarFunctions(sqlite3* connection, const FunctionContext& context);
void RegisterOperators(sqlite3* connection, const FunctionContext& context);
void RegisterAggregates(sqlite3* connection);

}  // namespace vmlib::sql
