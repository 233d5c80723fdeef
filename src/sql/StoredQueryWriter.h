#pragma once

#include <map>

#include "sql/StoredQueryParts.h"

namespace vmlib::sql::stored {

/// Collects the rows of one query. Rows are numbered within their clause in the order in which they are added;
/// expressions are kept as they stand in the text.
class RowWriter
{
public:
    explicit RowWriter(TextView text) : text_(text) {}

    ClauseRow& Add(std::uint8_t attribute);
    void Type(Kind kind, const Text& target, const Place& place);
    void Parameters(const std::vector<ParameterDeclaration>& parameters);
    /// No row when there are no flags.
    void Options(int flags, const std::optional<std::int32_t>& count = std::nullopt);
    void Expression(std::uint8_t attribute, const ExpressionRef& expression);
    void Sources(const std::vector<Source>& sources, const Place& place);
    void Order(const std::vector<OrderItem>& items);
    Text Written(Extent extent) const;

    /// All rows, in the order in which a program's query has its clauses in the file.
    ClauseRows Finished(Kind kind);

private:
    void Tables(const Source& source);
    void Joins(const Source& source);
    Text SubqueryText(Extent extent) const;

    TextView text_;
    std::map<std::uint8_t, std::vector<ClauseRow>> rows_;
};

/// No value for "": columns without content are Null.
std::optional<Text> Given(const Text& text);

}  // namespace vmlib::sql::stored
