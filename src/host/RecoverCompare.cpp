#include "host/RecoverCompare.h"

#include <algorithm>

#include "engine/Values.h"
#include "host/RowSum.h"
#include "host/StoredFile.h"
#include "host/ValueLoss.h"

namespace vmlib::host {

namespace {

using jet::ColumnDefinition;
using jet::TableDefinition;

constexpr std::size_t examplesOfAKind = 3, fieldsOfARow = 6;
constexpr std::size_t buckets = std::size_t{1} << 18;
constexpr std::size_t rememberedRows = 500'000;  // 12 MiB
constexpr int samePlaceTries = 64;

/// A table of one file, and which of its columns the other has too, in the order of the copy's.
struct Side
{
    Side(const StoredFile& file, const Text& name) : scope(file->GetPager()), table(file->OpenTable(name)) {}

    const TableDefinition& Definition() const { return table->Definition(); }

    jet::ReadScope scope;  // one lock, not one a row
    std::shared_ptr<jet::Table> table;
    std::vector<std::size_t> columns;
};

/// What is compared of a row: 64 bits for its key, 64 for all of it.
struct RowMark
{
    std::uint64_t key = 0, row = 0;
    auto operator<=>(const RowMark&) const = default;
};

/// Rows of the copy that the document may not have.
struct Remembered
{
    RowMark mark;
    std::uint32_t count = 0;  // that are equal
    std::uint32_t place = 0;  // of one of them
};

void AddExample(TableDifference& difference, RowDifference example)
{
    const auto ofKind = std::count_if(difference.examples.begin(), difference.examples.end(),
                                      [&](const RowDifference& other) { return other.kind == example.kind; });
    if (static_cast<std::size_t>(ofKind) < examplesOfAKind) difference.examples.push_back(std::move(example));
}

std::optional<std::string> ShownOrNull(const jet::Value& value)
{
    return jet::IsNull(value) ? std::nullopt : std::optional(Shown(value));
}

/// The names of the columns of the primary key; none when there is no key.
std::vector<Text> KeyOf(const TableDefinition& definition)
{
    std::vector<Text> names;
    for (const jet::IndexDefinition& index : definition.indexes) {
        if (index.kind != jet::IndexDefinition::Kind::Primary) continue;
        for (const jet::IndexColumn& column : definition.TreeOf(index).columns)
            if (const auto position = definition.ColumnNumbered(column.column))
                names.push_back(definition.columns[*position].name);
    }
    return names;
}

/// One table that both have. First a sum of rows for each of many buckets, into which keys fall; then the rows of those
/// buckets whose sums differ, as many at a time as may be remembered.
class TableComparison
{
public:
    TableComparison(const StoredFile& copyFile, const StoredFile& documentFile, const Text& name, const Text& otherName)
        : copy_(copyFile, name), document_(documentFile, otherName), sums_(buckets), counts_(buckets)
    {
        difference_.table = name;
        PairColumns();
        FindKey();
    }

    TableDifference Run()
    {
        AddSums();
        for (std::size_t first = 0; first < buckets;) {
            std::uint64_t rows = 0;
            end_ = first;
            do {
                if (sums_[end_] != 0) rows += counts_[end_];
                ++end_;
            } while (end_ < buckets && (sums_[end_] == 0 || rows + counts_[end_] <= rememberedRows));
            first_ = first;
            if (std::any_of(sums_.begin() + static_cast<std::ptrdiff_t>(first),
                            sums_.begin() + static_cast<std::ptrdiff_t>(end_), [](auto sum) { return sum != 0; }))
                CompareBuckets();
            first = end_;
        }
        return std::move(difference_);
    }

private:
    void PairColumns()
    {
        const TableDefinition &mine = copy_.Definition(), &other = document_.Definition();
        for (std::size_t i = 0; i < mine.columns.size(); ++i) {
            const ColumnDefinition& column = mine.columns[i];
            const auto found = other.ColumnNamed(column.name);
            if (!found) difference_.copyFields.push_back(column.name);
            if (!found || IsOwnField(mine.name, column.name)) continue;
            copy_.columns.push_back(i);
            document_.columns.push_back(*found);
        }
        for (const ColumnDefinition& column : other.columns)
            if (!mine.ColumnNamed(column.name)) difference_.documentFields.push_back(column.name);
    }

    /// A conversion copy may have no keys yet.
    void FindKey()
    {
        std::vector<Text> names = KeyOf(copy_.Definition());
        if (names.empty()) names = KeyOf(document_.Definition());
        for (const Text& name : names)
            for (std::size_t i = 0; i < copy_.columns.size(); ++i)
                if (EqualIgnoringCase(Column(i).name, name)) key_.push_back(i);
        if (key_.size() != names.size()) key_.clear();
    }

