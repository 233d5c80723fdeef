// SELECT, UNION, TRANSFORM and the PARAMETERS before them.

#include "sql/ParserState.h"
#include "sql/TypeNames.h"

namespace vmlib::sql {

/// PARAMETERS name type [(size)], ... ;
std::vector<ParameterDeclaration> ParserState::Parameters()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInParameters;
    std::vector<ParameterDeclaration> parameters;
    if (!TakeWord(u"PARAMETERS")) return parameters;
    do {
        ParameterDeclaration parameter;
        const std::size_t from = Peek().extent.from;
        FieldName(clause);
        parameter.name = text_.substr(from, LastEnd() - from);
        bool autoNumber = false;
        parameter.type = TypeName(clause, autoNumber);
        TypeSize(clause);  // kept by no file of this format
        parameters.push_back(std::move(parameter));
    } while (Take(u","));
    Expect(u";", clause);
    return parameters;
}

/// One SELECT, or several joined by UNION [ALL].
SelectStatement ParserState::SelectOrUnion()
{
    const std::size_t from = Peek().extent.from;
    SelectStatement first = SelectPart();
    if (!Peek().IsWord(u"UNION")) return first;

    SelectStatement whole;
    const auto add = [&](SelectStatement part, std::size_t start) {
        SelectStatement::Part& added = whole.unions.emplace_back();
        added.extent = {start, LastEnd()};
        added.select = std::make_shared<SelectStatement>(std::move(part));
    };
    add(std::move(first), from);
    while (Peek().IsWord(u"UNION")) {
        const std::size_t unionAt = Take().extent.from;
        const bool all = TakeWord(u"ALL");
        const std::size_t start = Peek().extent.from;
        SelectStatement part = SelectPart();
        // The last ORDER BY is the whole's; in front of a further UNION it orders its part, which matters with TOP
        // only.
        if (!Peek().IsWord(u"UNION") && !part.orderBy.empty()) {
            whole.orderBy = std::move(part.orderBy);
            part.orderBy.clear();
        }
        if (part.ownerAccess) whole.ownerAccess = true;
        add(std::move(part), start);
        if (!whole.orderBy.empty()) whole.unions.back().extent.to = whole.unions.back().select->clausesEnd;
        whole.unions.back().all = all;
        whole.unions.back().unionAt = unionAt;
    }
    return whole;
}

SelectStatement ParserState::SelectPart()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInSelect;
    if (Peek().Is(u"(")) {
        const Nested nested(*this);
        Take();
        ++openBrackets_;
        SelectStatement inner = SelectOrUnion();
        --openBrackets_;
        Expect(u")", clause);
        inner.clausesEnd = LastEnd();
        return inner;
    }
    if (Peek().IsWord(u"TABLE")) return TablePart();
    ExpectWord(u"SELECT", clause);
    SelectStatement select;
    Predicates(select);
    select.columns = Columns(clause);
    if (TakeWord(u"INTO")) {
        select.into = Name(clause);
        if (const auto place = InPlace(clause)) select.intoPlace = *place;
    }
    Clauses(select);
    return select;
}

/// TABLE name, a part of a UNION.
SelectStatement ParserState::TablePart()
{
    SelectStatement select;
    Take();
    auto star = std::make_shared<Expression>();
    star->kind = Expression::Kind::Star;
    star->extent = Peek().extent;
    select.columns.push_back({star, {}});
    select.from.push_back(PlainSource());
    select.clausesEnd = LastEnd();
    if (TakeWord(u"ORDER")) select.orderBy = OrderItems();
    return select;
}

/// ALL, DISTINCT or DISTINCTROW, then TOP n [PERCENT]. A word that could as well be a field (Top, All) is one where its
/// clause does not follow.
void ParserState::Predicates(SelectStatement& select)
{
    if (TakeWord(u"DISTINCT"))
        select.distinct = true;
    else if (TakeWord(u"DISTINCTROW"))
        select.distinctRow = true;
    else if (Peek().IsWord(u"ALL") && !Peek(1).Is(u",") && !Peek(1).IsWord(u"FROM") && !Peek(1).IsWord(u"AS"))
        Take();

    if (Peek().IsWord(u"TOP") && Peek(1).kind == Token::Kind::Number) {
        Take();
        const Variant count = Take().value;
        if (!count.Holds<std::int32_t>() || count.As<std::int32_t>() < 1) throw Failure(ErrorNumber::SyntaxInSelect);
        select.top = count.As<std::int32_t>();
        if (Peek().IsWord(u"PERCENT") && !Peek(1).Is(u",") && !Peek(1).IsWord(u"FROM")) {
            Take();
            select.topPercent = true;
            if (*select.top > 100) throw Failure(ErrorNumber::SyntaxInSelect);
        }
    }
}

