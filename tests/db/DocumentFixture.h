#pragma once

#include <gmock/gmock.h>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "db/Closing.h"
#include "db/EngineAccess.h"
#include "engine/Engine.h"
#include "jet/Check.h"
#include "platform/posix/PosixFiles.h"
#include "support/FailingFiles.h"
#include "support/FakePorts.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {

/// A user of his own: a registry with the embedded engine, hence a workspace, on ports of the test.
class User
{
public:
    User(Files& files, const Text& name, const Text& temporaryFolder) : files_(files), system(temporaryFolder)
    {
        system.userName = name;
        RegisterEngine(classes, platform, temporaryFolder);
        engine = std::make_shared<db::EngineHandle>(classes);
    }

    /// A new object of the document layer.
    db::Session Session()
    {
        db::Session session{platform, classes, engine};
        db::DBL_InitPassWord(session);
        return session;
    }

    void Run(const Text& path, std::initializer_list<const char*> statements)
    {
        db::Session session = Session();
        const db::Closing database(db::OpenShared(session, path));
        for (const char* sql : statements) database->Execute(FromUtf8(sql));
    }

    /// The rows of a SELECT, values joined by "|".
    std::vector<std::string> Rows(const Text& path, const char* sql, std::initializer_list<const char*> fields)
    {
        db::Session session = Session();
        const db::Closing database(db::OpenShared(session, path));
        const db::Closing rows(database->OpenRecordset(FromUtf8(sql)));
        std::vector<std::string> lines;
        for (; !rows->AtEnd(); rows->MoveNext()) {
            std::string line;
            for (const char* field : fields) {
                const Variant value = rows->Field(FromUtf8(field)).Value();
                line += (line.empty() ? "" : "|") + (value.IsNull() ? "Null" : ToUtf8(ToText(value)));
            }
            lines.push_back(line);
        }
        return lines;
    }

    /// Names of the tables, without the engine's own, or of a table's fields or indexes.
    std::vector<std::string> Names(const Text& path, const Text& table = {}, bool indexes = false)
    {
        db::Session session = Session();
        const db::Closing database(db::OpenShared(session, path));
        std::vector<std::string> names;
        const auto add = [&](const ObjectRef& items) {
            for (std::int32_t i = 0; i < ToLong(Get(items, u"Count")); ++i) {
                const std::string name = ToUtf8(ToText(Get(ToObject(Get(items, u"Item", i)), u"Name")));
                if (!name.starts_with("MSys")) names.push_back(name);
            }
        };
        if (table.empty())
            add(database->TableDefs().Reference());
        else if (indexes)
            add(database->TableDefs().Item(table).Indexes().Reference());
        else
            add(database->TableDefs().Item(table).Fields().Reference());
        return names;
    }

    /// Version, type, path and mark.
    std::string Info(const Text& path)
    {
        const auto rows = Rows(path, "SELECT * FROM Info", {"Versie", "BestandType", "BestandNaam", "InGebruikDoor"});
        return rows.size() == 1 ? rows[0] : std::to_string(rows.size()) + " records";
    }

private:
    Files& files_;

public:
    FakeSystem system;
    FakeDesktop desktop;
    Platform platform = PlatformOf(files_, system, desktop);
    ClassRegistry classes;
    std::shared_ptr<db::EngineHandle> engine;
};

struct LayoutField
{
    const char* table;
    const char* name;
    int type;
    int length = 0;
    int attributes = 1;
    bool zeroLength = false;
};

struct LayoutIndex
{
    const char* table;
    const char* name;
    const char* field;
    int primary = 0;
    int unique = 0;
};

struct LayoutRelation
{
    const char* name;
    const char* table;
    const char* foreignTable;
    const char* field;
    const char* foreignField;
};

/// A file type of two tables in its versions 2 and 3, and documents of version 2.
class DocumentFixture : public testing::Test
{
protected:
    DocumentFixture() { real_.CreateFolder(temporary_.substr(0, temporary_.size() - 1)); }

    Text Path(TextView name) { return folder_.Path(name); }

