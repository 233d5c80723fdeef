#pragma once

#include "engine/Cursor.h"
#include "engine/FieldObject.h"

namespace vmlib::engine {

/// A column of a recordset.
class RecordsetField : public FieldObject
{
public:
    RecordsetField(SessionRef session, std::shared_ptr<Cursor> cursor, std::size_t column)
        : FieldObject(std::move(session)), cursor_(std::move(cursor)), column_(column)
    {
    }

    Text Name() override { return Output().name; }
    std::int16_t Type() override;
    std::int32_t Size() override;
    std::int32_t Attributes() override;
    std::int16_t OrdinalPosition() override { return static_cast<std::int16_t>(column_); }
    bool Required() override;
    bool AllowZeroLength() override;
    Variant DefaultValue() override;
    Text ValidationRule() override;
    Text ValidationText() override;
    bool ValidateOnSet() override;
    void SetValidateOnSet(bool validate) override { validateOnSet_ = validate; }
    std::int16_t CollectionIndex() override { return static_cast<std::int16_t>(column_); }
    Text SourceTable() override { return Output().sourceTable; }
    Text SourceField() override { return Output().sourceField; }
    std::int32_t CollatingOrder() override;
    bool DataUpdatable() override { return cursor_->CanWrite(column_); }

    Variant Value() override;
    void SetValue(const Variant& value) override;
    std::int32_t FieldSize() override;
    Variant GetChunk(std::int32_t offset, std::int32_t count) override;
    void AppendChunk(const Variant& chunk) override;

private:
    const sql::OutputColumn& Output() { return cursor_->Shape().columns[column_]; }
    Text StringProperty(TextView name);

    std::shared_ptr<Cursor> cursor_;
    std::size_t column_;
    std::optional<bool> validateOnSet_;       // once it was asked for: the table's, until it is set here
    std::optional<std::uint64_t> appending_;  // the edit that AppendChunk adds to
};

class RecordsetFields : public ListOf<RecordsetField>
{
public:
    RecordsetFields(SessionRef session, std::shared_ptr<Cursor> cursor)
        : ListOf(std::move(session), u"Fields"), cursor_(std::move(cursor))
    {
    }
    void Refresh() override {}

protected:
    std::vector<std::shared_ptr<RecordsetField>> Load() override;

private:
    std::shared_ptr<Cursor> cursor_;
};

}  // namespace vmlib::engine
