#pragma once

#include <functional>
#include <vector>

#include "engine/TableAccess.h"

namespace vmlib::engine {

/// Two key values that an index of that sort order takes for equal: text by its order, anything else by value.
bool SameKey(const jet::Value& left, const jet::Value& right, std::uint16_t langid);

/// Finds the rows of a table by the values of some of its columns: through an index that begins with these columns in
/// any order, else by a scan. What an index finds is compared again, because keys lose information.
class KeyFinder
{
public:
    /// @param columns  positions in TableDefinition::columns
    KeyFinder(TableRef table, std::vector<std::size_t> columns);

    /// @param values  one a column, none of them Null
    std::vector<jet::RowPointer> All(std::span<const jet::Value> values) const;
    bool Any(std::span<const jet::Value> values) const;

private:
    /// Until `visit` returns false.
    void Visit(std::span<const jet::Value> values, const std::function<bool(jet::RowPointer)>& visit) const;
    bool Matches(const jet::Row& row, std::span<const jet::Value> values) const;
    void ChooseTree();

    TableRef table_;
    std::vector<std::size_t> columns_;
    jet::ColumnMask mask_;
    std::optional<std::size_t> tree_;
    std::vector<std::size_t> order_;  // positions in `columns_` in the order of the tree
};

}  // namespace vmlib::engine