    static std::vector<LayoutField> Fields(int version)
    {
        std::vector<LayoutField> fields = {
            {"Info", "Versie", 3},
            {"Info", "BestandType", 10, 20, 2},
            {"Info", "BestandNaam", 10, 255, 2, true},
            {"Info", "InGebruikDoor", 10, 30, 2},
            {"Klant", "Nr", 4},
        };
        if (version == 2)
            fields.insert(fields.end(),
                          {{"Klant", "naam", 10, 30, 2, true}, {"Klant", "Oud", 10, 10, 2}, {"Weg", "Nr", 4}});
        else
            fields.insert(fields.end(), {{"Klant", "Naam", 10, 30, 2, true},
                                         {"Klant", "Email", 10, 40, 2},
                                         {"Best", "Id", 4, 0, 17},
                                         {"Best", "KlantNr", 4}});
        return fields;
    }

    /// Makes a layout database of one file type.
    void MakeLayout(const Text& path, const std::string& type, int version, const std::vector<LayoutField>& fields,
                    const std::vector<LayoutIndex>& indexes = {}, const std::vector<LayoutRelation>& relations = {})
    {
        db::Session session = anna_.Session();
        const db::Closing layout(MakeNew(session, path));
        const auto execute = [&](const std::string& sql) { layout->Execute(FromUtf8(sql)); };
        execute("CREATE TABLE Info (FileType TEXT(20), Versie SHORT)");
        execute(
            "CREATE TABLE LayOut (RecNr LONG, FileType TEXT(20), TabelNaam TEXT(64), VeldNaam TEXT(64), VeldType "
            "SHORT, "
            "VeldLengte SHORT, VeldAttribuut SHORT, NulWaardeToegestaan BIT)");
        execute(
            "CREATE TABLE Indexen (FileType TEXT(20), TabelNaam TEXT(64), VeldNaam TEXT(64), IndexNaam TEXT(64), "
            "[Primary] "
            "SHORT, Uniek SHORT, Volgorde SHORT)");
        execute(
            "CREATE TABLE Relaties (FileType TEXT(20), RelatieNaam TEXT(64), TabelNaam1 TEXT(64), TabelNaam2 TEXT(64), "
            "VeldNaam1 TEXT(64), VeldNaam2 TEXT(64), Attribuut LONG, Volgorde SHORT)");
        execute("CREATE TABLE Queries (FileType TEXT(20), QueryNaam TEXT(64), QueryParameters MEMO, QueryInhoud MEMO)");
        const std::string start = " VALUES ('" + type + "', ";
        execute("INSERT INTO Info (FileType, Versie)" + start + std::to_string(version) + ")");
        int number = 100;
        for (const LayoutField& f : fields)
            execute(
                "INSERT INTO LayOut (FileType, RecNr, TabelNaam, VeldNaam, VeldType, VeldLengte, VeldAttribuut, "
                "NulWaardeToegestaan)" +
                start + std::to_string(++number) + ", '" + f.table + "', '" + f.name + "', " + std::to_string(f.type) +
                ", " + std::to_string(f.length) + ", " + std::to_string(f.attributes) + ", " +
                (f.zeroLength ? "True" : "False") + ")");
        for (const LayoutIndex& i : indexes)
            execute("INSERT INTO Indexen (FileType, TabelNaam, IndexNaam, VeldNaam, [Primary], Uniek, Volgorde)" +
                    start + "'" + i.table + "', '" + i.name + "', '" + i.field + "', " + std::to_string(i.primary) +
                    ", " + std::to_string(i.unique) + ", " + std::to_string(++number) + ")");
        for (const LayoutRelation& r : relations)
            execute(
                "INSERT INTO Relaties (FileType, RelatieNaam, TabelNaam1, TabelNaam2, VeldNaam1, VeldNaam2, Attribuut, "
                "Volgorde)" +
                start + "'" + r.name + "', '" + r.table + "', '" + r.foreignTable + "', '" + r.field + "', '" +
                r.foreignField + "', 0, " + std::to_string(++number) + ")");
    }

