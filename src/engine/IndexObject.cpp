#include "engine/IndexObject.h"

#include "automation/Convert.h"
#include "engine/PropertyObject.h"

namespace vmlib::engine {
namespace {

std::shared_ptr<KeyField> FieldOfText(const SessionRef& session, TextView part)
{
    const bool descending = part.starts_with(u'-');
    if (descending || part.starts_with(u'+')) part.remove_prefix(1);
    auto field = std::make_shared<KeyField>(session, Trim(part));
    if (descending) field->SetAttributes(descendingField);
    return field;
}

}  // namespace

void IndexFields::Fix()
{
    for (const auto& field : Items()) field->Fix();
    isFixed_ = true;
}

Text IndexFields::AsText()
{
    Text text;
    for (const auto& field : Items()) {
        if (!text.empty()) text += u';';
        text += (field->Attributes() & descendingField) ? u'-' : u'+';
        text += field->Name();
    }
    return text;
}

void IndexFields::Store(const std::shared_ptr<KeyField>& field)
{
    if (isFixed_) throw Error(ErrorNumber::PropertyFixed);
    for (const auto& other : Items()) {
        if (other == field) throw Error(ErrorNumber::FieldAlreadyInCollection);
        if (EqualIgnoringCase(other->Name(), field->Name())) throw Error(ErrorNumber::FieldDefinedTwice);
    }
}

void IndexFields::Remove(const std::shared_ptr<KeyField>&)
{
    if (isFixed_) throw Error(ErrorNumber::PropertyFixed);
}

IndexObject::IndexObject(SessionRef session, TextView name)
    : EngineObject(session), name_(name), fields_(std::make_shared<IndexFields>(std::move(session)))
{
}

IndexObject::IndexObject(TableDesignRef table, const jet::TableDefinition& definition,
                         const jet::IndexDefinition& index)
    : EngineObject(table->session),
      table_(std::move(table)),
      name_(index.name),
      fields_(std::make_shared<IndexFields>(TheSession()))
{
    const jet::TreeDefinition& tree = definition.TreeOf(index);
    primary_ = index.kind == jet::IndexDefinition::Kind::Primary;
    foreign_ = index.kind == jet::IndexDefinition::Kind::Relation && index.otherTableKind == 2;
    unique_ = tree.unique;
    required_ = tree.required;
    ignoreNulls_ = tree.ignoreNulls;
    for (const auto& column : tree.columns) {
        const auto position = definition.ColumnNumbered(column.column);
        if (!position) continue;
        auto field = std::make_shared<KeyField>(TheSession(), definition.columns[*position].name);
        if (column.descending) field->SetAttributes(descendingField);
        fields_->Items().push_back(std::move(field));
    }
    fields_->Fix();
}

const MemberTable& IndexObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<IndexObject>(u"Index")
            .Property<&IndexObject::Name, &IndexObject::SetName>(u"Name")
            .DefaultProperty<&IndexObject::Fields, &IndexObject::SetFields>(u"Fields", {u"Item"})
            .Property<&IndexObject::Primary, &IndexObject::SetPrimary>(u"Primary")
            .Property<&IndexObject::Unique, &IndexObject::SetUnique>(u"Unique")
            .Property<&IndexObject::Required, &IndexObject::SetRequired>(u"Required")
            .Property<&IndexObject::IgnoreNulls, &IndexObject::SetIgnoreNulls>(u"IgnoreNulls")
            .Property<&IndexObject::Clustered, &IndexObject::SetClustered>(u"Clustered")
            .Property<&IndexObject::Foreign>(u"Foreign")
            .Property<&IndexObject::DistinctCount>(u"DistinctCount")
            .Method<&IndexObject::CreateField>(u"CreateField", {u"Name", u"Type", u"Size"})
            .Property<&IndexObject::Properties>(u"Properties", {u"Item"});
    return table;
}

void IndexObject::RequireFree() const
{
    if (table_) throw Error(ErrorNumber::PropertyFixed);
}

void IndexObject::SetName(const Text& name)
{
    RequireFree();
    name_ = name;
}

void IndexObject::SetPrimary(bool primary)
{
    RequireFree();
    primary_ = primary;
}

void IndexObject::SetUnique(bool unique)
{
    RequireFree();
    unique_ = unique;
}

void IndexObject::SetRequired(bool required)
{
    RequireFree();
    required_ = required;
}

void IndexObject::SetIgnoreNulls(bool ignore)
{
    RequireFree();
    ignoreNulls_ = ignore;
}

std::int32_t IndexObject::DistinctCount()
{
    if (!table_ || !table_->isStored) return 0;
    const auto table = table_->Open();
    const jet::IndexDefinition* index = table->Definition().IndexNamed(name_);
    return index ? static_cast<std::int32_t>(table->Definition().TreeOf(*index).distinctKeys) : 0;
}

void IndexObject::SetFields(const Optional& index, const Variant& value)
{
    if (index.Given()) return fields_->PutItem(index.value, value);
    RequireFree();
    const Text text = ToText(value);
    std::vector<std::shared_ptr<KeyField>> fields;
    for (TextView rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find(u';'), rest.size());
        const TextView part = Trim(rest.substr(0, end));
        if (!part.empty()) fields.push_back(FieldOfText(TheSession(), part));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    fields_->Replace(std::move(fields));
}

std::shared_ptr<KeyField> IndexObject::CreateField(std::optional<Text> name, Optional, Optional)
{
    return std::make_shared<KeyField>(TheSession(), name.value_or(Text()));
}

Variant IndexObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

jet::NewIndex IndexObject::ToNewIndex(const jet::TableDefinition& table)
{
    if (fields_->Items().empty()) throw Error(ErrorNumber::NoFieldDefined);
    jet::NewIndex index;
    index.name = name_;
    index.primary = primary_;
    index.unique = Unique();
    index.required = Required();
    index.ignoreNulls = ignoreNulls_;
    for (const auto& field : fields_->Items()) {
        const auto position = table.ColumnNamed(field->Name());
        if (!position) throw Error(ErrorNumber::BadIndexField, {field->Name()});
        index.columns.push_back({table.columns[*position].number, (field->Attributes() & descendingField) != 0});
    }
    return index;
}

void IndexObject::Bind(TableDesignRef table)
{
    table_ = std::move(table);
    fields_->Fix();
}

}  // namespace vmlib::engine
