#pragma once

#include "automation/MemberTable.h"
#include "platform/Platform.h"

namespace vmlib {

/// General services as a late-bound class. Members and parameters are those of the functions in src/general.
class AlgemeneLibrary : public AutomationClass<AlgemeneLibrary>
{
public:
    explicit AlgemeneLibrary(Platform& platform) : platform_(platform) {}
    static const MemberTable& Members();

private:
    Text TempPath();
    std::int32_t TempFile(Text& sNaam, Optional& Id);
    Text ExtractFileNaam(Text& sSpecIn, std::int16_t& nBaseOnly);
    Text ExtractPad(Text& sSpecIn);
    std::int32_t WriteTest(Text sDirectory);
    Text LeesGebruiker();

    Text DatumNaarString(Date& dtDatum, Optional& sScheiding);
    Date StringNaarDatum(Text& sDatum);
    bool SchrikkelJaar(std::int16_t& nJaar);
    std::int16_t WeekNummer(Date& dtDatum);
    Text Maand(std::int16_t& nMaandNummer);

    double Afrond(double& Uval, std::int16_t& Places);
    void PuntNaarKomma(std::int16_t& KeyCode);
    void CheckDecimaal(Text& sNum);
    bool IsNumeric(Variant& Expression);
    Variant MaakBookMark(std::int32_t& lTel);

    void GetDosNaam(Text& sFilenaam, Text& sDosNaam);
    void BepaalEigenschappen(Text& sFilenaam, Text& sDosNaam, Text& sBestandType, std::int32_t& lGrootte,
                             Date& dtAanmaakDatum, Date& dtWijzigDatum, Date& dtAccessDatum, bool& bReadOnly,
                             bool& bArchive, bool& bHidden, bool& bSystem,
                             std::optional<Text>& sPakketDocumentExtentie);
    Text GetUNCPad(Text& Directory);
    std::int32_t MaakDirectory(Text sDir);

    Text WinDir();
    void PrivIniRead(Text& SectionName, Text& KeyName, std::int16_t& nDefault, const Text& DefaultStr, Text& ReturnStr,
                     std::int16_t& NUMERIC, Text& IniFileName);
    void BepaalOS(bool& bWinNt, bool& bWin95);
    Text GetVersie(ObjectRef& Prog);
    std::int32_t SyncShell(const Text& PathName, std::int16_t& WindowStyle);
    bool GetInsert();
    Text Field(Text& sIn);

    // Texts, forms and help: AlgemeneLibraryForms.cpp.
    Text LoadResString(Variant& Id);
    void LoadResStrings(ObjectRef& frm);

    void ComboBreedte(ObjectRef& Form, ObjectRef& Ctrl, std::int32_t Breedte);
    void ComboHoogte(ObjectRef& Form, ObjectRef& Ctrl, std::int16_t& AantalRegels);
    void SizeCombo(ObjectRef& rForm, ObjectRef& rCbo);
    void Centreer(ObjectRef& frmSource);
    void Centreer2(ObjectRef& Owner, ObjectRef& frmSource);
    void PadNaamInkorten(ObjectRef& frm, Text& sPad, std::int16_t& nBreedte);
    std::int16_t PrintAPI_TextWidth(std::int16_t& hDC, Text& s);
    void ZetOwner(ObjectRef& Project);

    void Help(std::int32_t& hWnd, Text& sHelpBestand, std::int32_t& lContext);
    void HelpForceFile(std::int32_t& hWnd, Text& sHelpFile);
    void HelpGet(std::int32_t& hWnd, Text& sHelpBestand, std::int32_t& lCmd, std::int32_t& lContext);
    void HelpKey(std::int32_t& hWnd, Text& sHelpBestand, Text& sContext);
    void HelpQuit(std::int32_t& hWnd, Text& sHelpBestand);
    void HelpSearch(std::int32_t& hWnd, Text& sHelpBestand);
    void HelpOnderwerpen(Text& sHelpBestand);
    void HelpOnHelp(std::int32_t& hWnd, Text& sHelpBestand);

    Platform& platform_;
};

}  // namespace vmlib
