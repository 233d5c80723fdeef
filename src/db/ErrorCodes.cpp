#include "db/ErrorCodes.h"

#include <iterator>

namespace vmlib::db {

namespace {

// By code. Full stops that are missing are missing everywhere.
constexpr TextView texts[] = {
    u"",
    u"Bestand niet gevonden.",
    u"Gebruikersnaam is niet bekend.",
    u"Kan geen tmp-file aanmaken.",
    u"Kan geen kopie maken.",
    u"Tabel info niet in database aanwezig.",
    u"Dit bestand kan niet met dit programma worden ingelezen.",
    u"De versie van dit bestand is nieuwer dan de versie van het programma.",
    u"Een andere gebruiker heeft het origineel geopend.",
    u"Tabel info bevat niet alle benodigde velden.",
    u"Database LAYOUT.??? niet gevonden.",
    u"Database LAYOUT.??? bevat geen tabel info",
    u"Bestandsversie van dit bestand niet gevonden in database LAYOUT.???",
    u"Dit bestand moet geconverteerd worden, maar u heeft hiervoor geen rechten\r\nof het bestand is readonly.",
    u"Het bestand is in gebruik door een andere gebruiker.\r\nU wilt geen kopie maken.",
    u"U heeft dit bestand al open.",
    u"Geen schrijfrechten in de directory",
    u"Geen schrijfrechten op dit bestand.",
    u"De naam van een bestand mag niet met een ~ beginnen.",
    u"Het bestand bestaat al en kan niet overschreven worden.",
    u"Het bestand bestaat al en kan niet geopend worden.",
    u"Het bestand bestaat al en is in gebruik door een andere gebruiker.",
    u"De directory bestaat niet.",
    u"Bestand staat niet in de lijst met geopende bestanden",
    u"Dit basisbestand kan niet worden geopend op de manier die aangevraagd is.",
    u"Dit bestand is geen te herstellen bestand.",
    u"Het converteren van dit bestand is mislukt. Openen is niet mogelijk.",
};

}  // namespace

Text DBL_GetDatabaseError(std::int16_t nErrorCode)
{
    if (nErrorCode >= 0 && static_cast<std::size_t>(nErrorCode) < std::size(texts)) return Text(texts[nErrorCode]);
    return u"Onbekende fout. Fout: " + Decimal(nErrorCode);
}

}  // namespace vmlib::db
