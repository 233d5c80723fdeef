#pragma once

#include "engine/Session.h"

/// CompactDatabase and RepairDatabase of the engine object: what their arguments mean.
namespace vmlib::engine {

/// @param locale   `;LANGID=0x0413;CP=1252;COUNTRY=0`, `;pwd=text`, both, or nothing: what it leaves out is the
///                 source's
/// @param options  32 for format 3.0, 4 for not encrypted: what files are anyway; others as CheckFileOptions
/// @param sourceLocale  `;pwd=text`, the source's password; when it is missing that of `locale` is tried
/// @throws Error 3424 for a locale that is not understood, 3170 for a source password in another form; further as
///         jet::Compact
void Compact(Session& session, const Text& source, const Text& destination, const Optional& locale,
             const Optional& options, const Optional& sourceLocale);

/// The version and encryption options of CreateDatabase and CompactDatabase (`mayDecrypt`).
/// @throws Error 3343 with the name for a newer format than 3.0, 3251 for older ones and for encryption, 3001 for
///         options that are none
void CheckFileOptions(std::int32_t options, const Text& name, bool mayDecrypt);

/// Afterwards Errors holds one error for each table that lost something, and none when nothing was lost.
/// @throws Error as jet::Salvage
void Repair(Session& session, const Text& name);

}  // namespace vmlib::engine
