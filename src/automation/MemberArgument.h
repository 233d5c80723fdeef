#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

#include "automation/Convert.h"
#include "automation/Object.h"
#include "core/Error.h"

/// How one argument of a late-bound call becomes one parameter of a C++ member, and what it leaves behind; used by
/// MemberTableBuilder only.
namespace vmlib {

/// An optional variant parameter, "missing" when it was left out.
struct Optional
{
    Variant value = Variant::Missing();
    Optional() = default;
    Optional(Variant v) : value(std::move(v)) {}
    bool Given() const { return !value.IsMissing(); }
};

namespace detail {

template <class T>
inline constexpr bool isSharedPointer = false;
template <class T>
inline constexpr bool isSharedPointer<std::shared_ptr<T>> = true;
template <class T>
inline constexpr bool isStdOptional = false;
template <class T>
inline constexpr bool isStdOptional<std::optional<T>> = true;

template <class T>
inline constexpr bool unsupported = false;

template <class T>
constexpr VarType TypeOf()
{
    if constexpr (std::is_same_v<T, bool>)
        return VarType::Boolean;
    else if constexpr (std::is_same_v<T, std::uint8_t>)
        return VarType::Byte;
    else if constexpr (std::is_same_v<T, std::int16_t>)
        return VarType::Integer;
    else if constexpr (std::is_same_v<T, std::int32_t>)
        return VarType::Long;
    else if constexpr (std::is_same_v<T, float>)
        return VarType::Single;
    else if constexpr (std::is_same_v<T, double>)
        return VarType::Double;
    else if constexpr (std::is_same_v<T, Currency>)
        return VarType::Currency;
    else if constexpr (std::is_same_v<T, Date>)
        return VarType::Date;
    else if constexpr (std::is_same_v<T, Text>)
        return VarType::String;
    else if constexpr (isSharedPointer<T>)
        return VarType::Object;
    else if constexpr (isStdOptional<T>)
        return TypeOf<typename T::value_type>();
    else
        return VarType::Variant;
}

/// Nothing is an object of every class, and so is Empty, which a script's new variable holds; an object of another class
/// than T is error 13.
template <class T>
std::shared_ptr<T> ToObjectOf(const Variant& value)
{
    if (value.IsEmpty()) return nullptr;
    if (!value.IsObject()) throw Error(ErrorNumber::TypeMismatch);
    const auto& object = value.As<ObjectRef>();
    if constexpr (std::is_same_v<T, Object>) {
        return object;
    } else {
        auto wanted = std::dynamic_pointer_cast<T>(object);
        if (object && !wanted) throw Error(ErrorNumber::TypeMismatch);
        return wanted;
    }
}

template <class T>
T FromVariant(const Variant& value)
{
    if constexpr (std::is_same_v<T, Variant>)
        return value;
    else if constexpr (std::is_same_v<T, bool>)
        return ToBoolean(value);
    else if constexpr (std::is_same_v<T, std::uint8_t>)
        return ToByte(value);
    else if constexpr (std::is_same_v<T, std::int16_t>)
        return ToInteger(value);
    else if constexpr (std::is_same_v<T, std::int32_t>)
        return ToLong(value);
    else if constexpr (std::is_same_v<T, float>)
        return ToSingle(value);
    else if constexpr (std::is_same_v<T, double>)
        return ToDouble(value);
    else if constexpr (std::is_same_v<T, Currency>)
        return ToCurrency(value);
    else if constexpr (std::is_same_v<T, Date>)
        return ToDate(value);
    else if constexpr (std::is_same_v<T, Text>)
        return ToText(value);
    else if constexpr (isSharedPointer<T>)
        return ToObjectOf<typename T::element_type>(value);
    else
        static_assert(unsupported<T>, "not a type of a late-bound parameter");
}

/// One parameter of declared type P. Holds the converted value, or refers to the argument itself where nothing has to
/// be converted.
template <class P>
class MemberArgument
{
    using T = std::remove_cvref_t<P>;

public:
    static constexpr bool byReference = std::is_lvalue_reference_v<P> && !std::is_const_v<std::remove_reference_t<P>>;
    static constexpr bool optional = std::is_same_v<T, Optional> || isStdOptional<T>;
    static constexpr VarType type = TypeOf<T>();

    explicit MemberArgument(Variant& argument)
    {
        const bool missing = argument.IsMissing();
        if (missing && !optional) throw Error(ErrorNumber::ArgumentNotOptional);
        if constexpr (refers) {
            referred_ = &argument;
        } else if constexpr (std::is_same_v<T, Optional>) {
            value_.value = argument;
        } else if constexpr (isStdOptional<T>) {
            if (!missing) value_ = FromVariant<typename T::value_type>(argument);
        } else if constexpr (std::is_same_v<T, Text> && !byReference) {
            if (argument.IsText())
                text_ = &argument.template As<Text>();
            else
                value_ = ToText(argument);
        } else {
            value_ = FromVariant<T>(argument);
        }
        if constexpr (keepsOriginal) original_ = value_;
    }

    decltype(auto) Value()
    {
        if constexpr (refers)
            return static_cast<std::conditional_t<byReference, Variant&, const Variant&>>(*referred_);
        else if constexpr (byReference)
            return static_cast<T&>(value_);
        else if constexpr (std::is_same_v<T, Text>)
            return static_cast<const Text&>(text_ ? *text_ : value_);
        else
            return static_cast<T&&>(value_);
    }

    /// After the call: the argument takes the value and its type. One that was left out and left empty stays missing.
    void WriteBack(Variant& argument)
    {
        if constexpr (!byReference || refers)
            return;
        else if constexpr (std::is_same_v<T, Optional>)
            argument = std::move(value_.value);
        else if constexpr (isStdOptional<T>)
            argument = value_ ? Variant(std::move(*value_)) : Variant::Missing();
        else
            argument = Variant(std::move(value_));
    }

    /// After a call that failed: only what the member changed.
    void WriteBackIfChanged(Variant& argument)
    {
        if constexpr (keepsOriginal) {
            if (Changed()) WriteBack(argument);
        }
    }

private:
    static constexpr bool refers = std::is_same_v<T, Variant>;
    static constexpr bool keepsOriginal = byReference && !refers;

    bool Changed() const
    {
        if constexpr (std::is_same_v<T, Optional>)
            return !(value_.value == original_.value);
        else
            return !(value_ == original_);
    }

    struct Nothing
    {
    };
    std::conditional_t<refers, Nothing, T> value_{};
    [[no_unique_address]] std::conditional_t<keepsOriginal, T, Nothing> original_{};
    [[no_unique_address]] std::conditional_t<refers, Variant*, Nothing> referred_{};
    [[no_unique_address]] std::conditional_t<std::is_same_v<T, Text>, const Text*, std::nullptr_t> text_{};
};

template <class R>
Variant ToResult(R&& result)
{
    if constexpr (std::is_same_v<std::remove_cvref_t<R>, std::vector<Variant>>)
        return Variant(Array(std::forward<R>(result)));
    else if constexpr (std::is_same_v<std::remove_cvref_t<R>, Optional>)
        return std::forward<R>(result).value;
    else
        return Variant(std::forward<R>(result));
}

template <class R>
constexpr VarType ResultType()
{
    using T = std::remove_cvref_t<R>;
    if constexpr (std::is_void_v<R>)
        return VarType::Empty;
    else
        return TypeOf<T>();
}

}  // namespace detail
}  // namespace vmlib
