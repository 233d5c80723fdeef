// Operands of expressions: literals, names, calls, what stands in parentheses.

#include <array>
#include <utility>

#include "sql/ParserState.h"

namespace vmlib::sql {
namespace {

// Words that never stand for a field unless in brackets.
constexpr std::array<TextView, 36> reservedWords = {
    u"ALTER", u"AND",    u"AS",   u"BETWEEN", u"BY",     u"CREATE", u"DELETE", u"DISTINCT", u"DISTINCTROW",
    u"DROP",  u"EQV",    u"FROM", u"GROUP",   u"HAVING", u"IMP",    u"IN",     u"INNER",    u"INSERT",
    u"INTO",  u"IS",     u"JOIN", u"LEFT",    u"LIKE",   u"MOD",    u"NOT",    u"OR",       u"ORDER",
    u"RIGHT", u"SELECT", u"SET",  u"TABLE",   u"UNION",  u"UPDATE", u"WHERE",  u"XOR",      u"TRANSFORM"};

}  // namespace

bool ParserState::IsReserved(const Token& token)
{
    return std::any_of(reservedWords.begin(), reservedWords.end(), [&](TextView word) { return token.IsWord(word); });
}

ExpressionRef ParserState::Operand()
{
    const Token& token = Peek();
    switch (token.kind) {
        case Token::Kind::String:
        case Token::Kind::Number:
        case Token::Kind::Date:
        case Token::Kind::Guid:
            return LiteralOf(Take());
        case Token::Kind::Bracketed:
            return NameOrFunction();
        case Token::Kind::Word:
            if (token.IsWord(u"EXISTS") && Peek(1).Is(u"(")) return Existence();
            if (Peek(1).Is(u"(")) {
                const bool function = token.IsWord(u"LEFT") || token.IsWord(u"RIGHT") || !IsReserved(token);
                if (function) return Function();
            }
            if (IsReserved(token)) throw ExpressionFailure(reason::missingOperator);
            return NameOrFunction();
        default:
            break;
    }
    if (token.Is(u"(")) return Parenthesised();
    throw ExpressionFailure(token.kind == Token::Kind::End || token.Is(u")") ? reason::missingOperator
                                                                             : reason::syntax);
}

ExpressionRef ParserState::LiteralOf(const Token& token)
{
    auto node = Node(Expression::Kind::Literal, token.extent.from);
    node->value = token.value;
    switch (token.kind) {
        case Token::Kind::String:
            node->literalType = ValueType::Text;
            break;
        case Token::Kind::Date:
            node->literalType = ValueType::Date;
            break;
        case Token::Kind::Guid:
            node->literalType = ValueType::Guid;
            break;
        default:
            node->literalType = token.value.Holds<std::int32_t>() ? ValueType::Long : ValueType::Double;
            break;
    }
    return node;
}

ExpressionRef ParserState::Parenthesised()
{
    const std::size_t from = Take().extent.from;
    if (AtSelect()) {
        SelectRef select = Subquery();
        auto node = Node(Expression::Kind::Scalar, from);
        node->select = std::move(select);
        return node;
    }
    const Nested nested(*this);
    ++openBrackets_;
    const ExpressionRef inside = Binary(1);
    --openBrackets_;
    if (!Take(u")")) {
        throw ExpressionFailure(EndsExpression(Peek()) ? reason::missingBracket : reason::missingOperator);
    }
    auto node = std::make_shared<Expression>(*inside);
    node->extent = {from, LastEnd()};
    return node;
}

ExpressionRef ParserState::NameOrFunction()
{
    const std::size_t from = Peek().extent.from;
    const bool bare = Peek().kind == Token::Kind::Word;
    std::vector<Text> pieces{Take().text};
    bool bracketed = !bare;
    while (Peek().Is(u".") || Peek().Is(u"!")) {
        Take();
        if (Take(u"*")) {
            auto node = Node(Expression::Kind::Star, from);
            node->qualifier = pieces.back();
            return node;
        }
        const Token& piece = Peek();
        bracketed = piece.kind == Token::Kind::Bracketed;
        if (piece.kind != Token::Kind::Word && !bracketed) throw ExpressionFailure(reason::syntax);
        pieces.push_back(Take().text);
    }
    const bool constant = bare && pieces.size() == 1;
    if (constant && (EqualIgnoringCase(pieces[0], u"TRUE") || EqualIgnoringCase(pieces[0], u"FALSE"))) {
        auto node = Node(Expression::Kind::Literal, from);
        node->literalType = ValueType::Boolean;
        node->value = EqualIgnoringCase(pieces[0], u"TRUE");
        return node;
    }
    if (constant && EqualIgnoringCase(pieces[0], u"NULL")) {
        auto node = Node(Expression::Kind::Literal, from);
        node->value = vmlib::Null{};
        return node;
    }
    auto node = Node(Expression::Kind::Name, from);
    node->name = std::move(pieces.back());
    node->bracketed = bracketed;
    for (std::size_t i = 0; i + 1 < pieces.size(); ++i) {
        if (i > 0) node->qualifier += u'!';
        node->qualifier += pieces[i];
    }
    return node;
}

ExpressionRef ParserState::Function()
{
    const Nested nested(*this);
    const Token name = Take();
    const std::size_t open = Take().extent.from;
    std::vector<ExpressionRef> arguments;
    ++openBrackets_;
    if (Peek().Is(u"*") && Peek(1).Is(u")")) {
        Take();
        arguments.push_back(Node(Expression::Kind::Star, open + 1));
    } else if (!Peek().Is(u")")) {
        // In a validation rule the field is never left out inside a call.
        std::optional<Text> rule = std::exchange(ruleField_, std::nullopt);
        do {
            if (arguments.size() == maxArguments) throw Error(ErrorNumber::QueryTooComplex);
            arguments.push_back(Binary(1));
        } while (Take(u","));
        ruleField_ = std::move(rule);
    }
    --openBrackets_;
    if (!Take(u")")) {
        throw ExpressionFailure(EndsExpression(Peek()) ? reason::missingBracket : reason::missingOperator);
    }
    auto node = Node(Expression::Kind::Function, name.extent.from, std::move(arguments));
    node->name = name.text;
    return node;
}

ExpressionRef ParserState::Existence()
{
    const std::size_t from = Take().extent.from;
    Take();
    if (!AtSelect()) throw ExpressionFailure(reason::syntax);
    SelectRef select = Subquery();
    auto node = Node(Expression::Kind::Exists, from);
    node->select = std::move(select);
    return node;
}

SelectRef ParserState::Subquery()
{
    const Nested nested(*this);
    ++openBrackets_;
    const std::size_t from = Peek().extent.from;
    auto select = std::make_shared<SelectStatement>(SelectOrUnion());
    if (!select->unions.empty()) throw Error(ErrorNumber::UnionInSubquery);
    --openBrackets_;
    if (!Take(u")")) throw ExpressionError(reason::missingBracket, text_, {from, text_.size()}, Peek().extent.from);
    return select;
}

}  // namespace vmlib::sql