    /// `layout`: the file type ORDERS in the version, with a key and, in version 3, a relation.
    void MakeLayout(int version)
    {
        std::vector<LayoutIndex> indexes = {{"Klant", "PrimaryKey", "Nr", 1, 1}};
        if (version == 3)
            MakeLayout(layout_, "ORDERS", 3, Fields(3), indexes, {{"KlantBest", "Klant", "Best", "Nr", "KlantNr"}});
        else
            MakeLayout(layout_, "ORDERS", version, Fields(2), indexes);
    }

    /// A document of version 2 with three customers, made by hand; `mark` stands in InGebruikDoor.
    void MakeDocument(const Text& path, const std::string& mark = " ", const std::string& name = "oud pad")
    {
        db::Session session = anna_.Session();
        const db::Closing document(MakeNew(session, path));
        const auto execute = [&](const std::string& sql) { document->Execute(FromUtf8(sql)); };
        execute(
            "CREATE TABLE Info (Versie SHORT, BestandType TEXT(20), BestandNaam TEXT(255), InGebruikDoor TEXT(30))");
        execute("INSERT INTO Info VALUES (2, 'ORDERS', '" + name + "', '" + mark + "')");
        execute("CREATE TABLE Klant (Nr LONG CONSTRAINT PrimaryKey PRIMARY KEY, naam TEXT(30), Oud TEXT(10))");
        execute("CREATE TABLE Weg (Nr LONG)");
        execute("INSERT INTO Klant VALUES (1, 'Bakker', 'x')");
        execute("INSERT INTO Klant VALUES (2, 'van ''t Hof', 'y')");
        execute("INSERT INTO Klant VALUES (3, Null, 'z')");
        execute("INSERT INTO Weg VALUES (9)");
    }

    /// Runs an attempt with a fault at each step in turn, at every third of the many writes, until it no longer
    /// strikes.
    /// @param attempt  gets the fault to arm, returns whether it struck
    template <class Attempt>
    static void AtEachStep(FaultKind kind, Attempt attempt)
    {
        const std::pair<std::set<Step>, int> sweeps[] = {
            {{Step::Sync, Step::Create, Step::Delete, Step::Rename, Step::Copy, Step::Replace}, 1},
            {{Step::Write, Step::Resize}, 3}};
        for (const auto& [steps, stride] : sweeps) {
            bool struck = true;
            for (int n = 1; struck && !testing::Test::HasFatalFailure(); n += stride) {
                SCOPED_TRACE("kind " + std::to_string(static_cast<int>(kind)) + ", " +
                             (stride == 1 ? "step " : "write ") + std::to_string(n));
                struck = attempt(Fault{.at = n, .kind = kind, .steps = steps});
            }
        }
    }

    /// The faults that the structural check finds.
    std::vector<std::string> Faults(const Text& path)
    {
        jet::Workspace workspace(real_, temporary_, [] { return Date{}; });
        const auto database = workspace.Open(path, {.exclusive = true, .readOnly = true, .password = u"Zonnebloemen"});
        return jet::Check(*database).faults;
    }

    /// Left open since it was made: nothing is synced before it is closed.
    db::dao::Database MakeNew(db::Session& session, const Text& path)
    {
        if (real_.Exists(path)) real_.Delete(path);
        return db::CreateDatabase(session, path);
    }

    std::vector<std::string> Customers(const Text& path)
    {
        return anna_.Rows(path, "SELECT Nr, Naam FROM Klant ORDER BY Nr", {"Nr", "Naam"});
    }

    TemporaryFolder folder_;
    Text temporary_ = folder_.Path(u"t") + u"\\";
    posix::PosixFiles real_;
    User anna_{real_, u"anna", temporary_};
    Text layout_ = folder_.Path(u"Layout.ord");
    Text document_ = folder_.Path(u"Winkel.ord");
    const std::vector<std::string> customers_ = {"1|Bakker", "2|van 't Hof", "3|Null"};
};

}  // namespace vmlib::test
