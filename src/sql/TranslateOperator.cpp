// Arithmetic and the joining of text.
//
// Where SQLite's own operators give the dialect's value, they are used: whole numbers (64 bits; beyond the type's range
// a value widens), money with money (both are counts of 1/10,000), doubles and dates. Everything else calls an operator
// function, which computes with variants as the automation runtime does.
//
// SQLite lets a real grow to infinity, and makes Null of infinity less infinity. So what its operators made of reals is
// checked once, around the whole of it: the left side of a sum may still be unchecked, since infinity stays there.

#include <algorithm>

#include "sql/ExpressionTranslator.h"

namespace vmlib::sql {
namespace {

bool IsSmall(ValueType type)
{
    return type == ValueType::Boolean || type == ValueType::Byte || type == ValueType::Integer;
}

/// The type of `left op right` where one side is text or of a type known only row by row.
ValueType LooseResult(Operator op, const Typed& left, const Typed& right)
{
    if (op == Operator::Divide) return ValueType::Double;
    if (left.type == ValueType::Value || right.type == ValueType::Value) return ValueType::Value;
    if (op == Operator::Add && (left.type == ValueType::Date || right.type == ValueType::Date)) return ValueType::Date;
    return ValueType::Double;
}

/// The type of `left op right` for numbers, by the order of precision that the operators have.
ValueType NumberResult(Operator op, ValueType left, ValueType right)
{
    const auto either = [&](ValueType type) { return left == type || right == type; };
    const bool single = either(ValueType::Single) && (IsSmall(left) || IsSmall(right) || left == right);
    if (op == Operator::Divide) return single ? ValueType::Single : ValueType::Double;
    if (either(ValueType::Date)) {
        if (op == Operator::Multiply) return ValueType::Double;
        return op == Operator::Subtract && left == right ? ValueType::Double : ValueType::Date;
    }
    if (either(ValueType::Currency)) {
        const bool real = either(ValueType::Single) || either(ValueType::Double);
        return op == Operator::Multiply && real ? ValueType::Double : ValueType::Currency;
    }
    if (IsWhole(left) && IsWhole(right)) return ValueType::Long;
    return single ? ValueType::Single : ValueType::Double;
}

const char* FunctionOf(Operator op)
{
    switch (op) {
        case Operator::Add:
            return "jet_add";
        case Operator::Subtract:
            return "jet_subtract";
        case Operator::Multiply:
            return "jet_multiply";
        case Operator::Divide:
            return "jet_divide";
        case Operator::IntegerDivide:
            return "jet_quotient";
        case Operator::Modulo:
            return "jet_modulo";
        default:
            return "jet_power";
    }
}

bool IsNative(Operator op, ValueType left, ValueType right)
{
    if (op != Operator::Add && op != Operator::Subtract && op != Operator::Multiply) return false;
    if (left == ValueType::Single || right == ValueType::Single) return false;  // rounds to 24 bits
    if (left == ValueType::Currency || right == ValueType::Currency) {
        if (op == Operator::Multiply) return left != right && (IsWhole(left) || IsWhole(right));
        return (left == ValueType::Currency || IsWhole(left)) && (right == ValueType::Currency || IsWhole(right));
    }
    return true;
}

}  // namespace

Typed ExpressionTranslator::Arithmetic(const Expression& expression)
{
    const Typed left = AsValue(Unchecked(*expression.operands[0]));
    const Typed right = TranslateValue(*expression.operands[1]);
    const bool sums = expression.op == Operator::Add || expression.op == Operator::Subtract;
    const bool staysUnchecked = sums && IsNumber(right.type) && IsNative(expression.op, left.type, right.type);
    return Arithmetic(expression.op, staysUnchecked ? left : Checked(left), right);
}

Typed ExpressionTranslator::Arithmetic(Operator op, const Typed& left, const Typed& right)
{
    const bool textual = IsTextual(left.type) && IsTextual(right.type);
    if (left.null || right.null) {
        Typed result = Made("NULL", left.null ? right.type : left.type, Level::Atom, {&left, &right});
        result.null = left.null && right.null;
        return result;
    }
    const auto unfit = [](ValueType type) { return IsBinary(type) || type == ValueType::Guid; };
    if (unfit(left.type) || unfit(right.type)) throw Error(ErrorNumber::CriteriaTypeMismatch);
    if (op == Operator::Add && textual) {
        return Made(Enclosed(left, Level::Atom) + " || " + Enclosed(right, Level::Atom), ValueType::Text,
                    Level::Additive, {&left, &right});
    }
    if (op == Operator::IntegerDivide || op == Operator::Modulo)
        return OperatorCall(FunctionOf(op), ValueType::Long, left, right);
    if (op == Operator::Power) return OperatorCall(FunctionOf(op), ValueType::Double, left, right);
    if (!IsNumber(left.type) || !IsNumber(right.type)) {
        return OperatorCall(FunctionOf(op), LooseResult(op, left, right), left, right);
    }
    if (IsNative(op, left.type, right.type)) return NativeArithmetic(op, left, right);
    return OperatorCall(FunctionOf(op), NumberResult(op, left.type, right.type), left, right);
}

Typed ExpressionTranslator::NativeArithmetic(Operator op, const Typed& left, const Typed& right)
{
    const ValueType type = NumberResult(op, left.type, right.type);
    const bool multiplies = op == Operator::Multiply;
    const Level level = multiplies ? Level::Multiplicative : Level::Additive;
    const auto side = [&](const Typed& operand) {
        if (type == ValueType::Currency && !multiplies) return Cast(operand, ValueType::Currency);
        return operand;
    };
    const char* symbol = multiplies ? " * " : op == Operator::Add ? " + " : " - ";
    const Level rightLevel = multiplies ? Level::Atom : Level::Multiplicative;
    Typed result =
        Made(Enclosed(side(left), level) + symbol + Enclosed(side(right), rightLevel), type, level, {&left, &right});
    result.unchecked = IsReal(type);
    return result;
}

/// function(left, right, 'RLR'): the result's type, then those of both sides.
Typed ExpressionTranslator::OperatorCall(const char* function, ValueType result, const Typed& left, const Typed& right)
{
    std::string sql = std::string(function) + "(" + left.sql + "," + right.sql + ",'" + LetterOf(result) +
                      LetterOf(left.type) + LetterOf(right.type) + "')";
    return Made(std::move(sql), result, Level::Atom, {&left, &right});
}

Typed ExpressionTranslator::Negated(const Typed& operand)
{
    if (operand.null) return operand;
    if (!IsNumber(operand.type)) {
        Typed zero;
        zero.sql = "0";
        zero.type = ValueType::Long;
        return OperatorCall("jet_subtract", LooseResult(Operator::Subtract, zero, operand), zero, operand);
    }
    const ValueType type = IsWhole(operand.type) ? ValueType::Long : operand.type;
    return Made("-(" + operand.sql + ")", type, Level::Multiplicative, {&operand});
}

void ExpressionTranslator::JoinTerms(const Expression& expression, std::vector<Typed>& terms)
{
    if (expression.kind == Expression::Kind::Binary && expression.op == Operator::Concatenate) {
        JoinTerms(*expression.operands[0], terms);
        JoinTerms(*expression.operands[1], terms);
    } else {
        terms.push_back(TranslateValue(expression));
    }
}

/// All terms of a & b & c in one call: Null counts as "" unless every term is Null. A call takes a hundred arguments at
/// most.
Typed ExpressionTranslator::Joined(const Expression& expression)
{
    constexpr std::size_t mostTerms = 100;
    std::vector<Typed> terms;
    JoinTerms(expression, terms);
    while (terms.size() > 1) {
        std::vector<Typed> calls;
        for (std::size_t from = 0; from < terms.size(); from += mostTerms) {
            const std::size_t to = std::min(from + mostTerms, terms.size());
            Typed call;
            call.type = ValueType::Text;
            call.sql = "jet_join(";
            for (std::size_t i = from; i < to; ++i) {
                if (i > from) call.sql += ",";
                call.sql += As(terms[i], ValueType::Text);
                Inherit(call, terms[i]);
                if (IsLong(terms[i].type)) call.type = ValueType::Memo;
            }
            call.sql += ")";
            calls.push_back(std::move(call));
        }
        terms = std::move(calls);
    }
    return terms.front();
}

}  // namespace vmlib::sql
