#pragma once

#include "engine/Collections.h"
#include "engine/Handles.h"

namespace vmlib::engine {

/// An object of the catalogue as a document of its container. What it is for is not known here.
class DocumentObject : public EngineObject<DocumentObject>
{
public:
    DocumentObject(DatabaseRef database, TextView container, jet::ObjectEntry entry)
        : EngineObject(database->TheSession()),
          database_(std::move(database)),
          container_(container),
          entry_(std::move(entry))
    {
    }
    static const MemberTable& Members();

    Text Name() { return entry_.name; }
    Text Container() const { return container_; }
    /// Who made it: `admin`, or `Engine` for what every file has; "" when the catalogue names somebody else.
    Text Owner();
    Text UserName() const { return u"admin"; }
    Date DateCreated() const { return entry_.created; }
    Date LastUpdated() const { return entry_.updated; }
    Variant Properties(const Optional& index);

private:
    DatabaseRef database_;
    Text container_;
    jet::ObjectEntry entry_;
};

/// A group of objects as the catalogue has it: Databases, Relationships, Tables (queries too), and those of programs
/// that keep objects of their own in the file. Read only.
class ContainerObject : public EngineObject<ContainerObject>
{
public:
    ContainerObject(DatabaseRef database, jet::ObjectEntry entry);
    static const MemberTable& Members();

    Text Name() { return entry_.name; }
    Text Owner();
    Text UserName() const { return u"admin"; }
    Variant Documents(const Optional& index) { return CollectionOrItem(documents_, index); }
    Variant Properties(const Optional& index);

private:
    DatabaseRef database_;
    jet::ObjectEntry entry_;
    std::shared_ptr<CollectionObject> documents_;
};

/// By name.
class Containers : public ListOf<ContainerObject>
{
public:
    explicit Containers(DatabaseRef database)
        : ListOf(database->TheSession(), u"Containers"), database_(std::move(database))
    {
    }

protected:
    std::vector<std::shared_ptr<ContainerObject>> Load() override;

private:
    DatabaseRef database_;
};

}  // namespace vmlib::engine
