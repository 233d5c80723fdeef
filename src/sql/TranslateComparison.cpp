// Comparisons. A column that is compared with a constant stays as it is, on the left of the operator where it was on
// the left, so that the storage can use its indexes; constants are brought into the column's form.

#include <cmath>

#include "sql/ExpressionTranslator.h"
#include "sql/GuidText.h"

namespace vmlib::sql {
namespace {

const char* SymbolOf(Operator op)
{
    switch (op) {
        case Operator::Equal:
            return " = ";
        case Operator::NotEqual:
            return " <> ";
        case Operator::Less:
            return " < ";
        case Operator::LessOrEqual:
            return " <= ";
        case Operator::Greater:
            return " > ";
        default:
            return " >= ";
    }
}

/// A number literal as the count of 1/10,000, when it is exactly one.
std::optional<std::string> CurrencyConstant(const Typed& value)
{
    if (!value.constant) return std::nullopt;
    if (value.constant->Holds<std::int32_t>())
        return std::to_string(std::int64_t{value.constant->As<std::int32_t>()} * 10000);
    if (!value.constant->Holds<double>()) return std::nullopt;
    const double number = value.constant->As<double>();
    const double units = std::nearbyint(number * 10000);
    if (std::abs(units) > 1e15 || units / 10000 != number) return std::nullopt;
    return std::to_string(static_cast<std::int64_t>(units));
}

/// A text literal as a GUID.
std::optional<std::string> GuidConstant(const Typed& value)
{
    if (!value.constant || !value.constant->IsText()) return std::nullopt;
    const auto guid = GuidFromText(value.constant->As<Text>());
    return guid ? std::optional(GuidLiteral(*guid)) : std::nullopt;
}

using Sides = std::pair<std::string, std::string>;

std::string Plain(const Typed& value)
{
    return Enclosed(value, Level::Additive);
}

/// Money beside another number: a constant as money, else both as money or as doubles.
Sides NumberSides(const Typed& left, const Typed& right)
{
    const bool leftIsMoney = left.type == ValueType::Currency, rightIsMoney = right.type == ValueType::Currency;
    if (leftIsMoney == rightIsMoney) return {Plain(left), Plain(right)};
    if (leftIsMoney) {
        if (auto constant = CurrencyConstant(right)) return {Plain(left), *std::move(constant)};
    } else if (auto constant = CurrencyConstant(left)) {
        return {*std::move(constant), Plain(right)};
    }
    const bool whole = IsWhole(left.type) || IsWhole(right.type);
    const ValueType common = whole ? ValueType::Currency : ValueType::Double;
    return {Plain(Cast(left, common)), Plain(Cast(right, common))};
}

/// GUIDs and their texts.
std::optional<Sides> GuidSides(const Typed& left, const Typed& right)
{
    const bool leftIsGuid = left.type == ValueType::Guid, rightIsGuid = right.type == ValueType::Guid;
    if (leftIsGuid && rightIsGuid) return Sides{Plain(left), Plain(right)};
    if (leftIsGuid) {
        if (auto constant = GuidConstant(right)) return Sides{Plain(left), *std::move(constant)};
    } else if (rightIsGuid) {
        if (auto constant = GuidConstant(left)) return Sides{*std::move(constant), Plain(right)};
    }
    return std::nullopt;
}

/// What a value that is known row by row only (a parameter) is converted to beside a known type; a whole number stays
/// one that a fraction can be compared with.
ValueType WantedBeside(ValueType type)
{
    if (IsWhole(type) || type == ValueType::Single) return ValueType::Double;
    return type == ValueType::Memo ? ValueType::Text : type;
}

}  // namespace

ExpressionTranslator::Pair ExpressionTranslator::Comparable(const Typed& left, const Typed& right)
{
    Pair pair;
    if (left.null || right.null) {
        pair.null = true;
        return pair;
    }
    const auto sides = [&](Sides both) {
        pair.left = std::move(both.first);
        pair.right = std::move(both.second);
        return pair;
    };
    const auto collated = [](const Typed& value) { return IsTextual(value.type) ? Collated(value) : Plain(value); };
    const ValueType a = left.type, b = right.type;

    if (clause_.join && (IsLong(a) || IsLong(b))) {
        throw Error(ErrorNumber::MemoInJoin, {IsLong(a) ? left.sourceField : right.sourceField});
    }
    if (IsTextual(a) && IsTextual(b)) return sides({Collated(left), Plain(right)});
    if (a == ValueType::Value && b == ValueType::Value) {
        pair.ranked = true;
        return sides({"jet_compare(" + left.sql + "," + right.sql + ")", "0"});
    }
    if (b == ValueType::Value) return sides({collated(left), Plain(CastCriterion(right, WantedBeside(a)))});
    if (a == ValueType::Value) return sides({collated(CastCriterion(left, WantedBeside(b))), Plain(right)});
    if (IsNumber(a) && IsNumber(b)) return sides(NumberSides(left, right));
    if (IsBinary(a) && IsBinary(b)) return sides({Plain(left), Plain(right)});
    if (auto guids = GuidSides(left, right)) return sides(*std::move(guids));
    throw Error(ErrorNumber::CriteriaTypeMismatch);
}

Typed ExpressionTranslator::Compared(Operator op, const Typed& left, const Typed& right)
{
    const Pair pair = Comparable(left, right);
    if (pair.null) {
        Typed result = MadeCondition("NULL", Level::Atom, {&left, &right});
        result.null = true;
        return result;
    }
    return MadeCondition(pair.left + SymbolOf(op) + pair.right, Level::Comparison, {&left, &right});
}

Typed ExpressionTranslator::Likeness(const Expression& expression)
{
    const Typed value = TranslateValue(*expression.operands[0]);
    const Typed pattern = TranslateValue(*expression.operands[1]);
    const std::string call = "jet_like(" + As(value, ValueType::Text) + "," + As(pattern, ValueType::Text) + ")";
    if (expression.op == Operator::Like) return MadeCondition(call, Level::Atom, {&value, &pattern});
    return MadeCondition("NOT " + call, Level::Not, {&value, &pattern});
}

Typed ExpressionTranslator::IsNull(const Expression& expression)
{
    const Typed value = TranslateValue(*expression.operands[0]);
    const char* test = expression.op == Operator::Is ? " IS NULL" : " IS NOT NULL";
    return MadeCondition(Enclosed(value, Level::Additive) + test, Level::Comparison, {&value});
}

/// The bounds may stand in either order. SQLite's min and max of several arguments put them right; constants of numbers
/// are put right here.
Typed ExpressionTranslator::Between(const Expression& expression)
{
    const Typed value = TranslateValue(*expression.operands[0]);
    const Typed first = TranslateValue(*expression.operands[1]);
    const Typed second = TranslateValue(*expression.operands[2]);
    const Pair low = Comparable(value, first), high = Comparable(value, second);
    if (low.null || high.null) return MadeCondition("NULL", Level::Atom, {&value, &first, &second});

    std::string sql;
    if (low.ranked || high.ranked || low.left != high.left) {
        const auto both = [&](const char* from, const char* to) {
            return low.left + from + low.right + " AND " + high.left + to + high.right;
        };
        sql = both(" >= ", " <= ") + " OR " + both(" <= ", " >= ");
    } else {
        const char* collation = IsTextual(value.type) ? " COLLATE jet" : "";
        const auto bound = [&](const char* function) {
            return std::string(function) + "((" + low.right + ")" + collation + "," + high.right + ")";
        };
        sql = low.left + " >= " + bound("min") + " AND " + low.left + " <= " + bound("max");
    }
    Typed between = MadeCondition(std::move(sql), Level::Or, {&value, &first, &second});
    if (!expression.negated) return between;
    return MadeCondition("NOT (" + between.sql + ")", Level::Not, {&between});
}

/// One IN of SQLite where all items take the same form of the value, else a chain of comparisons.
Typed ExpressionTranslator::InList(const Expression& expression)
{
    const Typed value = TranslateValue(*expression.operands[0]);
    Typed result = MadeCondition("", Level::Comparison, {&value});
    std::string left, list;
    std::vector<std::string> others;
    for (std::size_t i = 1; i < expression.operands.size(); ++i) {
        const Typed item = TranslateValue(*expression.operands[i]);
        Inherit(result, item);
        Pair pair = Comparable(value, item);
        if (pair.null) pair = {left, "NULL", false, false};
        if (left.empty() && !pair.ranked) left = pair.left;
        if (pair.ranked || pair.left != left) {
            others.push_back(pair.left + " = " + pair.right);
        } else {
            list += (list.empty() ? "" : ",") + pair.right;
        }
    }
    if (left.empty() && others.empty()) left = "NULL";
    if (!list.empty()) others.insert(others.begin(), left + " IN (" + list + ")");
    for (const std::string& other : others) result.sql += (result.sql.empty() ? "" : " OR ") + other;
    if (others.size() > 1) result.level = Level::Or;
    if (!expression.negated) return result;
    return MadeCondition("NOT (" + result.sql + ")", Level::Not, {&result});
}

}  // namespace vmlib::sql
