#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/Session.h"

/// What a left copy holds that its document does not, and the reverse.
namespace vmlib::host {

/// A field of a row as each side has it; no value for Null, and where that side has no such row.
struct FieldDifference
{
    Text field;
    std::optional<std::string> copy, document;
};

struct RowDifference
{
    enum Kind
    {
        OnlyInCopy,
        OnlyInDocument,
        Changed
    };
    Kind kind;
    std::string key{};                      // "OrderNr=2401, RegelNr=1"; "" without primary key
    std::vector<FieldDifference> fields{};  // the first few: that differ, or that are not Null
};

struct TableDifference
{
    Text table;
    std::uint64_t onlyInCopy = 0, onlyInDocument = 0, changed = 0;  // rows
    std::vector<RowDifference> examples{};                          // the first few of each kind
    std::vector<Text> copyFields{}, documentFields{};               // that the other has not

    bool IsNone() const
    {
        return onlyInCopy + onlyInDocument + changed == 0 && copyFields.empty() && documentFields.empty();
    }
};

/// Every table of either file. Rows with the same primary key are one row, which may have changed; where there is no key
/// a row that changed is one that each side has alone. Fields are paired by name; a value of the document counts as what
/// it becomes in the type of the copy's field. What Info says of its own file is left out.
///
/// Reads each table once, and what differs once more, a row at a time; keeps sums, and about 20 MiB of marks at most.
/// @throws the storage's Error when a file cannot be read to its end
std::vector<TableDifference> CompareCopy(Session& session, TextView copy, TextView document);

}  // namespace vmlib::host
