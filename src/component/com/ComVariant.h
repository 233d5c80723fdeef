#pragma once

#include "automation/Variant.h"
#include "component/com/ComApi.h"

namespace vmlib::com {

/// A VARIANT that is cleared at the end.
class OwnedVariant
{
public:
    OwnedVariant() { ::VariantInit(&value_); }
    ~OwnedVariant() { ::VariantClear(&value_); }
    OwnedVariant(const OwnedVariant&) = delete;
    OwnedVariant& operator=(const OwnedVariant&) = delete;

    VARIANT& Get() { return value_; }
    VARIANT* operator&() { return &value_; }

private:
    VARIANT value_;
};

/// A value that no automation type of the library stands for (records, pointers).
struct BadVarType
{
};

/// The value of a VARIANT, or of what it refers to. @throws BadVarType
Variant FromVariant(const VARIANT& value);

/// Fills a cleared VARIANT. @throws std::bad_alloc
void ToVariant(const Variant& value, VARIANT& into);

/// Writes back what a call left in a by-reference argument. A referenced VARIANT takes the value with its type, after
/// its old value was freed; of a typed reference the value takes the type. Nothing happens to a value.
/// @throws Error when the value does not convert
void WriteBack(const Variant& value, VARIANT& argument);

}  // namespace vmlib::com