    const ColumnDefinition& Column(std::size_t i) const { return copy_.Definition().columns[copy_.columns[i]]; }

    /// The value of a common field, in the type that the copy has.
    const jet::Value& ValueOf(const Side& side, const jet::Row& row, std::size_t i)
    {
        const jet::Value& value = row[side.columns[i]];
        if (&side == &copy_ || document_.Definition().columns[side.columns[i]].type == Column(i).type) return value;
        engine::FitToColumn(value, Column(i), engine::Fit::Lenient, fitted_);
        return fitted_;
    }

    RowMark MarkOf(const Side& side, const jet::Row& row)
    {
        RowSum::Row whole, key;
        for (std::size_t i = 0; i < side.columns.size(); ++i) whole.Add(ValueOf(side, row, i), IsPadded(Column(i)));
        for (const std::size_t i : key_) key.Add(ValueOf(side, row, i), IsPadded(Column(i)));
        return {key_.empty() ? whole.Mark() : key.Mark(), whole.Mark()};
    }

    static std::size_t BucketOf(const RowMark& mark) { return mark.key >> 46; }

    void AddSums()
    {
        for (auto cursor = copy_.table->Scan(); cursor.Next();) {
            const RowMark mark = MarkOf(copy_, cursor.Current());
            sums_[BucketOf(mark)] += mark.row;
            ++counts_[BucketOf(mark)];
        }
        for (auto cursor = document_.table->Scan(); cursor.Next();) {
            const RowMark mark = MarkOf(document_, cursor.Current());
            sums_[BucketOf(mark)] -= mark.row;
        }
    }

    bool IsLookedAt(const RowMark& mark) const
    {
        const std::size_t bucket = BucketOf(mark);
        return bucket >= first_ && bucket < end_ && sums_[bucket] != 0;
    }

    void CompareBuckets()
    {
        Remember();
        for (auto cursor = document_.table->Scan(); cursor.Next();) {
            const RowMark mark = MarkOf(document_, cursor.Current());
            if (IsLookedAt(mark)) LookUp(mark, cursor.Current());
        }
        for (const Remembered& left : remembered_) {
            difference_.onlyInCopy += left.count;
            if (left.count > 0)
                AddExample(difference_, {RowDifference::OnlyInCopy, KeyText(left), FieldsAt(left, nullptr)});
        }
    }

    void Remember()
    {
        remembered_.clear();
        std::size_t limit = 2 * rememberedRows;
        for (auto cursor = copy_.table->Scan(); cursor.Next();) {
            const RowMark mark = MarkOf(copy_, cursor.Current());
            if (!IsLookedAt(mark)) continue;
            remembered_.push_back({mark, 1, cursor.Where().Packed()});
            if (remembered_.size() < limit) continue;
            UniteEqual();  // one bucket with many rows has many equal ones
            limit = std::max(limit, 2 * remembered_.size());
        }
        UniteEqual();
    }

    void UniteEqual()
    {
        std::sort(remembered_.begin(), remembered_.end(),
                  [](const Remembered& left, const Remembered& right) { return left.mark < right.mark; });
        std::size_t kept = 0;
        for (const Remembered& entry : remembered_) {
            if (kept > 0 && remembered_[kept - 1].mark == entry.mark)
                remembered_[kept - 1].count += entry.count;
            else
                remembered_[kept++] = entry;
        }
        remembered_.resize(kept);
    }

    /// Strikes out the row of the copy that a row of the document is.
    void LookUp(const RowMark& mark, const jet::Row& row)
    {
        const auto isBefore = [](const Remembered& entry, const RowMark& wanted) { return entry.mark < wanted; };
        const auto same = std::lower_bound(remembered_.begin(), remembered_.end(), mark, isBefore);
        if (same != remembered_.end() && same->mark == mark && same->count > 0) {
            --same->count;
            return;
        }
        auto other = std::lower_bound(remembered_.begin(), remembered_.end(), RowMark{mark.key, 0}, isBefore);
        for (int tries = 0; tries < samePlaceTries && other != remembered_.end(); ++tries, ++other) {
            if (other->mark.key != mark.key) break;
            if (other->count == 0) continue;
            --other->count;
            ++difference_.changed;
            AddExample(difference_, {RowDifference::Changed, KeyText(document_, row), FieldsAt(*other, &row)});
            return;
        }
        ++difference_.onlyInDocument;
        RowDifference example{RowDifference::OnlyInDocument, KeyText(document_, row), {}};
        for (std::size_t i = 0; i < copy_.columns.size() && example.fields.size() < fieldsOfARow; ++i)
            if (auto shown = ShownOrNull(ValueOf(document_, row, i)))
                example.fields.push_back({Column(i).name, std::nullopt, std::move(shown)});
        AddExample(difference_, std::move(example));
    }

