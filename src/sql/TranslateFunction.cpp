// Calls of functions and aggregates.

#include "sql/ExpressionTranslator.h"

namespace vmlib::sql {
namespace {

constexpr TextView nullTest = u"IsNull";

TextView WithoutDollar(TextView name)
{
    return name.ends_with(u'$') ? name.substr(0, name.size() - 1) : name;
}

}  // namespace

Error ExpressionTranslator::WrongCount(const Expression& expression) const
{
    return ExpressionError(reason::argumentCount, state_.text, expression.extent);
}

Typed ExpressionTranslator::Function(const Expression& expression)
{
    const std::size_t count = expression.operands.size();
    if (const AggregateInfo* aggregate = AggregateNamed(expression.name)) return Aggregate(expression, *aggregate);
    if (EqualIgnoringCase(expression.name, u"IIf")) return IIf(expression);
    if (EqualIgnoringCase(expression.name, u"Switch")) return Switch(expression);
    if (EqualIgnoringCase(expression.name, u"Choose")) return Choose(expression);
    if (EqualIgnoringCase(expression.name, nullTest)) {
        if (count != 1) throw WrongCount(expression);
        const Typed value = TranslateValue(*expression.operands[0]);
        return MadeCondition(Enclosed(value, Level::Additive) + " IS NULL", Level::Comparison, {&value});
    }
    const FunctionInfo* function = FunctionNamed(WithoutDollar(expression.name));
    if (function == nullptr) throw Error(ErrorNumber::UndefinedFunction, {expression.name});
    if (count < static_cast<std::size_t>(function->fewest) || count > static_cast<std::size_t>(function->most)) {
        throw WrongCount(expression);
    }
    std::vector<Typed> arguments;
    for (const ExpressionRef& operand : expression.operands) arguments.push_back(TranslateValue(*operand));
    return Call(*function, expression.name, arguments);
}

/// vba_name(a, b, 'RAB'): the type of the result, then those of the arguments.
Typed ExpressionTranslator::Call(const FunctionInfo& function, TextView name, const std::vector<Typed>& arguments)
{
    Typed result;
    result.type = function.result;
    if (function.ofArgument) {
        const ValueType type = arguments[0].type;
        result.type = IsTextual(type) ? ValueType::Double : type == ValueType::Boolean ? ValueType::Long : type;
    }
    std::string signature{LetterOf(result.type)};
    std::string list;
    for (const Typed& argument : arguments) {
        signature += LetterOf(argument.type);
        list += argument.sql + ",";
        Inherit(result, argument);
    }
    if (name.ends_with(u'$')) signature += '$';
    result.sql = SqliteName(function) + "(" + list + "'" + signature + "')";
    return result;
}

/// CASE evaluates the branch that it takes and no other. An IIf in the last branch of another lengthens its CASE, since
/// SQLite's parser takes about twenty nested ones only.
Typed ExpressionTranslator::Cases(const std::string& subject, const std::vector<Case>& cases,
                                  const std::optional<Typed>& otherwise)
{
    Typed common;
    common.null = true;
    bool first = true;
    const auto widen = [&](const Typed& branch) {
        const ValueType type = first ? branch.type : CommonType(common, branch);
        const bool null = common.null && branch.null;
        common.size = first || branch.size > common.size ? branch.size : common.size;
        common.type = type;
        common.null = null;
        first = false;
        Inherit(common, branch);
    };
    for (const Case& one : cases) widen(one.result);
    if (otherwise) widen(*otherwise);

    std::string sql = "CASE" + subject;
    for (const Case& one : cases) sql += " WHEN " + one.condition + " THEN " + As(one.result, common.type);
    const std::string last = otherwise ? As(*otherwise, common.type) : "NULL";
    constexpr std::size_t caseWord = 4;
    if (subject.empty() && otherwise && otherwise->cases && last == otherwise->sql) {
        sql += last.substr(caseWord);
    } else {
        sql += " ELSE " + last + " END";
    }
    common.cases = subject.empty();
    common.sql = std::move(sql);
    return common;
}

Typed ExpressionTranslator::IIf(const Expression& expression)
{
    if (expression.operands.size() != 3) throw WrongCount(expression);
    const Typed condition = TranslateCondition(*expression.operands[0]);
    const Typed whenTrue = TranslateValue(*expression.operands[1]), otherwise = TranslateValue(*expression.operands[2]);
    // A CASE can be lengthened with its last branch only, so the longer one goes there.
    const bool turned = whenTrue.cases && !otherwise.cases;
    std::vector<Case> first{{condition.sql, whenTrue}};
    if (turned) first = {{"(" + condition.sql + ") IS NOT TRUE", otherwise}};
    Typed result = Cases("", first, turned ? whenTrue : otherwise);
    Inherit(result, condition);
    return result;
}

Typed ExpressionTranslator::Switch(const Expression& expression)
{
    if (expression.operands.empty() || expression.operands.size() % 2 != 0) throw WrongCount(expression);
    std::vector<Case> cases;
    Typed marks;
    for (std::size_t i = 0; i < expression.operands.size(); i += 2) {
        const Typed condition = TranslateCondition(*expression.operands[i]);
        Inherit(marks, condition);
        cases.push_back({condition.sql, TranslateValue(*expression.operands[i + 1])});
    }
    Typed result = Cases("", cases, std::nullopt);
    Inherit(result, marks);
    return result;
}

Typed ExpressionTranslator::Choose(const Expression& expression)
{
    if (expression.operands.size() < 2) throw WrongCount(expression);
    const Typed index = TranslateValue(*expression.operands[0]);
    std::vector<Case> cases;
    for (std::size_t i = 1; i < expression.operands.size(); ++i) {
        cases.push_back({std::to_string(i), TranslateValue(*expression.operands[i])});
    }
    Typed result = Cases(" " + As(index, ValueType::Long), cases, std::nullopt);
    Inherit(result, index);
    return result;
}

Typed ExpressionTranslator::Aggregate(const Expression& expression, const AggregateInfo& aggregate)
{
    if (insideAggregate_) throw Error(ErrorNumber::AggregateInExpression, {Written(expression)});
    if (clause_.noAggregates) throw Error(*clause_.noAggregates, {Written(expression)});
    if (expression.operands.size() != 1) throw WrongCount(expression);
    const Expression& operand = *expression.operands[0];
    if (operand.kind == Expression::Kind::Star) {
        if (aggregate.kind != AggregateInfo::Kind::Count)
            throw ExpressionError(reason::syntax, state_.text, expression.extent);
        Typed count;
        count.sql = "count(*)";
        count.type = ValueType::Long;
        count.aggregate = true;
        return count;
    }
    insideAggregate_ = true;
    namedOwn_ = namedOuter_ = false;
    const Typed argument = TranslateValue(operand);
    insideAggregate_ = false;
    // SQLite would count it among the aggregates of the query around this one.
    if (namedOuter_ && !namedOwn_) throw Error(ErrorNumber::AggregateInExpression, {Written(expression)});
    Typed result = AggregateCall(aggregate, argument);
    result.aggregate = true;
    return result;
}

Typed ExpressionTranslator::AggregateCall(const AggregateInfo& aggregate, const Typed& argument)
{
    using Kind = AggregateInfo::Kind;
    const auto made = [](std::string sql, ValueType type) { return Made(std::move(sql), type, Level::Atom, {}); };
    const auto counts = [&] {
        if (!IsNumber(argument.type) && argument.type != ValueType::Value && !argument.null)
            throw Error(ErrorNumber::CriteriaTypeMismatch);
    };
    const auto checked = [&](std::string sql) {
        Typed result = made(std::move(sql), ValueType::Double);
        result.unchecked = true;
        return result;
    };
    const auto real = [&] { return CastCriterion(argument, ValueType::Double).sql; };
    switch (aggregate.kind) {
        case Kind::Count:
            return made("count(" + argument.sql + ")", ValueType::Long);
        case Kind::Sum:
            counts();
            if (argument.type == ValueType::Currency) return made("sum(" + argument.sql + ")", ValueType::Currency);
            if (IsWhole(argument.type)) return made("CAST(sum(" + argument.sql + ") AS REAL)", ValueType::Double);
            return checked("sum(" + real() + ")");
        case Kind::Average:
            counts();
            if (argument.type == ValueType::Currency) {
                return made("jet_ratio(sum(" + argument.sql + "),count(" + argument.sql + "))", ValueType::Currency);
            }
            return checked("avg(" + real() + ")");
        case Kind::Least:
        case Kind::Greatest: {
            // A value known row by row is compared in its plain form (numbers, text), which is also what comes out.
            const std::string function = aggregate.kind == Kind::Least ? "min(" : "max(";
            Typed result = made(function + Collated(argument) + ")", argument.type);
            result.size = argument.size;
            return result;
        }
        case Kind::First:
        case Kind::Last: {
            Typed result = made(aggregate.sqliteName + ("(" + argument.sql) + ")", argument.type);
            result.size = argument.size;
            return result;
        }
        case Kind::Spread:
            break;
    }
    counts();
    return checked(aggregate.sqliteName + ("(" + real()) + ")");
}

}  // namespace vmlib::sql
