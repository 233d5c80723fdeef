#include "engine/PropertyObject.h"

namespace vmlib::engine {

const MemberTable& PropertyObject::Members()
{
    static const MemberTable table = MemberTable::Of<PropertyObject>(u"Property")
                                         .Property<&PropertyObject::Name>(u"Name")
                                         .Property<&PropertyObject::Type>(u"Type")
                                         .Property<&PropertyObject::Inherited>(u"Inherited")
                                         .DefaultProperty<&PropertyObject::Value, &PropertyObject::SetValue>(u"Value");
    return table;
}

Variant PropertyObject::Value()
{
    return Get(owner_, name_);
}

void PropertyObject::SetValue(const Variant& value)
{
    Put(owner_, name_, value);
}

std::int16_t PropertyObject::Type()
{
    // DAO's type codes of what a member gives.
    switch (Value().Type()) {
        case VarType::Boolean:
            return 1;
        case VarType::Byte:
            return 2;
        case VarType::Integer:
            return 3;
        case VarType::Long:
            return 4;
        case VarType::Currency:
            return 5;
        case VarType::Single:
            return 6;
        case VarType::Double:
            return 7;
        case VarType::Date:
            return 8;
        default:
            return 10;
    }
}

std::vector<std::shared_ptr<PropertyObject>> PropertiesOf::Load()
{
    std::vector<std::shared_ptr<PropertyObject>> properties;
    for (const MemberInfo& member : members_.Members()) {
        const bool isValue = member.result != VarType::Object && member.result != VarType::Empty;
        if (member.kind != InvokeKind::Get || !member.parameters.empty() || member.hidden || !isValue) continue;
        properties.push_back(std::make_shared<PropertyObject>(TheSession(), owner_, member.name));
    }
    return properties;
}

}  // namespace vmlib::engine