    std::string KeyText(const Side& side, const jet::Row& row)
    {
        std::string text;
        for (const std::size_t i : key_)
            text += (text.empty() ? "" : ", ") + ToUtf8(Column(i).name) + "=" + Shown(ValueOf(side, row, i));
        return text;
    }
    std::string KeyText(const Remembered& entry)
    {
        jet::Row row;
        const bool isThere = copy_.table->Fetch(jet::RowPointer::Unpack(entry.place), row);
        return isThere ? KeyText(copy_, row) : std::string();
    }

    /// The fields of a row of the copy; beside a row of the document those that differ.
    std::vector<FieldDifference> FieldsAt(const Remembered& entry, const jet::Row* document)
    {
        std::vector<FieldDifference> fields;
        jet::Row row;
        if (!copy_.table->Fetch(jet::RowPointer::Unpack(entry.place), row)) return fields;
        for (std::size_t i = 0; i < copy_.columns.size() && fields.size() < fieldsOfARow; ++i) {
            FieldDifference field{Column(i).name, ShownOrNull(ValueOf(copy_, row, i)), std::nullopt};
            if (document != nullptr) {
                RowSum::Row mine, other;
                mine.Add(ValueOf(copy_, row, i), IsPadded(Column(i)));
                other.Add(ValueOf(document_, *document, i), IsPadded(Column(i)));
                if (mine.Mark() == other.Mark()) continue;
                field.document = ShownOrNull(ValueOf(document_, *document, i));
            } else if (!field.copy) {
                continue;
            }
            fields.push_back(std::move(field));
        }
        return fields;
    }

    Side copy_, document_;
    std::vector<std::size_t> key_;  // among the common fields
    std::vector<std::uint64_t> sums_;
    std::vector<std::uint32_t> counts_;  // rows of the copy
    std::vector<Remembered> remembered_;
    std::size_t first_ = 0, end_ = 0;
    jet::Value fitted_;
    TableDifference difference_;
};

/// A table that one side has alone.
TableDifference AloneOn(const StoredFile& file, const Text& name, bool isCopy)
{
    TableDifference difference{name};
    const Side side(file, name);
    std::uint64_t& rows = isCopy ? difference.onlyInCopy : difference.onlyInDocument;
    for (auto cursor = side.table->Scan(); cursor.Next(); ++rows) {
        if (rows >= examplesOfAKind) continue;
        RowDifference example{isCopy ? RowDifference::OnlyInCopy : RowDifference::OnlyInDocument};
        for (std::size_t i = 0; i < cursor.Current().size() && example.fields.size() < fieldsOfARow; ++i) {
            if (jet::IsNull(cursor.Current()[i])) continue;
            FieldDifference field{side.Definition().columns[i].name, std::nullopt, std::nullopt};
            (isCopy ? field.copy : field.document) = Shown(cursor.Current()[i]);
            example.fields.push_back(std::move(field));
        }
        difference.examples.push_back(std::move(example));
    }
    for (const ColumnDefinition& column : side.Definition().columns)
        (isCopy ? difference.copyFields : difference.documentFields).push_back(column.name);
    return difference;
}

const Text* Named(const std::vector<Text>& names, const Text& wanted)
{
    for (const Text& name : names)
        if (EqualIgnoringCase(name, wanted)) return &name;
    return nullptr;
}

}  // namespace

std::vector<TableDifference> CompareCopy(Session& session, TextView copy, TextView document)
{
    const StoredFile copyFile(session, copy), documentFile(session, document);
    const std::vector<Text> copyTables = copyFile.Tables(), documentTables = documentFile.Tables();
    std::vector<TableDifference> differences;
    for (const Text& name : copyTables) {
        const Text* const other = Named(documentTables, name);
        differences.push_back(other ? TableComparison(copyFile, documentFile, name, *other).Run()
                                    : AloneOn(copyFile, name, true));
    }
    for (const Text& name : documentTables)
        if (!Named(copyTables, name)) differences.push_back(AloneOn(documentFile, name, false));
    return differences;
}

}  // namespace vmlib::host
