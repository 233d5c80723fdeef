#include "sql/Parser.h"

#include "sql/ParserState.h"

namespace vmlib::sql {

const Token& ParserState::Take()
{
    const Token& token = Peek();
    if (at_ + 1 < tokens_.size()) ++at_;
    return token;
}

bool ParserState::Take(TextView symbol)
{
    if (!Peek().Is(symbol)) return false;
    Take();
    return true;
}

bool ParserState::TakeWord(TextView word)
{
    if (!Peek().IsWord(word)) return false;
    Take();
    return true;
}

void ParserState::Expect(TextView symbol, ErrorNumber clause)
{
    if (!Take(symbol)) throw Failure(clause);
}

void ParserState::ExpectWord(TextView word, ErrorNumber clause)
{
    if (!TakeWord(word)) throw Failure(clause);
}

Text ParserState::Name(ErrorNumber clause)
{
    const Token& token = Peek();
    const bool bare = token.kind == Token::Kind::Word && !IsReserved(token);
    if (!bare && token.kind != Token::Kind::Bracketed) throw Failure(clause);
    return Take().text;
}

Text ParserState::FieldName(ErrorNumber clause)
{
    Text name = Name(clause);
    while (Take(u".") || Take(u"!")) name = Name(clause);
    return name;
}

std::vector<Text> ParserState::NameList(ErrorNumber clause)
{
    std::vector<Text> names;
    Expect(u"(", clause);
    do {
        names.push_back(FieldName(clause));
    } while (Take(u","));
    Expect(u")", clause);
    return names;
}

void ParserState::Finish()
{
    const bool ended = Take(u";");
    if (Peek().kind == Token::Kind::End) return;
    if (Peek().Is(u")")) {
        throw ExpressionError(reason::extraBracket, text_, {expressionStart_, Peek().extent.to}, Peek().extent.from);
    }
    throw Failure(ended ? ErrorNumber::CharactersAfterEnd : ErrorNumber::MissingSemicolon);
}

Statement ParserState::WholeStatement()
{
    const std::vector<ParameterDeclaration> parameters = Parameters();
    const auto completed = [&](auto statement) -> Statement {
        statement.parameters = parameters;
        statement.text = text_;
        Finish();
        return statement;
    };
    const auto defined = [&](auto statement) -> Statement {
        Finish();
        return statement;
    };
    const Token& first = Peek();
    if (first.IsWord(u"SELECT") || first.Is(u"(")) return completed(SelectOrUnion());
    if (first.IsWord(u"TABLE")) return completed(SelectOrUnion());
    if (first.IsWord(u"TRANSFORM")) return completed(Crosstab());
    if (first.IsWord(u"INSERT")) return completed(Insert());
    if (first.IsWord(u"UPDATE")) return completed(Update());
    if (first.IsWord(u"DELETE")) return completed(Delete());
    if (parameters.empty()) {
        if (first.IsWord(u"CREATE")) return defined(Create());
        if (first.IsWord(u"ALTER")) return defined(AlterTable());
        if (first.IsWord(u"DROP")) return defined(Drop());
    }
    throw Failure(ErrorNumber::InvalidStatement);
}

Statement Parse(TextView sql)
{
    return ParserState(sql).WholeStatement();
}

SelectStatement ParseSelect(TextView sql)
{
    Statement statement = Parse(sql);
    if (auto* select = std::get_if<SelectStatement>(&statement)) return std::move(*select);
    throw Error(ErrorNumber::InvalidOperation);
}

ExpressionRef ParseExpression(TextView text)
{
    return ParserState(text).WholeExpression();
}

ExpressionRef ParseFieldRule(TextView text, TextView field)
{
    return ParserState(text).WholeRule(field);
}

std::vector<OrderItem> ParseOrder(TextView text)
{
    return ParserState(text).WholeOrder();
}

}  // namespace vmlib::sql
