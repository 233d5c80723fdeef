#pragma once

#include "automation/Object.h"
#include "component/com/ComApi.h"

namespace vmlib::com {

/// An object of somebody else's, called by name: hosts' converters, controls and forms, the engine of another DLL.
/// Arguments of methods go by reference, as variables of a script do, and come back changed.
class ComObject : public Object
{
public:
    explicit ComObject(ComPtr<IDispatch> object) : object_(std::move(object)) {}
    ~ComObject() override;

    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override;
    Text TypeName() const override;

    const ComPtr<IDispatch>& Pointer() const { return object_; }

private:
    DISPID IdOf(TextView member) const;
    Variant Enumerate();

    ComPtr<IDispatch> object_;
};

/// The object behind a pointer: the library's own one where it is that, else one and the same ComObject as long as
/// somebody holds it. Nothing for null.
ObjectRef ToObjectRef(IDispatch* object);

}  // namespace vmlib::com
