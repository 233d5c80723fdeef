// Names and FROM lists of stored queries as text.

#include "sql/StoredQuerySources.h"

#include <algorithm>

#include "sql/Lexer.h"

namespace vmlib::sql::stored {
namespace {

// Words that a name equal to them gets brackets for. Some would do without; brackets never harm.
constexpr TextView bracketedWords[] = {
    u"ADD",         u"ALL",       u"ALTER",    u"AND",         u"ANY",       u"AS",         u"ASC",     u"AVG",
    u"BETWEEN",     u"BIT",       u"BY",       u"BYTE",        u"COLUMN",    u"COUNT",      u"COUNTER", u"CREATE",
    u"CURRENCY",    u"DATABASE",  u"DATE",     u"DATETIME",    u"DAY",       u"DELETE",     u"DESC",    u"DISTINCT",
    u"DISTINCTROW", u"DOUBLE",    u"DROP",     u"EQV",         u"EXISTS",    u"FALSE",      u"FLOAT",   u"FROM",
    u"FUNCTION",    u"GENERAL",   u"GROUP",    u"GUID",        u"HAVING",    u"HOUR",       u"IGNORE",  u"IMP",
    u"IN",          u"INDEX",     u"INNER",    u"INSERT",      u"INT",       u"INTEGER",    u"INTO",    u"IS",
    u"JOIN",        u"KEY",       u"LEFT",     u"LEVEL",       u"LIKE",      u"LOGICAL",    u"LONG",    u"MAX",
    u"MEMO",        u"MIN",       u"MINUTE",   u"MOD",         u"MONEY",     u"MONTH",      u"NO",      u"NOT",
    u"NOTE",        u"NULL",      u"NUMBER",   u"NUMERIC",     u"OBJECT",    u"OFF",        u"ON",      u"OPTION",
    u"OR",          u"ORDER",     u"OUTER",    u"OWNERACCESS", u"PARAMETER", u"PARAMETERS", u"PERCENT", u"PIVOT",
    u"PRIMARY",     u"PROCEDURE", u"REAL",     u"REFERENCES",  u"RIGHT",     u"SECOND",     u"SELECT",  u"SET",
    u"SHORT",       u"SINGLE",    u"SMALLINT", u"SOME",        u"STDEV",     u"STDEVP",     u"STRING",  u"SUM",
    u"TABLE",       u"TEXT",      u"TIME",     u"TIMESTAMP",   u"TOP",       u"TRANSFORM",  u"TRUE",    u"UNION",
    u"UNIQUE",      u"UPDATE",    u"USER",     u"VALUE",       u"VALUES",    u"VAR",        u"VARP",    u"WHERE",
    u"WITH",        u"XOR",       u"YEAR",     u"YES",         u"YESNO"};

Text JoinWord(std::int16_t flag)
{
    switch (flag) {
        case 1:
            return u" INNER JOIN ";
        case 2:
            return u" LEFT JOIN ";
        case 3:
            return u" RIGHT JOIN ";
        default:
            throw Corrupt(u"join");
    }
}

}  // namespace

Text Bracketed(TextView name)
{
    const bool plain = !name.empty() && std::all_of(name.begin(), name.end(), IsNameCharacter) &&
                       !(name[0] >= u'0' && name[0] <= u'9') &&
                       std::none_of(std::begin(bracketedWords), std::end(bracketedWords),
                                    [&](TextView word) { return EqualIgnoringCase(word, name); });
    if (plain || name.starts_with(u'[')) return Text(name);
    return u"[" + Text(name) + u"]";
}

Text BracketedPieces(TextView name)
{
    Text result;
    while (true) {
        const std::size_t mark = name.starts_with(u'[') ? name.find(u']') : 0;
        const std::size_t end = name.find(u'!', mark == TextView::npos ? 0 : mark);
        result += Bracketed(name.substr(0, end));
        if (end == TextView::npos) return result;
        result += u'!';
        name.remove_prefix(end + 1);
    }
}

Text Quoted(TextView path)
{
    return u"'" + Replaced(path, u"'", u"''") + u"'";
}

Error Corrupt(TextView what)
{
    return Error(ErrorNumber::CorruptQuery, {Text(what)});
}

void AppendTo(Text& list, TextView item, TextView separator)
{
    if (!list.empty()) list += separator;
    list += item;
}

void SourceText::AddTable(const ClauseRow& row)
{
    Part& part = parts_.emplace_back();
    const Text alias = row.name2.value_or(Text());
    if (row.expression)
        part.text = u"(" + *row.expression + u")";
    else
        part.text = Bracketed(row.name1.value());
    if (!alias.empty()) part.text += u" AS " + Bracketed(alias);
    part.tables.push_back(alias.empty() ? row.name1.value_or(Text()) : alias);
}

void SourceText::AddJoin(const ClauseRow& row)
{
    if (!row.name1 || !row.name2 || !row.expression || !row.flag) throw Corrupt(u"join");
    const std::size_t left = PartOf(*row.name1), right = PartOf(*row.name2);
    if (left == right) {
        if (parts_[left].conditions.empty()) throw Corrupt(*row.expression);
        parts_[left].conditions.push_back(*row.expression);
        return;
    }
    Part joined;
    joined.left = Closed(parts_[left]);
    joined.right = Closed(parts_[right]);
    joined.word = JoinWord(*row.flag);
    joined.conditions.push_back(*row.expression);
    joined.tables = parts_[left].tables;
    joined.tables.insert(joined.tables.end(), parts_[right].tables.begin(), parts_[right].tables.end());
    parts_[std::min(left, right)] = std::move(joined);
    parts_.erase(parts_.begin() + static_cast<std::ptrdiff_t>(std::max(left, right)));
}

Text SourceText::All() const
{
    Text list;
    for (const Part& part : parts_) {
        if (part.conditions.empty()) AppendTo(list, part.text);
    }
    for (const Part& part : parts_) {
        if (!part.conditions.empty()) AppendTo(list, Open(part));
    }
    return list;
}

Text SourceText::Open(const Part& part)
{
    if (part.conditions.empty()) return part.text;
    Text text = part.left + part.word + part.right + u" ON ";
    if (part.conditions.size() == 1) return text + part.conditions.front();
    Text list;
    for (auto condition = part.conditions.rbegin(); condition != part.conditions.rend(); ++condition) {
        AppendTo(list, u"(" + *condition + u")", u" AND ");
    }
    return text + list;
}

Text SourceText::Closed(const Part& part)
{
    return part.conditions.empty() ? part.text : u"(" + Open(part) + u")";
}

std::size_t SourceText::PartOf(TextView table) const
{
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        for (const Text& name : parts_[i].tables) {
            if (EqualIgnoringCase(name, table)) return i;
        }
    }
    throw Corrupt(table);
}

}  // namespace vmlib::sql::stored
