#pragma once

#include <algorithm>
#include <optional>

#include "sql/Lexer.h"
#include "sql/Syntax.h"
#include "sql/SyntaxError.h"

namespace vmlib::sql {

/// Recursive descent over the tokens of one statement. The grammar is spread over ParseExpression.cpp, ParseSelect.cpp,
/// ParseSource.cpp, ParseChange.cpp and ParseDefinition.cpp. Keywords are reserved only where they would otherwise be
/// taken for what they begin, so that fields named Primary, Name, Type or Value need no brackets.
class ParserState
{
public:
    explicit ParserState(TextView sql) : text_(sql), tokens_(Tokenize(sql)) {}

    Statement WholeStatement();
    ExpressionRef WholeExpression();
    ExpressionRef WholeRule(TextView field);
    std::vector<OrderItem> WholeOrder();

private:
    // Nested parentheses and subqueries; deeper ones are refused before the stack is in danger.
    static constexpr std::size_t maxNesting = 100;
    // Levels of a tree, which long chains of + or * reach.
    static constexpr std::size_t maxDepth = 250;
    // Terms of a chain, which SQLite takes a time for that grows with their square; arguments of a call likewise.
    static constexpr std::size_t maxTerms = 25000;
    static constexpr std::size_t maxArguments = 1000;

    class Nested
    {
    public:
        explicit Nested(ParserState& state) : state_(state)
        {
            if (++state_.nesting_ > maxNesting) throw Error(ErrorNumber::QueryTooComplex);
        }
        ~Nested() { --state_.nesting_; }
        Nested(const Nested&) = delete;
        Nested& operator=(const Nested&) = delete;

    private:
        ParserState& state_;
    };

    // Tokens
    const Token& Peek(std::size_t ahead = 0) const { return tokens_[std::min(at_ + ahead, tokens_.size() - 1)]; }
    const Token& Take();
    bool Take(TextView symbol);
    bool TakeWord(TextView word);
    void Expect(TextView symbol, ErrorNumber clause);
    void ExpectWord(TextView word, ErrorNumber clause);
    bool AtEnd() const { return Peek().kind == Token::Kind::End || Peek().Is(u";"); }
    bool AtSelect() const { return Peek().IsWord(u"SELECT"); }
    std::size_t LastEnd() const { return at_ == 0 ? 0 : tokens_[at_ - 1].extent.to; }
    Error Failure(ErrorNumber clause) const { return ClauseError(clause, text_, Peek().extent.from); }
    static bool IsReserved(const Token& token);
    Text Name(ErrorNumber clause);                   // one piece, bare or in brackets
    Text FieldName(ErrorNumber clause);              // of table.field the field
    std::vector<Text> NameList(ErrorNumber clause);  // in parentheses
    void Finish();

    // ParseExpression.cpp
    ExpressionRef FullExpression(ErrorNumber clause);
    ExpressionRef Binary(int lowest);
    ExpressionRef Associative(ExpressionRef first, Operator op, int level);
    ExpressionRef Predicate(ExpressionRef left);
    ExpressionRef LonePredicate(ExpressionRef value);
    ExpressionRef Between(ExpressionRef left, bool negated);
    ExpressionRef In(ExpressionRef left, bool negated);
    ExpressionRef Is(ExpressionRef left);
    ExpressionRef Quantified(ExpressionRef left, Operator op);
    ExpressionRef Prefix(int lowest);
    ExpressionRef Operand();
    ExpressionRef LiteralOf(const Token& token);
    ExpressionRef Parenthesised();
    ExpressionRef NameOrFunction();
    ExpressionRef Function();
    ExpressionRef Existence();
    SelectRef Subquery();  // after "(", takes ")"
    std::shared_ptr<Expression> Node(Expression::Kind kind, std::size_t from,
                                     std::vector<ExpressionRef> operands = {}) const;
    ExpressionRef OperatorNode(Operator op, ExpressionRef left, ExpressionRef right) const;
    ExpressionRef Balanced(const std::vector<ExpressionRef>& terms, std::size_t from, std::size_t to,
                           Operator op) const;
    ExpressionRef ImpliedField() const;
    bool EndsExpression(const Token& token) const;
    Error ExpressionFailure(TextView what) const;

    // ParseSelect.cpp
    std::vector<ParameterDeclaration> Parameters();
    SelectStatement SelectOrUnion();
    SelectStatement SelectPart();
    SelectStatement TablePart();
    SelectStatement Crosstab();
    void Predicates(SelectStatement& select);
    std::vector<SelectColumn> Columns(ErrorNumber clause);
    void Clauses(SelectStatement& select);
    std::vector<OrderItem> OrderItems();
    void OwnerAccess(SelectStatement& select);

    // ParseSource.cpp
    std::vector<Source> Sources();
    Source JoinedSource();
    Source PlainSource();
    Source BracketedSelect();
    Text SourceAlias();
    std::optional<Place> InPlace(ErrorNumber clause);

    // ParseChange.cpp
    InsertStatement Insert();
    UpdateStatement Update();
    DeleteStatement Delete();

    // ParseDefinition.cpp
    Statement Create();
    CreateTableStatement CreateTable();
    CreateIndexStatement CreateIndex(bool unique);
    AlterTableStatement AlterTable();
    DropStatement Drop();
    ColumnSpecification Column(std::vector<ConstraintSpecification>& constraints);
    ConstraintSpecification Constraint(ErrorNumber clause);
    ConstraintSpecification ColumnConstraint(const ColumnSpecification& column);
    void References(ConstraintSpecification& constraint, ErrorNumber clause);
    ValueType TypeName(ErrorNumber clause, bool& autoNumber);
    std::optional<std::uint16_t> TypeSize(ErrorNumber clause);

    TextView text_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    std::size_t nesting_ = 0;
    std::size_t openBrackets_ = 0;
    std::size_t expressionStart_ = 0;  // of the clause's expression, for messages
    std::optional<Text> ruleField_;    // set while a validation rule is read
};

}  // namespace vmlib::sql
