#include "engine/RecordsetObject.h"

#include <algorithm>

#include "automation/Convert.h"
#include "engine/IndexOrder.h"
#include "engine/Keyset.h"
#include "engine/PropertyObject.h"
#include "engine/Queries.h"
#include "engine/Values.h"

namespace vmlib::engine {
namespace {

constexpr std::size_t greatestNameLength = 256;

Bytes BookmarkOf(const Variant& value)
{
    if (!value.IsArray() || !value.AsArray().HoldsBytes()) throw Error(ErrorNumber::BadBookmark);
    return value.AsArray().AsBytes();
}

}  // namespace

RecordsetObject::RecordsetObject(std::shared_ptr<Cursor> cursor, TextView name)
    : EngineObject(cursor->TheDatabase().TheSession()),
      cursor_(std::move(cursor)),
      name_(name.substr(0, greatestNameLength)),
      fields_(std::make_shared<RecordsetFields>(TheSession(), cursor_))
{
}

const MemberTable& RecordsetObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<RecordsetObject>(u"Recordset")
            .DefaultProperty<&RecordsetObject::Fields, &RecordsetObject::PutField>(u"Fields", {u"Item"})
            .Property<&RecordsetObject::Name>(u"Name")
            .Property<&RecordsetObject::Type>(u"Type")
            .Property<&RecordsetObject::Updatable>(u"Updatable")
            .Property<&RecordsetObject::Bookmarkable>(u"Bookmarkable")
            .Property<&RecordsetObject::Restartable>(u"Restartable")
            .Property<&RecordsetObject::Transactions>(u"Transactions")
            .Property<&RecordsetObject::Mode>(u"EditMode")
            .Property<&RecordsetObject::LockEdits, &RecordsetObject::SetLockEdits>(u"LockEdits")
            .Property<&RecordsetObject::NoMatch>(u"NoMatch")
            .Property<&RecordsetObject::Bof>(u"BOF")
            .Property<&RecordsetObject::Eof>(u"EOF")
            .Property<&RecordsetObject::RecordCount>(u"RecordCount")
            .Property<&RecordsetObject::AbsolutePosition, &RecordsetObject::SetAbsolutePosition>(u"AbsolutePosition")
            .Property<&RecordsetObject::PercentPosition, &RecordsetObject::SetPercentPosition>(u"PercentPosition")
            .Property<&RecordsetObject::ValidationRule>(u"ValidationRule")
            .Property<&RecordsetObject::ValidationText>(u"ValidationText")
            .Property<&RecordsetObject::DateCreated>(u"DateCreated")
            .Property<&RecordsetObject::LastUpdated>(u"LastUpdated")
            .Property<&RecordsetObject::Bookmark, &RecordsetObject::SetBookmark>(u"Bookmark")
            .Property<&RecordsetObject::LastModified>(u"LastModified")
            .Property<&RecordsetObject::Collect, &RecordsetObject::PutCollect>(u"Collect", {u"Item"})
            .Method<&RecordsetObject::MoveFirst>(u"MoveFirst", {u"Options"})
            .Method<&RecordsetObject::MoveLast>(u"MoveLast", {u"Options"})
            .Method<&RecordsetObject::MoveNext>(u"MoveNext")
            .Method<&RecordsetObject::MovePrevious>(u"MovePrevious")
            .Method<&RecordsetObject::Move>(u"Move", {u"Rows", u"StartBookmark"})
            .Method<&RecordsetObject::AddNew>(u"AddNew")
            .Method<&RecordsetObject::Edit>(u"Edit")
            .Method<&RecordsetObject::Update>(u"Update", {u"UpdateType", u"Force"})
            .Method<&RecordsetObject::CancelUpdate>(u"CancelUpdate", {u"UpdateType"})
            .Method<&RecordsetObject::Delete>(u"Delete")
            .Property<&RecordsetObject::Index, &RecordsetObject::SetIndex>(u"Index")
            .Method<&RecordsetObject::Seek>(
                u"Seek", {u"Comparison", u"Key1", u"Key2", u"Key3", u"Key4", u"Key5", u"Key6", u"Key7", u"Key8",
                          u"Key9", u"Key10", u"Key11", u"Key12", u"Key13"})
            .Method<&RecordsetObject::FindFirst>(u"FindFirst", {u"Criteria"})
            .Method<&RecordsetObject::FindLast>(u"FindLast", {u"Criteria"})
            .Method<&RecordsetObject::FindNext>(u"FindNext", {u"Criteria"})
            .Method<&RecordsetObject::FindPrevious>(u"FindPrevious", {u"Criteria"})
            .Property<&RecordsetObject::Filter, &RecordsetObject::SetFilter>(u"Filter")
            .Property<&RecordsetObject::Sort, &RecordsetObject::SetSort>(u"Sort")
            .Method<&RecordsetObject::OpenRecordset>(u"OpenRecordset", {u"Type", u"Options"})
            .Method<&RecordsetObject::Clone>(u"Clone")
            .Method<&RecordsetObject::GetRows>(u"GetRows", {u"NumRows"})
            .Method<&RecordsetObject::Requery>(u"Requery")
            .Method<&RecordsetObject::Close>(u"Close")
            .Property<&RecordsetObject::Properties>(u"Properties", {u"Item"});
    return table;
}

