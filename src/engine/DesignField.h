#pragma once

#include "engine/FieldObject.h"
#include "engine/Handles.h"

namespace vmlib::engine {

/// The table that fields and indexes belong to, shared by its objects: one that is being made, or a stored one.
struct TableDesign
{
    SessionRef session;
    DatabaseRef database;
    Text name;
    std::uint32_t attributes = 0;
    bool isStored = false;
    jet::PropertyList properties{};  // until it is stored

    /// The stored table as it is now. @throws Error 3420 when the database is closed, 3265 when the table is gone
    std::shared_ptr<jet::Table> Open() const;
    /// @throws Error 3370, 3211
    void RequireChangeable() const;
};
using TableDesignRef = std::shared_ptr<TableDesign>;

/// Types of the properties that keep texts.
inline constexpr std::uint8_t textProperty = 10, memoProperty = 12;

/// A field of a table: free until it is appended, then bound to the stored column.
class DesignField : public FieldObject
{
public:
    DesignField(SessionRef session, TextView name) : FieldObject(std::move(session)) { column_.name = name; }
    /// A stored column.
    DesignField(TableDesignRef table, jet::ColumnDefinition column);

    Text Name() override;
    void SetName(const Text& name) override;
    std::int16_t Type() override { return type_; }
    void SetType(std::int16_t type) override;
    std::int32_t Size() override;
    void SetSize(std::int32_t size) override;
    std::int32_t Attributes() override;
    void SetAttributes(std::int32_t attributes) override;
    std::int16_t OrdinalPosition() override;
    void SetOrdinalPosition(std::int16_t position) override;
    bool Required() override;
    void SetRequired(bool required) override;
    bool AllowZeroLength() override;
    void SetAllowZeroLength(bool allow) override;
    Variant DefaultValue() override;
    void SetDefaultValue(const Variant& value) override;
    Text ValidationRule() override;
    void SetValidationRule(const Text& rule) override;
    Text ValidationText() override;
    void SetValidationText(const Text& text) override;
    bool ValidateOnSet() override;
    void SetValidateOnSet(bool validate) override;
    std::int16_t CollectionIndex() override;
    Text SourceTable() override;
    Text SourceField() override { return Name(); }
    std::int32_t CollatingOrder() override;
    bool DataUpdatable() override { return false; }

    /// Takes its place in a table: checks name, type and size, and becomes a column.
    /// @throws Error 3266 when it is in a table already, 3259, 3382, 3125
    void Bind(TableDesignRef table, std::size_t position);
    bool IsBound() const { return table_ != nullptr; }
    const jet::ColumnDefinition& Column() const { return column_; }
    /// @throws Error 3320 when its rule or its default value is no expression for this table
    void CheckExpressions(QueryEngine& engine, const jet::TableDefinition& table) const;
    void Unbind() { table_ = nullptr; }

private:
    /// The column as stored now, of a field of a stored table.
    const jet::ColumnDefinition& Current();
    void Change(const std::function<void(jet::PropertyList&)>& change);
    void RequireFree() const;
    bool IsStored() const { return table_ && table_->isStored; }
    Text StringProperty(TextView name);
    void SetStringProperty(TextView name, TextView value, std::uint8_t type);

    TableDesignRef table_;
    jet::ColumnDefinition column_;
    std::int16_t type_ = 0;
    std::optional<std::int32_t> size_;
    std::int32_t attributes_ = 0;
    std::optional<std::int16_t> position_;
};

/// A field of an index or a relation: a name, and what goes with it there.
class KeyField : public FieldObject
{
public:
    KeyField(SessionRef session, TextView name) : FieldObject(std::move(session)), name_(name) {}

    Text Name() override { return name_; }
    void SetName(const Text& name) override;
    /// Of an index: 1 is descending.
    std::int32_t Attributes() override { return attributes_; }
    void SetAttributes(std::int32_t attributes) override;
    /// Of a relation: the field of the foreign table.
    Text ForeignName() override { return foreignName_; }
    void SetForeignName(const Text& name) override;

    void Fix() { isFixed_ = true; }

private:
    void RequireFree() const;

    Text name_, foreignName_;
    std::int32_t attributes_ = 0;
    bool isFixed_ = false;
};

inline constexpr std::int32_t descendingField = 1;

}  // namespace vmlib::engine
