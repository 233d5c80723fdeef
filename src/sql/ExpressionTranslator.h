#pragma once

#include "sql/Functions.h"
#include "sql/QueryTranslator.h"
#include "sql/Scope.h"
#include "sql/SyntaxError.h"

namespace vmlib::sql {

/// Expressions of one clause of one query to SQLite text. Spread over TranslateExpression.cpp (names, literals, logic,
/// subqueries), TranslateOperator.cpp (arithmetic, text), TranslateComparison.cpp, TranslateFunction.cpp (functions,
/// aggregates).
class ExpressionTranslator
{
public:
    /// What a clause allows.
    struct Clause
    {
        std::optional<ErrorNumber> noAggregates;  // the error that an aggregate raises here
        bool join = false;                        // memo fields are refused
    };

    ExpressionTranslator(TranslationState& state, const Scope& scope, Clause clause)
        : state_(state), scope_(scope), clause_(clause)
    {
    }

    /// Group keys as SQLite text: an expression equal to one may stand outside aggregates.
    void SetGroupKeys(const std::vector<std::string>* keys) { groupKeys_ = keys; }

    Typed Translate(const Expression& expression);
    Typed TranslateValue(const Expression& expression) { return AsValue(Translate(expression)); }
    Typed TranslateCondition(const Expression& expression) { return Condition(Translate(expression)); }

    /// Sources of the query that were named so far, each once.
    const std::vector<std::size_t>& UsedSources() const { return usedSources_; }

private:
    Typed Unchecked(const Expression& expression);
    Typed Node(const Expression& expression);

    // TranslateExpression.cpp
    Typed LiteralOf(const Expression& expression);
    Typed Name(const Expression& expression);
    Typed Unary(const Expression& expression);
    Typed Binary(const Expression& expression);
    Typed Logic(const Expression& expression);
    Typed Condition(Typed value);
    Typed Exists(const Expression& expression);
    Typed Scalar(const Expression& expression);
    Typed InSelect(const Expression& expression);
    Typed Quantified(const Expression& expression);
    QueryResult Subselect(const Expression& expression);

    // TranslateOperator.cpp
    Typed Arithmetic(const Expression& expression);
    Typed Arithmetic(Operator op, const Typed& left, const Typed& right);
    Typed NativeArithmetic(Operator op, const Typed& left, const Typed& right);
    Typed OperatorCall(const char* function, ValueType result, const Typed& left, const Typed& right);
    Typed Negated(const Typed& operand);
    Typed Joined(const Expression& expression);
    void JoinTerms(const Expression& expression, std::vector<Typed>& terms);

    // TranslateComparison.cpp
    Typed Compared(Operator op, const Typed& left, const Typed& right);
    struct Pair
    {
        std::string left, right;  // both sides in forms that SQLite compares as the dialect does
        bool ranked = false;      // left is jet_compare(..), to be compared with right, which is 0
        bool null = false;        // one side is the literal Null
    };
    Pair Comparable(const Typed& left, const Typed& right);
    Typed Likeness(const Expression& expression);
    Typed IsNull(const Expression& expression);
    Typed Between(const Expression& expression);
    Typed InList(const Expression& expression);

    // TranslateFunction.cpp
    Typed Function(const Expression& expression);
    Typed Aggregate(const Expression& expression, const AggregateInfo& aggregate);
    Typed AggregateCall(const AggregateInfo& aggregate, const Typed& argument);
    Typed Call(const FunctionInfo& function, TextView name, const std::vector<Typed>& arguments);
    Typed IIf(const Expression& expression);
    Typed Switch(const Expression& expression);
    Typed Choose(const Expression& expression);
    struct Case
    {
        std::string condition;
        Typed result;
    };
    Typed Cases(const std::string& subject, const std::vector<Case>& cases, const std::optional<Typed>& otherwise);
    Error WrongCount(const Expression& expression) const;

    Text Written(const Expression& expression) const;  // as in the statement

    TranslationState& state_;
    const Scope& scope_;
    Clause clause_;
    const std::vector<std::string>* groupKeys_ = nullptr;
    bool insideAggregate_ = false;
    bool namedOwn_ = false, namedOuter_ = false;  // columns met since an aggregate began
    std::vector<std::size_t> usedSources_;
};

/// Text with the marks (loose columns, aggregates) of the expressions it is made of.
Typed Made(std::string sql, ValueType type, Level level, std::initializer_list<const Typed*> parts);
Typed MadeCondition(std::string sql, Level level, std::initializer_list<const Typed*> parts);
void Inherit(Typed& whole, const Typed& part);

}  // namespace vmlib::sql
