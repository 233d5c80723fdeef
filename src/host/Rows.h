#pragma once

#include <iosfwd>

#include "host/Json.h"

/// The rows of a late-bound recordset, printed.
namespace vmlib::host {

enum class RowForm
{
    Table,  // columns side by side for people
    Csv,    // a line of names, then a line a row; RFC 4180 quotes, Null is nothing and "" is ""
    Json    // one object a row, one line a row
};

/// From the current row to the end. Returns the number of rows.
std::size_t PrintRows(const ObjectRef& recordset, RowForm form, std::ostream& out);

}  // namespace vmlib::host
