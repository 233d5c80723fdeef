// Filter and Sort of a recordset act on the recordset that is opened from it: a subset of the same rows in another
// order.

#include <algorithm>
#include <numeric>

#include "engine/Keyset.h"
#include "engine/RecordsetObject.h"
#include "sql/Parser.h"

namespace vmlib::engine {
namespace {

/// Null first, then by value; text by the sort order of the database.
int CompareValues(const jet::Value& left, const jet::Value& right, std::uint16_t langid)
{
    const auto* leftText = std::get_if<std::string>(&left);
    const auto* rightText = std::get_if<std::string>(&right);
    if (leftText && rightText) return jet::IndexKey::CompareText(*leftText, *rightText, langid);
    if (left.index() != right.index()) return left.index() < right.index() ? -1 : 1;  // Null is the first alternative
    if (left == right) return 0;
    const bool less = std::visit(
        [&](const auto& value) {
            using T = std::remove_cvref_t<decltype(value)>;
            if constexpr (std::is_same_v<T, Null>)
                return false;
            else
                return value < std::get<T>(right);
        },
        left);
    return less ? -1 : 1;
}

class RowSelector
{
public:
    RowSelector(DatabaseHandle& database, RowSource& source)
        : engine_(database.Queries()), source_(source), langid_(database.Storage().GetFacts().locale.langid)
    {
    }

    void FilterBy(const Text& filter)
    {
        if (!filter.empty())
            filter_.emplace(engine_.Compile(sql::ParseExpression(filter), source_.Shape().columns, true));
    }

    void SortBy(const Text& sort)
    {
        if (sort.empty()) return;
        for (const auto& item : sql::ParseOrder(sort)) {
            order_.push_back(engine_.Compile(item.expression, source_.Shape().columns, false));
            descending_.push_back(item.descending);
        }
    }

    /// The bookmarks of the chosen rows in their order.
    std::vector<Bytes> Run()
    {
        struct Chosen
        {
            Bytes bookmark;
            std::vector<jet::Value> keys;
        };
        std::vector<Chosen> rows;
        for (bool hasRow = source_.First(); hasRow; hasRow = source_.Next()) {
            if (filter_ && !filter_->Holds(ValuesFor(*filter_))) continue;
            Chosen& row = rows.emplace_back(Chosen{source_.Bookmark(), {}});
            for (RowExpression& key : order_) row.keys.push_back(key.Evaluate(ValuesFor(key)));
        }
        std::ranges::stable_sort(
            rows, [&](const Chosen& left, const Chosen& right) { return Compare(left.keys, right.keys) < 0; });
        std::vector<Bytes> bookmarks;
        bookmarks.reserve(rows.size());
        for (Chosen& row : rows) bookmarks.push_back(std::move(row.bookmark));
        return bookmarks;
    }

private:
    std::vector<jet::Value> ValuesFor(const RowExpression& expression)
    {
        std::vector<jet::Value> values;
        for (const std::size_t column : expression.Columns()) values.push_back(source_.Read(column));
        return values;
    }

    int Compare(const std::vector<jet::Value>& left, const std::vector<jet::Value>& right) const
    {
        for (std::size_t i = 0; i < left.size(); ++i)
            if (const int order = CompareValues(left[i], right[i], langid_)) return descending_[i] ? -order : order;
        return 0;
    }

    QueryEngine& engine_;
    RowSource& source_;
    std::uint16_t langid_;
    std::optional<RowExpression> filter_;
    std::vector<RowExpression> order_;
    std::vector<bool> descending_;
};

}  // namespace

std::shared_ptr<Cursor> FilteredAndSorted(Cursor& cursor, const Text& filter, const Text& sort)
{
    // Requery of the new recordset chooses again among the rows as they are then.
    const std::shared_ptr<RowSource> parent = cursor.Source().Clone();
    const auto keyset = std::dynamic_pointer_cast<Keyset>(parent);
    if (!keyset) throw Error(ErrorNumber::NotSupported);
    Cursor::Opener opener = [keyset, database = cursor.SharedDatabase().get(), filter, sort] {
        const QueryEngine::Scope scope(database->Queries());
        RowSelector selector(*database, *keyset);
        selector.FilterBy(filter);
        selector.SortBy(sort);
        return keyset->Subset(selector.Run());
    };
    return std::make_shared<Cursor>(cursor.SharedDatabase(), cursor.TheOpening(), std::move(opener));
}

}  // namespace vmlib::engine
