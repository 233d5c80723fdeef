#include "component/AlgemeneLibrary.h"

#include "general/Dates.h"
#include "general/FileServices.h"
#include "general/Numbers.h"
#include "general/Paths.h"
#include "general/SystemFacts.h"

namespace vmlib {

const MemberTable& AlgemeneLibrary::Members()
{
    using Self = AlgemeneLibrary;
    static const MemberTable table =
        MemberTable::Of<Self>(u"AlgemeneLibrary")
            .Method<&Self::TempPath>(u"VmdLib_TempPath")
            .Method<&Self::TempFile>(u"VmdLib_TempFile", {u"sNaam", u"Id"})
            .Method<&Self::ExtractFileNaam>(u"VmdLib_ExtractFileNaam", {u"sSpecIn", u"nBaseOnly"})
            .Method<&Self::ExtractPad>(u"VmdLib_ExtractPad", {u"sSpecIn"})
            .Method<&Self::WriteTest>(u"VmdLib_WriteTest", {u"sDirectory"})
            .Method<&Self::LeesGebruiker>(u"VmdLib_LeesGebruiker")
            .Method<&Self::DatumNaarString>(u"VmdLib_DatumNaarString", {u"dtDatum", u"sScheiding"})
            .Method<&Self::StringNaarDatum>(u"VmdLib_StringNaarDatum", {u"sDatum"})
            .Method<&Self::SchrikkelJaar>(u"VmdLib_SchrikkelJaar", {u"nJaar"})
            .Method<&Self::WeekNummer>(u"VmdLib_WeekNummer", {u"dtDatum"})
            .Method<&Self::Maand>(u"VmdLib_Maand", {u"nMaandNummer"})
            .Method<&Self::Afrond>(u"VmdLib_Afrond", {u"Uval", u"Places"})
            .Method<&Self::PuntNaarKomma>(u"VmdLib_PuntNaarKomma", {u"KeyCode"})
            .Method<&Self::CheckDecimaal>(u"VmdLib_CheckDecimaal", {u"sNum"})
            .Method<&Self::IsNumeric>(u"VmdLib_IsNumeric", {u"Expression"})
            .Method<&Self::MaakBookMark>(u"VmdLib_MaakBookMark", {u"lTel"})
            .Method<&Self::GetDosNaam>(u"VmdLib_GetDosNaam", {u"sFilenaam", u"sDosNaam"})
            .Method<&Self::BepaalEigenschappen>(
                u"VmdLib_BepaalEigenschappen",
                {u"sFilenaam", u"sDosNaam", u"sBestandType", u"lGrootte", u"dtAanmaakDatum", u"dtWijzigDatum",
                 u"dtAccessDatum", u"bReadOnly", u"bArchive", u"bHidden", u"bSystem", u"sPakketDocumentExtentie"})
            .Method<&Self::GetUNCPad>(u"VmdLib_GetUNCPad", {u"Directory"})
            .Method<&Self::MaakDirectory>(u"VmdLib_MaakDirectory", {u"sDir"})
            .Method<&Self::WinDir>(u"WinDir")
            .Method<&Self::PrivIniRead>(u"PrivIniRead", {u"SectionName", u"KeyName", u"nDefault", u"DefaultStr",
                                                         u"ReturnStr", u"NUMERIC", u"IniFileName"})
            .Method<&Self::BepaalOS>(u"VmdLib_BepaalOS", {u"bWinNt", u"bWin95"})
            .Method<&Self::GetVersie>(u"VmdLib_GetVersie", {u"Prog"})
            .Method<&Self::SyncShell>(u"SyncShell", {u"PathName", u"WindowStyle"})
            .Method<&Self::GetInsert>(u"VmdLib_GetInsert")
            .Method<&Self::Field>(u"fld", {u"sIn"})
            .Method<&Self::LoadResString>(u"VmdLib_LoadResString", {u"Id"})
            .Method<&Self::LoadResStrings>(u"LoadResStrings", {u"frm"})
            .Method<&Self::ComboBreedte>(u"ComboBreedte", {u"Form", u"Ctrl", u"Breedte"})
            .Method<&Self::ComboHoogte>(u"ComboHoogte", {u"Form", u"Ctrl", u"AantalRegels"})
            .Method<&Self::SizeCombo>(u"SizeCombo", {u"rForm", u"rCbo"})
            .Method<&Self::Centreer>(u"VmdLib_Centreer", {u"frmSource"})
            .Method<&Self::Centreer2>(u"VmdLib_Centreer2", {u"Owner", u"frmSource"})
            .Method<&Self::PadNaamInkorten>(u"VmdLib_PadNaamInkorten", {u"frm", u"sPad", u"nBreedte"})
            .Method<&Self::PrintAPI_TextWidth>(u"PrintAPI_TextWidth", {u"hDC", u"s"})
            .Method<&Self::ZetOwner>(u"ZetOwner", {u"Project"})
            .Method<&Self::Help>(u"Help", {u"hWnd", u"sHelpBestand", u"lContext"})
            .Method<&Self::HelpForceFile>(u"HelpForceFile", {u"hWnd", u"sHelpFile"})
            .Method<&Self::HelpGet>(u"HelpGet", {u"hWnd", u"sHelpBestand", u"lCmd", u"lContext"})
            .Method<&Self::HelpKey>(u"HelpKey", {u"hWnd", u"sHelpBestand", u"sContext"})
            .Method<&Self::HelpQuit>(u"HelpQuit", {u"hWnd", u"sHelpBestand"})
            .Method<&Self::HelpSearch>(u"HelpSearch", {u"hWnd", u"sHelpBestand"})
            .Method<&Self::HelpOnderwerpen>(u"HelpOnderwerpen", {u"sHelpBestand"})
            .Method<&Self::HelpOnHelp>(u"HelpOnHelp", {u"hWnd", u"sHelpBestand"});
    return table;
}

Text AlgemeneLibrary::TempPath()
{
    return VmdLib_TempPath(platform_);
}

std::int32_t AlgemeneLibrary::TempFile(Text& sNaam, Optional& Id)
{
    return VmdLib_TempFile(platform_, sNaam, Id);
}

Text AlgemeneLibrary::ExtractFileNaam(Text& sSpecIn, std::int16_t& nBaseOnly)
{
    return VmdLib_ExtractFileNaam(sSpecIn, nBaseOnly);
}

Text AlgemeneLibrary::ExtractPad(Text& sSpecIn)
{
    return VmdLib_ExtractPad(platform_, sSpecIn);
}

std::int32_t AlgemeneLibrary::WriteTest(Text sDirectory)
{
    return VmdLib_WriteTest(platform_, std::move(sDirectory));
}

Text AlgemeneLibrary::LeesGebruiker()
{
    return VmdLib_LeesGebruiker(platform_);
}

Text AlgemeneLibrary::DatumNaarString(Date& dtDatum, Optional& sScheiding)
{
    return VmdLib_DatumNaarString(dtDatum, sScheiding);
}

Date AlgemeneLibrary::StringNaarDatum(Text& sDatum)
{
    return VmdLib_StringNaarDatum(sDatum);
}

bool AlgemeneLibrary::SchrikkelJaar(std::int16_t& nJaar)
{
    return VmdLib_SchrikkelJaar(nJaar);
}

std::int16_t AlgemeneLibrary::WeekNummer(Date& dtDatum)
{
    return VmdLib_WeekNummer(dtDatum);
}

Text AlgemeneLibrary::Maand(std::int16_t& nMaandNummer)
{
    return VmdLib_Maand(nMaandNummer);
}

double AlgemeneLibrary::Afrond(double& Uval, std::int16_t& Places)
{
    return VmdLib_Afrond(Uval, Places);
}

void AlgemeneLibrary::PuntNaarKomma(std::int16_t& KeyCode)
{
    VmdLib_PuntNaarKomma(platform_, KeyCode);
}

void AlgemeneLibrary::CheckDecimaal(Text& sNum)
{
    VmdLib_CheckDecimaal(platform_, sNum);
}

bool AlgemeneLibrary::IsNumeric(Variant& Expression)
{
    return VmdLib_IsNumeric(platform_, Expression);
}

Variant AlgemeneLibrary::MaakBookMark(std::int32_t& lTel)
{
    return VmdLib_MaakBookMark(lTel);
}

void AlgemeneLibrary::GetDosNaam(Text& sFilenaam, Text& sDosNaam)
{
    VmdLib_GetDosNaam(platform_, sFilenaam, sDosNaam);
}

void AlgemeneLibrary::BepaalEigenschappen(Text& sFilenaam, Text& sDosNaam, Text& sBestandType, std::int32_t& lGrootte,
                                          Date& dtAanmaakDatum, Date& dtWijzigDatum, Date& dtAccessDatum,
                                          bool& bReadOnly, bool& bArchive, bool& bHidden, bool& bSystem,
                                          std::optional<Text>& sPakketDocumentExtentie)
{
    VmdLib_BepaalEigenschappen(platform_, sFilenaam,
                               {sDosNaam, sBestandType, lGrootte, dtAanmaakDatum, dtWijzigDatum, dtAccessDatum,
                                bReadOnly, bArchive, bHidden, bSystem},
                               sPakketDocumentExtentie.value_or(Text()));
}

Text AlgemeneLibrary::GetUNCPad(Text& Directory)
{
    return VmdLib_GetUNCPad(platform_, Directory);
}

std::int32_t AlgemeneLibrary::MaakDirectory(Text sDir)
{
    return VmdLib_MaakDirectory(platform_, std::move(sDir));
}

Text AlgemeneLibrary::WinDir()
{
    return vmlib::WinDir(platform_);
}

void AlgemeneLibrary::PrivIniRead(Text& SectionName, Text& KeyName, std::int16_t& nDefault, const Text& DefaultStr,
                                  Text& ReturnStr, std::int16_t& NUMERIC, Text& IniFileName)
{
    vmlib::PrivIniRead(platform_, SectionName, KeyName, nDefault, DefaultStr, ReturnStr, NUMERIC, IniFileName);
}

void AlgemeneLibrary::BepaalOS(bool& bWinNt, bool& bWin95)
{
    VmdLib_BepaalOS(platform_, bWinNt, bWin95);
}

Text AlgemeneLibrary::GetVersie(ObjectRef& Prog)
{
    return VmdLib_GetVersie(Prog);
}

std::int32_t AlgemeneLibrary::SyncShell(const Text& PathName, std::int16_t& WindowStyle)
{
    return vmlib::SyncShell(platform_, PathName, WindowStyle);
}

bool AlgemeneLibrary::GetInsert()
{
    return VmdLib_GetInsert(platform_);
}

Text AlgemeneLibrary::Field(Text& sIn)
{
    return fld(sIn);
}

}  // namespace vmlib
