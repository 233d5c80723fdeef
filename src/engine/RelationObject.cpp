#include "engine/RelationObject.h"

#include "engine/PropertyObject.h"

namespace vmlib::engine {

void RelationFields::Fix()
{
    for (const auto& field : Items()) field->Fix();
    isFixed_ = true;
}

void RelationFields::Store(const std::shared_ptr<KeyField>& field)
{
    if (isFixed_) throw Error(ErrorNumber::PropertyFixed);
    for (const auto& other : Items())
        if (other == field) throw Error(ErrorNumber::FieldAlreadyInCollection);
}

void RelationFields::Remove(const std::shared_ptr<KeyField>&)
{
    if (isFixed_) throw Error(ErrorNumber::PropertyFixed);
}

RelationObject::RelationObject(DatabaseRef database, jet::RelationDefinition definition, bool isStored)
    : EngineObject(database->TheSession()),
      database_(std::move(database)),
      definition_(std::move(definition)),
      isStored_(isStored),
      fields_(std::make_shared<RelationFields>(TheSession()))
{
    for (const auto& [name, foreignName] : definition_.fields) {
        auto field = std::make_shared<KeyField>(TheSession(), name);
        field->SetForeignName(foreignName);
        fields_->Items().push_back(std::move(field));
    }
    if (isStored_) fields_->Fix();
}

const MemberTable& RelationObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<RelationObject>(u"Relation")
            .Property<&RelationObject::Name, &RelationObject::SetName>(u"Name")
            .Property<&RelationObject::Table, &RelationObject::SetTable>(u"Table")
            .Property<&RelationObject::ForeignTable, &RelationObject::SetForeignTable>(u"ForeignTable")
            .Property<&RelationObject::Attributes, &RelationObject::SetAttributes>(u"Attributes")
            .DefaultProperty<&RelationObject::Fields>(u"Fields", {u"Item"})
            .Method<&RelationObject::CreateField>(u"CreateField", {u"Name", u"Type", u"Size"})
            .Property<&RelationObject::Properties>(u"Properties", {u"Item"});
    return table;
}

void RelationObject::RequireFree() const
{
    if (isStored_) throw Error(ErrorNumber::PropertyFixed);
}

void RelationObject::SetName(const Text& name)
{
    RequireFree();
    definition_.name = name;
}

void RelationObject::SetTable(const Text& table)
{
    RequireFree();
    definition_.table = table;
}

void RelationObject::SetForeignTable(const Text& table)
{
    RequireFree();
    definition_.foreignTable = table;
}

void RelationObject::SetAttributes(std::int32_t attributes)
{
    RequireFree();
    definition_.attributes = static_cast<std::uint32_t>(attributes);
}

std::shared_ptr<KeyField> RelationObject::CreateField(std::optional<Text> name, Optional, Optional)
{
    return std::make_shared<KeyField>(TheSession(), name.value_or(Text()));
}

Variant RelationObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

void RelationObject::Store()
{
    definition_.fields.clear();
    for (const auto& field : fields_->Items()) definition_.fields.emplace_back(field->Name(), field->ForeignName());
    if (definition_.fields.empty()) throw Error(ErrorNumber::RelationWithoutFields);
    database_->Storage().CreateRelation(definition_);
    isStored_ = true;
    fields_->Fix();
}

std::vector<std::shared_ptr<RelationObject>> Relations::Load()
{
    std::vector<std::shared_ptr<RelationObject>> relations;
    for (auto& definition : database_->Storage().Relations())
        relations.push_back(std::make_shared<RelationObject>(database_, std::move(definition), true));
    return relations;
}

void Relations::Store(const std::shared_ptr<RelationObject>& relation)
{
    if (relation->IsStored() || Find(relation->Name())) throw Error(ErrorNumber::ObjectExists, {relation->Name()});
    database_->RequireDesignable(relation->ForeignTable());
    relation->Store();
}

void Relations::Remove(const std::shared_ptr<RelationObject>& relation)
{
    database_->RequireDesignable(relation->ForeignTable());
    database_->Storage().DropRelation(relation->Name());
}

}  // namespace vmlib::engine
