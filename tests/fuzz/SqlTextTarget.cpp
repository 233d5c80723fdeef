#include "automation/ClassRegistry.h"
#include "automation/Convert.h"
#include "automation/Object.h"
#include "engine/Engine.h"
#include "fuzz/FuzzTarget.h"
#include "fuzz/SmallDocument.h"
#include "fuzz/TextMutation.h"
#include "jet/Check.h"
#include "sql/Parser.h"
#include "support/FakePorts.h"

// A statement, run on a document. It ends with rows or an Error; a SELECT changes nothing, and whatever a statement
// changes leaves a sound document.
namespace vmlib::fuzz {

namespace {

constexpr std::string_view statements[] = {
    "SELECT * FROM Klanten WHERE Naam Like 'k*' AND Saldo > 10 ORDER BY Id DESC",
    "SELECT DISTINCT TOP 3 K.Naam, Count(*) AS N, Sum(K.Saldo) FROM Klanten AS K LEFT JOIN Regels AS R ON K.Id = "
    "R.Klant "
    "WHERE R.Nr Between 2 And 12 GROUP BY K.Naam HAVING Count(*) > 1 ORDER BY 2",
    "SELECT IIf(Actief, 'ja', Null), Format(Geboren, 'dd-mm-yyyy'), Left$(Notitie, 3) & \"x\" FROM Klanten",
    "SELECT Id FROM Klanten WHERE Id In (SELECT Klant FROM Regels WHERE Nr < 5) OR Exists (SELECT * FROM Soorten)",
    "SELECT Naam FROM Klanten UNION ALL SELECT Tekst FROM Regels ORDER BY Naam",
    "SELECT Klein * Kort ^ 2 \\ 3 Mod 4, -Enkel, Not Kort Xor 5, Code, Sleutel FROM Soorten WHERE Enkel Is Not Null",
    "SELECT DateAdd('m', 1, #2/29/2000#), CDate('1 feb 2000'), CCur('1,5'), Val('12e3x'), Str(-.5), Hex(255), "
    "String(3, 'a')",
    "SELECT DateDiff('ww', Geboren, Now()), DatePart('q', Date()), InStr(1, Naam, 'b', 1), StrComp(Naam, 'x') FROM "
    "Klanten",
    "PARAMETERS [van] Long, tot DateTime; SELECT * FROM Namen WHERE Naam = [van]",
    "SELECT First(Naam), Last(Saldo), Min(Geboren), Avg(Id), StDev(Id), VarP(Saldo) FROM Klanten",
    "TRANSFORM Sum(Saldo) SELECT Naam, Count(*) AS N FROM Klanten GROUP BY Naam PIVOT Format(Geboren, 'yyyy') IN "
    "('2000', 'geen')",
    "INSERT INTO Klanten (Naam, Saldo, Geboren) VALUES ('nieuw', 12.5, #1/2/2003#)",
    "INSERT INTO Regels (Klant, Nr, Tekst) SELECT Id, Id + 100, Naam FROM Klanten",
    "UPDATE Klanten SET Saldo = Saldo * 1.1, Notitie = Naam & Id WHERE Actief = True",
    "UPDATE Klanten SET Id = Id + 50 WHERE Id < 4",
    "UPDATE Klanten INNER JOIN Regels ON Klanten.Id = Regels.Klant SET Regels.Tekst = Klanten.Naam",
    "DELETE FROM Klanten WHERE Id In (1, 2)",
    "DELETE * FROM Regels",
    "SELECT Naam, Saldo INTO Kopie FROM Klanten",
    "CREATE TABLE Nieuw (Id COUNTER CONSTRAINT P PRIMARY KEY, Naam TEXT(20) NOT NULL, Bedrag CURRENCY, Plaatje "
    "OLEOBJECT)",
    "CREATE UNIQUE INDEX U ON Klanten (Saldo DESC, Naam) WITH DISALLOW NULL",
    "ALTER TABLE Klanten ADD COLUMN Extra TEXT(10)",
    "ALTER TABLE Klanten DROP COLUMN Notitie",
    "ALTER TABLE Regels ADD CONSTRAINT F FOREIGN KEY (Nr) REFERENCES Klanten (Id)",
    "DROP TABLE Soorten",
    "DROP INDEX Naam ON Klanten",
};

const Vocabulary& Words()
{
    static const Vocabulary words = {
        {"0",
         "1",
         "-1",
         "12.5",
         "1e308",
         "2147483648",
         "&HFFFF",
         "Null",
         "True",
         "'x'",
         "''",
         "'12'",
         "'é€'",
         "#1/1/100#",
         "#12/31/9999#",
         "Id",
         "Naam",
         "Saldo",
         "(SELECT Max(Nr) FROM Regels)",
         "{guid {00000000-0000-0000-0000-000000000000}}"},
        {"Klanten", "Regels", "Soorten", "Namen", "MSysObjects", "[Klanten]", "(SELECT * FROM Regels) AS K"},
        {"Id", "Naam", "Saldo", "Geboren", "Notitie", "Beeld", "Actief", "[Id]", "K.Id"},
        {"Klant", "Nr", "Tekst", "Later", "Regels.Nr"},
        {"Klein", "Kort", "Enkel", "Dubbel", "Sleutel", "Code"},
        {"=",   "<",   ">",  "<>",  ">=",  "+",   "-",    "*",  "/",  "\\",     "^",        "&",
         "Mod", "AND", "OR", "Xor", "Eqv", "Imp", "Like", "Is", "In", "Is Not", "Not Like", "Between 1 And"},
        {"CStr",  "CDate", "CLng", "CCur",    "CInt",   "CByte",  "CSng",      "CDbl",      "CBool",     "CVDate",
         "Val",   "Str",   "Hex",  "Oct",     "Len",    "Trim",   "LTrim",     "UCase",     "LCase",     "Asc",
         "Chr",   "Space", "Int",  "Fix",     "Abs",    "Sgn",    "Sqr",       "Exp",       "Log",       "Year",
         "Month", "Day",   "Hour", "Weekday", "IsNull", "IsDate", "IsNumeric", "DateValue", "TimeValue", "Count",
         "Sum",   "Min",   "Max",  "First",   "Last",   "Avg",    "StDev",     "Var",       "VarP",      "StDevP"},
        {"Left", "Right", "Mid", "InStr", "StrComp", "String", "Format", "DateAdd", "DateDiff", "DatePart",
         "DateSerial", "TimeSerial", "IIf", "Switch", "Choose", "Partition", "Round", "Nz"},
        {"'m'", "'yyyy'", "'q'", "'y'", "'d'", "'w'", "'ww'", "'h'", "'n'", "'s'"},
        {"'dd-mm-yyyy'", "'#,##0.00'", "'>@@\"\"@'", "'Long Date'", "'ww q'", "'0.0E+00'"},
        {"INNER", "LEFT", "RIGHT"},
        {"ASC", "DESC"},
        {"DISTINCT", "DISTINCTROW", "ALL", "TOP 2", "TOP 50 PERCENT"},
        {"WHERE", "HAVING", "GROUP", "ORDER", "UNION", "ON", "SET", "FROM", "INTO", "IN", "VALUES"},
        {"COUNTER", "TEXT(20)", "CURRENCY", "OLEOBJECT", "LONG", "BYTE", "DATETIME", "MEMO", "GUID", "BINARY(10)",
         "BIT"},
        {"PRIMARY KEY", "UNIQUE", "NOT NULL", "REFERENCES Klanten (Id)"},
    };
    return words;
}

struct Outcome
{
    bool isSelection = false;
    Bytes file;
};

void ReadRows(const ObjectRef& records)
{
    constexpr int greatestCount = 100;
    const ObjectRef fields = ToObject(Get(records, u"Fields"));
    const std::int32_t count = ToLong(Get(fields, u"Count"));
    for (int row = 0; row < greatestCount && !ToBoolean(Get(records, u"EOF")); ++row) {
        for (std::int32_t i = 0; i < count; ++i) Get(ToObject(Get(fields, u"Item", i)), u"Value");
        Call(records, u"MoveNext");
    }
    Call(records, u"Close");
}

/// Runs the statement on a copy of the document; gives the document afterwards.
Outcome RunOn(test::MemoryFiles& files, TextView sql)
{
    constexpr std::int32_t failOnError = 128;
    files.Put(documentPath, SmallDocument());
    ClassRegistry classes;
    test::FakeSystem system;
    test::FakeDesktop desktop;
    Platform platform = test::PlatformOf(files, system, desktop);
    RegisterEngine(classes, platform, u"Z:\\");
    Outcome outcome;
    {
        const ObjectRef engine = classes.Create(u"VMDEngine.DBEngine");
        const ObjectRef database =
            ToObject(Call(engine, u"OpenDatabase", documentPath, true, false, u";PWD=" + Text(documentPassword)));
        try {
            ReadRows(ToObject(Call(database, u"OpenRecordset", sql)));
            outcome.isSelection = true;
        } catch (const Error&) {
            // Not a selection, or one that fails.
        }
        try {
            if (!outcome.isSelection) Call(database, u"Execute", sql, sql.size() % 2 == 0 ? failOnError : 0);
        } catch (const Error&) {
        }
        Call(database, u"Close");
    }
    outcome.file = files.Contents(documentPath).value();
    return outcome;
}

void ParseAsAnything(TextView text)
{
    const auto attempt = [](const auto& parse) {
        try {
            parse();
        } catch (const Error&) {
        }
    };
    attempt([&] { sql::ParseExpression(text); });
    attempt([&] { sql::ParseFieldRule(text, u"Naam"); });
    attempt([&] { sql::ParseOrder(text); });
}

void Run(std::string_view input)
{
    const Text text = FromUtf8(input);
    ParseAsAnything(text);
    test::MemoryFiles files;
    const Outcome outcome = RunOn(files, text);
    if (outcome.isSelection) Promise(outcome.file == SmallDocument(), "a selection changes nothing");
    if (outcome.file == SmallDocument()) return;
    jet::Workspace workspace = WorkspaceOn(files);
    const auto database = workspace.Open(documentPath, {.password = Text(documentPassword)});
    const auto faults = jet::Check(*database).faults;
    Promise(faults.empty(), faults.empty() ? "" : "a changed document is sound: " + faults.front());
}

std::vector<std::string> Seeds()
{
    return {std::begin(statements), std::end(statements)};
}

std::string Mutate(std::string_view input, std::mt19937& random)
{
    return MutateText(input, Words(), statements[random() % std::size(statements)], random);
}

}  // namespace

const Target sqlText{"sqlText", Run, Seeds, Mutate};

}  // namespace vmlib::fuzz
