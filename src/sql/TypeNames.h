#pragma once

#include <optional>

#include "core/Text.h"
#include "sql/Schema.h"

namespace vmlib::sql {

struct NamedType
{
    ValueType type = ValueType::Value;
    bool autoNumber = false;
};

/// A type of CREATE TABLE or PARAMETERS by any of its names (Long, Integer, Counter, VarChar ...), ignoring case.
std::optional<NamedType> TypeNamed(TextView name);

/// The name that PARAMETERS is printed with: Bit, Byte, Short, Long, Currency, IEEESingle, IEEEDouble, DateTime,
/// Binary, Text, LongBinary, LongText, Guid, Value.
TextView NameOf(ValueType type);

}  // namespace vmlib::sql
