#include "engine/IndexOrder.h"

#include "engine/KeyFinder.h"
#include "engine/Values.h"

namespace vmlib::engine {
namespace {

// Of a key beyond 255 bytes the file keeps the first 253 and a check sum.
constexpr std::size_t keptOfLongKey = jet::greatestKeySize - 2;

}  // namespace

IndexOrder::IndexOrder(RowShape shape, TextView index)
    : shape_(std::move(shape)), table_(shape_.tables.front()), reader_(table_)
{
    const jet::IndexDefinition* found = table_.table->Definition().IndexNamed(index);
    if (!found) throw Error(ErrorNumber::NoSuchIndexOfTable, {Text(index)});
    tree_ = found->realIndex;
}

IndexOrder::IndexOrder(const IndexOrder& other)
    : RowSource(other),
      shape_(other.shape_),
      table_(other.table_),
      number_(other.number_),
      tree_(other.tree_),
      reader_(table_)
{
}

const jet::TreeDefinition& IndexOrder::Definition() const
{
    const jet::TableDefinition& table = table_.table->Definition();
    if (tree_ >= table.trees.size()) throw Error(ErrorNumber::NoCurrentIndex);
    return table.trees[tree_];
}

bool IndexOrder::Settle()
{
    reader_.Forget();
    if (!entry_ || entry_->AtEnd()) return false;
    where_ = entry_->Row();
    return true;
}

bool IndexOrder::First()
{
    const jet::ReadScope reading(table_.database->GetPager());
    entry_.emplace(Tree().First());
    return Settle();
}

bool IndexOrder::Last()
{
    const jet::ReadScope reading(table_.database->GetPager());
    entry_.emplace(Tree().Last());
    return Settle();
}

bool IndexOrder::Next()
{
    const jet::ReadScope reading(table_.database->GetPager());
    if (entry_) entry_->Next();
    return Settle();
}

bool IndexOrder::Previous()
{
    const jet::ReadScope reading(table_.database->GetPager());
    if (entry_) entry_->Previous();
    return Settle();
}

bool IndexOrder::Find(jet::RowPointer row)
{
    const jet::ReadScope reading(table_.database->GetPager());
    jet::Row values;
    if (!table_.table->Fetch(row, values)) return false;
    const auto key = jet::IndexKey::Of(table_.table->Definition(), Definition(), values);
    if (!key) return false;  // a row of Nulls that the index leaves out
    auto entry = Tree().LowerBound(*key);
    while (!entry.AtEnd() && entry.EntryKey() == *key && entry.Row() != row) entry.Next();
    if (entry.AtEnd() || entry.Row() != row) return false;
    entry_.emplace(std::move(entry));
    return Settle();
}

bool IndexOrder::GoTo(const Bytes& bookmark)
{
    return Find(jet::RowPointer::Unpack(PlaceOf(bookmark, number_)));
}

jet::Value IndexOrder::Read(std::size_t column)
{
    const jet::Row& row = reader_.At(where_);
    return row.at(shape_.origins[column]->column);
}

void IndexOrder::Refetch()
{
    reader_.Forget();
    // A changed key has its row at another place; a deleted row leaves the place where it was.
    const jet::RowPointer row = where_;
    if (!Find(row)) where_ = row;
}

std::int32_t IndexOrder::Count()
{
    return static_cast<std::int32_t>(table_.table->RowCount());
}

bool IndexOrder::Matches(std::span<const jet::Value> values)
{
    const jet::TableDefinition& table = table_.table->Definition();
    const jet::Row& row = reader_.At(where_);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::size_t column = table.ColumnNumbered(Definition().columns[i].column).value();
        if (!SameKey(row[column], values[i], table.columns[column].locale.langid)) return false;
    }
    return true;
}

bool IndexOrder::Seek(TextView comparison, std::span<const Variant> keys)
{
    const jet::ReadScope reading(table_.database->GetPager());
    const jet::TableDefinition& table = table_.table->Definition();
    const jet::TreeDefinition& definition = Definition();
    if (keys.empty() || keys.size() > definition.columns.size()) throw Error(ErrorNumber::InvalidArgument);
    std::vector<jet::Value> values;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const std::size_t column = table.ColumnNumbered(definition.columns[i].column).value();
        values.push_back(FitToColumn(keys[i], table.columns[column], Fit::Strict));
    }
    jet::Key key = jet::IndexKey::Prefix(table, definition, values);
    if (key.size() > keptOfLongKey) key.resize(keptOfLongKey);
    const Text wanted(Trim(comparison));
    if (wanted == u"=") {
        entry_.emplace(Tree().LowerBound(key));
        for (; Settle() && entry_->EntryKey().starts_with(key); entry_->Next())
            if (Matches(values)) return true;
        return false;
    }
    if (wanted == u">=" || wanted == u"<")
        entry_.emplace(Tree().LowerBound(key));
    else if (wanted == u">" || wanted == u"<=")
        entry_.emplace(Tree().UpperBound(key));
    else
        throw Error(ErrorNumber::InvalidArgument);
    if (wanted.front() == u'<') entry_->Previous();
    return Settle();
}

}  // namespace vmlib::engine
