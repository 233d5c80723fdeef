#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

#include "automation/MemberArgument.h"
#include "automation/Object.h"

/// A member table lists the late-bound members of a C++ class once. Types, by-reference and by-value, optional
/// arguments and the result are deduced from the C++ signature.
///
///     const MemberTable& Recordset::Members()
///     {
///         static const MemberTable table = MemberTable::Of<Recordset>(u"Recordset")
///             .Method<&Recordset::OpenRecordset>(u"OpenRecordset", {u"Type", u"Options"})
///             .Property<&Recordset::Index, &Recordset::SetIndex>(u"Index")
///             .Property<&Recordset::Count>(u"Count")                      // read only: a put is error 383
///             .DefaultProperty<&Recordset::Fields>(u"Fields");
///         return table;
///     }
///
/// Parameter types: bool, std::uint8_t, std::int16_t, std::int32_t, float, double, Currency, Date, Text, Variant,
/// ObjectRef and std::shared_ptr<T> of a class derived from Object (another object is error 13). `T&` is by reference:
/// the value is converted on the way in and written back on the way out, also when the method throws. `T` and `const
/// T&` are by value. `Optional` (by value) and `Optional&` may be left out; so may std::optional<T>, which is then
/// empty. Left out though required is 449, too many is 450.
namespace vmlib {

struct ParameterInfo
{
    Text name;
    VarType type = VarType::Variant;
    bool byReference = false;
    bool optional = false;
};

struct MemberInfo
{
    Text name;
    InvokeKind kind = InvokeKind::Method;   // Method, Get or Put
    std::vector<ParameterInfo> parameters;  // of a Put the new value is the last
    VarType result = VarType::Empty;        // Empty: returns nothing
    bool isDefault = false;
    bool hidden = false;                                       // _NewEnum
    std::function<Variant(Object&, std::span<Variant>)> call;  // arguments already counted; left-out ones are Missing
};

template <class T>
class MemberTableBuilder;

class MemberTable
{
public:
    template <class T>
    static MemberTableBuilder<T> Of(TextView typeName);

    const Text& TypeName() const { return typeName_; }
    const std::vector<MemberInfo>& Members() const { return members_; }

    /// The member that answers a call of this name and kind; null when there is none.
    const MemberInfo* Find(TextView name, InvokeKind kind) const;
    /// Finds, counts the arguments and calls. @throws Error 438, 449, 450, 383 (put of a read-only property)
    Variant Invoke(Object& target, TextView name, InvokeKind kind, std::span<Variant> arguments) const;

private:
    template <class T>
    friend class MemberTableBuilder;
    struct Slots
    {
        int method = -1, get = -1, put = -1;
    };
    void Add(MemberInfo info);
    const Slots* FindSlots(TextView name) const;
    const MemberInfo* At(int slot) const;
    Variant InvokePut(Object& target, const Slots& slots, std::span<Variant> arguments) const;
    Variant InvokeValue(Object& target, const Slots& slots, InvokeKind kind, std::span<Variant> arguments) const;

    Text typeName_;
    std::vector<MemberInfo> members_;
    std::unordered_map<Text, Slots, NameHash, NameEqual> byName_;
    Text defaultName_;
};

/// Base of every late-bound C++ class: T has a static `const MemberTable& Members()`.
template <class T>
class AutomationClass : public Object
{
public:
    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override
    {
        return T::Members().Invoke(*this, member, kind, arguments);
    }
    Text TypeName() const override { return T::Members().TypeName(); }
    const MemberTable* TableOfMembers() const override { return &T::Members(); }
};

}  // namespace vmlib

#include "automation/MemberTableBuilder.h"
