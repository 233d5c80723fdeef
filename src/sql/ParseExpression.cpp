// Expressions, by precedence from loose to tight:
//
//      1 Imp     2 Eqv     3 Xor     4 Or     5 And     6 Not
//      7 = <> < <= > >= Like Between In Is
//      8 &       9 + -    10 Mod    11 whole division    12 * /    13 unary -    14 ^

#include <algorithm>
#include <array>
#include <utility>

#include "sql/ParserState.h"

namespace vmlib::sql {
namespace {

constexpr int orLevel = 4, andLevel = 5, notLevel = 6, comparisonLevel = 7, joinLevel = 8, signLevel = 13,
              powerLevel = 14;

struct Operation
{
    TextView symbol;
    Operator op;
    int level;
};

constexpr Operation operations[] = {
    {u"IMP", Operator::Imp, 1},
    {u"EQV", Operator::Eqv, 2},
    {u"XOR", Operator::Xor, 3},
    {u"OR", Operator::Or, orLevel},
    {u"AND", Operator::And, andLevel},
    {u"=", Operator::Equal, comparisonLevel},
    {u"<>", Operator::NotEqual, comparisonLevel},
    {u"<", Operator::Less, comparisonLevel},
    {u"<=", Operator::LessOrEqual, comparisonLevel},
    {u">", Operator::Greater, comparisonLevel},
    {u">=", Operator::GreaterOrEqual, comparisonLevel},
    {u"LIKE", Operator::Like, comparisonLevel},
    {u"&", Operator::Concatenate, joinLevel},
    {u"+", Operator::Add, 9},
    {u"-", Operator::Subtract, 9},
    {u"MOD", Operator::Modulo, 10},
    {u"\\", Operator::IntegerDivide, 11},
    {u"*", Operator::Multiply, 12},
    {u"/", Operator::Divide, 12},
    {u"^", Operator::Power, powerLevel},
};

const Operation* OperationOf(const Token& token)
{
    for (const Operation& operation : operations) {
        if (token.Is(operation.symbol) || token.IsWord(operation.symbol)) return &operation;
    }
    return nullptr;
}

bool BeginsPredicate(const Token& token)
{
    const Operation* operation = OperationOf(token);
    return (operation != nullptr && operation->level == comparisonLevel) || token.IsWord(u"BETWEEN") ||
           token.IsWord(u"IN") || token.IsWord(u"IS");
}

template <std::size_t n>
bool IsOneOf(const Token& token, const std::array<TextView, n>& words)
{
    return std::any_of(words.begin(), words.end(), [&](TextView word) { return token.IsWord(word); });
}

// Words that may follow a complete expression; anything else that could begin an operand there lacks an operator.
constexpr std::array<TextView, 19> followers = {u"AS",    u"FROM", u"INTO",   u"WHERE", u"GROUP", u"HAVING", u"ORDER",
                                                u"UNION", u"ON",   u"SELECT", u"INNER", u"LEFT",  u"RIGHT",  u"JOIN",
                                                u"SET",   u"WITH", u"PIVOT",  u"ASC",   u"DESC"};

bool MentionsField(const Expression& expression)
{
    if (expression.kind == Expression::Kind::Name || expression.select) return true;
    return std::any_of(expression.operands.begin(), expression.operands.end(),
                       [](const ExpressionRef& operand) { return MentionsField(*operand); });
}

}  // namespace

std::shared_ptr<Expression> ParserState::Node(Expression::Kind kind, std::size_t from,
                                              std::vector<ExpressionRef> operands) const
{
    auto node = std::make_shared<Expression>();
    node->kind = kind;
    node->extent = {from, LastEnd()};
    for (const ExpressionRef& operand : operands) node->depth = std::max(node->depth, operand->depth + 1);
    if (node->depth > maxDepth) throw Error(ErrorNumber::QueryTooComplex);
    node->operands = std::move(operands);
    return node;
}

ExpressionRef ParserState::OperatorNode(Operator op, ExpressionRef left, ExpressionRef right) const
{
    const std::size_t from = left->extent.from, to = right->extent.to;
    auto node = Node(Expression::Kind::Binary, from, {std::move(left), std::move(right)});
    node->op = op;
    node->extent.to = to;
    return node;
}

Error ParserState::ExpressionFailure(TextView what) const
{
    return ExpressionError(what, text_, {expressionStart_, text_.size()}, Peek().extent.from);
}

bool ParserState::EndsExpression(const Token& token) const
{
    switch (token.kind) {
        case Token::Kind::End:
            return true;
        case Token::Kind::Symbol:
            return token.Is(u",") || token.Is(u";");
        case Token::Kind::Word:
            return IsOneOf(token, followers);
        default:
            return false;
    }
}

/// The expression of a clause: an empty one is the clause's error, and what follows must not be the beginning of
/// another operand.
ExpressionRef ParserState::FullExpression(ErrorNumber clause)
{
    if (AtEnd() || Peek().Is(u",") ||
        (Peek().kind == Token::Kind::Word && IsOneOf(Peek(), followers) && !Peek(1).Is(u"(") &&
         !Peek().IsWord(u"ON"))) {
        throw Failure(clause);
    }
    const std::size_t outer = expressionStart_;
    expressionStart_ = Peek().extent.from;
    ExpressionRef expression = Binary(1);
    if (Peek().Is(u")")) {
        if (openBrackets_ == 0) throw ExpressionFailure(reason::extraBracket);
    } else if (!EndsExpression(Peek()) && !Peek().IsWord(u"IN")) {
        throw ExpressionFailure(reason::missingOperator);
    }
    expressionStart_ = outer;
    return expression;
}

ExpressionRef ParserState::WholeExpression()
{
    Take(u"=");
    ExpressionRef expression = FullExpression(ErrorNumber::SyntaxInWhere);
    Finish();
    return expression;
}

ExpressionRef ParserState::WholeRule(TextView field)
{
    ruleField_ = field;
    ExpressionRef rule = FullExpression(ErrorNumber::SyntaxInWhere);
    Finish();
    return rule;
}

std::vector<OrderItem> ParserState::WholeOrder()
{
    std::vector<OrderItem> items = OrderItems();
    Finish();
    return items;
}

/// Operands joined by operators of at least the given level.
ExpressionRef ParserState::Binary(int lowest)
{
    ExpressionRef left = Prefix(lowest);
    for (;;) {
        if (lowest <= comparisonLevel) left = Predicate(std::move(left));
        const Operation* operation = OperationOf(Peek());
        if (operation == nullptr || operation->level < lowest || operation->level == comparisonLevel) return left;
        const Operator op = operation->op;
        const int level = operation->level;
        if (op == Operator::And || op == Operator::Or || op == Operator::Concatenate) {
            left = Associative(std::move(left), op, level);
            continue;
        }
        Take();
        ExpressionRef right = Binary(level + 1);
        left = OperatorNode(op, std::move(left), std::move(right));
    }
}

ExpressionRef ParserState::Associative(ExpressionRef first, Operator op, int level)
{
    std::vector<ExpressionRef> terms{std::move(first)};
    for (const Operation* next = OperationOf(Peek()); next != nullptr && next->op == op; next = OperationOf(Peek())) {
        Take();
        if (terms.size() == maxTerms) throw Error(ErrorNumber::QueryTooComplex);
        terms.push_back(Binary(level + 1));
    }
    return Balanced(terms, 0, terms.size(), op);
}

ExpressionRef ParserState::Balanced(const std::vector<ExpressionRef>& terms, std::size_t from, std::size_t to,
                                    Operator op) const
{
    if (to - from == 1) return terms[from];
    const std::size_t middle = from + (to - from + 1) / 2;
    return OperatorNode(op, Balanced(terms, from, middle, op), Balanced(terms, middle, to, op));
}

/// What stands before an operand; in a validation rule a comparison may begin here, with the field left out.
ExpressionRef ParserState::Prefix(int lowest)
{
    const std::size_t from = Peek().extent.from;
    if (Peek().IsWord(u"NOT") && lowest <= notLevel) {
        const Nested nested(*this);
        Take();
        ExpressionRef operand = Binary(notLevel);
        auto node = Node(Expression::Kind::Unary, from, {std::move(operand)});
        node->op = Operator::Not;
        return node;
    }
    if (ruleField_ && lowest <= comparisonLevel && BeginsPredicate(Peek())) return Predicate(ImpliedField());
    if (Peek().Is(u"-") || Peek().Is(u"+")) {
        const Nested nested(*this);
        const bool negative = Take().Is(u"-");
        ExpressionRef operand = Binary(signLevel);
        const bool number = operand->kind == Expression::Kind::Literal && operand->literalType <= ValueType::Double &&
                            (operand->value.Holds<std::int32_t>() || operand->value.Holds<double>());
        auto node = Node(number ? Expression::Kind::Literal : Expression::Kind::Unary, from);
        if (number) {
            node->literalType = operand->literalType;
            node->value = operand->value;
            if (negative && node->value.Holds<std::int32_t>())
                node->value = -node->value.As<std::int32_t>();
            else if (negative)
                node->value = -node->value.As<double>();
            return ruleField_ && lowest <= comparisonLevel ? LonePredicate(node) : node;
        }
        node->op = negative ? Operator::Negate : Operator::Plus;
        node->depth = operand->depth + 1;
        node->operands.push_back(std::move(operand));
        return node;
    }
    ExpressionRef operand = Operand();
    return ruleField_ && lowest <= comparisonLevel ? LonePredicate(std::move(operand)) : operand;
}

/// In a validation rule a value that no operator follows is compared with the field.
ExpressionRef ParserState::LonePredicate(ExpressionRef value)
{
    const Token& next = Peek();
    const bool alone = AtEnd() || next.Is(u")") || next.IsWord(u"AND") || next.IsWord(u"OR");
    if (!alone || MentionsField(*value)) return value;
    auto node = Node(Expression::Kind::Binary, value->extent.from, {ImpliedField(), value});
    node->op = Operator::Equal;
    return node;
}

ExpressionRef ParserState::ImpliedField() const
{
    auto node = Node(Expression::Kind::Name, Peek().extent.from);
    node->name = *ruleField_;
    node->bracketed = true;
    return node;
}

/// Comparisons behind an operand, from left to right: a = b = c compares the first result with c.
ExpressionRef ParserState::Predicate(ExpressionRef left)
{
    for (;;) {
        const bool negated =
            Peek().IsWord(u"NOT") && (Peek(1).IsWord(u"LIKE") || Peek(1).IsWord(u"BETWEEN") || Peek(1).IsWord(u"IN"));
        const Token& token = Peek(negated ? 1 : 0);
        if (!BeginsPredicate(token)) return left;
        // IN 'path' belongs to the clause, IN (list) to the expression.
        if (token.IsWord(u"IN") && !Peek(negated ? 2 : 1).Is(u"(")) return left;
        if (negated) Take();
        const Operation* operation = OperationOf(token);
        const bool between = token.IsWord(u"BETWEEN"), in = token.IsWord(u"IN");
        Take();
        if (between) {
            left = Between(std::move(left), negated);
        } else if (in) {
            left = In(std::move(left), negated);
        } else if (operation == nullptr) {
            left = Is(std::move(left));
        } else if (operation->op == Operator::Like) {
            left = OperatorNode(negated ? Operator::NotLike : Operator::Like, std::move(left), Binary(joinLevel));
        } else {
            left = Quantified(std::move(left), operation->op);
        }
    }
}

ExpressionRef ParserState::Between(ExpressionRef left, bool negated)
{
    ExpressionRef low = Binary(joinLevel);
    if (!TakeWord(u"AND")) throw ExpressionFailure(reason::missingOperator);
    ExpressionRef high = Binary(joinLevel);
    const std::size_t from = left->extent.from;
    auto node = Node(Expression::Kind::Between, from, {std::move(left), std::move(low), std::move(high)});
    node->negated = negated;
    return node;
}

ExpressionRef ParserState::In(ExpressionRef left, bool negated)
{
    const std::size_t from = left->extent.from;
    if (!Take(u"(")) throw ExpressionFailure(reason::syntax);
    if (AtSelect()) {
        SelectRef select = Subquery();
        auto node = Node(Expression::Kind::InSelect, from, {std::move(left)});
        node->negated = negated;
        node->select = std::move(select);
        return node;
    }
    std::vector<ExpressionRef> operands{std::move(left)};
    std::optional<Text> rule = std::exchange(ruleField_, std::nullopt);
    ++openBrackets_;
    do {
        operands.push_back(Binary(1));
    } while (Take(u","));
    --openBrackets_;
    ruleField_ = std::move(rule);
    if (!Take(u")")) throw ExpressionFailure(reason::missingBracket);
    auto node = Node(Expression::Kind::InList, from, std::move(operands));
    node->negated = negated;
    return node;
}

ExpressionRef ParserState::Is(ExpressionRef left)
{
    const bool negated = TakeWord(u"NOT");
    const std::size_t at = Peek().extent.from;
    if (!TakeWord(u"NULL")) throw ExpressionFailure(reason::syntax);
    return OperatorNode(negated ? Operator::IsNot : Operator::Is, std::move(left), Node(Expression::Kind::Literal, at));
}

/// The right side of a comparison: an operand, or Any, Some or All with a subquery.
ExpressionRef ParserState::Quantified(ExpressionRef left, Operator op)
{
    const bool all = Peek().IsWord(u"ALL");
    const bool any = Peek().IsWord(u"ANY") || Peek().IsWord(u"SOME");
    if (!(all || any) || !Peek(1).Is(u"(") || !Peek(2).IsWord(u"SELECT")) {
        return OperatorNode(op, std::move(left), Binary(joinLevel));
    }
    Take();
    Take();
    SelectRef select = Subquery();
    const std::size_t from = left->extent.from;
    auto node = Node(Expression::Kind::Quantified, from, {std::move(left)});
    node->op = op;
    node->all = all;
    node->select = std::move(select);
    return node;
}

}  // namespace vmlib::sql
