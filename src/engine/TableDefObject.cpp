#include "engine/TableDefObject.h"

#include <algorithm>

#include "engine/PropertyObject.h"
#include "engine/Queries.h"
#include "engine/RecordsetObject.h"
#include "engine/RecordsetOpening.h"
#include "engine/RowRules.h"

namespace vmlib::engine {

void TableFields::Refresh()
{
    if (table_->isStored) ListOf::Refresh();
}

std::vector<std::shared_ptr<DesignField>> TableFields::Load()
{
    std::vector<std::shared_ptr<DesignField>> fields;
    if (!table_->isStored) return fields;
    for (const auto& column : table_->Open()->Definition().columns)
        fields.push_back(std::make_shared<DesignField>(table_, column));
    return fields;
}

void TableFields::Store(const std::shared_ptr<DesignField>& field)
{
    const auto& fields = Items();
    const bool isTaken =
        std::ranges::any_of(fields, [&](const auto& other) { return EqualIgnoringCase(other->Name(), field->Name()); });
    if (field->IsBound()) throw Error(ErrorNumber::FieldAlreadyInCollection);
    if (isTaken && table_->isStored) throw Error(ErrorNumber::FieldExists, {table_->name, field->Name()});
    if (isTaken) throw Error(ErrorNumber::FieldDefinedTwice);
    table_->RequireChangeable();
    std::size_t position = fields.size();
    for (const auto& other : fields)
        position = std::max(position, static_cast<std::size_t>(other->OrdinalPosition()) + 1);
    field->Bind(table_, position);
    if (!table_->isStored) return;
    try {
        field->CheckExpressions(table_->database->Queries(), table_->Open()->Definition());
        table_->database->Storage().AddColumn(table_->name, field->Column());
    } catch (...) {
        field->Unbind();
        throw;
    }
}

void TableFields::Remove(const std::shared_ptr<DesignField>& field)
{
    if (table_->isStored) {
        table_->RequireChangeable();
        RowRules::RequireRuleWithout(table_->database->Queries(), table_->Open()->Definition(), field->Name());
        table_->database->Storage().DropColumn(table_->name, field->Name());
    }
    field->Unbind();
}

void TableIndexes::Refresh()
{
    if (table_->isStored) ListOf::Refresh();
}

std::vector<std::shared_ptr<IndexObject>> TableIndexes::Load()
{
    std::vector<std::shared_ptr<IndexObject>> indexes;
    if (!table_->isStored) return indexes;
    const auto table = table_->Open();
    for (const auto& index : table->Definition().indexes) {
        // The primary side of a relation has a logical index of its own, which is the storage's business.
        const bool isHidden = index.kind == jet::IndexDefinition::Kind::Relation && index.otherTableKind == 1;
        if (!isHidden) indexes.push_back(std::make_shared<IndexObject>(table_, table->Definition(), index));
    }
    return indexes;
}

void TableIndexes::Store(const std::shared_ptr<IndexObject>& index)
{
    if (index->IsBound()) throw Error(ErrorNumber::IndexAlreadyInCollection);
    if (!index->HasFields()) throw Error(ErrorNumber::NoFieldDefined);
    for (const auto& other : Items()) {
        if (EqualIgnoringCase(other->Name(), index->Name())) throw Error(ErrorNumber::IndexExists);
        if (other->Primary() && index->Primary()) throw Error(ErrorNumber::PrimaryKeyExists);
    }
    if (table_->isStored) {
        table_->RequireChangeable();
        table_->database->Storage().CreateIndex(table_->name, index->ToNewIndex(table_->Open()->Definition()));
    }
    index->Bind(table_);
}

void TableIndexes::Remove(const std::shared_ptr<IndexObject>& index)
{
    if (!table_->isStored) return;
    table_->RequireChangeable();
    table_->database->Storage().DropIndex(table_->name, index->Name());
}

TableDefObject::TableDefObject(TableDesignRef design)
    : EngineObject(design->session),
      design_(std::move(design)),
      fields_(std::make_shared<TableFields>(design_)),
      indexes_(std::make_shared<TableIndexes>(design_))
{
}

const MemberTable& TableDefObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<TableDefObject>(u"TableDef")
            .Property<&TableDefObject::Name, &TableDefObject::SetName>(u"Name")
            .Property<&TableDefObject::Attributes, &TableDefObject::SetAttributes>(u"Attributes")
            .Property<&TableDefObject::Connect, &TableDefObject::SetConnect>(u"Connect")
            .Property<&TableDefObject::SourceTableName>(u"SourceTableName")
            .Property<&TableDefObject::Updatable>(u"Updatable")
            .Property<&TableDefObject::DateCreated>(u"DateCreated")
            .Property<&TableDefObject::LastUpdated>(u"LastUpdated")
            .Property<&TableDefObject::RecordCount>(u"RecordCount")
            .Property<&TableDefObject::ValidationRule, &TableDefObject::SetValidationRule>(u"ValidationRule")
            .Property<&TableDefObject::ValidationText, &TableDefObject::SetValidationText>(u"ValidationText")
            .DefaultProperty<&TableDefObject::Fields, &TableDefObject::PutField>(u"Fields", {u"Item"})
            .Property<&TableDefObject::Indexes>(u"Indexes", {u"Item"})
            .Method<&TableDefObject::CreateField>(u"CreateField", {u"Name", u"Type", u"Size"})
            .Method<&TableDefObject::CreateIndex>(u"CreateIndex", {u"Name"})
            .Method<&TableDefObject::OpenRecordset>(u"OpenRecordset", {u"Type", u"Options"})
            .Method<&TableDefObject::RefreshLink>(u"RefreshLink")
            .Property<&TableDefObject::Properties>(u"Properties", {u"Item"});
    return table;
}