void RecordsetObject::RequireMovable()
{
    cursor_->Source();
    if (cursor_->Type() == RecordsetType::ForwardOnly) throw Error(ErrorNumber::NotSupported);
}

void RecordsetObject::RequireNotTable()
{
    RequireMovable();
    if (cursor_->Type() == RecordsetType::Table) throw Error(ErrorNumber::NotSupported);
}

std::int32_t RecordsetObject::AbsolutePosition()
{
    RequireNotTable();
    return cursor_->Position().value_or(-1);
}

void RecordsetObject::SetAbsolutePosition(std::int32_t position)
{
    RequireNotTable();
    cursor_->GoToPosition(position);
}

float RecordsetObject::PercentPosition()
{
    RequireMovable();
    const auto position = cursor_->Position();
    const std::int32_t count = RecordCount();
    return position && count > 0 ? 100.0f * static_cast<float>(*position) / static_cast<float>(count) : 0.0f;
}

void RecordsetObject::SetPercentPosition(float percent)
{
    RequireMovable();
    if (!(percent >= 0.0f && percent <= 100.0f)) throw Error(ErrorNumber::InvalidArgument);
    // The share is one of all rows, also of those that nobody has visited.
    cursor_->MoveLast();
    const std::int32_t count = RecordCount();
    const auto position = static_cast<std::int32_t>(static_cast<double>(percent) / 100.0 * count);
    cursor_->GoToPosition(std::min(position, count - 1));
}

Text RecordsetObject::TableProperty(TextView name)
{
    const auto& tables = cursor_->Shape().tables;
    if (tables.size() != 1) return {};
    return tables.front().table->Definition().properties.String(name).value_or(Text());
}

const jet::ObjectEntry& RecordsetObject::TableEntry()
{
    cursor_->Source();
    if (cursor_->Type() != RecordsetType::Table) throw Error(ErrorNumber::NotSupported);
    const auto* entry = cursor_->TheDatabase().Storage().FindObject(cursor_->TableName(), tableObject);
    if (!entry) throw Error(ErrorNumber::NoSuchObject, {cursor_->TableName()});
    return *entry;
}

Date RecordsetObject::DateCreated()
{
    return TableEntry().created;
}

Date RecordsetObject::LastUpdated()
{
    return TableEntry().updated;
}

Variant RecordsetObject::Bookmark()
{
    RequireMovable();
    return Variant(Array(cursor_->Bookmark()));
}

void RecordsetObject::SetBookmark(const Variant& bookmark)
{
    RequireMovable();
    cursor_->GoTo(BookmarkOf(bookmark));
}

Variant RecordsetObject::LastModified()
{
    RequireMovable();
    return Variant(Array(cursor_->LastModified()));
}

void RecordsetObject::PutField(const Optional& index, const Variant& value)
{
    fields_->PutItem(index.value, value);
}

Variant RecordsetObject::Collect(const Variant& index)
{
    return Get(fields_->Item(index), u"Value");
}

void RecordsetObject::PutCollect(const Variant& index, const Variant& value)
{
    fields_->PutItem(index, value);
}

void RecordsetObject::MoveFirst(std::optional<std::int32_t>)
{
    RequireMovable();
    cursor_->MoveFirst();
}

void RecordsetObject::MoveLast(std::optional<std::int32_t>)
{
    RequireMovable();
    cursor_->MoveLast();
}

