#pragma once

#include <string>
#include <vector>

#include "platform/Files.h"

namespace vmlib::jet {

/// What a repair made of one table.
struct SalvagedTable
{
    Text name;
    std::size_t rows = 0;  // in the repaired file

    // What is not, or not whole.
    std::size_t lostRows = 0;        // as far as they can be counted: a page that is gone tells no number
    std::size_t lostValues = 0;      // fields of rows that are there: Null now, or cut to their size
    std::size_t lostLongValues = 0;  // memos and long binaries: Null now
    std::size_t cutLongValues = 0;   // memos of which the beginning is there
    std::size_t lostPages = 0;
    std::vector<std::string> reasons;  // the first ones, UTF-8, with page numbers; weaker indexes and relations too

    bool LostNothing() const { return Losses() == 0 && reasons.empty(); }
    std::size_t Losses() const { return lostRows + lostValues + lostLongValues + cutLongValues + lostPages; }
    /// Keeps the reason unless there are many already.
    void Note(std::string reason);
    /// "Klanten: 3 rows, 1 long value and 1 page lost: page 17: ...".
    Text Summary() const;
};

struct SalvageReport
{
    bool wasSound = false;              // nothing had to be done but to clear the marks of damage
    std::vector<SalvagedTable> tables;  // those of the file and those that are lost
    bool LostNothing() const;
};

/// Repairs a file in place: reads it as far as it can be read and builds a sound one from what is there.
///
/// Pages are found by the maps of their table, and by the owner that they name where a map is damaged. Rows are taken
/// when they decode by the definition. A memo that is broken keeps its beginning, a long binary that is broken becomes
/// Null. Objects that the catalogue lost are found again by their definition pages and the rows of their queries; their
/// names by the catalogue's indexes, else they are called "Hersteld 1" and so on.
/// Indexes are built anew; no row is left out because of one: a unique index whose keys come twice is no longer unique,
/// a primary key neither, and a relation whose rows have no parent is no longer enforced. Everything of that is told.
///
/// The result is built beside the file, synced, checked, and takes the file's place in one step; until then, and after
/// any error, the file is as it was. No password is needed, and it stays. A file that is sound stays the file that it
/// is.
/// @throws Error 3044, 3024; 3196 somebody has it open; 3051 no rights; 3343 not a database, or encrypted, or of format
///         4; 3056 nothing can be made of it; 3036, 3026, 3043
SalvageReport Salvage(Files& files, TextView temporaryFolder, Clock now, TextView path);

}  // namespace vmlib::jet