const jet::ObjectEntry& TableDefObject::Entry()
{
    if (!design_->isStored) throw Error(ErrorNumber::InvalidOperation);
    const auto* entry = design_->database->Storage().FindObject(design_->name, tableObject);
    if (!entry) throw Error(ErrorNumber::NotInCollection);
    return *entry;
}

void TableDefObject::SetName(const Text& name)
{
    if (design_->isStored) {
        design_->RequireChangeable();
        design_->database->Storage().RenameTable(design_->name, name);
    }
    design_->name = name;
}

void TableDefObject::SetAttributes(std::int32_t attributes)
{
    if (design_->isStored) throw Error(ErrorNumber::PropertyFixed);
    design_->attributes = static_cast<std::uint32_t>(attributes);
}

Text TableDefObject::StringProperty(TextView name)
{
    const jet::PropertyList& list = design_->isStored ? design_->Open()->Definition().properties : design_->properties;
    return list.String(name).value_or(Text());
}

void TableDefObject::SetStringProperty(TextView name, TextView value, std::uint8_t type)
{
    const auto change = [&](jet::PropertyList& properties) {
        if (value.empty())
            properties.Remove(name);
        else
            properties.SetString(name, value, type);
    };
    if (!design_->isStored) return change(design_->properties);
    design_->RequireChangeable();
    jet::PropertyList properties = design_->Open()->Definition().properties;
    change(properties);
    design_->database->Storage().SetTableProperties(design_->name, properties);
}

void TableDefObject::SetValidationRule(const Text& rule)
{
    if (design_->isStored)
        RowRules::RequireTableRule(design_->database->Queries(), rule, design_->Open()->Definition());
    SetStringProperty(u"ValidationRule", rule, memoProperty);
}

void TableDefObject::SetValidationText(const Text& text)
{
    SetStringProperty(u"ValidationText", text, textProperty);
}

void TableDefObject::SetConnect(const Text& connect)
{
    if (!connect.empty()) throw Error(ErrorNumber::NotSupported);  // linked tables
}

bool TableDefObject::Updatable()
{
    return !design_->isStored || !design_->database->IsReadOnly();
}

Date TableDefObject::DateCreated()
{
    return Entry().created;
}

Date TableDefObject::LastUpdated()
{
    return Entry().updated;
}

std::int32_t TableDefObject::RecordCount()
{
    return design_->isStored ? static_cast<std::int32_t>(design_->Open()->RowCount()) : 0;
}

std::shared_ptr<DesignField> TableDefObject::CreateField(std::optional<Text> name, std::optional<std::int16_t> type,
                                                         std::optional<std::int32_t> size)
{
    auto field = std::make_shared<DesignField>(TheSession(), name.value_or(Text()));
    if (type) field->SetType(*type);
    if (size) field->SetSize(*size);
    return field;
}

std::shared_ptr<IndexObject> TableDefObject::CreateIndex(std::optional<Text> name)
{
    return std::make_shared<IndexObject>(TheSession(), name.value_or(Text()));
}

ObjectRef TableDefObject::OpenRecordset(Optional type, Optional options)
{
    if (!design_->isStored) throw Error(ErrorNumber::InvalidOperation);
    return OpenByName(design_->database, design_->name, type, options, {});
}

Variant TableDefObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

void TableDefObject::Store()
{
    if (fields_->Items().empty()) throw Error(ErrorNumber::NoFieldDefined);
    jet::Database& storage = design_->database->Storage();
    jet::TableDefinition table;
    table.name = design_->name;
    for (const auto& field : fields_->Items()) table.columns.push_back(field->Column());
    // Equal positions sort by name.
    std::ranges::stable_sort(table.columns, [](const auto& left, const auto& right) {
        if (left.ordinalPosition != right.ordinalPosition) return left.ordinalPosition < right.ordinalPosition;
        return CompareIgnoringCase(left.name, right.name) < 0;
    });
    table.properties = design_->properties;
    QueryEngine& engine = design_->database->Queries();
    for (const auto& field : fields_->Items()) field->CheckExpressions(engine, table);
    RowRules::RequireTableRule(engine, table.properties.String(u"ValidationRule").value_or(Text()), table);
    jet::UnitOfWork unit(storage.GetPager());
    storage.CreateTable(table);
    for (const auto& index : indexes_->Items())
        storage.CreateIndex(table.name, index->ToNewIndex(storage.OpenTable(table.name)->Definition()));
    unit.Commit();
    design_->isStored = true;
}

std::vector<std::shared_ptr<TableDefObject>> TableDefs::Load()
{
    std::vector<std::shared_ptr<TableDefObject>> tables;
    for (const auto& entry : database_->Storage().Objects()) {
        if (entry.type != tableObject) continue;
        auto design = std::make_shared<TableDesign>();
        *design = {TheSession(), database_, entry.name, entry.flags, true};
        tables.push_back(std::make_shared<TableDefObject>(std::move(design)));
    }
    std::ranges::stable_sort(tables, [](const auto& left, const auto& right) {
        return CompareIgnoringCase(left->Name(), right->Name()) < 0;
    });
    return tables;
}

void TableDefs::Store(const std::shared_ptr<TableDefObject>& table)
{
    if (table->Design()->isStored || Find(table->Name())) throw Error(ErrorNumber::TableExists, {table->Name()});
    if (table->Design()->database != database_) throw Error(ErrorNumber::InvalidOperation);
    database_->RequireDesignable(table->Name());
    table->Store();
}

void TableDefs::Remove(const std::shared_ptr<TableDefObject>& table)
{
    table->Design()->RequireChangeable();
    database_->Storage().DropTable(table->Name());
    table->Design()->isStored = false;
}

}  // namespace vmlib::engine
