#pragma once

#include <array>
#include <cassert>
#include <tuple>
#include <utility>

#include "automation/MemberArgument.h"
#include "automation/MemberTable.h"

namespace vmlib {

namespace detail {

template <class... T>
struct TypeList
{
    static constexpr std::size_t size = sizeof...(T);
};

template <class R, class... A>
struct SignatureParts
{
    using Result = R;
    using Parameters = TypeList<A...>;
};

// Pointers to members of the class or of a base, and free functions that take the object first.
template <class Function>
struct Signature;
template <class R, class C, class... A>
struct Signature<R (C::*)(A...)> : SignatureParts<R, A...>
{
};
template <class R, class C, class... A>
struct Signature<R (C::*)(A...) const> : SignatureParts<R, A...>
{
};
template <class R, class C, class... A>
struct Signature<R (C::*)(A...) noexcept> : SignatureParts<R, A...>
{
};
template <class R, class C, class... A>
struct Signature<R (C::*)(A...) const noexcept> : SignatureParts<R, A...>
{
};
template <class R, class C, class... A>
struct Signature<R (*)(C&, A...)> : SignatureParts<R, A...>
{
};

/// Arguments filled up to the count of the parameters: left-out ones are missing, and the value of a put stays the last
/// one. What the call wrote goes back into the caller's arguments, also when the call throws.
template <std::size_t count>
class PaddedArguments
{
public:
    PaddedArguments(std::span<Variant> given, bool lastIsValue) : given_(given), kept_(given.size())
    {
        all_.fill(Variant::Missing());
        valueMoves_ = lastIsValue && kept_ > 0;
        if (valueMoves_) --kept_;
        for (std::size_t i = 0; i < kept_; ++i) all_[i] = std::move(given_[i]);
        if (valueMoves_) all_[count - 1] = std::move(given_[kept_]);
    }
    PaddedArguments(const PaddedArguments&) = delete;
    PaddedArguments& operator=(const PaddedArguments&) = delete;
    ~PaddedArguments()
    {
        for (std::size_t i = 0; i < kept_; ++i) given_[i] = std::move(all_[i]);
        if (valueMoves_) given_[kept_] = std::move(all_[count - 1]);
    }
    std::span<Variant> All() { return all_; }

private:
    std::span<Variant> given_;
    std::size_t kept_;
    bool valueMoves_ = false;
    std::array<Variant, count> all_;
};

template <class T, auto function, class... P, std::size_t... I>
Variant CallCounted(T& self, [[maybe_unused]] std::span<Variant> given, TypeList<P...>, std::index_sequence<I...>)
{
    std::tuple<MemberArgument<P>...> values(given[I]...);
    const auto call = [&]() -> Variant {
        using Result = typename Signature<decltype(function)>::Result;
        if constexpr (std::is_void_v<Result>) {
            std::invoke(function, self, std::get<I>(values).Value()...);
            return {};
        } else {
            return ToResult(std::invoke(function, self, std::get<I>(values).Value()...));
        }
    };
    if constexpr ((MemberArgument<P>::byReference || ...)) {
        try {
            Variant result = call();
            (std::get<I>(values).WriteBack(given[I]), ...);
            return result;
        } catch (...) {
            (std::get<I>(values).WriteBackIfChanged(given[I]), ...);
            throw;
        }
    } else {
        return call();
    }
}

template <class T, auto function, InvokeKind kind>
Variant CallMember(Object& object, std::span<Variant> given)
{
    using Parameters = typename Signature<decltype(function)>::Parameters;
    constexpr std::size_t count = Parameters::size;
    T& self = static_cast<T&>(object);
    if (given.size() > count) throw Error(ErrorNumber::WrongNumberOfArguments);
    if (given.size() == count) {
        return CallCounted<T, function>(self, given, Parameters{}, std::make_index_sequence<count>{});
    }
    if constexpr (count > 0) {
        PaddedArguments<count> padded(given, kind == InvokeKind::Put);
        return CallCounted<T, function>(self, padded.All(), Parameters{}, std::make_index_sequence<count>{});
    } else {
        return {};  // fewer than none: never
    }
}

template <class... P>
std::vector<ParameterInfo> ParametersOf(TypeList<P...>, std::initializer_list<TextView> names, bool lastIsValue)
{
    std::vector<ParameterInfo> parameters{
        ParameterInfo{{}, MemberArgument<P>::type, MemberArgument<P>::byReference, MemberArgument<P>::optional}...};
    assert(names.size() == 0 || names.size() == parameters.size() - (lastIsValue ? 1 : 0));
    for (std::size_t i = 0; i < names.size() && i < parameters.size(); ++i) parameters[i].name = names.begin()[i];
    if (lastIsValue && !parameters.empty()) parameters.back().name = u"Value";
    return parameters;
}

}  // namespace detail

/// Deduces the entries of a member table from pointers to members; see MemberTable.h for the rules.
template <class T>
class MemberTableBuilder
{
public:
    explicit MemberTableBuilder(TextView typeName) { table_.typeName_ = typeName; }