void RecordsetObject::MovePrevious()
{
    RequireMovable();
    cursor_->MovePrevious();
}

void RecordsetObject::Move(std::int32_t rows, Optional startBookmark)
{
    if (rows < 0 || startBookmark.Given()) RequireMovable();
    if (startBookmark.Given()) cursor_->GoTo(BookmarkOf(startBookmark.value));
    if (rows != 0 || !startBookmark.Given()) cursor_->Move(rows);
}

void RecordsetObject::Update(std::optional<std::int32_t>, std::optional<bool>)
{
    cursor_->Update();
}

void RecordsetObject::CancelUpdate(std::optional<std::int32_t>)
{
    cursor_->CancelUpdate();
}

Text RecordsetObject::Index()
{
    cursor_->Source();
    if (cursor_->Type() != RecordsetType::Table) throw Error(ErrorNumber::NotSupported);
    return index_;
}

void RecordsetObject::SetIndex(const Text& name)
{
    cursor_->Source();
    if (cursor_->Type() != RecordsetType::Table) throw Error(ErrorNumber::NotSupported);
    if (name.empty())
        cursor_->Requery();
    else
        cursor_->Replace(std::make_unique<IndexOrder>(cursor_->Shape(), name));
    index_ = name;
}

void RecordsetObject::Seek(const Text& comparison, const Variant& key1, Optional key2, Optional key3, Optional key4,
                           Optional key5, Optional key6, Optional key7, Optional key8, Optional key9, Optional key10,
                           Optional key11, Optional key12, Optional key13)
{
    RequireMovable();
    auto* order = dynamic_cast<IndexOrder*>(&cursor_->Source());
    if (cursor_->Type() != RecordsetType::Table) throw Error(ErrorNumber::NotSupported);
    if (!order) throw Error(ErrorNumber::NoCurrentIndex);
    std::vector<Variant> keys{key1};
    for (const Optional* key :
         {&key2, &key3, &key4, &key5, &key6, &key7, &key8, &key9, &key10, &key11, &key12, &key13}) {
        if (!key->Given()) break;
        keys.push_back(key->value);
    }
    const bool found = order->Seek(comparison, keys);
    cursor_->Arrived(found);
    noMatch_ = !found;
}

void RecordsetObject::Find(const Text& criteria, bool fromEnd, bool forward)
{
    RequireNotTable();
    noMatch_ = !cursor_->Find(criteria, fromEnd, forward);
}

void RecordsetObject::SetFilter(const Text& filter)
{
    RequireNotTable();
    filter_ = filter;
}

void RecordsetObject::SetSort(const Text& sort)
{
    RequireNotTable();
    sort_ = sort;
}

std::shared_ptr<RecordsetObject> RecordsetObject::OpenRecordset(Optional, Optional)
{
    RequireNotTable();
    auto cursor = FilteredAndSorted(*cursor_, filter_, sort_);
    cursor_->TheDatabase().Remember(cursor);
    return std::make_shared<RecordsetObject>(std::move(cursor), name_);
}

std::shared_ptr<RecordsetObject> RecordsetObject::Clone()
{
    RequireMovable();
    auto cursor = std::make_shared<Cursor>(*cursor_);
    cursor_->TheDatabase().Remember(cursor);
    auto clone = std::make_shared<RecordsetObject>(std::move(cursor), name_);
    clone->index_ = index_;
    return clone;
}

Variant RecordsetObject::GetRows(std::optional<std::int32_t> count)
{
    const std::size_t width = cursor_->Shape().columns.size();
    std::vector<Variant> items;
    std::int32_t rows = 0;
    if (cursor_->Eof()) throw Error(ErrorNumber::NoCurrentRecord);
    for (; rows < count.value_or(1) && !cursor_->Eof(); ++rows) {
        for (std::size_t column = 0; column < width; ++column) items.push_back(ToVariant(cursor_->Read(column)));
        cursor_->MoveNext();
    }
    return Variant(Array(VarType::Variant, {{0, static_cast<std::int32_t>(width)}, {0, rows}}, std::move(items)));
}

void RecordsetObject::Requery()
{
    index_.empty() ? cursor_->Requery() : SetIndex(index_);
}

Variant RecordsetObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

}  // namespace vmlib::engine
