#pragma once

#include "automation/MemberTable.h"

namespace vmlib {

/// Deduces the entries of a member table from pointers to members; see MemberTable.h for the rules.
template <class T>
class MemberTableBuilder
{
public:
    explicit MemberTableBuilder(TextView typeName);

    template <auto method>
    MemberTableBuilder& Method(TextView name, std::initializer_list<TextView> parameterNames = {});
    template <auto getter, auto setter = nullptr>
    MemberTableBuilder& Property(TextView name, std::initializer_list<TextView> indexNames = {});
    template <auto getter, auto setter = nullptr>
    MemberTableBuilder& DefaultProperty(TextView name, std::initializer_list<TextView> indexNames = {});
    /// Write only.
    template <auto setter>
    MemberTableBuilder& WriteOnly(TextView name);
    /// The hidden `_NewEnum`, whose getter returns an Array of the members.
    template <auto getter>
    MemberTableBuilder& Enumerator();

    operator MemberTable() &&;
    operator MemberTable() &;
};

}  // namespace vmlib
