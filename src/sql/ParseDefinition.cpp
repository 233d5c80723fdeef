// CREATE TABLE, CREATE INDEX, ALTER TABLE, DROP.

#include "sql/ParserState.h"
#include "sql/TypeNames.h"

namespace vmlib::sql {

Statement ParserState::Create()
{
    Take();
    if (TakeWord(u"TABLE")) return CreateTable();
    const bool unique = TakeWord(u"UNIQUE");
    if (TakeWord(u"INDEX")) return CreateIndex(unique);
    throw Failure(unique ? ErrorNumber::SyntaxInCreateIndex : ErrorNumber::SyntaxInCreateTable);
}

CreateTableStatement ParserState::CreateTable()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInCreateTable;
    CreateTableStatement create;
    create.table = Name(clause);
    Expect(u"(", clause);
    do {
        const bool constraint = Peek().IsWord(u"CONSTRAINT") || (Peek().IsWord(u"PRIMARY") && Peek(1).IsWord(u"KEY")) ||
                                (Peek().IsWord(u"UNIQUE") && Peek(1).Is(u"("));
        if (constraint)
            create.constraints.push_back(Constraint(clause));
        else
            create.columns.push_back(Column(create.constraints));
    } while (Take(u","));
    Expect(u")", clause);
    return create;
}

/// name type [(size)] [NOT NULL] [[CONSTRAINT name] PRIMARY KEY | UNIQUE | REFERENCES table [(field)]].
/// Constraints are added to those of the table.
ColumnSpecification ParserState::Column(std::vector<ConstraintSpecification>& constraints)
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInFieldDefinition;
    ColumnSpecification column;
    column.name = Name(clause);
    column.type = TypeName(clause, column.autoNumber);
    column.size = TypeSize(clause);
    const bool takesSize = column.type == ValueType::Text || column.type == ValueType::Binary;
    if (!takesSize) column.size.reset();
    for (;;) {
        if (Peek().IsWord(u"NOT") && Peek(1).IsWord(u"NULL")) {
            Take();
            Take();
            column.notNull = true;
        } else if (Peek().IsWord(u"NULL")) {
            Take();
        } else if (Peek().kind == Token::Kind::Word) {
            constraints.push_back(ColumnConstraint(column));
        } else {
            return column;
        }
    }
}

ConstraintSpecification ParserState::ColumnConstraint(const ColumnSpecification& column)
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInFieldDefinition;
    ConstraintSpecification constraint;
    constraint.fields.push_back(column.name);
    if (TakeWord(u"CONSTRAINT")) constraint.name = Name(clause);
    if (TakeWord(u"PRIMARY")) {
        ExpectWord(u"KEY", clause);
    } else if (TakeWord(u"UNIQUE")) {
        constraint.kind = ConstraintSpecification::Kind::Unique;
    } else {
        References(constraint, clause);
    }
    return constraint;
}

/// [CONSTRAINT name] PRIMARY KEY (fields) | UNIQUE (fields) | FOREIGN KEY (fields) REFERENCES table [(fields)].
ConstraintSpecification ParserState::Constraint(ErrorNumber clause)
{
    ConstraintSpecification constraint;
    if (TakeWord(u"CONSTRAINT")) constraint.name = Name(clause);
    if (TakeWord(u"PRIMARY")) {
        ExpectWord(u"KEY", clause);
        constraint.fields = NameList(clause);
    } else if (TakeWord(u"UNIQUE")) {
        constraint.kind = ConstraintSpecification::Kind::Unique;
        constraint.fields = NameList(clause);
    } else {
        ExpectWord(u"FOREIGN", clause);
        ExpectWord(u"KEY", clause);
        constraint.fields = NameList(clause);
        References(constraint, clause);
    }
    return constraint;
}

void ParserState::References(ConstraintSpecification& constraint, ErrorNumber clause)
{
    ExpectWord(u"REFERENCES", clause);
    constraint.kind = ConstraintSpecification::Kind::ForeignKey;
    constraint.foreignTable = Name(clause);
    if (Peek().Is(u"(")) constraint.foreignFields = NameList(clause);
}

