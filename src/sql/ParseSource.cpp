// FROM: tables, joins in parentheses, subqueries, and the IN clause that names another database.

#include <algorithm>
#include <array>

#include "sql/Parser.h"
#include "sql/ParserState.h"

namespace vmlib::sql {
namespace {

// Words that follow a source and therefore are no alias of it.
constexpr std::array<TextView, 18> afterSource = {u"INNER",  u"LEFT",   u"RIGHT",     u"JOIN",  u"ON",   u"WHERE",
                                                  u"GROUP",  u"HAVING", u"ORDER",     u"UNION", u"IN",   u"SET",
                                                  u"SELECT", u"VALUES", u"TRANSFORM", u"PIVOT", u"WITH", u"OUTER"};

}  // namespace

std::vector<Source> ParserState::Sources()
{
    std::vector<Source> sources;
    do {
        sources.push_back(JoinedSource());
    } while (Take(u","));
    return sources;
}

/// One source, or a join of two; each further join wants parentheses around the one before.
Source ParserState::JoinedSource()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInJoin;
    const std::size_t from = Peek().extent.from;
    Source left = PlainSource();
    Source::Join kind = Source::Join::Inner;
    if (TakeWord(u"LEFT"))
        kind = Source::Join::Left;
    else if (TakeWord(u"RIGHT"))
        kind = Source::Join::Right;
    else if (!TakeWord(u"INNER")) {
        if (Peek().IsWord(u"JOIN")) throw Failure(ErrorNumber::SyntaxInFrom);
        return left;
    }
    if (kind != Source::Join::Inner) TakeWord(u"OUTER");
    ExpectWord(u"JOIN", clause);

    Source join;
    join.kind = Source::Kind::Join;
    join.join = kind;
    join.left = std::make_shared<Source>(std::move(left));
    join.right = std::make_shared<Source>(PlainSource());
    ExpectWord(u"ON", clause);
    join.on = FullExpression(clause);
    if (Peek().IsWord(u"INNER") || Peek().IsWord(u"LEFT") || Peek().IsWord(u"RIGHT")) {
        throw ExpressionError(reason::missingOperator, text_, {join.on->extent.from, text_.size()}, Peek().extent.from);
    }
    join.extent = {from, LastEnd()};
    return join;
}

Source ParserState::PlainSource()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInFrom;
    const std::size_t from = Peek().extent.from;
    Source source;
    if (Peek().Is(u"(")) {
        const Nested nested(*this);
        Take();
        ++openBrackets_;
        if (AtSelect()) {
            source.kind = Source::Kind::Select;
            source.select = std::make_shared<SelectStatement>(SelectOrUnion());
        } else {
            source = JoinedSource();
        }
        --openBrackets_;
        Expect(u")", clause);
        if (source.kind == Source::Kind::Select) source.alias = SourceAlias();
        source.extent = {from, LastEnd()};
        return source;
    }
    if (Peek().kind == Token::Kind::Bracketed && StartsWithIgnoringCase(TrimLeft(Peek().text), u"SELECT ") &&
        Peek(1).Is(u".")) {
        return BracketedSelect();
    }
    if (AtSelect()) throw Failure(clause);
    source.name = Name(clause);
    source.alias = SourceAlias();
    source.extent = {from, LastEnd()};
    return source;
}

/// [SELECT ...]. AS alias, the older way to write a subquery in FROM.
Source ParserState::BracketedSelect()
{
    const Nested nested(*this);
    Source source;
    source.kind = Source::Kind::Select;
    source.extent.from = Peek().extent.from;
    source.select = std::make_shared<SelectStatement>(ParseSelect(Take().text));
    Take();
    source.alias = SourceAlias();
    source.extent.to = LastEnd();
    return source;
}

Text ParserState::SourceAlias()
{
    if (TakeWord(u"AS")) return Name(ErrorNumber::SyntaxInFrom);
    const Token& token = Peek();
    if (token.kind == Token::Kind::Bracketed) return Take().text;
    const bool word =
        token.kind == Token::Kind::Word &&
        std::none_of(afterSource.begin(), afterSource.end(), [&](TextView after) { return token.IsWord(after); });
    return word ? Take().text : Text();
}

/// IN 'path', IN 'path' [connect], IN '' [connect]; the connect text may be a string as well. A DATABASE= in it names
/// the file when the path is empty.
std::optional<Place> ParserState::InPlace(ErrorNumber clause)
{
    if (!TakeWord(u"IN")) return std::nullopt;
    if (Peek().kind != Token::Kind::String) throw Failure(clause);
    Place place;
    place.path = Take().value.As<Text>();
    if (Peek().kind == Token::Kind::Bracketed)
        place.connect = Take().text;
    else if (Peek().kind == Token::Kind::String)
        place.connect = Take().value.As<Text>();
    if (!place.path.empty()) return place;

    TextView rest = place.connect;
    while (!rest.empty()) {
        const TextView item = rest.substr(0, rest.find(u';'));
        rest.remove_prefix(std::min(rest.size(), item.size() + 1));
        if (StartsWithIgnoringCase(TrimLeft(item), u"DATABASE=")) place.path = Trim(TrimLeft(item).substr(9));
    }
    return place;
}

}  // namespace vmlib::sql
