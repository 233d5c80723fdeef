#pragma once

#include "engine/Cursor.h"
#include "engine/RecordsetField.h"

namespace vmlib::engine {

/// A recordset as late-bound callers see it: which members work for which type, and DAO's forms of arguments and
/// results. Rows, places and changes are the cursor's.
class RecordsetObject : public EngineObject<RecordsetObject>
{
public:
    RecordsetObject(std::shared_ptr<Cursor> cursor, TextView name);
    static const MemberTable& Members();

    Text Name() { return name_; }
    std::int16_t Type() const { return static_cast<std::int16_t>(cursor_->Type()); }
    bool Updatable() { return cursor_->IsUpdatable(); }
    bool Bookmarkable() const { return cursor_->Type() != RecordsetType::ForwardOnly; }
    bool Restartable() const { return cursor_->Type() != RecordsetType::Table; }
    bool Transactions() const { return true; }
    std::int16_t Mode() { return cursor_->Source(), static_cast<std::int16_t>(cursor_->Mode()); }
    bool LockEdits() const { return cursor_->LocksEdits(); }
    void SetLockEdits(bool lock) { cursor_->SetLocksEdits(lock); }
    bool NoMatch() const { return noMatch_; }

    bool Bof() { return cursor_->Bof(); }
    bool Eof() { return cursor_->Eof(); }
    std::int32_t RecordCount() { return cursor_->Source().Count(); }
    std::int32_t AbsolutePosition();
    void SetAbsolutePosition(std::int32_t position);
    float PercentPosition();
    void SetPercentPosition(float percent);
    /// Of a recordset over one table: the rule of that table; "" without one.
    Text ValidationRule() { return TableProperty(u"ValidationRule"); }
    Text ValidationText() { return TableProperty(u"ValidationText"); }
    /// Of the table. @throws Error 3251 for other types than a table
    Date DateCreated();
    Date LastUpdated();
    Variant Bookmark();
    void SetBookmark(const Variant& bookmark);
    Variant LastModified();

    Variant Fields(const Optional& index) { return CollectionOrItem(fields_, index); }
    void PutField(const Optional& index, const Variant& value);
    Variant Collect(const Variant& index);
    void PutCollect(const Variant& index, const Variant& value);

    void MoveFirst(std::optional<std::int32_t> options);
    void MoveLast(std::optional<std::int32_t> options);
    void MoveNext() { cursor_->MoveNext(); }
    void MovePrevious();
    void Move(std::int32_t rows, Optional startBookmark);

    void AddNew() { cursor_->AddNew(); }
    void Edit() { cursor_->Edit(); }
    void Update(std::optional<std::int32_t> type, std::optional<bool> force);
    void CancelUpdate(std::optional<std::int32_t> type);
    void Delete() { cursor_->Delete(); }

    Text Index();
    void SetIndex(const Text& name);
    void Seek(const Text& comparison, const Variant& key1, Optional key2, Optional key3, Optional key4, Optional key5,
              Optional key6, Optional key7, Optional key8, Optional key9, Optional key10, Optional key11,
              Optional key12, Optional key13);
    void FindFirst(const Text& criteria) { Find(criteria, true, true); }
    void FindLast(const Text& criteria) { Find(criteria, true, false); }
    void FindNext(const Text& criteria) { Find(criteria, false, true); }
    void FindPrevious(const Text& criteria) { Find(criteria, false, false); }

    Text Filter() const { return filter_; }
    void SetFilter(const Text& filter);
    Text Sort() const { return sort_; }
    void SetSort(const Text& sort);
    std::shared_ptr<RecordsetObject> OpenRecordset(Optional type, Optional options);
    std::shared_ptr<RecordsetObject> Clone();
    Variant GetRows(std::optional<std::int32_t> count);
    void Requery();
    void Close() { cursor_->Close(); }
    Variant Properties(const Optional& index);

    const std::shared_ptr<Cursor>& TheCursor() const { return cursor_; }

private:
    void Find(const Text& criteria, bool fromEnd, bool forward);
    void RequireMovable();
    void RequireNotTable();
    Text TableProperty(TextView name);
    const jet::ObjectEntry& TableEntry();

    std::shared_ptr<Cursor> cursor_;
    Text name_, index_, filter_, sort_;
    std::shared_ptr<RecordsetFields> fields_;
    bool noMatch_ = false;
};

/// A new cursor over the rows of another for which `filter` is True, in the order of `sort`; either may be "".
std::shared_ptr<Cursor> FilteredAndSorted(Cursor& cursor, const Text& filter, const Text& sort);

}  // namespace vmlib::engine
