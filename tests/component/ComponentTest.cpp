#include "component/AlgemeneLibrary.h"
#include "component/Component.h"
#include "component/Mbf.h"
#include "component/Melding.h"
#include "component/Registry.h"
#include "component/VmdDbLibRoutines.h"
#include "db/DocumentFixture.h"

// The classes as a host sees them: by name, late bound.
namespace vmlib::test {
namespace {

using testing::ElementsAre;

std::string TypeName(VarType type)
{
    switch (type) {
        case VarType::Integer:
            return "Integer";
        case VarType::Long:
            return "Long";
        case VarType::String:
            return "String";
        case VarType::Single:
            return "Single";
        case VarType::Double:
            return "Double";
        case VarType::Date:
            return "Date";
        case VarType::Boolean:
            return "Boolean";
        case VarType::Object:
            return "Object";
        case VarType::Variant:
            return "Variant";
        case VarType::Empty:
            return "";
        default:
            return "?";
    }
}

/// "Name(ByRef a As String, [b As Variant]) As Long", one a member.
std::vector<std::string> Signatures(const MemberTable& table)
{
    std::vector<std::string> lines;
    for (const MemberInfo& member : table.Members()) {
        std::string line = ToUtf8(member.name) + "(";
        for (const ParameterInfo& parameter : member.parameters) {
            if (!line.ends_with("(")) line += ", ";
            const std::string text =
                (parameter.byReference ? "" : "ByVal ") + ToUtf8(parameter.name) + " " + TypeName(parameter.type);
            line += parameter.optional ? "[" + text + "]" : text;
        }
        lines.push_back(line + ") " + TypeName(member.result));
    }
    return lines;
}

TEST(MemberTables, AreWhatHostsWereWrittenFor)
{
    EXPECT_THAT(Signatures(VmdDbLibRoutines::Members()),
                testing::UnorderedElementsAre(
                    "DBL_GetDatabaseError(nErrorCode Integer) String", "DBL_InitPassWord() ",
                    "DBL_GetRechten(sPadEnBestandNaam String) Integer",
                    "DBL_OpenMdb(sDatabaseNaam String, bParExclusief Boolean, bReadOnly Boolean, bBepaalRechten "
                    "Boolean, [varError Variant]) Object",
                    "DBL_OpenDataControl(datControl Object, sDatabaseNaam String, bExclusief Boolean, bReadOnly "
                    "Boolean, [varOptions Variant]) ",
                    "DBL_SluitDataControl(datControl Object) ",
                    "DBL_Ingebruik(sDatabaseNaam String, bWilSchrijven Boolean, nErrorCode Integer) Boolean",
                    "DBL_BestandVrijgeven(sFilenaam String, nErrorCode Integer) Boolean",
                    "DBL_CheckTmp(sFilenaam String, sBestandType String, sOrigineelBestand String) Boolean",
                    "DBL_OpenDatabase(sFileIn String, sFileUit String, sBestandType String, sLayoutNaam String, "
                    "nStatus Integer, nVersie Integer, "
                    "nLayoutVersie Integer, nErrorCode Integer) Boolean",
                    "DBL_OpslaanDatabase(sBronNaam String, sDoelNaam String, sLayoutBestand String, sBestandType "
                    "String, nErrorCode Integer) Boolean",
                    "DBL_CheckBasisDatabase2(sFileIn String, sBestandType String, sLayoutNaam String, "
                    "nGevraagdeRechten Integer, nGeOpendRechten Integer, nVersie Integer, nLayoutVersie Integer, "
                    "nErrorCode Integer) Boolean",
                    "DBL_CheckBasisDatabase(sFileIn String, sBestandType String, sLayoutNaam String, "
                    "nGevraagdeRechten Integer, nGeOpendRechten Integer, nVersie Integer, nLayoutVersie Integer, "
                    "nErrorCode Integer) Boolean",
                    "DBL_OpenBasisDatabase(sFileIn String, sFileUit String, nRechten Integer, [datLayout Variant]) "
                    "Integer",
                    "DBL_RepareerDataBase(sFilenaam String, nErrorCode Integer) Boolean",
                    "DBL_GetVersieNummer(sFileType String, sLayoutNaam String) Integer",
                    "DBL_MaakNieuweDatabase(sFilenaam String, sFileType String, sLayoutNaam String, nErrorCode "
                    "Integer) Boolean",
                    "DBL_AutoConvert2(db Object, sFileType String, sLayoutNaam String) ",
                    "DBL_AutoConvertPakket(ConvertClass String) "));
    EXPECT_THAT(
        Signatures(AlgemeneLibrary::Members()),
        testing::UnorderedElementsAre(
            "VmdLib_TempPath() String", "VmdLib_TempFile(sNaam String, [Id Variant]) Long",
            "VmdLib_ExtractFileNaam(sSpecIn String, nBaseOnly Integer) String",
            "VmdLib_ExtractPad(sSpecIn String) String", "VmdLib_WriteTest(ByVal sDirectory String) Long",
            "VmdLib_LeesGebruiker() String", "VmdLib_DatumNaarString(dtDatum Date, [sScheiding Variant]) String",
            "VmdLib_StringNaarDatum(sDatum String) Date", "VmdLib_SchrikkelJaar(nJaar Integer) Boolean",
            "VmdLib_WeekNummer(dtDatum Date) Integer", "VmdLib_Maand(nMaandNummer Integer) String",
            "VmdLib_Afrond(Uval Double, Places Integer) Double", "VmdLib_PuntNaarKomma(KeyCode Integer) ",
            "VmdLib_CheckDecimaal(sNum String) ", "VmdLib_IsNumeric(Expression Variant) Boolean",
            "VmdLib_MaakBookMark(lTel Long) Variant", "VmdLib_GetDosNaam(sFilenaam String, sDosNaam String) ",
            "VmdLib_BepaalEigenschappen(sFilenaam String, sDosNaam String, sBestandType String, lGrootte Long, "
            "dtAanmaakDatum Date, dtWijzigDatum Date, dtAccessDatum Date, bReadOnly Boolean, bArchive Boolean, "
            "bHidden Boolean, bSystem Boolean, [sPakketDocumentExtentie String]) ",
            "VmdLib_GetUNCPad(Directory String) String", "VmdLib_MaakDirectory(ByVal sDir String) Long",
            "WinDir() String",
            "PrivIniRead(SectionName String, KeyName String, nDefault Integer, ByVal DefaultStr String, "
            "ReturnStr String, NUMERIC Integer, IniFileName String) ",
            "VmdLib_BepaalOS(bWinNt Boolean, bWin95 Boolean) ", "VmdLib_GetVersie(Prog Object) String",
            "SyncShell(ByVal PathName String, WindowStyle Integer) Long", "VmdLib_GetInsert() Boolean",
            "fld(sIn String) String", "VmdLib_LoadResString(Id Variant) String", "LoadResStrings(frm Object) ",
            "ComboBreedte(Form Object, Ctrl Object, ByVal Breedte Long) ",
            "ComboHoogte(Form Object, Ctrl Object, AantalRegels Integer) ", "SizeCombo(rForm Object, rCbo Object) ",
            "VmdLib_Centreer(frmSource Object) ", "VmdLib_Centreer2(Owner Object, frmSource Object) ",
            "VmdLib_PadNaamInkorten(frm Object, sPad String, nBreedte Integer) ",
            "PrintAPI_TextWidth(hDC Integer, s String) Integer", "ZetOwner(Project Object) ",
            "Help(hWnd Long, sHelpBestand String, lContext Long) ", "HelpForceFile(hWnd Long, sHelpFile String) ",
            "HelpGet(hWnd Long, sHelpBestand String, lCmd Long, lContext Long) ",
            "HelpKey(hWnd Long, sHelpBestand String, sContext String) ", "HelpQuit(hWnd Long, sHelpBestand String) ",
            "HelpSearch(hWnd Long, sHelpBestand String) ", "HelpOnderwerpen(sHelpBestand String) ",
            "HelpOnHelp(hWnd Long, sHelpBestand String) "));
    EXPECT_THAT(
        Signatures(Melding::Members()),
        testing::UnorderedElementsAre(
            "VmdBox(sTekst String, nMeldType Integer, sTitel String) Variant",
            "VmdBox2(sTekst String, nMeldType Integer, sTitel String, sButton0 String, sButton1 String, sButton2 "
            "String) Variant",
            "OngeldigeWaarde(sMelding String, dMinimumValue Double, dMaximumValue Double) ",
            "OngeldigPercentage(sMelding String, dMinimumValue Double, dMaximumValue Double) ",
            "VmdAfHandel2(sFout String, sControl String, nRes Integer, vFoutnummer Variant) "));
    EXPECT_THAT(
        Signatures(Registry::Members()),
        testing::UnorderedElementsAre(
            "SetValueEx(ByVal hKey Long, sValueName String, lType Long, vValue Variant) Long",
            "QueryValueEx(ByVal lhKey Long, ByVal szValueName String, vValue Variant) Long",
            "RegQueryValue(lHoofdKey Long, sKeyNaam String, sValueNaam String, ByVal vDefault Variant) Variant",
            "RegGetAnyStr(lHoofdKey Long, sKeyNaam String, sValueNaam String, ByVal vDefault Variant) Variant",
            "RegSetKeyValue(lHoofdKey Long, sKeyName String, sValueName String, vValueSetting Variant, "
            "lValueType Long) ",
            "RegCreateNewKey(lHoofdKey Long, sNieuweKey String) ", "RegDelKey(lHoofdKey Long, sDeleteKey String) ",
            "RegDelVar(lHoofdKey Long, sDeleteKey String, sDeleteVar String) ",
            "GetIndexedValue(ByVal lHoofdKey Long, ByVal sKeyNaam String, ByVal lIndex Long, sNaam String, "
            "vWaarde Variant, bType Boolean) Long",
            "GetIndexedKey(ByVal lHoofdKey Long, ByVal sKeyNaam String, ByVal lIndex Long, sNaam String) Long",
            "GetAllSubKeys(ByVal lHoofdKey Long, ByVal sKeyNaam String, sSubKeys Object) ",
            "GetAllValues(ByVal lHoofdKey Long, ByVal sKeyNaam String, sValues Object) ",
            "VMDKeyNaam(sPakket String, sHeader String) String",
            "RegSetDbl(bUser Integer, sPakket String, sHeader String, sVar String, dVal Double) ",
            "RegSetStr(bUser Integer, sPakket String, sHeader String, sVar String, sVal String) ",
            "RegSetLng(bUser Integer, sPakket String, sHeader String, sVar String, lVal Long) ",
            "RegSetBool(bUser Integer, sPakket String, sHeader String, sVar String, bVal Boolean) ",
            "RegSetTF(bUser Integer, sPakket String, sHeader String, sVar String, bVal Integer) ",
            "RegGetDbl(bUser Integer, sPakket String, sHeader String, sVar String, ByVal dDefault Double) Double",
            "RegGetStr(bUser Integer, sPakket String, sHeader String, sVar String, ByVal sDefault String) String",
            "RegGetLng(bUser Integer, sPakket String, sHeader String, sVar String, ByVal lDefault Long) Long",
            "RegGetBool(bUser Integer, sPakket String, sHeader String, sVar String, ByVal bDefault Boolean) Boolean",
            "RegGetTF(bUser Integer, sPakket String, sHeader String, sVar String, ByVal bDefault Integer) Integer",
            "RegDelReg(bUser Integer, sPakket String, sHeader String, [vVar Variant]) ",
            "RegSubkeys(ByVal bUser Boolean, ByVal sPakket String) Object",
            "RegValues(ByVal bUser Boolean, ByVal sPakket String, ByVal sSleutel String) Object",
            "RegTotaalLijst(sPakket String) String"));
    EXPECT_THAT(Signatures(Mbf::Members()),
                testing::UnorderedElementsAre("CVI(x String) Integer", "CVL(x String) Long", "CVS(x String) Single",
                                              "CVD(x String) Double", "MKI(x Integer) String", "MKL(x Long) String",
                                              "MKS(x Single) String", "MKD(x Double) String",
                                              "CVSMBF(OldStringSP String) Single", "CVDMBF(OldStringDP String) Double",
                                              "MKSMBF(OldNumberSP Single) String", "MKDMBF(OldNumberDP Double) String",
                                              "MKDTPR(OldNumberDP Double) String"));
}

/// A data control that remembers what is set, in order.
class DataControl : public Object
{
public:
    Text TypeName() const override { return u"Data"; }
    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override
    {
        if (kind == InvokeKind::Put)
            set.push_back(ToUtf8(member) + "=" + ToUtf8(ToText(arguments[0])));
        else if (member == u"Database")
            return shared_from_this();
        else
            set.push_back(ToUtf8(member));
        return {};
    }
    std::vector<std::string> set;
};

class ComponentTest : public DocumentFixture
{
protected:
    ComponentTest() { RegisterClasses(anna_.classes, anna_.platform); }
    ObjectRef Create(TextView name) { return anna_.classes.Create(name); }
};

TEST_F(ComponentTest, RoadOfADocument)
{
    MakeLayout(3);
    MakeDocument(document_);
    const ObjectRef library = Create(u"VMLib.VmdDbLibRoutines");
    Call(library, u"DBL_InitPassWord");
    // As a script host passes them: variables that hold nothing yet, numbers as text.
    Variant working, status, version = u"0", layoutVersion, code;
    EXPECT_EQ(Call(library, u"dbl_opendatabase", document_, working, u"orders", layout_, status, version, layoutVersion,
                   code),
              Variant(true));
    EXPECT_THAT((std::vector{status, version, layoutVersion, code}),
                ElementsAre(Variant(std::int16_t{0}), Variant(std::int16_t{2}), Variant(std::int16_t{3}),
                            Variant(std::int16_t{0})));
    EXPECT_EQ(Customers(ToText(working)), customers_);
    EXPECT_EQ(Call(library, u"DBL_OpenDatabase", document_, working, u"orders", layout_, status, version, layoutVersion,
                   code),
              Variant(false));
    EXPECT_EQ(Call(library, u"DBL_GetDatabaseError", code), Variant(u"U heeft dit bestand al open."));
    const ObjectRef another = Create(u"VmdDbLibRoutines");
    Call(another, u"DBL_InitPassWord");
    EXPECT_EQ(Call(another, u"DBL_BestandVrijgeven", document_, code), Variant(false))
        << "each object has its own list";
    EXPECT_EQ(code, Variant(std::int16_t{23}));
    EXPECT_EQ(Call(library, u"DBL_BestandVrijgeven", document_, code), Variant(true));
}

TEST_F(ComponentTest, OpenMdbGivesTheEnginesDatabase)
{
    MakeDocument(document_);
    const ObjectRef library = Create(u"VmdDbLibRoutines");
    Variant error;
    EXPECT_EQ(Call(library, u"DBL_OpenMdb", document_, false, false, false, error), Variant(ObjectRef()))
        << "no password yet";
    EXPECT_EQ(error, Variant(true));
    Call(library, u"DBL_InitPassWord");
    const ObjectRef database = ToObject(Call(library, u"DBL_OpenMdb", document_, false, false, false));
    EXPECT_EQ(Get(database, u"Name"), Variant(document_));
}

TEST_F(ComponentTest, FilesWithAnotherPassword)
{
    RegisterClasses(anna_.classes, anna_.platform, u"");
    MakeDocument(document_);
    const ObjectRef library = Create(u"VmdDbLibRoutines");
    Call(library, u"DBL_InitPassWord");
    Variant error;
    Call(library, u"DBL_OpenMdb", document_, false, false, false, error);
    EXPECT_EQ(error, Variant(true)) << "the document has the library's own";
}

TEST_F(ComponentTest, ConversionGivesTheNewDatabaseBack)
{
    MakeLayout(3);
    MakeDocument(document_);
    const ObjectRef library = Create(u"VmdDbLibRoutines");
    Call(library, u"DBL_InitPassWord");
    Variant database = Call(library, u"DBL_OpenMdb", document_, false, false, false);
    const ObjectRef before = ToObject(database);
    Call(library, u"DBL_AutoConvert2", database, u"ORDERS", layout_);
    EXPECT_NE(ToObject(database), before);
    EXPECT_EQ(Get(ToObject(database), u"Name"), Variant(document_));
    Call(ToObject(database), u"Close");
    try {
        Call(library, u"DBL_AutoConvert2", database, u"ORDERS", Path(u"Geen.ord"));
        FAIL() << "an error goes to the caller";
    } catch (const Error& error) {
        EXPECT_NE(error.Number(), 0);
    }
}

TEST_F(ComponentTest, DataControl)
{
    const ObjectRef library = Create(u"VmdDbLibRoutines");
    auto control = std::make_shared<DataControl>();
    Call(library, u"DBL_OpenDataControl", control, u"C:\\a.ord", true, false);
    EXPECT_THAT(control->set, ElementsAre("DatabaseName=C:\\a.ord", "Exclusive=True", "ReadOnly=False"));
    control->set.clear();
    Call(library, u"DBL_InitPassWord");
    Call(library, u"DBL_OpenDataControl", control, u"C:\\a.ord", false, true, std::int32_t{4});
    EXPECT_THAT(control->set, ElementsAre("DatabaseName=C:\\a.ord", "Options=4", "Exclusive=False", "ReadOnly=True",
                                          "Connect=;PWD=Zonnebloemen"));
    control->set.clear();
    Call(library, u"DBL_SluitDataControl", control);
    EXPECT_THAT(control->set, ElementsAre("Close"));
}

TEST_F(ComponentTest, GeneralServices)
{
    const ObjectRef library = Create(u"AlgemeneLibrary");
    Variant name;
    EXPECT_GT(ToLong(Call(library, u"VmdLib_TempFile", name)), 0);
    EXPECT_TRUE(real_.Exists(ToText(name)));
    EXPECT_EQ(Call(library, u"VmdLib_ExtractFileNaam", u"C:\\a.b.c", true), Variant(u"a"));
    EXPECT_EQ(Call(library, u"VmdLib_WriteTest", folder_.Path()), Variant(std::int32_t{-1}));
    EXPECT_EQ(Call(library, u"VmdLib_LeesGebruiker"), Variant(u"anna"));

    Variant date = Call(library, u"VmdLib_StringNaarDatum", u"07012024");
    EXPECT_EQ(Call(library, u"VmdLib_WeekNummer", date), Variant(std::int16_t{1}));
    EXPECT_EQ(date, Variant(Date{45297})) << "the Saturday goes back to the caller";
    EXPECT_EQ(Call(library, u"VmdLib_DatumNaarString", date), Variant(u"06012024"));
    EXPECT_EQ(Call(library, u"VmdLib_Afrond", u"2.675", 2), Variant(2.68));
    Variant text, number = true;
    Call(library, u"PrivIniRead", u"Intl", u"iCountry", 31, u"", text, number, u"WIN.INI");
    EXPECT_EQ(number, Variant(std::int16_t{31}));
    Variant dosName, type, size, day, flag;
    Call(library, u"VmdLib_BepaalEigenschappen", folder_.Path(u"nergens"), dosName, type, size, day, day, day, flag,
         flag, flag, flag);
    EXPECT_EQ(dosName, Variant(Text(255, u' '))) << "the extension may be left out";
}

}  // namespace
}  // namespace vmlib::test
