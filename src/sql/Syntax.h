#pragma once

#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "automation/Variant.h"
#include "core/Text.h"
#include "sql/Schema.h"

/// The syntax tree of the Jet dialect. Trees are immutable once parsed and shared freely; their depth is bounded by the
/// parser, so walking them recursively is safe. Chains of And, Or and & come as balanced trees (they associate), so a
/// thousand terms are ten levels.
namespace vmlib::sql {

struct SelectStatement;
struct Expression;
using ExpressionRef = std::shared_ptr<const Expression>;
using SelectRef = std::shared_ptr<const SelectStatement>;

/// Stretch of the statement's text that a part was read from, for messages and for stored queries, which keep
/// expressions as typed.
struct Extent
{
    std::size_t from = 0, to = 0;
};

enum class Operator : std::uint8_t
{
    Add,
    Subtract,
    Multiply,
    Divide,
    IntegerDivide,
    Modulo,
    Power,
    Concatenate,
    Negate,
    Plus,
    Equal,
    NotEqual,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    And,
    Or,
    Not,
    Xor,
    Eqv,
    Imp,
    Like,
    NotLike,
    Is,
    IsNot,
};

struct Expression
{
    enum class Kind : std::uint8_t
    {
        Literal,     // value
        Name,        // qualifier (may be empty), name
        Star,        // qualifier.* or * (in Count(*) and column lists)
        Unary,       // op, operands[0]
        Binary,      // op, operands[0], operands[1]
        Between,     // operands[0..2], negated
        InList,      // operands[0] In (operands[1..]), negated
        InSelect,    // operands[0] In (select), negated
        Exists,      // select
        Scalar,      // (select)
        Quantified,  // operands[0] op Any/All (select)
        Function,    // name(operands); aggregates too
    };
    Kind kind = Kind::Literal;
    Extent extent;  // with the parentheses around it
    Variant value;  // Literal: Long, Double, Date, String, Boolean or Null; a GUID as text "{guid {...}}"
    ValueType literalType = ValueType::Value;  // Literal: its type; Value: the literal Null
    Text qualifier,
        name;  // without brackets; of a name in more than two pieces the qualifier is all but the last, joined by "!"
    bool bracketed = false;  // Name: the last piece stood in brackets, so it is no constant (Yes, No, On, Off)
    Operator op = Operator::Add;
    bool negated = false;
    bool all = false;  // Quantified: All, else Any
    std::vector<ExpressionRef> operands;
    SelectRef select;
    std::size_t depth = 1;  // levels of this tree, subqueries included
};

struct ParameterDeclaration
{
    Text name;  // as written, brackets included
    ValueType type = ValueType::Value;
};

struct Source
{
    enum class Kind : std::uint8_t
    {
        Table,   // name, alias
        Select,  // (select) AS alias
        Join,    // left, right, join, on
    };
    enum class Join : std::uint8_t
    {
        Inner = 1,
        Left = 2,
        Right = 3,
    };
    Kind kind = Kind::Table;
    Text name, alias;
    SelectRef select;
    Join join = Join::Inner;
    std::shared_ptr<const Source> left, right;
    ExpressionRef on;
    Extent extent;
};

struct SelectColumn
{
    ExpressionRef expression;
    Text alias;  // "" without AS
};

struct OrderItem
{
    ExpressionRef expression;
    bool descending = false;
};

struct SelectStatement
{
    std::vector<ParameterDeclaration> parameters;
    bool distinct = false, distinctRow = false, ownerAccess = false;
    std::optional<std::int32_t> top;
    bool topPercent = false;
    std::vector<SelectColumn> columns;
    std::optional<Text> into;  // make-table
    Place intoPlace;
    std::vector<Source> from;  // separated by commas
    Place place;               // FROM ... IN
    ExpressionRef where;
    std::vector<ExpressionRef> groupBy;
    ExpressionRef having;
    std::vector<OrderItem> orderBy;

    // UNION: this select's own clauses are empty, the parts stand here.
    struct Part
    {
        SelectRef select;
        bool all = false;         // UNION ALL before this part
        Extent extent;            // without ";" and the whole's ORDER BY
        std::size_t unionAt = 0;  // position of the word UNION before this part
    };
    std::vector<Part> unions;

    // Crosstab: TRANSFORM value ... PIVOT pivot [IN (list)].
    ExpressionRef transform, pivot;
    Text transformAlias;
    std::vector<ExpressionRef> pivotValues;
    std::size_t clausesEnd = 0;  // where ORDER BY begins, or the end
    Extent pivotExtent;          // the pivot expression with its IN list
    Text text;                   // the statement as given, which extents point into
};

struct InsertStatement
{
    std::vector<ParameterDeclaration> parameters;
    Text table;
    Place place;
    std::vector<Text> fields;           // empty: all, by name (SELECT) or order (VALUES)
    std::vector<ExpressionRef> values;  // VALUES form
    SelectRef select;                   // SELECT form
    Text text;
};

struct UpdateStatement
{
    std::vector<ParameterDeclaration> parameters;
    std::vector<Source> sources;
    Place place;
    struct Assignment
    {
        Text qualifier, field;
        ExpressionRef value;
        Extent fieldExtent;
    };
    std::vector<Assignment> assignments;
    ExpressionRef where;
    Text text;
};

struct DeleteStatement
{
    std::vector<ParameterDeclaration> parameters;
    std::optional<Text> table;  // t of DELETE t.* FROM ...
    bool distinctRow = false;
    std::vector<SelectColumn> columns;
    std::vector<Source> from;
    Place place;
    ExpressionRef where;
    Text text;
};

struct ColumnSpecification
{
    Text name;
    ValueType type = ValueType::Long;
    std::optional<std::uint16_t> size;
    bool autoNumber = false;
    bool notNull = false;
};

struct ConstraintSpecification
{
    enum class Kind : std::uint8_t
    {
        PrimaryKey,
        Unique,
        ForeignKey
    };
    Text name;  // "" when the statement gives none
    Kind kind = Kind::PrimaryKey;
    std::vector<Text> fields;
    Text foreignTable;                // ForeignKey: the table behind REFERENCES
    std::vector<Text> foreignFields;  // empty: its primary key
};

struct CreateTableStatement
{
    Text table;
    std::vector<ColumnSpecification> columns;
    std::vector<ConstraintSpecification> constraints;
};

struct CreateIndexStatement
{
    Text index, table;
    bool unique = false;
    std::vector<std::pair<Text, bool>> fields;  // descending
    bool primary = false, disallowNull = false, ignoreNull = false;
};

struct AlterTableStatement
{
    enum class Action : std::uint8_t
    {
        AddColumn,
        DropColumn,
        AddConstraint,
        DropConstraint
    };
    Text table;
    Action action = Action::AddColumn;
    ColumnSpecification column;
    std::vector<ConstraintSpecification> columnConstraints;  // behind the column that is added
    ConstraintSpecification constraint;
    Text name;  // of what is dropped
};

struct DropStatement
{
    bool index = false;  // DROP INDEX name ON table, else DROP TABLE name
    Text name, table;
};

using Statement = std::variant<SelectStatement, InsertStatement, UpdateStatement, DeleteStatement, CreateTableStatement,
                               CreateIndexStatement, AlterTableStatement, DropStatement>;

}  // namespace vmlib::sql
