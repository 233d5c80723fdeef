// INSERT, UPDATE and DELETE.

#include "sql/ParserState.h"

namespace vmlib::sql {

InsertStatement ParserState::Insert()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInInsert;
    InsertStatement insert;
    Take();
    ExpectWord(u"INTO", clause);
    insert.table = Name(clause);
    if (const auto place = InPlace(clause)) insert.place = *place;
    if (Peek().Is(u"(") && !Peek(1).IsWord(u"SELECT")) insert.fields = NameList(clause);
    if (const auto place = InPlace(clause)) insert.place = *place;

    if (TakeWord(u"VALUES")) {
        Expect(u"(", clause);
        ++openBrackets_;
        do {
            insert.values.push_back(FullExpression(clause));
        } while (Take(u","));
        --openBrackets_;
        if (!Take(u")")) throw Failure(clause);
        return insert;
    }
    if (!AtSelect() && !Peek().Is(u"(") && !Peek().IsWord(u"TABLE")) throw Failure(clause);
    SelectStatement select = SelectOrUnion();
    if (select.into) throw Failure(clause);
    select.text = text_;
    insert.select = std::make_shared<SelectStatement>(std::move(select));
    return insert;
}

UpdateStatement ParserState::Update()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInUpdate;
    UpdateStatement update;
    Take();
    TakeWord(u"DISTINCTROW");
    update.sources = Sources();
    if (const auto place = InPlace(clause)) update.place = *place;
    ExpectWord(u"SET", clause);
    do {
        UpdateStatement::Assignment assignment;
        const std::size_t from = Peek().extent.from;
        assignment.field = Name(clause);
        while (Take(u".") || Take(u"!")) {
            assignment.qualifier = std::move(assignment.field);
            assignment.field = Name(clause);
        }
        assignment.fieldExtent = {from, LastEnd()};
        Expect(u"=", clause);
        assignment.value = FullExpression(clause);
        update.assignments.push_back(std::move(assignment));
    } while (Take(u","));
    if (TakeWord(u"WHERE")) update.where = FullExpression(ErrorNumber::SyntaxInWhere);
    return update;
}

DeleteStatement ParserState::Delete()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInDelete;
    DeleteStatement statement;
    Take();
    statement.distinctRow = TakeWord(u"DISTINCTROW");
    if (!Peek().IsWord(u"FROM")) statement.columns = Columns(clause);
    for (const SelectColumn& column : statement.columns) {
        if (column.expression->kind == Expression::Kind::Star && !column.expression->qualifier.empty()) {
            statement.table = column.expression->qualifier;
        }
    }
    ExpectWord(u"FROM", clause);
    statement.from = Sources();
    if (const auto place = InPlace(clause)) statement.place = *place;
    if (TakeWord(u"WHERE")) statement.where = FullExpression(ErrorNumber::SyntaxInWhere);
    return statement;
}

}  // namespace vmlib::sql
