#include "engine/Keyset.h"

#include <algorithm>

namespace vmlib::engine {

namespace {

RowShape ShapeOf(const Selection& selection, KeysetRows::Keep keep)
{
    RowShape shape = ShapeOfValues(selection);
    if (keep == KeysetRows::Keep::Values) return shape;
    shape.tables = selection.Tables();
    shape.origins = selection.Origins();
    for (std::size_t i = 0; i < shape.columns.size(); ++i)
        if (shape.origins[i]) shape.designs[i].reset();
    return shape;
}

}  // namespace

KeysetRows::KeysetRows(const Selection& selection, Keep keepWhat) : shape(ShapeOf(selection, keepWhat)), keep(keepWhat)
{
    for (const auto& origin : shape.origins) {
        if (origin)
            valueOf.push_back(std::nullopt);
        else
            valueOf.push_back(valuesPerRow++);
    }
    const SessionRef& session = selection.TheEngine().TheDatabase().TheSession();
    values = std::make_unique<KeptRows>(session->FilesPort(), session->TemporaryFolder(), valuesPerRow);
}

KeysetRows::KeysetRows(const KeysetRows& like, std::nullptr_t)
    : shape(like.shape),
      keep(like.keep),
      valueOf(like.valueOf),
      valuesPerRow(like.valuesPerRow),
      values(like.values->Another())
{
}

void KeysetRows::Fill(const Selection& selection)
{
    std::vector<bool> wanted;
    for (const auto& slot : valueOf) wanted.push_back(slot.has_value());
    const auto stream = selection.Run(wanted);
    while (stream->Next()) {
        for (std::size_t table = 0; table < shape.tables.size(); ++table) pointers.push_back(stream->Pointer(table));
        jet::Row row;
        row.reserve(valuesPerRow);
        for (std::size_t column = 0; column < valueOf.size(); ++column)
            if (valueOf[column]) row.push_back(stream->Value(column));
        values->Add(std::move(row));
        deleted.push_back(false);
    }
    selected = Size();
}

Keyset::Keyset(std::shared_ptr<KeysetRows> rows) : rows_(std::move(rows))
{
    for (const TableRef& table : rows_->shape.tables) readers_.emplace_back(table);
}

bool Keyset::Settle(std::size_t place, bool forward)
{
    const auto& deleted = rows_->deleted;
    if (forward)
        while (place < deleted.size() && deleted[place]) ++place;
    else
        do {
            if (place == 0) return false;
            --place;
        } while (deleted[place]);
    if (place >= deleted.size()) {
        rows_->visited = std::max(rows_->visited, deleted.size());
        return false;
    }
    at_ = place;
    rows_->visited = std::max(rows_->visited, place + 1);
    Refetch();
    return true;
}

bool Keyset::GoTo(const Bytes& bookmark)
{
    const std::uint32_t place = PlaceOf(bookmark, rows_->number);
    if (place >= rows_->Size()) throw Error(ErrorNumber::BadBookmark);
    if (rows_->deleted[place]) return false;
    at_ = place;
    Refetch();
    return true;
}

jet::Value Keyset::Read(std::size_t column)
{
    if (rows_->deleted[at_]) throw Error(ErrorNumber::RecordDeleted);
    if (const auto slot = rows_->valueOf[column]) return rows_->values->At(at_)[*slot];
    const auto& origin = *rows_->shape.origins[column];
    const auto pointer = Pointer(origin.table);
    if (!pointer) return Null{};  // an outer join found no row
    return readers_[origin.table].At(*pointer).at(origin.column);
}

std::optional<jet::RowPointer> Keyset::Pointer(std::size_t table) const
{
    return rows_->pointers[at_ * rows_->shape.tables.size() + table];
}

void Keyset::Refetch()
{
    for (RowReader& reader : readers_) reader.Forget();
}

std::int32_t Keyset::Living(std::size_t end) const
{
    return static_cast<std::int32_t>(
        std::count(rows_->deleted.begin(), rows_->deleted.begin() + static_cast<std::ptrdiff_t>(end), false));
}

std::int32_t Keyset::Count()
{
    if (rows_->countsTable) return static_cast<std::int32_t>(rows_->shape.tables.front().table->RowCount());
    if (rows_->visited >= rows_->selected) return Living(rows_->Size());
    const std::int32_t added = Living(rows_->Size()) - Living(rows_->selected);
    return Living(rows_->visited) + added;
}

std::optional<std::int32_t> Keyset::Position() const
{
    return Living(at_);
}

bool Keyset::GoToPosition(std::int32_t position)
{
    if (position < 0 || !First()) return false;
    while (position-- > 0)
        if (!Next()) return false;
    return true;
}

Bytes Keyset::Added(jet::RowPointer row)
{
    rows_->pointers.push_back(row);
    for (std::size_t table = 1; table < rows_->shape.tables.size(); ++table) rows_->pointers.push_back(std::nullopt);
    rows_->values->Add(jet::Row(rows_->valuesPerRow));
    rows_->deleted.push_back(false);
    return MakeBookmark(rows_->number, static_cast<std::uint32_t>(rows_->Size() - 1));
}

std::unique_ptr<RowSource> Keyset::Subset(const std::vector<Bytes>& bookmarks) const
{
    const auto copyOf = [](const auto& list, std::size_t place, std::size_t width, auto& into) {
        const auto begin = list.begin() + static_cast<std::ptrdiff_t>(place * width);
        into.insert(into.end(), begin, begin + static_cast<std::ptrdiff_t>(width));
    };
    auto subset = std::make_shared<KeysetRows>(*rows_, nullptr);
    for (const Bytes& bookmark : bookmarks) {
        const std::size_t place = PlaceOf(bookmark, rows_->number);
        copyOf(rows_->pointers, place, rows_->shape.tables.size(), subset->pointers);
        if (rows_->valuesPerRow > 0) subset->values->Add(rows_->values->At(place));
        subset->deleted.push_back(false);
    }
    subset->selected = subset->Size();
    return std::make_unique<Keyset>(std::move(subset));
}

}  // namespace vmlib::engine
