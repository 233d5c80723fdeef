#pragma once

#include <string>

#include "jet/Definition.h"
#include "jet/Value.h"

/// What a value loses when a field's type changes.
namespace vmlib::host {

/// The start of a value as a person reads it, in UTF-8.
std::string Shown(const jet::Value& value);

/// Why the new value is not the old one; "" when it is, if in another type.
std::string WhatIsLost(const jet::Value& before, const jet::ColumnDefinition& source, const jet::Value& after,
                       const jet::ColumnDefinition& target);

}  // namespace vmlib::host
