#pragma once

#include "engine/DesignField.h"

namespace vmlib::engine {

class RelationFields : public ListOf<KeyField>
{
public:
    explicit RelationFields(SessionRef session) : ListOf(std::move(session), u"Fields") {}
    void Refresh() override {}
    void Fix();

protected:
    void Store(const std::shared_ptr<KeyField>& field) override;
    void Remove(const std::shared_ptr<KeyField>&) override;

private:
    bool isFixed_ = false;
};

/// A relation: free until it is appended to Relations, fixed then.
class RelationObject : public EngineObject<RelationObject>
{
public:
    RelationObject(DatabaseRef database, jet::RelationDefinition definition, bool isStored);
    static const MemberTable& Members();

    Text Name() { return definition_.name; }
    void SetName(const Text& name);
    Text Table() const { return definition_.table; }
    void SetTable(const Text& table);
    Text ForeignTable() const { return definition_.foreignTable; }
    void SetForeignTable(const Text& table);
    std::int32_t Attributes() const { return static_cast<std::int32_t>(definition_.attributes); }
    void SetAttributes(std::int32_t attributes);
    Variant Fields(const Optional& index) { return CollectionOrItem(fields_, index); }
    std::shared_ptr<KeyField> CreateField(std::optional<Text> name, Optional type, Optional size);
    Variant Properties(const Optional& index);

    bool IsStored() const { return isStored_; }
    void Store();

private:
    void RequireFree() const;

    DatabaseRef database_;
    jet::RelationDefinition definition_;
    bool isStored_;
    std::shared_ptr<RelationFields> fields_;
};

class Relations : public ListOf<RelationObject>
{
public:
    Relations(SessionRef session, DatabaseRef database)
        : ListOf(std::move(session), u"Relations"), database_(std::move(database))
    {
    }

protected:
    std::vector<std::shared_ptr<RelationObject>> Load() override;
    void Store(const std::shared_ptr<RelationObject>& relation) override;
    void Remove(const std::shared_ptr<RelationObject>& relation) override;

private:
    DatabaseRef database_;
};

}  // namespace vmlib::engine
