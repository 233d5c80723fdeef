#include <algorithm>
#include <array>
#include <unordered_set>

#include "host/Layout.h"

// What a layout may not hold. The document layer writes names of tables and fields into SQL without brackets, cuts
// names at fixed widths, and tells tables apart by a sort of joined text; what that cannot carry would be lost or fail
// only when a user's document is converted.
namespace vmlib::host {

namespace {

constexpr std::size_t fieldNameWidth = 30;
constexpr std::size_t indexNameWidth = 30;
constexpr std::size_t relationNameWidth = 40;
constexpr std::size_t queryNameWidth = 20;
constexpr std::size_t tableNameWidth = 64;
constexpr std::size_t typeWidth = 50;

constexpr std::int16_t longType = 4, binaryType = 9, textType = 10, longBinaryType = 11, memoType = 12, guidType = 15;
constexpr std::int16_t automatic = 16;   // of a field
constexpr std::int32_t notEnforced = 2;  // of a relation

/// Words that the SQL dialect reads as its own where a name of a table or field stands without brackets.
constexpr std::array reservedWords = {
    u"ADD",         u"ALL",       u"ALTER",      u"AND",    u"ANY",    u"AS",          u"ASC",        u"BETWEEN",
    u"BY",          u"COLUMN",    u"CONSTRAINT", u"CREATE", u"DELETE", u"DESC",        u"DISALLOW",   u"DISTINCT",
    u"DISTINCTROW", u"DROP",      u"EQV",        u"EXISTS", u"FALSE",  u"FOREIGN",     u"FROM",       u"FULL",
    u"GROUP",       u"HAVING",    u"IMP",        u"IN",     u"INNER",  u"INSERT",      u"INTO",       u"IS",
    u"JOIN",        u"LEFT",      u"LIKE",       u"MOD",    u"NO",     u"NOT",         u"NULL",       u"OFF",
    u"ON",          u"OPTION",    u"OR",         u"ORDER",  u"OUTER",  u"OWNERACCESS", u"PARAMETERS", u"PERCENT",
    u"PIVOT",       u"PROCEDURE", u"REFERENCES", u"RIGHT",  u"SELECT", u"SET",         u"SOME",       u"TABLE",
    u"TOP",         u"TRANSFORM", u"TRUE",       u"UNION",  u"UNIQUE", u"UPDATE",      u"VALUES",     u"WHERE",
    u"WITH",        u"XOR",       u"YES",
};

bool IsLetter(char16_t c)
{
    if ((c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z')) return true;
    if (c >= 0xC0 && c <= 0xFF) return c != 0xD7 && c != 0xF7;  // multiplication and division sign
    return TextView(u"ŠšŒœŽžŸƒ").find(c) != TextView::npos;
}

bool IsDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

/// The field that an index names, without the sign of its direction.
TextView IndexedName(TextView written)
{
    const bool hasDirection = written.starts_with(u'-') || written.starts_with(u'+');
    return written.substr(hasDirection ? 1 : 0);
}

/// Faults of one layout, gathered.
class Examiner
{
public:
    explicit Examiner(const Layout& layout) : layout_(layout) {}

    std::vector<std::string> Examine()
    {
        ExamineHead();
        Unique(layout_.tables, "tables");
        for (const LayoutTable& table : layout_.tables) ExamineTable(table);
        Unique(layout_.relations, "relations");
        for (const RelationFacts& relation : layout_.relations) ExamineRelation(relation);
        Unique(layout_.queries, "queries");
        for (const LayoutQuery& query : layout_.queries) ExamineQuery(query);
        return std::move(faults_);
    }

private:
    void Fault(const std::string& place, const std::string& what) { faults_.push_back(place + ": " + what); }

    /// Two entries whose names differ at most in case.
    template <class Entry>
    void Unique(const std::vector<Entry>& entries, const std::string& place)
    {
        std::unordered_set<Text, NameHash, NameEqual> names;
        for (const Entry& entry : entries)
            if (!names.insert(entry.name).second) Fault(place, "two are called " + ToUtf8(entry.name));
    }

    void Width(const std::string& place, const Text& name, std::size_t width)
    {
        if (name.size() > width)
            Fault(place, "the name is longer than " + std::to_string(width) + " characters and would be cut");
    }

    /// A name that stands in SQL without brackets.
    void BareName(const std::string& place, const Text& name)
    {
        const bool fits =
            std::all_of(name.begin(), name.end(), [](char16_t c) { return IsLetter(c) || IsDigit(c) || c == u'_'; });
        if (name.empty() || !fits || !IsLetter(name[0]))
            Fault(place,
                  "a name is a letter of code page 1252 and then letters, digits and underscores, as the document "
                  "layer writes it without brackets");
        for (const TextView word : reservedWords)
            if (EqualIgnoringCase(name, word))
                Fault(place, "the name is a word of SQL, and the document layer writes it without brackets");
    }

    /// A name that only the engine sees.
    void ObjectName(const std::string& place, const Text& name, std::size_t width)
    {
        const bool hasControl = std::any_of(name.begin(), name.end(), [](char16_t c) { return c < 0x20; });
        if (Trim(name) != name || name.empty() || hasControl || name.find_first_of(u".![]`") != Text::npos ||
            !FitsAnsi(name))
            Fault(place,
                  "a name has no blanks around it, no control characters, none of . ! [ ] `, and fits code page 1252");
        Width(place, name, width);
    }

    void ExamineHead()
    {
        if (layout_.type.empty() || Trim(layout_.type) != layout_.type || layout_.type.find(u'\'') != Text::npos ||
            !FitsAnsi(layout_.type))
            Fault("type", "a file type has no quote in it and no blanks around it, and fits code page 1252");
        Width("type", layout_.type, typeWidth);
        if (layout_.version < 1) Fault("version", "a version is 1 or more");
        if (layout_.tables.empty()) Fault("tables", "there are none");
    }

    void ExamineTable(const LayoutTable& table)
    {
        const std::string place = "table " + ToUtf8(table.name);
        BareName(place, table.name);
        Width(place, table.name, tableNameWidth);
        if (StartsWithIgnoringCase(table.name, u"MSYS"))
            Fault(place, "tables whose names begin with MSys are the engine's and would not be saved");
        if (table.fields.empty()) Fault(place, "it has no fields");
        if (table.fields.size() > 255) Fault(place, "it has more than 255 fields");
        if (table.indexes.size() > 32) Fault(place, "it has more than 32 indexes");
        Unique(table.fields, place);
        Unique(table.indexes, place + ", indexes");
        for (const LayoutField& field : table.fields) ExamineField(place + ", field " + ToUtf8(field.name), field);
        for (const LayoutIndex& index : table.indexes)
            ExamineIndex(place + ", index " + ToUtf8(index.name), table, index);
        const auto count = [](const auto& list, auto is) { return std::count_if(list.begin(), list.end(), is); };
        if (count(table.fields, [](const LayoutField& field) { return (field.attributes & automatic) != 0; }) > 1)
            Fault(place, "it has two automatic numbers");
        if (count(table.indexes, [](const LayoutIndex& index) { return index.primary != 0; }) > 1)
            Fault(place, "it has two primary keys");
    }

    void ExamineField(const std::string& place, const LayoutField& field)
    {
        BareName(place, field.name);
        Width(place, field.name, fieldNameWidth);
        const bool isKnown = (field.type >= 1 && field.type <= memoType) || field.type == guidType;
        if (!isKnown) Fault(place, "type " + std::to_string(field.type) + " does not exist");
        if ((field.type == textType || field.type == binaryType) && (field.length < 1 || field.length > 255))
            Fault(place, "the length is 1 to 255");
        if ((field.attributes & automatic) && field.type != longType) Fault(place, "an automatic number is of type 4");
    }

    static const LayoutField* FieldOf(const LayoutTable& table, TextView name)
    {
        const auto found = std::find_if(table.fields.begin(), table.fields.end(),
                                        [&](const LayoutField& field) { return EqualIgnoringCase(field.name, name); });
        return found == table.fields.end() ? nullptr : &*found;
    }

    void ExamineIndex(const std::string& place, const LayoutTable& table, const LayoutIndex& index)
    {
        ObjectName(place, index.name, indexNameWidth);
        if (index.fields.empty() || index.fields.size() > 10) Fault(place, "an index has 1 to 10 fields");
        for (const Text& written : index.fields) {
            const LayoutField* field = FieldOf(table, IndexedName(written));
            if (!field) Fault(place, "the table has no field " + ToUtf8(written));
            if (field && (field->type == memoType || field->type == longBinaryType))
                Fault(place, ToUtf8(written) + " cannot be indexed");
        }
    }

    const LayoutTable* TableNamed(TextView name) const
    {
        const auto found = std::find_if(layout_.tables.begin(), layout_.tables.end(),
                                        [&](const LayoutTable& table) { return EqualIgnoringCase(table.name, name); });
        return found == layout_.tables.end() ? nullptr : &*found;
    }

    /// A unique index over exactly the fields of the one side, in any order.
    static bool IsUniqueOver(const LayoutTable& table, const RelationFacts& relation)
    {
        return std::ranges::any_of(table.indexes, [&](const LayoutIndex& index) {
            if (!index.primary && !index.unique) return false;
            return index.fields.size() == relation.fields.size() &&
                   std::ranges::all_of(index.fields, [&](const Text& written) {
                       return std::ranges::any_of(relation.fields, [&](const auto& pair) {
                           return EqualIgnoringCase(pair.first, IndexedName(written));
                       });
                   });
        });
    }

    void ExamineRelation(const RelationFacts& relation)
    {
        const std::string place = "relation " + ToUtf8(relation.name);
        ObjectName(place, relation.name, relationNameWidth);
        if (relation.fields.empty()) Fault(place, "it has no fields");
        const LayoutTable* table = TableNamed(relation.table);
        const LayoutTable* foreign = TableNamed(relation.foreignTable);
        if (!table) Fault(place, "there is no table " + ToUtf8(relation.table));
        if (!foreign) Fault(place, "there is no table " + ToUtf8(relation.foreignTable));
        if (!table || !foreign) return;
        if (!(relation.attributes & notEnforced) && !IsUniqueOver(*table, relation))
            Fault(place, "table " + ToUtf8(table->name) + " has no unique index of exactly its fields");
        for (const auto& [name, foreignName] : relation.fields) {
            const LayoutField* field = FieldOf(*table, name);
            const LayoutField* foreignField = FieldOf(*foreign, foreignName);
            if (!field) Fault(place, "table " + ToUtf8(table->name) + " has no field " + ToUtf8(name));
            if (!foreignField) Fault(place, "table " + ToUtf8(foreign->name) + " has no field " + ToUtf8(foreignName));
            if (field && foreignField && field->type != foreignField->type)
                Fault(place, ToUtf8(name) + " and " + ToUtf8(foreignName) + " are of different types");
        }
    }

    void ExamineQuery(const LayoutQuery& query)
    {
        const std::string place = "query " + ToUtf8(query.name);
        ObjectName(place, query.name, queryNameWidth);
        if (TableNamed(query.name)) Fault(place, "a table has that name");
        if (query.sql.empty()) Fault(place, "it has no SQL");
        if (!FitsAnsi(query.parameters) || !FitsAnsi(query.sql)) Fault(place, "the text does not fit code page 1252");
    }

    const Layout& layout_;
    std::vector<std::string> faults_;
};

}  // namespace

std::vector<std::string> LayoutFaults(const Layout& layout)
{
    return Examiner(layout).Examine();
}

}  // namespace vmlib::host
