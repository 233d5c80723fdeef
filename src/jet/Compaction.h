#pragma once

#include <optional>

#include "jet/Definition.h"
#include "platform/Files.h"

namespace vmlib::jet {

struct Compaction
{
    Text source;
    Text target;                         // must not exist
    Text sourcePassword{};               // ignored for an unprotected source
    std::optional<SortLocale> locale{};  // of the new file; none: the source's
    std::optional<Text> password{};      // of the new file, "" for none; no value: the source's
};

/// Writes everything that a file holds into a fresh file of format 3 by bulk build: tables with all their properties,
/// rows in the order of the primary key (in their stored order where there is none), long values, indexes built sorted,
/// relations, queries, and every row of the system tables as it stands, so that the objects of other programs stay what
/// they are. AutoNumber goes on behind the highest value left. With another sort order all keys of text are made by
/// that.
///
/// The source is only read. The new file is built beside the target, synced and then named: a power cut leaves no
/// target or a whole one. Memory is bounded: rows pass one by one, sorting goes through files.
/// @throws Error 3044, 3024; 3204 the target exists, which covers the source itself; 3196 somebody has the source open;
///         3343 format, 3049 and 3428 damage, 3031 password; 3424 a sort order that is not known; 3022 keys that are
///         equal in the new sort order; 3036, 3026, 3043
void Compact(Files& files, TextView temporaryFolder, Clock now, const Compaction& wanted);

}  // namespace vmlib::jet
