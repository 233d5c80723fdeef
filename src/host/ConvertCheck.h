#pragma once

#include "host/ConvertReport.h"
#include "host/Session.h"

/// The comparison of a document with what a conversion or a save made of it. Rows are read once, one at a time, and
/// added into sums that do not depend on their order: no table is ever held in memory.
namespace vmlib::host {

struct ConversionCheck
{
    std::vector<TableCount> tables;       // of the document, and new ones
    std::vector<Loss> losses;             // what the layout explains
    std::vector<std::string> mismatches;  // what nothing explains
};

/// What of `before` is not in `after`, the working copy in the new layout. Each value is expected as what it becomes in
/// the new field's type; the rows that are expected are then compared with those that are there, in the fields that both
/// have.
/// @throws the storage's Error when a file cannot be read to its end
ConversionCheck CheckConversion(Session& session, TextView before, TextView after);

/// Differences between the rows of two files with the same tables, for one that was saved as the other. Fields of Info
/// that each file has for itself are left out.
std::vector<std::string> CheckSave(Session& session, TextView working, TextView saved);

struct StructureCheck
{
    bool isDone = false;
    std::vector<std::string> faults;
};

/// The strict structural check, keys against rows and relations included. Not done for a file in a format that it does
/// not know, and for one with so many rows that it would take more memory than a conversion may.
StructureCheck CheckStructure(Session& session, TextView path);

}  // namespace vmlib::host
