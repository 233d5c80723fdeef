// Rows of stored queries, clause by clause.

#include "sql/StoredQueryWriter.h"

#include <algorithm>

#include "core/Error.h"

namespace vmlib::sql::stored {
namespace {

struct KindRow
{
    Kind kind;
    std::int32_t daoType;
};

constexpr KindRow kindRows[] = {{select, 0},     {crosstab, 16},   {remove, 32},       {update, 48}, {append, 64},
                                {makeTable, 80}, {definition, 96}, {passThrough, 112}, {unite, 128}};

// A program's query has its clauses in this order in the file. Readers that ignore the order numbers rely on the order
// of the rows within a clause.
constexpr std::uint8_t fileOrder[] = {start, end,   type,  parameter, column, join,   source,
                                      place, where, group, having,    order,  options};

void CollectNames(const Source& from, std::vector<Text>& names)
{
    if (from.kind == Source::Kind::Join) {
        CollectNames(*from.left, names);
        CollectNames(*from.right, names);
    } else {
        names.push_back(from.alias.empty() ? from.name : from.alias);
    }
}

void CollectQualifiers(const Expression& expression, std::vector<Text>& qualifiers)
{
    if (expression.kind == Expression::Kind::Name && !expression.qualifier.empty()) {
        qualifiers.push_back(expression.qualifier);
    }
    for (const ExpressionRef& operand : expression.operands) CollectQualifiers(*operand, qualifiers);
}

/// The terms of an AND list in the order of the text.
void CollectTerms(const ExpressionRef& expression, std::vector<ExpressionRef>& terms)
{
    if (expression->kind == Expression::Kind::Binary && expression->op == Operator::And) {
        CollectTerms(expression->operands[0], terms);
        CollectTerms(expression->operands[1], terms);
    } else {
        terms.push_back(expression);
    }
}

/// The first of the tables that the condition names, else the first of them: any of its side tells where the join
/// belongs.
Text NamedOf(const std::vector<Text>& tables, const std::vector<Text>& qualifiers)
{
    for (const Text& qualifier : qualifiers) {
        for (const Text& table : tables) {
            if (EqualIgnoringCase(table, qualifier)) return table;
        }
    }
    return tables.front();
}

/// The position of the parenthesis that closes the first one; those inside texts and names do not count.
std::size_t Closing(TextView text)
{
    std::size_t depth = 0;
    char16_t quote = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char16_t character = text[at];
        if (quote != 0) {
            if (character == quote) quote = 0;
        } else if (character == u'\'' || character == u'"') {
            quote = character;
        } else if (character == u'[') {
            quote = u']';
        } else if (character == u'(') {
            ++depth;
        } else if (character == u')' && --depth == 0) {
            return at;
        }
    }
    return text.size();
}

/// Of "((a) = (b))" the inside, but "(a) = (b)" as it is.
TextView WithoutParentheses(TextView text)
{
    while (text.starts_with(u'(') && Closing(text) + 1 == text.size()) text = Trim(text.substr(1, text.size() - 2));
    return text;
}

}  // namespace

std::int32_t DaoTypeOf(Kind kind)
{
    for (const KindRow& row : kindRows) {
        if (row.kind == kind) return row.daoType;
    }
    return 0;
}

std::optional<Kind> KindOfDaoType(std::int32_t type)
{
    for (const KindRow& row : kindRows) {
        if (row.daoType == type) return row.kind;
    }
    return std::nullopt;
}

std::optional<Text> Given(const Text& text)
{
    return text.empty() ? std::nullopt : std::optional(text);
}

ClauseRows RowWriter::Finished(Kind kind)
{
    ClauseRows result;
    result.type = DaoTypeOf(kind);
    for (const std::uint8_t attribute : fileOrder) {
        const auto found = rows_.find(attribute);
        if (found != rows_.end()) result.rows.insert(result.rows.end(), found->second.begin(), found->second.end());
    }
    return result;
}

