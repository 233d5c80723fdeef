#pragma once

#include "engine/Collections.h"

namespace vmlib::engine {

/// One property of an object, read and written through the object's own member.
class PropertyObject : public EngineObject<PropertyObject>
{
public:
    PropertyObject(SessionRef session, ObjectRef owner, TextView name)
        : EngineObject(std::move(session)), owner_(std::move(owner)), name_(name)
    {
    }
    static const MemberTable& Members();

    Text Name() const { return name_; }
    Variant Value();
    void SetValue(const Variant& value);
    std::int16_t Type();
    bool Inherited() const { return false; }

private:
    ObjectRef owner_;
    Text name_;
};

/// The properties that a member table lists: those that are read without arguments and give no object.
class PropertiesOf : public ListOf<PropertyObject>
{
public:
    PropertiesOf(SessionRef session, ObjectRef owner, const MemberTable& members)
        : ListOf(std::move(session), u"Properties"), owner_(std::move(owner)), members_(members)
    {
    }

protected:
    std::vector<std::shared_ptr<PropertyObject>> Load() override;
    ErrorNumber Missing() const override { return ErrorNumber::PropertyNotFound; }

private:
    ObjectRef owner_;
    const MemberTable& members_;
};

/// `owner.Properties` and `owner.Properties(index)`. @throws Error 3270 for an unknown name
template <class T>
Variant PropertiesMember(T& owner, const Optional& index)
{
    auto properties = std::make_shared<PropertiesOf>(owner.TheSession(), owner.shared_from_this(), T::Members());
    return CollectionOrItem(properties, index);
}

}  // namespace vmlib::engine
