#include <algorithm>
#include <iostream>
#include <ostream>

#include "host/CommandLine.h"
#include "host/LayoutStore.h"
#include "host/Structure.h"

namespace vmlib::host {

namespace {

void Print(Session& session, const Layout& layout)
{
    session.out << LayoutToJson(layout).dump(session.options.json ? -1 : 2) << "\n";
}

/// The bits that a layout states: fixed, variable, automatic.
constexpr std::int32_t statedAttributes = 1 | 2 | 16;
constexpr std::int16_t textType = 10, memoType = 12;

LayoutTable Describe(const TableFacts& facts)
{
    LayoutTable table{facts.name, {}, {}};
    for (const FieldFacts& field : facts.fields) {
        const bool isText = field.type == textType || field.type == memoType;
        table.fields.push_back({field.name, field.type, static_cast<std::int16_t>(field.size),
                                static_cast<std::int16_t>(field.attributes & statedAttributes),
                                isText && field.allowZeroLength});
    }
    for (const IndexFacts& index : facts.indexes) {
        if (index.foreign) continue;  // comes with its relation
        LayoutIndex described{index.name,
                              {},
                              static_cast<std::int16_t>(index.primary ? -1 : 0),
                              static_cast<std::int16_t>(index.unique ? -1 : 0)};
        for (const auto& column : index.columns)
            described.fields.push_back(column.descending ? u"-" + column.name : column.name);
        table.indexes.push_back(std::move(described));
    }
    return table;
}

int DescribeDocument(Session& session, const std::string& document, const std::string& type, std::int16_t version)
{
    const Closer database(session.OpenDatabase(session.DatabasePath(document), true));
    const StructureFacts structure = ReadStructure(database.Object());
    Layout layout;
    layout.type = FromUtf8(type);
    layout.version = version;
    for (const TableFacts& table : structure.tables)
        if (!table.IsSystem()) layout.tables.push_back(Describe(table));
    layout.relations = structure.relations;
    for (const QueryFacts& query : structure.queries) layout.queries.push_back({query.name, u"", query.sql});
    Print(session, layout);
    for (const std::string& fault : LayoutFaults(layout)) session.err << "warning: " << fault << "\n";
    return exitDone;
}

/// One layout or several, one behind the other, as `export` prints them.
std::vector<Layout> ReadLayouts(std::istream& in)
{
    std::vector<Layout> layouts;
    try {
        while ((in >> std::ws).good() && in.peek() != std::istream::traits_type::eof()) {
            Json json;
            in >> json;
            layouts.push_back(LayoutFromJson(json));
        }
    } catch (const Json::exception& error) {
        throw UsageError{std::string("layout text: ") + error.what()};
    }
    if (layouts.empty()) throw UsageError{"no layout text on standard input"};
    return layouts;
}

/// Each layout takes the place of the rows of its type: of two for one type the first would be lost.
void RefuseSecondOfType(const std::vector<Layout>& layouts)
{
    for (auto layout = layouts.begin(); layout != layouts.end(); ++layout)
        if (std::any_of(layouts.begin(), layout,
                        [&](const Layout& earlier) { return EqualIgnoringCase(earlier.type, layout->type); }))
            throw UsageError{"two layouts are of the type " + ToUtf8(layout->type)};
}

int Import(Session& session, const std::string& file)
{
    const std::vector<Layout> layouts = ReadLayouts(std::cin);
    RefuseSecondOfType(layouts);
    bool isSound = true;
    for (const Layout& layout : layouts)
        for (const std::string& fault : LayoutFaults(layout)) {
            session.err << fault << "\n";
            isSound = false;
        }
    if (!isSound) return exitUsage;
    WriteLayouts(session, session.DatabasePath(file), layouts);
    return exitDone;
}

int ExportLayouts(Session& session, const std::string& file, const std::string& type)
{
    const Text path = session.DatabasePath(file);
    const std::vector<Text> types = type.empty() ? LayoutTypes(session, path) : std::vector{FromUtf8(type)};
    for (const Text& one : types) Print(session, ReadLayout(session, path, one));
    return exitDone;
}

struct LayoutArguments
{
    std::string file, type;
    std::int16_t version = 1;
};

}  // namespace

void AddLayoutCommands(CommandLine& line)
{
    auto arguments = std::make_shared<LayoutArguments>();
    Session& session = line.TheSession();
    CLI::App& group = line.AddGroup("layout", "vmlib layout export layout.mdb", "Writes and reads layouts as text.");

    CLI::App& describe = line.AddTo(
        group, "describe", "vmlib layout describe Kas.mdb --type FACT --version 2 > fact.json",
        "Prints the structure of a document as layout text.",
        [=, &session] { return DescribeDocument(session, arguments->file, arguments->type, arguments->version); });
    describe.add_option("document", arguments->file)->required();
    describe.add_option("--type", arguments->type, "file type")->required();
    describe.add_option("--version", arguments->version, "layout version")->required();

    CLI::App& import =
        line.AddTo(group, "import", "vmlib layout import layout.mdb < fact.json",
                   "Writes layout text from standard input into a layout database, which is made if missing.",
                   [=, &session] { return Import(session, arguments->file); });
    import.add_option("layout", arguments->file)->required();

    CLI::App& exportLayout = line.AddTo(group, "export", "vmlib layout export layout.mdb --type FACT > fact.json",
                                        "Prints the layouts of a layout database as text.", [=, &session] {
                                            return ExportLayouts(session, arguments->file, arguments->type);
                                        });
    exportLayout.add_option("layout", arguments->file)->required();
    exportLayout.add_option("--type", arguments->type, "only this file type");
    for (CLI::App* command : {&describe, &import, &exportLayout}) {
        line.TakesPassword(*command);
        line.TakesJson(*command);
    }
}

}  // namespace vmlib::host
