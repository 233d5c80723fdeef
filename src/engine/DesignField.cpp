#include "engine/DesignField.h"

#include "automation/Convert.h"
#include "engine/Queries.h"
#include "engine/RowRules.h"
#include "engine/StatementRunner.h"

namespace vmlib::engine {
namespace {

constexpr std::uint16_t greatestTextSize = 255;

/// Names have 1 to 64 characters, no leading blank, no control characters and none of . ! [ ] or backquote.
void CheckName(TextView name)
{
    const bool isBad =
        name.empty() || name.size() > jet::greatestNameLength || name.front() == u' ' ||
        name.find_first_of(u".![]`") != TextView::npos ||
        name.find_first_of(Text(u"\0\x01\x02\x03\x04\x05\x06\x07\x08\t\n\x0B\x0C\r\x0E\x0F", 16)) != TextView::npos;
    if (isBad) throw Error(ErrorNumber::BadName, {Text(name)});
}

}  // namespace

std::shared_ptr<jet::Table> TableDesign::Open() const
{
    jet::Database& storage = database->Storage();
    if (!storage.FindObject(name, tableObject)) throw Error(ErrorNumber::NotInCollection);
    return storage.OpenTable(name);
}

void TableDesign::RequireChangeable() const
{
    if (!isStored) return;
    database->RequireDesignable(name);
    const auto* entry = database->Storage().FindObject(name, tableObject);
    if (entry && IsSystem(*entry)) throw Error(ErrorNumber::NoPermission, {name});
    RequireUnused(*database, name);
}

DesignField::DesignField(TableDesignRef table, jet::ColumnDefinition column)
    : FieldObject(table->session),
      table_(std::move(table)),
      column_(std::move(column)),
      type_(static_cast<std::int16_t>(column_.type))
{
}

const jet::ColumnDefinition& DesignField::Current()
{
    if (!table_ || !table_->isStored) return column_;
    const auto table = table_->Open();
    const auto position = table->Definition().ColumnNamed(column_.name);
    if (!position) throw Error(ErrorNumber::NotInCollection);
    column_ = table->Definition().columns[*position];
    return column_;
}

void DesignField::RequireFree() const
{
    if (table_) throw Error(ErrorNumber::PropertyFixed);
}

Text DesignField::Name()
{
    return column_.name;
}

void DesignField::SetName(const Text& name)
{
    CheckName(name);
    if (table_ && table_->isStored) {
        table_->RequireChangeable();
        // A rule would go on naming the field as it was, and every later write would fail.
        jet::TableDefinition changed = table_->Open()->Definition();
        if (const auto position = changed.ColumnNamed(column_.name)) {
            jet::ColumnDefinition& column = changed.columns[*position];
            column.name = name;
            QueryEngine& engine = table_->database->Queries();
            RowRules::RequireTableRule(engine, changed.properties.String(u"ValidationRule").value_or(Text()), changed);
            RowRules::RequireFieldRule(engine, column.properties.String(u"ValidationRule").value_or(Text()), changed,
                                       column);
        }
        table_->database->Storage().RenameColumn(table_->name, column_.name, name);
    }
    column_.name = name;
}

void DesignField::SetType(std::int16_t type)
{
    RequireFree();
    type_ = type;
}

std::int32_t DesignField::Size()
{
    if (table_) return SizeOf(Current());
    return size_.value_or(0);
}

void DesignField::SetSize(std::int32_t size)
{
    RequireFree();
    size_ = size;
}

std::int32_t DesignField::Attributes()
{
    return table_ ? AttributesOf(Current()) : attributes_;
}

void DesignField::SetAttributes(std::int32_t attributes)
{
    attributes_ = attributes;
    if (!table_) return;
    // Bits that a column cannot have are ignored, as when it is made; what it has follows from type and size. Only
    // whether it counts would be another column.
    const bool counts = (attributes & autoIncrementField) != 0 && column_.type == jet::ColumnType::Long;
    if (counts != Current().autoNumber) throw Error(ErrorNumber::PropertyFixed);
}

std::int16_t DesignField::OrdinalPosition()
{
    if (table_) return static_cast<std::int16_t>(Current().ordinalPosition);
    return position_.value_or(0);
}

void DesignField::SetOrdinalPosition(std::int16_t position)
{
    if (position < 0) throw Error(ErrorNumber::InvalidArgument);
    const auto place = static_cast<std::uint16_t>(position);
    if (IsStored()) {
        table_->RequireChangeable();
        table_->database->Storage().SetFieldPosition(table_->name, column_.name, place);
    }
    if (table_) column_.ordinalPosition = place;
    position_ = position;
}

void DesignField::Change(const std::function<void(jet::PropertyList&)>& change)
{
    if (!table_ || !table_->isStored) return change(column_.properties);
    table_->RequireChangeable();
    jet::PropertyList properties = Current().properties;
    change(properties);
    table_->database->Storage().SetFieldProperties(table_->name, column_.name, properties);
}

bool DesignField::Required()
{
    return Current().Required();
}

void DesignField::SetRequired(bool required)
{
    Change([&](jet::PropertyList& properties) { properties.SetBoolean(u"Required", required); });
}

bool DesignField::AllowZeroLength()
{
    return Current().AllowZeroLength().value_or(false);
}

void DesignField::SetAllowZeroLength(bool allow)
{
    Change([&](jet::PropertyList& properties) { properties.SetBoolean(u"AllowZeroLength", allow); });
}

Text DesignField::StringProperty(TextView name)
{
    return Current().properties.String(name).value_or(Text());
}

void DesignField::SetStringProperty(TextView name, TextView value, std::uint8_t type)
{
    Change([&](jet::PropertyList& properties) {
        if (value.empty())
            properties.Remove(name);
        else
            properties.SetString(name, value, type);
    });
}

Variant DesignField::DefaultValue()
{
    return StringProperty(u"DefaultValue");
}

void DesignField::SetDefaultValue(const Variant& value)
{
    const Text text = value.IsNull() || value.IsEmpty() ? Text() : ToText(value);
    if (IsStored()) RowRules::RequireDefault(table_->database->Queries(), text);
    SetStringProperty(u"DefaultValue", text, memoProperty);
}

Text DesignField::ValidationRule()
{
    return StringProperty(u"ValidationRule");
}

void DesignField::SetValidationRule(const Text& rule)
{
    if (IsStored())
        RowRules::RequireFieldRule(table_->database->Queries(), rule, table_->Open()->Definition(), Current());
    SetStringProperty(u"ValidationRule", rule, memoProperty);
}

Text DesignField::ValidationText()
{
    return StringProperty(u"ValidationText");
}

void DesignField::SetValidationText(const Text& text)
{
    SetStringProperty(u"ValidationText", text, textProperty);
}

bool DesignField::ValidateOnSet()
{
    return Current().properties.Boolean(u"ValidateOnSet").value_or(false);
}

void DesignField::SetValidateOnSet(bool validate)
{
    Change([&](jet::PropertyList& properties) {
        if (validate)
            properties.SetBoolean(u"ValidateOnSet", true);
        else
            properties.Remove(u"ValidateOnSet");
    });
}

std::int16_t DesignField::CollectionIndex()
{
    if (!IsStored()) return FieldObject::CollectionIndex();
    return static_cast<std::int16_t>(table_->Open()->Definition().ColumnNamed(column_.name).value_or(0));
}

void DesignField::CheckExpressions(QueryEngine& engine, const jet::TableDefinition& table) const
{
    RowRules::RequireFieldRule(engine, column_.properties.String(u"ValidationRule").value_or(Text()), table, column_);
    RowRules::RequireDefault(engine, column_.properties.String(u"DefaultValue").value_or(Text()));
}

Text DesignField::SourceTable()
{
    return table_ ? table_->name : Text();
}

std::int32_t DesignField::CollatingOrder()
{
    return table_ && table_->isStored ? Current().locale.langid : 0;
}

void DesignField::Bind(TableDesignRef table, std::size_t position)
{
    if (table_) throw Error(ErrorNumber::FieldAlreadyInCollection);
    CheckName(column_.name);
    const auto type = static_cast<jet::ColumnType>(type_);
    if (type_ <= 0 || type_ > 0xFF || !jet::IsKnown(type)) throw Error(ErrorNumber::InvalidFieldType);
    column_.type = type;
    if (const auto fixed = jet::FixedSize(type))
        column_.size = *fixed;
    else if (!jet::IsLongValue(type)) {
        const std::int32_t size = size_.value_or(0) == 0 ? greatestTextSize : *size_;
        if (size < 0 || size > greatestTextSize) throw Error(ErrorNumber::SizeTooLong, {column_.name});
        column_.size = static_cast<std::uint16_t>(size);
        column_.fixedSize = (attributes_ & fixedField) != 0;
    }
    column_.autoNumber = type == jet::ColumnType::Long && (attributes_ & autoIncrementField) != 0;
    column_.ordinalPosition = static_cast<std::uint16_t>(position_.value_or(static_cast<std::int16_t>(position)));
    // Fields that objects make carry both explicitly. Without AllowZeroLength the engine would accept "".
    if (!column_.properties.Boolean(u"Required")) column_.properties.SetBoolean(u"Required", false);
    if (jet::IsTextual(type) && !column_.properties.Boolean(u"AllowZeroLength"))
        column_.properties.SetBoolean(u"AllowZeroLength", false);
    if (!jet::IsTextual(type)) column_.properties.Remove(u"AllowZeroLength");
    table_ = std::move(table);
}

void KeyField::RequireFree() const
{
    if (isFixed_) throw Error(ErrorNumber::PropertyFixed);
}

void KeyField::SetName(const Text& name)
{
    RequireFree();
    name_ = name;
}

void KeyField::SetAttributes(std::int32_t attributes)
{
    RequireFree();
    attributes_ = attributes;
}

void KeyField::SetForeignName(const Text& name)
{
    RequireFree();
    foreignName_ = name;
}

}  // namespace vmlib::engine
