#pragma once

#include "engine/Collections.h"
#include "jet/Definition.h"

namespace vmlib::engine {

/// A field as late-bound callers see it, wherever it stands: of a table, an index, a relation, a query, a recordset.
/// What a kind of field does not have is an error here; the kinds override what they have.
class FieldObject : public EngineObject<FieldObject>
{
public:
    explicit FieldObject(SessionRef session) : EngineObject(std::move(session)) {}
    static const MemberTable& Members();

    virtual Text Name() = 0;
    virtual void SetName(const Text& name);
    virtual std::int16_t Type();
    virtual void SetType(std::int16_t type);
    virtual std::int32_t Size();
    virtual void SetSize(std::int32_t size);
    virtual std::int32_t Attributes();
    virtual void SetAttributes(std::int32_t attributes);
    virtual std::int16_t OrdinalPosition();
    virtual void SetOrdinalPosition(std::int16_t position);
    virtual bool Required();
    virtual void SetRequired(bool required);
    virtual bool AllowZeroLength();
    virtual void SetAllowZeroLength(bool allow);
    virtual Variant DefaultValue();
    virtual void SetDefaultValue(const Variant& value);
    virtual Text ValidationRule();
    virtual void SetValidationRule(const Text& rule);
    virtual Text ValidationText();
    virtual void SetValidationText(const Text& text);
    /// True: the rule is looked at when a value is set, not only in Update.
    virtual bool ValidateOnSet();
    virtual void SetValidateOnSet(bool validate);
    /// The place in the collection.
    virtual std::int16_t CollectionIndex();
    virtual Text SourceTable();
    virtual Text SourceField();
    virtual Text ForeignName();
    virtual void SetForeignName(const Text& name);
    virtual std::int32_t CollatingOrder();
    virtual bool DataUpdatable();

    // Only in a recordset.
    virtual Variant Value();
    virtual void SetValue(const Variant& value);
    virtual std::int32_t FieldSize();
    virtual Variant GetChunk(std::int32_t offset, std::int32_t count);
    virtual void AppendChunk(const Variant& chunk);

    Variant Properties(const Optional& index);
};

/// DAO's attribute bits of fields.
inline constexpr std::int32_t fixedField = 1;
inline constexpr std::int32_t variableField = 2;
inline constexpr std::int32_t autoIncrementField = 16;
inline constexpr std::int32_t updatableField = 32;

/// The attribute bits of a stored column.
std::int32_t AttributesOf(const jet::ColumnDefinition& column);
/// Characters, bytes; 0 for memo and long binary.
std::int32_t SizeOf(const jet::ColumnDefinition& column);

}  // namespace vmlib::engine