    template <auto method>
    MemberTableBuilder& Method(TextView name, std::initializer_list<TextView> parameterNames = {})
    {
        table_.Add(Info<method, InvokeKind::Method>(name, parameterNames));
        return *this;
    }

    template <auto getter, auto setter = nullptr>
    MemberTableBuilder& Property(TextView name, std::initializer_list<TextView> indexNames = {})
    {
        return AddProperty<getter, setter>(name, indexNames, false);
    }

    /// The member that the name "" reaches.
    template <auto getter, auto setter = nullptr>
    MemberTableBuilder& DefaultProperty(TextView name, std::initializer_list<TextView> indexNames = {})
    {
        return AddProperty<getter, setter>(name, indexNames, true);
    }

    /// Write only.
    template <auto setter>
    MemberTableBuilder& WriteOnly(TextView name)
    {
        table_.Add(Info<setter, InvokeKind::Put>(name, {}));
        return *this;
    }

    /// The hidden `_NewEnum`, whose getter returns an Array of the members.
    template <auto getter>
    MemberTableBuilder& Enumerator()
    {
        MemberInfo info = Info<getter, InvokeKind::Get>(u"_NewEnum", {});
        info.hidden = true;
        table_.Add(std::move(info));
        return *this;
    }

    operator MemberTable() && { return std::move(table_); }
    operator MemberTable() & { return std::move(table_); }

private:
    template <auto getter, auto setter>
    MemberTableBuilder& AddProperty(TextView name, std::initializer_list<TextView> indexNames, bool isDefault)
    {
        MemberInfo get = Info<getter, InvokeKind::Get>(name, indexNames);
        get.isDefault = isDefault;
        table_.Add(std::move(get));
        if constexpr (!std::is_null_pointer_v<decltype(setter)>) {
            MemberInfo put = Info<setter, InvokeKind::Put>(name, indexNames);
            put.isDefault = isDefault;
            table_.Add(std::move(put));
        }
        return *this;
    }

    template <auto function, InvokeKind kind>
    static MemberInfo Info(TextView name, std::initializer_list<TextView> names)
    {
        using Parts = detail::Signature<decltype(function)>;
        using Parameters = typename Parts::Parameters;
        static_assert(kind != InvokeKind::Put || Parameters::size > 0, "a setter takes the new value");
        MemberInfo info;
        info.name = name;
        info.kind = kind;
        info.parameters = detail::ParametersOf(Parameters{}, names, kind == InvokeKind::Put);
        info.result = kind == InvokeKind::Put ? VarType::Empty : detail::ResultType<typename Parts::Result>();
        info.call = detail::CallMember<T, function, kind>;
        return info;
    }

    MemberTable table_;
};

template <class T>
MemberTableBuilder<T> MemberTable::Of(TextView typeName)
{
    return MemberTableBuilder<T>(typeName);
}

}  // namespace vmlib
