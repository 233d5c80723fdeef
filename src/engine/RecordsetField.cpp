#include "engine/RecordsetField.h"

#include <algorithm>

#include "automation/Convert.h"
#include "engine/Values.h"

namespace vmlib::engine {
namespace {

constexpr std::int32_t greatestTextSize = 255;

/// The part of a text or of bytes that a chunk asks for: at most what is left.
template <class Whole>
Whole Part(const Whole& whole, std::int32_t offset, std::int32_t count)
{
    if (offset < 0 || count < 0) throw Error(ErrorNumber::InvalidArgument);
    const auto from = std::min(static_cast<std::size_t>(offset), whole.size());
    const auto size = std::min(static_cast<std::size_t>(count), whole.size() - from);
    const auto begin = whole.begin() + static_cast<std::ptrdiff_t>(from);
    return Whole(begin, begin + static_cast<std::ptrdiff_t>(size));
}

}  // namespace

std::int16_t RecordsetField::Type()
{
    return static_cast<std::int16_t>(ToColumnType(Output().type));
}

std::int32_t RecordsetField::Size()
{
    const jet::ColumnType type = ToColumnType(Output().type);
    if (jet::IsLongValue(type)) return 0;
    if (const auto size = jet::FixedSize(type)) return *size;
    return Output().size > 0 ? Output().size : greatestTextSize;
}

std::int32_t RecordsetField::Attributes()
{
    const jet::ColumnDefinition* column = cursor_->DesignOf(column_);
    const bool isFixed = jet::FixedSize(ToColumnType(Output().type)).has_value();
    std::int32_t attributes = column ? AttributesOf(*column) : (isFixed ? fixedField : variableField);
    if (Output().autoNumber) attributes |= autoIncrementField;
    if (cursor_->CanWrite(column_)) attributes |= updatableField;
    return attributes;
}

bool RecordsetField::Required()
{
    const jet::ColumnDefinition* column = cursor_->DesignOf(column_);
    return column && column->Required();
}

bool RecordsetField::AllowZeroLength()
{
    const jet::ColumnDefinition* column = cursor_->DesignOf(column_);
    return column && column->AllowZeroLength().value_or(false);
}

Text RecordsetField::StringProperty(TextView name)
{
    const jet::ColumnDefinition* column = cursor_->DesignOf(column_);
    return column ? column->properties.String(name).value_or(Text()) : Text();
}

Variant RecordsetField::DefaultValue()
{
    return StringProperty(u"DefaultValue");
}

Text RecordsetField::ValidationRule()
{
    return StringProperty(u"ValidationRule");
}

Text RecordsetField::ValidationText()
{
    return StringProperty(u"ValidationText");
}

bool RecordsetField::ValidateOnSet()
{
    if (!validateOnSet_) {
        const jet::ColumnDefinition* column = cursor_->DesignOf(column_);
        validateOnSet_ = column && column->properties.Boolean(u"ValidateOnSet").value_or(false);
    }
    return *validateOnSet_;
}

std::int32_t RecordsetField::CollatingOrder()
{
    const jet::ColumnDefinition* column = cursor_->DesignOf(column_);
    return column ? column->locale.langid : cursor_->TheDatabase().Storage().GetFacts().locale.langid;
}

Variant RecordsetField::Value()
{
    return ToVariant(cursor_->Read(column_));
}

void RecordsetField::SetValue(const Variant& value)
{
    if (ValidateOnSet() && cursor_->Mode() != EditMode::None) cursor_->CheckRule(column_, value);
    cursor_->Write(column_, value);
    appending_.reset();
}

std::int32_t RecordsetField::FieldSize()
{
    const Variant value = Value();
    if (value.IsText()) return static_cast<std::int32_t>(value.As<Text>().size());
    if (value.IsArray()) return static_cast<std::int32_t>(value.AsArray().AsBytes().size());
    if (value.IsNull()) return 0;
    throw Error(ErrorNumber::InvalidOperation);  // other types have no length
}

Variant RecordsetField::GetChunk(std::int32_t offset, std::int32_t count)
{
    Variant value = Value();
    if (value.IsText()) return Part(value.As<Text>(), offset, count);
    if (value.IsArray()) return Variant(Array(Part(value.AsArray().AsBytes(), offset, count)));
    if (value.IsNull()) return value;
    throw Error(ErrorNumber::InvalidOperation);
}

void RecordsetField::AppendChunk(const Variant& chunk)
{
    if (!jet::IsLongValue(ToColumnType(Output().type))) throw Error(ErrorNumber::InvalidOperation);
    // The first chunk of an edit replaces the value, later ones are added.
    const std::uint64_t edit = cursor_->EditNumber();
    if (appending_ != edit) {
        cursor_->Write(column_, chunk);
        appending_ = edit;
        return;
    }
    const Variant before = Value();
    if (before.IsText()) return cursor_->Write(column_, before.As<Text>() + ToText(chunk));
    if (!before.IsArray()) return cursor_->Write(column_, chunk);
    if (!chunk.IsArray() || !chunk.AsArray().HoldsBytes()) throw Error(ErrorNumber::DataConversion);
    Bytes bytes = before.AsArray().AsBytes();
    bytes.insert(bytes.end(), chunk.AsArray().AsBytes().begin(), chunk.AsArray().AsBytes().end());
    cursor_->Write(column_, Variant(Array(std::move(bytes))));
}

std::vector<std::shared_ptr<RecordsetField>> RecordsetFields::Load()
{
    std::vector<std::shared_ptr<RecordsetField>> fields;
    for (std::size_t i = 0; i < cursor_->Shape().columns.size(); ++i)
        fields.push_back(std::make_shared<RecordsetField>(TheSession(), cursor_, i));
    return fields;
}

}  // namespace vmlib::engine
