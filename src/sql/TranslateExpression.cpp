// Names, literals, logic and subqueries.

#include <algorithm>

#include "sql/ExpressionTranslator.h"

namespace vmlib::sql {
namespace {

/// Yes, No, On and Off are constants where no field of that name exists.
std::optional<bool> NamedConstant(const Expression& name)
{
    if (name.bracketed || !name.qualifier.empty()) return std::nullopt;
    if (EqualIgnoringCase(name.name, u"Yes") || EqualIgnoringCase(name.name, u"On")) return true;
    if (EqualIgnoringCase(name.name, u"No") || EqualIgnoringCase(name.name, u"Off")) return false;
    return std::nullopt;
}

Typed NullLiteral()
{
    Typed result;
    result.sql = "NULL";
    result.null = true;
    return result;
}

std::string Not(const std::string& condition)
{
    return "NOT (" + condition + ")";
}

}  // namespace

void Inherit(Typed& whole, const Typed& part)
{
    if (!whole.loose) whole.loose = part.loose;
    whole.aggregate = whole.aggregate || part.aggregate;
}

Typed Made(std::string sql, ValueType type, Level level, std::initializer_list<const Typed*> parts)
{
    Typed result;
    result.sql = std::move(sql);
    result.type = type;
    result.level = level;
    for (const Typed* part : parts) Inherit(result, *part);
    return result;
}

Typed MadeCondition(std::string sql, Level level, std::initializer_list<const Typed*> parts)
{
    Typed result = Made(std::move(sql), ValueType::Boolean, level, parts);
    result.condition = true;
    return result;
}

Text ExpressionTranslator::Written(const Expression& expression) const
{
    const std::size_t from = std::min(expression.extent.from, state_.text.size());
    const std::size_t to = std::clamp(expression.extent.to, from, state_.text.size());
    return Text(state_.text.substr(from, to - from));
}

Typed ExpressionTranslator::Translate(const Expression& expression)
{
    return Checked(Unchecked(expression));
}

Typed ExpressionTranslator::Unchecked(const Expression& expression)
{
    Typed result = Node(expression);
    if (result.loose && groupKeys_ != nullptr && !insideAggregate_) {
        const Typed value = AsValue(Checked(result));
        if (std::find(groupKeys_->begin(), groupKeys_->end(), value.sql) != groupKeys_->end()) result.loose.reset();
    }
    return result;
}

Typed ExpressionTranslator::Node(const Expression& expression)
{
    using Kind = Expression::Kind;
    switch (expression.kind) {
        case Kind::Literal:
            return LiteralOf(expression);
        case Kind::Name:
            return Name(expression);
        case Kind::Unary:
            return Unary(expression);
        case Kind::Binary:
            return Binary(expression);
        case Kind::Between:
            return Between(expression);
        case Kind::InList:
            return InList(expression);
        case Kind::InSelect:
            return InSelect(expression);
        case Kind::Exists:
            return Exists(expression);
        case Kind::Scalar:
            return Scalar(expression);
        case Kind::Quantified:
            return Quantified(expression);
        case Kind::Function:
            return Function(expression);
        case Kind::Star:
            break;
    }
    throw ExpressionError(reason::syntax, state_.text, expression.extent);
}

Typed ExpressionTranslator::LiteralOf(const Expression& expression)
{
    if (expression.literalType == ValueType::Value) return NullLiteral();
    Typed result;
    result.type = expression.literalType;
    result.sql = Literal(expression.value, expression.literalType);
    if (!result.sql.empty() && result.sql.front() == '-') result.level = Level::Multiplicative;
    result.constant = expression.value;
    return result;
}

Typed ExpressionTranslator::Name(const Expression& expression)
{
    const auto found = scope_.Find(expression.qualifier, expression.name);
    if (!found) {
        if (const auto constant = NamedConstant(expression)) {
            Typed result;
            result.sql = *constant ? "-1" : "0";
            result.type = ValueType::Boolean;
            result.level = Level::Multiplicative;
            result.constant = *constant;
            return result;
        }
        return state_.Parameter(expression.qualifier, expression.name);
    }
    Typed result = found->column->value;
    result.column = true;
    (found->outer ? namedOuter_ : namedOwn_) = true;
    if (found->outer) return result;
    if (std::find(usedSources_.begin(), usedSources_.end(), found->source) == usedSources_.end()) {
        usedSources_.push_back(found->source);
    }
    if (!insideAggregate_) result.loose = Written(expression);
    return result;
}

Typed ExpressionTranslator::Unary(const Expression& expression)
{
    if (expression.op == Operator::Not) {
        const Typed operand = TranslateCondition(*expression.operands[0]);
        return MadeCondition("NOT " + Enclosed(operand, Level::Comparison), Level::Not, {&operand});
    }
    Typed operand = TranslateValue(*expression.operands[0]);
    return expression.op == Operator::Negate ? Negated(operand) : operand;
}

Typed ExpressionTranslator::Binary(const Expression& expression)
{
    switch (expression.op) {
        case Operator::And:
        case Operator::Or:
        case Operator::Xor:
        case Operator::Eqv:
        case Operator::Imp:
            return Logic(expression);
        case Operator::Concatenate:
            return Joined(expression);
        case Operator::Like:
        case Operator::NotLike:
            return Likeness(expression);
        case Operator::Is:
        case Operator::IsNot:
            return IsNull(expression);
        case Operator::Equal:
        case Operator::NotEqual:
        case Operator::Less:
        case Operator::LessOrEqual:
        case Operator::Greater:
        case Operator::GreaterOrEqual: {
            const Typed left = TranslateValue(*expression.operands[0]);
            const Typed right = TranslateValue(*expression.operands[1]);
            return Compared(expression.op, left, right);
        }
        default:
            return Arithmetic(expression);
    }
}

/// Three-valued logic. Conditions are 1, 0 or NULL in SQLite, so that = and <> between them are Eqv and Xor.
Typed ExpressionTranslator::Logic(const Expression& expression)
{
    const Typed left = TranslateCondition(*expression.operands[0]);
    const Typed right = TranslateCondition(*expression.operands[1]);
    const auto made = [&](const char* op, Level level, Level rightLevel) {
        // The right side keeps its parentheses: the tree of a long chain is balanced, and SQLite's limit on depth holds
        // for its tree.
        return MadeCondition(Enclosed(left, level) + op + Enclosed(right, rightLevel), level, {&left, &right});
    };
    const auto equality = [&](const char* op) {
        return MadeCondition(Enclosed(left, Level::Atom) + op + Enclosed(right, Level::Atom), Level::Comparison,
                             {&left, &right});
    };
    switch (expression.op) {
        case Operator::And:
            return made(" AND ", Level::And, Level::Not);
        case Operator::Or:
            return made(" OR ", Level::Or, Level::And);
        case Operator::Xor:
            return equality(" <> ");
        case Operator::Eqv:
            return equality(" = ");
        default:
            return MadeCondition(Not(left.sql) + " OR " + Enclosed(right, Level::Or), Level::Or, {&left, &right});
    }
}

/// Any number but 0 is true; text is not a condition.
Typed ExpressionTranslator::Condition(Typed value)
{
    if (value.condition) return value;
    if (value.null) {
        value.condition = true;
        value.type = ValueType::Boolean;
        return value;
    }
    if (value.type == ValueType::Value) return MadeCondition("jet_truth(" + value.sql + ")", Level::Atom, {&value});
    if (!IsNumber(value.type)) throw Error(ErrorNumber::CriteriaTypeMismatch);
    return MadeCondition(Enclosed(value, Level::Additive) + " <> 0", Level::Comparison, {&value});
}

QueryResult ExpressionTranslator::Subselect(const Expression& expression)
{
    QueryResult query = TranslateQuery(state_, *expression.select, &scope_, false);
    if (query.columns.size() != 1) throw Error(ErrorNumber::SubqueryColumns);
    return query;
}

Typed ExpressionTranslator::Exists(const Expression& expression)
{
    const QueryResult query = TranslateQuery(state_, *expression.select, &scope_, false);
    return MadeCondition("EXISTS (" + query.sql + ")", Level::Atom, {});
}

/// A second row is error 3354, which SQLite would pass over.
Typed ExpressionTranslator::Scalar(const Expression& expression)
{
    const QueryResult query = Subselect(expression);
    Typed result;
    result.type = query.columns[0].type;
    result.size = query.columns[0].size;
    result.sql = query.oneRow ? "(" + query.sql + ")" : "(SELECT jet_only(c0) FROM (" + query.sql + "))";
    return result;
}

Typed ExpressionTranslator::InSelect(const Expression& expression)
{
    const Typed left = TranslateValue(*expression.operands[0]);
    const QueryResult query = Subselect(expression);
    Typed inner;
    inner.sql = "c0";
    inner.type = query.columns[0].type;
    const Pair pair = Comparable(left, inner);
    if (pair.null) return MadeCondition("NULL", Level::Atom, {&left});
    const std::string rows = pair.right == inner.sql ? query.sql : "SELECT " + pair.right + " FROM (" + query.sql + ")";
    return MadeCondition(pair.left + (expression.negated ? " NOT IN (" : " IN (") + rows + ")", Level::Comparison,
                         {&left});
}

/// Any: true when one row compares true, else Null when one compares Null, else false; All the other way round.
Typed ExpressionTranslator::Quantified(const Expression& expression)
{
    const Typed left = TranslateValue(*expression.operands[0]);
    const QueryResult query = Subselect(expression);
    const std::string alias = state_.NewAlias('q');
    Typed inner;
    inner.sql = alias + ".c0";
    inner.type = query.columns[0].type;
    const Typed compared = Compared(expression.op, left, inner);
    const auto rowWhere = [&](const std::string& condition) {
        return "EXISTS (SELECT 1 FROM (" + query.sql + ") AS " + alias + " WHERE " + condition + ")";
    };
    const std::string decided = expression.all ? Not(compared.sql) : compared.sql;
    const char* whenDecided = expression.all ? "0" : "1";
    const char* otherwise = expression.all ? "1" : "0";
    return MadeCondition("CASE WHEN " + rowWhere(decided) + " THEN " + whenDecided + " WHEN " +
                             rowWhere("(" + compared.sql + ") IS NULL") + " THEN NULL ELSE " + otherwise + " END",
                         Level::Atom, {&left});
}

}  // namespace vmlib::sql
