#pragma once

#include "fuzz/MemoryFiles.h"
#include "jet/Database.h"

namespace vmlib::fuzz {

inline constexpr TextView documentPath = u"Z:\\small.mdb";
inline constexpr TextView documentPassword = u"geheim";

/// A workspace whose clock stands still, so that what it makes is the same every time.
jet::Workspace WorkspaceOn(Files& files);

/// A file of some 60 pages with every column type and index, all forms of long values, moved and deleted rows, a tree
/// of two levels, an enforced relation, properties and a stored query:
///
///     Klanten   Id AutoNumber, Naam, Saldo, Geboren, Actief, Notitie (memo), Beeld (long binary)
///     Regels    Klant (of Klanten, cascading), Nr, Tekst
///     Soorten   Klein, Kort, Enkel, Dubbel, Sleutel (GUID), Code (binary)
const Bytes& SmallDocument();

}  // namespace vmlib::fuzz
