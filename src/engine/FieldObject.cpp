#include "engine/FieldObject.h"

#include "engine/PropertyObject.h"

namespace vmlib::engine {
namespace {

[[noreturn]] void NotHere()
{
    throw Error(ErrorNumber::InvalidOperation);
}

[[noreturn]] void OnlyInRecordset()
{
    throw Error(ErrorNumber::PropertyOnlyInRecordset);
}

}  // namespace

const MemberTable& FieldObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<FieldObject>(u"Field")
            .DefaultProperty<&FieldObject::Value, &FieldObject::SetValue>(u"Value")
            .Property<&FieldObject::Name, &FieldObject::SetName>(u"Name")
            .Property<&FieldObject::Type, &FieldObject::SetType>(u"Type")
            .Property<&FieldObject::Size, &FieldObject::SetSize>(u"Size")
            .Property<&FieldObject::Attributes, &FieldObject::SetAttributes>(u"Attributes")
            .Property<&FieldObject::OrdinalPosition, &FieldObject::SetOrdinalPosition>(u"OrdinalPosition")
            .Property<&FieldObject::Required, &FieldObject::SetRequired>(u"Required")
            .Property<&FieldObject::AllowZeroLength, &FieldObject::SetAllowZeroLength>(u"AllowZeroLength")
            .Property<&FieldObject::DefaultValue, &FieldObject::SetDefaultValue>(u"DefaultValue")
            .Property<&FieldObject::ValidationRule, &FieldObject::SetValidationRule>(u"ValidationRule")
            .Property<&FieldObject::ValidationText, &FieldObject::SetValidationText>(u"ValidationText")
            .Property<&FieldObject::ValidateOnSet, &FieldObject::SetValidateOnSet>(u"ValidateOnSet")
            .Property<&FieldObject::CollectionIndex>(u"CollectionIndex")
            .Property<&FieldObject::SourceTable>(u"SourceTable")
            .Property<&FieldObject::SourceField>(u"SourceField")
            .Property<&FieldObject::ForeignName, &FieldObject::SetForeignName>(u"ForeignName")
            .Property<&FieldObject::CollatingOrder>(u"CollatingOrder")
            .Property<&FieldObject::DataUpdatable>(u"DataUpdatable")
            .Method<&FieldObject::FieldSize>(u"FieldSize")
            .Method<&FieldObject::GetChunk>(u"GetChunk", {u"Offset", u"Bytes"})
            .Method<&FieldObject::AppendChunk>(u"AppendChunk", {u"Val"})
            .Property<&FieldObject::Properties>(u"Properties", {u"Item"});
    return table;
}

void FieldObject::SetName(const Text&)
{
    NotHere();
}
std::int16_t FieldObject::Type()
{
    NotHere();
}
void FieldObject::SetType(std::int16_t)
{
    NotHere();
}
std::int32_t FieldObject::Size()
{
    NotHere();
}
void FieldObject::SetSize(std::int32_t)
{
    NotHere();
}
std::int32_t FieldObject::Attributes()
{
    NotHere();
}
void FieldObject::SetAttributes(std::int32_t)
{
    NotHere();
}
std::int16_t FieldObject::OrdinalPosition()
{
    NotHere();
}
void FieldObject::SetOrdinalPosition(std::int16_t)
{
    NotHere();
}
bool FieldObject::Required()
{
    NotHere();
}
void FieldObject::SetRequired(bool)
{
    NotHere();
}
bool FieldObject::AllowZeroLength()
{
    NotHere();
}
void FieldObject::SetAllowZeroLength(bool)
{
    NotHere();
}
Variant FieldObject::DefaultValue()
{
    NotHere();
}
void FieldObject::SetDefaultValue(const Variant&)
{
    NotHere();
}
Text FieldObject::ValidationRule()
{
    NotHere();
}
void FieldObject::SetValidationRule(const Text&)
{
    NotHere();
}
Text FieldObject::ValidationText()
{
    NotHere();
}
void FieldObject::SetValidationText(const Text&)
{
    NotHere();
}
bool FieldObject::ValidateOnSet()
{
    NotHere();
}
void FieldObject::SetValidateOnSet(bool)
{
    NotHere();
}
std::int16_t FieldObject::CollectionIndex()
{
    NotHere();
}
Text FieldObject::SourceTable()
{
    NotHere();
}
Text FieldObject::SourceField()
{
    NotHere();
}
Text FieldObject::ForeignName()
{
    NotHere();
}
void FieldObject::SetForeignName(const Text&)
{
    NotHere();
}
std::int32_t FieldObject::CollatingOrder()
{
    NotHere();
}
bool FieldObject::DataUpdatable()
{
    NotHere();
}
Variant FieldObject::Value()
{
    OnlyInRecordset();
}
void FieldObject::SetValue(const Variant&)
{
    OnlyInRecordset();
}
std::int32_t FieldObject::FieldSize()
{
    OnlyInRecordset();
}
Variant FieldObject::GetChunk(std::int32_t, std::int32_t)
{
    OnlyInRecordset();
}
void FieldObject::AppendChunk(const Variant&)
{
    OnlyInRecordset();
}

Variant FieldObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

std::int32_t AttributesOf(const jet::ColumnDefinition& column)
{
    const bool isVariable = !column.fixedSize && !jet::FixedSize(column.type);
    return (isVariable ? variableField : fixedField) | (column.autoNumber ? autoIncrementField : 0);
}

std::int32_t SizeOf(const jet::ColumnDefinition& column)
{
    if (jet::IsLongValue(column.type)) return 0;
    if (const auto size = jet::FixedSize(column.type)) return *size;
    return column.size;
}

}  // namespace vmlib::engine