ValueType ParserState::TypeName(ErrorNumber clause, bool& autoNumber)
{
    const auto type = Peek().kind == Token::Kind::Word ? TypeNamed(Peek().text) : std::nullopt;
    if (!type) throw Failure(clause);
    const Token name = Take();
    autoNumber = type->autoNumber;
    // DOUBLE PRECISION and CHARACTER VARYING are one type each.
    if (name.IsWord(u"DOUBLE")) TakeWord(u"PRECISION");
    if (name.IsWord(u"CHARACTER") || name.IsWord(u"CHAR")) TakeWord(u"VARYING");
    return type->type;
}

/// (size); a second number, as decimals have it, is read over.
std::optional<std::uint16_t> ParserState::TypeSize(ErrorNumber clause)
{
    if (!Take(u"(")) return std::nullopt;
    const Token size = Take();
    if (size.kind != Token::Kind::Number || !size.value.Holds<std::int32_t>()) throw Failure(clause);
    const std::int32_t count = size.value.As<std::int32_t>();
    if (count < 1 || count > 0xFFFF) throw Failure(clause);
    if (Take(u",") && Take().kind != Token::Kind::Number) throw Failure(clause);
    Expect(u")", clause);
    return static_cast<std::uint16_t>(count);
}

/// INDEX name ON table (field [ASC | DESC], ...) [WITH PRIMARY | DISALLOW NULL | IGNORE NULL].
CreateIndexStatement ParserState::CreateIndex(bool unique)
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInCreateIndex;
    CreateIndexStatement create;
    create.unique = unique;
    create.index = Name(clause);
    ExpectWord(u"ON", clause);
    create.table = Name(clause);
    Expect(u"(", clause);
    do {
        Text field = FieldName(clause);
        const bool descending = TakeWord(u"DESC");
        if (!descending) TakeWord(u"ASC");
        create.fields.emplace_back(std::move(field), descending);
    } while (Take(u","));
    Expect(u")", clause);
    if (!TakeWord(u"WITH")) return create;
    do {
        if (TakeWord(u"PRIMARY")) {
            create.primary = true;
        } else if (TakeWord(u"DISALLOW")) {
            ExpectWord(u"NULL", clause);
            create.disallowNull = true;
        } else if (TakeWord(u"IGNORE")) {
            ExpectWord(u"NULL", clause);
            create.ignoreNull = true;
        } else {
            throw Failure(clause);
        }
        Take(u",");
    } while (!AtEnd());
    return create;
}

/// TABLE name ADD [COLUMN] column | ADD constraint | DROP [COLUMN] name | DROP CONSTRAINT name.
AlterTableStatement ParserState::AlterTable()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInAlterTable;
    using Action = AlterTableStatement::Action;
    AlterTableStatement alter;
    Take();
    ExpectWord(u"TABLE", clause);
    alter.table = Name(clause);
    if (TakeWord(u"ADD")) {
        if (Peek().IsWord(u"CONSTRAINT") && !TypeNamed(Peek(1).text)) {
            alter.action = Action::AddConstraint;
            alter.constraint = Constraint(clause);
        } else {
            TakeWord(u"COLUMN");
            alter.column = Column(alter.columnConstraints);
        }
        return alter;
    }
    ExpectWord(u"DROP", clause);
    if (TakeWord(u"CONSTRAINT")) {
        alter.action = Action::DropConstraint;
    } else {
        TakeWord(u"COLUMN");
        alter.action = Action::DropColumn;
    }
    alter.name = Name(clause);
    return alter;
}

DropStatement ParserState::Drop()
{
    constexpr ErrorNumber clause = ErrorNumber::SyntaxInDrop;
    DropStatement drop;
    Take();
    if (TakeWord(u"INDEX")) {
        drop.index = true;
        drop.name = Name(clause);
        ExpectWord(u"ON", clause);
        drop.table = Name(clause);
        return drop;
    }
    ExpectWord(u"TABLE", clause);
    drop.name = Name(clause);
    return drop;
}

}  // namespace vmlib::sql
