// Places and values; changes are in CursorChange.cpp.

#include "engine/Cursor.h"

#include <algorithm>

#include "engine/Values.h"
#include "sql/Parser.h"

namespace vmlib::engine {

Cursor::Cursor(DatabaseRef database, Opening opening, Opener opener)
    : database_(std::move(database)), opening_(std::move(opening)), opener_(std::move(opener)), source_(opener_())
{
    Arrived(source_->First());
    if (place_ != Place::OnRow) place_ = Place::Empty;
}

Cursor::Cursor(const Cursor& other)
    : database_(other.database_), opening_(other.opening_), opener_(other.opener_), place_(Place::Nowhere)
{
    if (!other.source_) throw Error(ErrorNumber::ObjectInvalid);
    source_ = other.source_->Clone();
    if (other.place_ == Place::Empty) place_ = Place::Empty;
}

void Cursor::Close()
{
    if (!source_) throw Error(ErrorNumber::ObjectInvalid);
    DropBuffer();
    source_.reset();
    opener_ = nullptr;
}

RowSource& Cursor::Source()
{
    if (!source_) throw Error(ErrorNumber::ObjectInvalid);
    return *source_;
}

bool Cursor::Reads(jet::Database& storage, TextView table) const
{
    if (!source_ || !SameFile(database_->Storage(), storage)) return false;
    return std::ranges::any_of(opening_.reads, [&](const Text& read) { return EqualIgnoringCase(read, table); });
}

void Cursor::Replace(std::unique_ptr<RowSource> source)
{
    DropBuffer();
    source_ = std::move(source);
    rowDeleted_ = false;
    place_ = source_->First() ? Place::OnRow : Place::Empty;
}

void Cursor::Requery()
{
    Source();
    Replace(opener_());
}

void Cursor::Arrived(bool found)
{
    DropBuffer();
    rowDeleted_ = false;
    place_ = found ? Place::OnRow : Place::Nowhere;
}

void Cursor::MoveFirst()
{
    RowSource& source = Source();
    DropBuffer();
    if (place_ == Place::Empty || !source.First()) {
        place_ = Place::Empty;
        throw Error(ErrorNumber::NoCurrentRecord);
    }
    Arrived(true);
}

void Cursor::MoveLast()
{
    RowSource& source = Source();
    DropBuffer();
    if (place_ == Place::Empty || !source.Last()) {
        place_ = Place::Empty;
        throw Error(ErrorNumber::NoCurrentRecord);
    }
    Arrived(true);
}

void Cursor::MoveNext()
{
    RowSource& source = Source();
    DropBuffer();
    if (place_ == Place::Empty || place_ == Place::Behind || place_ == Place::Nowhere)
        throw Error(ErrorNumber::NoCurrentRecord);
    const bool moved = place_ == Place::Before ? source.First() : source.Next();
    Arrived(moved);
    if (!moved) place_ = Place::Behind;
}

void Cursor::MovePrevious()
{
    RowSource& source = Source();
    DropBuffer();
    if (place_ == Place::Empty || place_ == Place::Before || place_ == Place::Nowhere)
        throw Error(ErrorNumber::NoCurrentRecord);
    const bool moved = place_ == Place::Behind ? source.Last() : source.Previous();
    Arrived(moved);
    if (!moved) place_ = Place::Before;
}

void Cursor::Move(std::int32_t rows)
{
    Source();
    DropBuffer();
    if (place_ == Place::Empty || place_ == Place::Nowhere) throw Error(ErrorNumber::NoCurrentRecord);
    if (rows == 0) {
        RequireRow();
        source_->Refetch();
        return;
    }
    if ((rows > 0 && place_ == Place::Behind) || (rows < 0 && place_ == Place::Before))
        throw Error(ErrorNumber::NoCurrentRecord);
    // Beyond an end it stops there.
    for (; rows > 0 && place_ != Place::Behind; --rows) MoveNext();
    for (; rows < 0 && place_ != Place::Before; ++rows) MovePrevious();
}

void Cursor::RequireRow()
{
    Source();
    if (place_ != Place::OnRow) throw Error(ErrorNumber::NoCurrentRecord);
    if (rowDeleted_) throw Error(ErrorNumber::RecordDeleted);
}

Bytes Cursor::Bookmark()
{
    RequireRow();
    return source_->Bookmark();
}

void Cursor::GoTo(const Bytes& bookmark)
{
    RowSource& source = Source();
    DropBuffer();
    if (!source.GoTo(bookmark)) throw Error(ErrorNumber::RecordDeleted);
    Arrived(true);
}

Bytes Cursor::LastModified()
{
    Source();
    if (!lastModified_) throw Error(ErrorNumber::NoCurrentRecord);
    return *lastModified_;
}

std::optional<std::int32_t> Cursor::Position()
{
    Source();
    if (place_ != Place::OnRow) return std::nullopt;
    return source_->Position();
}

void Cursor::GoToPosition(std::int32_t position)
{
    RowSource& source = Source();
    if (position < 0 || !source.GoToPosition(position)) throw Error(ErrorNumber::NoCurrentRecord);
    Arrived(true);
}

const jet::ColumnDefinition* Cursor::ColumnOf(std::size_t column)
{
    const RowShape& shape = Shape();
    const auto& origin = shape.origins[column];
    return origin ? &shape.tables[origin->table].table->Definition().columns.at(origin->column) : nullptr;
}

const jet::ColumnDefinition* Cursor::DesignOf(std::size_t column)
{
    const jet::ColumnDefinition* changed = ColumnOf(column);
    return changed ? changed : Shape().designs[column].get();
}

jet::Value Cursor::Read(std::size_t column)
{
    RowSource& source = Source();
    const auto& origin = source.Shape().origins[column];
    if (Mode() == EditMode::Add) {
        if (!origin) return Null{};
        if (const auto& assigned = buffer_.changes[origin->table][origin->column]) return *assigned;
        return origin->table == 0 ? buffer_.added[origin->column] : jet::Value(Null{});
    }
    RequireRow();
    if (Mode() == EditMode::InProgress && origin)
        if (const auto& assigned = buffer_.changes[origin->table][origin->column]) return *assigned;
    return source.Read(column);
}

bool Cursor::Find(TextView criteria, bool fromEnd, bool forward)
{
    RowSource& source = Source();
    DropBuffer();
    if (place_ == Place::Empty) return false;
    const QueryEngine::Scope scope(database_->Queries());
    RowExpression expression =
        database_->Queries().Compile(sql::ParseExpression(criteria), source.Shape().columns, true);
    const bool hadRow = place_ == Place::OnRow && !rowDeleted_;
    const Bytes before = hadRow ? source.Bookmark() : Bytes();
    bool hasRow = false;
    if (fromEnd)
        hasRow = forward ? source.First() : source.Last();
    else if (place_ == Place::OnRow)
        hasRow = forward ? source.Next() : source.Previous();
    else
        throw Error(ErrorNumber::NoCurrentRecord);
    std::vector<jet::Value> values(expression.Columns().size());
    for (; hasRow; hasRow = forward ? source.Next() : source.Previous()) {
        for (std::size_t i = 0; i < values.size(); ++i) values[i] = source.Read(expression.Columns()[i]);
        if (!expression.Holds(values)) continue;
        Arrived(true);
        return true;
    }
    if (hadRow)
        source.GoTo(before);
    else
        place_ = Place::Nowhere;
    return false;
}

}  // namespace vmlib::engine