std::vector<SelectColumn> ParserState::Columns(ErrorNumber clause)
{
    std::vector<SelectColumn> columns;
    do {
        SelectColumn column;
        if (Peek().Is(u"*")) {
            Take();
            auto star = std::make_shared<Expression>();
            star->kind = Expression::Kind::Star;
            star->extent = {LastEnd() - 1, LastEnd()};
            column.expression = star;
        } else {
            column.expression = FullExpression(clause);
        }
        if (TakeWord(u"AS")) column.alias = Name(clause);
        columns.push_back(std::move(column));
    } while (Take(u","));
    return columns;
}

void ParserState::Clauses(SelectStatement& select)
{
    if (TakeWord(u"FROM")) {
        select.from = Sources();
        if (const auto place = InPlace(ErrorNumber::SyntaxInFrom)) select.place = *place;
    }
    if (TakeWord(u"WHERE")) select.where = FullExpression(ErrorNumber::SyntaxInWhere);
    if (TakeWord(u"GROUP")) {
        ExpectWord(u"BY", ErrorNumber::SyntaxInGroupBy);
        do {
            select.groupBy.push_back(FullExpression(ErrorNumber::SyntaxInGroupBy));
        } while (Take(u","));
    }
    if (TakeWord(u"HAVING")) select.having = FullExpression(ErrorNumber::SyntaxInHaving);
    select.clausesEnd = LastEnd();
    if (TakeWord(u"ORDER")) select.orderBy = OrderItems();
    OwnerAccess(select);
}

/// BY item [ASC | DESC], ...; the list alone for Recordset.Sort.
std::vector<OrderItem> ParserState::OrderItems()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInOrderBy;
    if (at_ > 0) ExpectWord(u"BY", clause);
    std::vector<OrderItem> items;
    do {
        OrderItem item;
        item.expression = FullExpression(clause);
        if (TakeWord(u"DESC"))
            item.descending = true;
        else
            TakeWord(u"ASC");
        items.push_back(std::move(item));
    } while (Take(u","));
    return items;
}

void ParserState::OwnerAccess(SelectStatement& select)
{
    if (!Peek().IsWord(u"WITH")) return;
    Take();
    ExpectWord(u"OWNERACCESS", ErrorNumber::SyntaxInSelect);
    ExpectWord(u"OPTION", ErrorNumber::SyntaxInSelect);
    select.ownerAccess = true;
}

/// TRANSFORM value SELECT ... PIVOT expression [IN (list)].
SelectStatement ParserState::Crosstab()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInTransform;
    Take();
    ExpressionRef transform = FullExpression(clause);
    Text alias;
    if (TakeWord(u"AS")) alias = Name(clause);
    if (!AtSelect()) throw Failure(clause);
    SelectStatement select = SelectPart();
    const bool plain = select.unions.empty() && !select.into && !select.distinct && !select.top && !select.having;
    if (!plain || select.groupBy.empty()) throw Failure(clause);
    select.transform = std::move(transform);
    select.transformAlias = std::move(alias);
    ExpectWord(u"PIVOT", clause);
    const std::size_t from = Peek().extent.from;
    // IN would read as an operator of the expression, so the list arrives as one.
    ExpressionRef pivot = FullExpression(clause);
    if (pivot->kind == Expression::Kind::InSelect) throw Failure(clause);
    if (pivot->kind == Expression::Kind::InList && !pivot->negated) {
        select.pivot = pivot->operands[0];
        select.pivotValues.assign(pivot->operands.begin() + 1, pivot->operands.end());
    } else {
        select.pivot = pivot;
    }
    select.pivotExtent = {from, LastEnd()};
    OwnerAccess(select);
    return select;
}

}  // namespace vmlib::sql
