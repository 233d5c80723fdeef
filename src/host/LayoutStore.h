#pragma once

#include "host/Layout.h"
#include "host/Session.h"

/// Layouts in a layout database:
///
///     Info      one row a file type: FileType, Versie
///     LayOut    one row a field: RecNr, FileType, TabelNaam, VeldNaam, VeldType, VeldLengte, VeldAttribuut,
///               NulWaardeToegestaan
///     Indexen   one row a field of an index: FileType, TabelNaam, VeldNaam, IndexNaam, Primary, Uniek, Volgorde
///     Relaties  one row a field pair: FileType, RelatieNaam, TabelNaam1, TabelNaam2, VeldNaam1, VeldNaam2, Attribuut,
///               Volgorde
///     Queries   one row a query: FileType, QueryNaam, QueryParameters, QueryInhoud
///
/// The layer reads fields ordered by the text `TabelNaam & RecNr`: record numbers of a table count from 10001, so that
/// text order is their order.
namespace vmlib::host {

/// The file types in a layout database. @throws UsageError when the file is none; the engine's Error
std::vector<Text> LayoutTypes(Session& session, TextView path);

/// @throws Error 3021 when the database does not know the type; UsageError when the file is no layout database
Layout ReadLayout(Session& session, TextView path, TextView type);

/// Writes layouts, each in place of the rows of its type; all or nothing. A database that is not there is made, with
/// the Dutch sort order and the password.
/// @throws UsageError when the rows of two tables would mix in that order, or when the file is no layout database; the
/// engine's Error
void WriteLayouts(Session& session, TextView path, const std::vector<Layout>& layouts);

}  // namespace vmlib::host
