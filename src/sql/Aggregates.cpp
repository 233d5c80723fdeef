// Aggregates that SQLite does not have. Null values do not count.

#include <array>
#include <cmath>
#include <new>

#include "sql/FunctionRegistration.h"
#include "sql/Functions.h"

namespace vmlib::sql {
namespace {

/// One value kept from row to row.
struct Kept
{
    sqlite3_value* value;  // zero before the first row: SQLite hands out cleared memory
};

Kept* KeptOf(sqlite3_context* context, bool create)
{
    return static_cast<Kept*>(sqlite3_aggregate_context(context, create ? static_cast<int>(sizeof(Kept)) : 0));
}

void Keep(sqlite3_context* context, Kept& kept, sqlite3_value* value)
{
    sqlite3_value_free(kept.value);
    kept.value = sqlite3_value_dup(value);
    if (kept.value == nullptr) sqlite3_result_error_nomem(context);
}

void StepFirst(sqlite3_context* context, int, sqlite3_value** values)
{
    if (sqlite3_value_type(values[0]) == SQLITE_NULL) return;
    Kept* kept = KeptOf(context, true);
    if (kept != nullptr && kept->value == nullptr) Keep(context, *kept, values[0]);
}

void StepLast(sqlite3_context* context, int, sqlite3_value** values)
{
    if (sqlite3_value_type(values[0]) == SQLITE_NULL) return;
    Kept* kept = KeptOf(context, true);
    if (kept != nullptr) Keep(context, *kept, values[0]);
}

/// The one row of a subquery that stands for a value.
void StepOnly(sqlite3_context* context, int, sqlite3_value** values)
{
    RunFunction(context, [&] {
        Kept* kept = KeptOf(context, true);
        if (kept == nullptr) throw std::bad_alloc();
        if (kept->value != nullptr) throw Error(ErrorNumber::SubqueryRows);
        Keep(context, *kept, values[0]);
    });
}

void FinishKept(sqlite3_context* context)
{
    Kept* kept = KeptOf(context, false);
    if (kept == nullptr || kept->value == nullptr) return sqlite3_result_null(context);
    sqlite3_result_value(context, kept->value);
    sqlite3_value_free(kept->value);
    kept->value = nullptr;
}

/// Running mean and sum of squared distances from it (Welford), which large values do not cancel out.
struct Moments
{
    double count, mean, squares;
};

void StepMoments(sqlite3_context* context, int, sqlite3_value** values)
{
    if (sqlite3_value_type(values[0]) == SQLITE_NULL) return;
    auto* moments = static_cast<Moments*>(sqlite3_aggregate_context(context, static_cast<int>(sizeof(Moments))));
    if (moments == nullptr) return sqlite3_result_error_nomem(context);
    const double value = sqlite3_value_double(values[0]);
    moments->count += 1;
    const double distance = value - moments->mean;
    moments->mean += distance / moments->count;
    moments->squares += distance * (value - moments->mean);
}

/// @tparam sample  divide by one less than the count; a single value has no spread then
/// @tparam root    the deviation instead of the variance
template <bool sample, bool root>
void FinishMoments(sqlite3_context* context)
{
    const auto* moments = static_cast<const Moments*>(sqlite3_aggregate_context(context, 0));
    if (moments == nullptr) return sqlite3_result_null(context);
    const double divisor = moments->count - (sample ? 1 : 0);
    if (divisor <= 0) return sqlite3_result_null(context);
    const double variance = moments->squares / divisor;
    // Infinity tells the caller of an overflow; SQLite would make Null of a value that is no number.
    const double result = std::isnan(variance) ? HUGE_VAL : root ? std::sqrt(variance) : variance;
    sqlite3_result_double(context, result);
}

constexpr std::array<AggregateInfo, 11> aggregates = {{
    {u"Count", AggregateInfo::Kind::Count, "count"},
    {u"Sum", AggregateInfo::Kind::Sum, "sum"},
    {u"Avg", AggregateInfo::Kind::Average, "avg"},
    {u"Min", AggregateInfo::Kind::Least, "min"},
    {u"Max", AggregateInfo::Kind::Greatest, "max"},
    {u"First", AggregateInfo::Kind::First, "jet_first"},
    {u"Last", AggregateInfo::Kind::Last, "jet_last"},
    {u"StDev", AggregateInfo::Kind::Spread, "jet_stdev"},
    {u"StDevP", AggregateInfo::Kind::Spread, "jet_stdevp"},
    {u"Var", AggregateInfo::Kind::Spread, "jet_var"},
    {u"VarP", AggregateInfo::Kind::Spread, "jet_varp"},
}};

}  // namespace

const AggregateInfo* AggregateNamed(TextView name)
{
    for (const AggregateInfo& aggregate : aggregates) {
        if (EqualIgnoringCase(aggregate.name, name)) return &aggregate;
    }
    return nullptr;
}

void RegisterAggregates(sqlite3* connection)
{
    RegisterAggregate(connection, "jet_first", StepFirst, FinishKept);
    RegisterAggregate(connection, "jet_last", StepLast, FinishKept);
    RegisterAggregate(connection, "jet_only", StepOnly, FinishKept);
    RegisterAggregate(connection, "jet_stdev", StepMoments, FinishMoments<true, true>);
    RegisterAggregate(connection, "jet_stdevp", StepMoments, FinishMoments<false, true>);
    RegisterAggregate(connection, "jet_var", StepMoments, FinishMoments<true, false>);
    RegisterAggregate(connection, "jet_varp", StepMoments, FinishMoments<false, false>);
}

}  // namespace vmlib::sql