ClauseRow& RowWriter::Add(std::uint8_t attribute)
{
    std::vector<ClauseRow>& rows = rows_[attribute];
    ClauseRow& row = rows.emplace_back();
    row.attribute = attribute;
    row.order = static_cast<std::uint32_t>(rows.size());
    return row;
}

void RowWriter::Type(Kind kind, const Text& target, const Place& targetPlace)
{
    ClauseRow& row = Add(type);
    row.flag = kind;
    row.name1 = Given(target);
    row.name2 = Given(targetPlace.path);
    row.expression = Given(targetPlace.connect);
}

void RowWriter::Parameters(const std::vector<ParameterDeclaration>& parameters)
{
    for (const ParameterDeclaration& declaration : parameters) {
        ClauseRow& row = Add(parameter);
        row.name1 = declaration.name;
        row.flag = static_cast<std::int16_t>(declaration.type);
    }
}

void RowWriter::Options(int flags, const std::optional<std::int32_t>& count)
{
    if (flags == 0) return;
    ClauseRow& row = Add(options);
    row.flag = static_cast<std::int16_t>(flags);
    if (count) row.name1 = Decimal(*count);
}

void RowWriter::Expression(std::uint8_t attribute, const ExpressionRef& expression)
{
    if (expression) Add(attribute).expression = Written(expression->extent);
}

void RowWriter::Sources(const std::vector<Source>& sources, const Place& from)
{
    for (const Source& one : sources) Tables(one);
    for (const Source& one : sources) Joins(one);
    if (from == Place{}) return;
    ClauseRow& row = Add(place);
    row.name1 = Given(from.path);
    row.expression = Given(from.connect);
}

void RowWriter::Order(const std::vector<OrderItem>& items)
{
    for (const OrderItem& item : items) {
        ClauseRow& row = Add(order);
        row.expression = Written(item.expression->extent);
        if (item.descending) row.name1.emplace(1, u'd');
    }
}

Text RowWriter::Written(Extent extent) const
{
    return Text(Trim(text_.substr(extent.from, extent.to - extent.from)));
}

void RowWriter::Tables(const Source& from)
{
    if (from.kind == Source::Kind::Join) {
        Tables(*from.left);
        Tables(*from.right);
        return;
    }
    ClauseRow& row = Add(source);
    row.name2 = Given(from.alias);
    if (from.kind == Source::Kind::Table) {
        row.name1 = from.name;
    } else {
        row.expression = SubqueryText(from.extent);
    }
}

/// The SELECT between the parentheses (or brackets) of a subquery in FROM.
Text RowWriter::SubqueryText(Extent extent) const
{
    const TextView all = text_.substr(extent.from, extent.to - extent.from);
    const std::size_t close = all.front() == u'(' ? Closing(all) : all.find(u']');
    return Text(Trim(all.substr(1, close - 1)));
}

/// Left side, right side, then the node itself: one row a condition, in reverse of the text.
void RowWriter::Joins(const Source& from)
{
    if (from.kind != Source::Kind::Join) return;
    Joins(*from.left);
    Joins(*from.right);
    std::vector<Text> left, right;
    CollectNames(*from.left, left);
    CollectNames(*from.right, right);
    for (const Text& name : left) {
        const auto same = [&](const Text& other) { return EqualIgnoringCase(name, other); };
        // Its rows could not say which of the two a condition means.
        if (std::any_of(right.begin(), right.end(), same)) throw Error(ErrorNumber::JoinNotSupported);
    }
    std::vector<ExpressionRef> terms;
    CollectTerms(from.on, terms);
    for (auto term = terms.rbegin(); term != terms.rend(); ++term) {
        ClauseRow& row = Add(join);
        row.flag = static_cast<std::int16_t>(from.join);
        std::vector<Text> qualifiers;
        CollectQualifiers(**term, qualifiers);
        row.name1 = NamedOf(left, qualifiers);
        row.name2 = NamedOf(right, qualifiers);
        const Text written = Written((*term)->extent);
        row.expression = terms.size() == 1 ? written : Text(WithoutParentheses(written));
    }
}

}  // namespace vmlib::sql::stored
