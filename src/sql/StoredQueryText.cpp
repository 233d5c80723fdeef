// From the rows of a stored query to its SQL text.

#include <algorithm>

#include "core/Error.h"
#include "sql/StoredQuerySources.h"
#include "sql/TypeNames.h"

namespace vmlib::sql {
namespace {

using stored::AppendTo;
using stored::Bracketed;
using stored::BracketedPieces;
using stored::Corrupt;
using stored::Quoted;
using stored::SourceText;

class TextWriter
{
public:
    TextWriter(std::int32_t type, const std::vector<ClauseRow>& rows)
    {
        // Rows of one clause by their numbers; those without keep their place behind.
        for (const ClauseRow& row : rows) rows_.push_back(&row);
        std::stable_sort(rows_.begin(), rows_.end(), [](const ClauseRow* a, const ClauseRow* b) {
            return a->order.value_or(UINT32_MAX) < b->order.value_or(UINT32_MAX);
        });
        const ClauseRow* typeRow = First(stored::type);
        if (typeRow != nullptr) {
            const std::int16_t kind = typeRow->flag.value_or(0);
            if (kind < stored::select || kind > stored::unite) throw Corrupt(u"type");
            kind_ = static_cast<stored::Kind>(kind);
        } else if (const auto kind = stored::KindOfDaoType(type & 0xF0)) {
            kind_ = *kind;
        } else {
            throw Corrupt(u"type");
        }
        if (const ClauseRow* options = First(stored::options)) {
            flags_ = options->flag.value_or(0);
            top_ = options->name1;
        }
    }

    Text All()
    {
        if (IsEmpty()) return {};
        if (kind_ == stored::definition || kind_ == stored::passThrough) return Verbatim();
        return Parameters() + Body() + (Has(stored::ownerAccess) ? Line(u"WITH OWNERACCESS OPTION") : Text()) + u";" +
               Text(stored::lineEnd);
    }

private:
    bool Has(int bit) const { return (flags_ & bit) != 0; }

    std::vector<const ClauseRow*> Rows(std::uint8_t attribute) const
    {
        std::vector<const ClauseRow*> found;
        std::copy_if(rows_.begin(), rows_.end(), std::back_inserter(found),
                     [&](const ClauseRow* row) { return row->attribute == attribute; });
        return found;
    }

    const ClauseRow* First(std::uint8_t attribute) const
    {
        const auto found =
            std::find_if(rows_.begin(), rows_.end(), [&](const ClauseRow* row) { return row->attribute == attribute; });
        return found == rows_.end() ? nullptr : *found;
    }

    /// A query that was made without a text has its start and its end only.
    bool IsEmpty() const
    {
        return std::all_of(rows_.begin(), rows_.end(), [](const ClauseRow* row) {
            return row->attribute == stored::start || row->attribute == stored::end;
        });
    }

    static Text Line(TextView text) { return Text(stored::lineEnd) + Text(text); }

    static const Text& Needed(const std::optional<Text>& text, TextView what)
    {
        if (!text) throw Corrupt(what);
        return *text;
    }

    /// The text of a data definition or of another server's statement, up to its zero character.
    Text Verbatim() const
    {
        const ClauseRow* row = First(stored::type);
        const Text text = Needed(row == nullptr ? std::nullopt : row->expression, u"type");
        return text.substr(0, text.find(u'\0'));
    }

    Text Parameters() const
    {
        Text list;
        for (const ClauseRow* row : Rows(stored::parameter)) {
            const std::int16_t type = row->flag.value_or(0);
            const bool known = (type >= 0 && type <= 12) || type == static_cast<std::int16_t>(ValueType::Guid);
            if (!known) throw Corrupt(u"parameter");
            AppendTo(list, BracketedPieces(Needed(row->name1, u"parameter")) + u" " +
                               Text(NameOf(static_cast<ValueType>(type))));
        }
        return list.empty() ? list : u"PARAMETERS " + list + u";" + Text(stored::lineEnd);
    }

    Text Body() const
    {
        switch (kind_) {
            case stored::select:
                return Select({});
            case stored::makeTable:
                return Select(u" INTO " + Target());
            case stored::append:
                return Append();
            case stored::update:
                return Update();
            case stored::remove:
                return Delete();
            case stored::crosstab:
                return Crosstab();
            default:
                return Union();
        }
    }

    static Text In(const std::optional<Text>& path, const std::optional<Text>& connect)
    {
        if (!path && !connect) return {};
        return u" IN " + Quoted(path.value_or(Text())) + (connect ? u"[" + *connect + u"]" : Text());
    }

    /// The table that a make-table or append query fills.
    Text Target() const
    {
        const ClauseRow* row = First(stored::type);
        if (row == nullptr) throw Corrupt(u"target");
        return Bracketed(Needed(row->name1, u"target"));
    }

    Text TargetPlace() const
    {
        const ClauseRow* row = First(stored::type);
        return In(row->name2, row->expression);
    }

    Text Columns(std::optional<std::int16_t> flag = std::nullopt) const
    {
        Text list;
        for (const ClauseRow* row : Rows(stored::column)) {
            if (flag && row->flag.value_or(0) != *flag) continue;
            AppendTo(list,
                     Needed(row->expression, u"column") + (row->name1 ? u" AS " + Bracketed(*row->name1) : Text()));
        }
        return list;
    }

    Text ColumnsWithStar() const
    {
        Text list = Columns();
        if (Has(stored::allColumns)) AppendTo(list, u"*");
        if (list.empty()) throw Corrupt(u"column");
        return list;
    }

    Text From() const
    {
        SourceText sources;
        for (const ClauseRow* row : Rows(stored::source)) {
            if (!row->expression && !row->name1) throw Corrupt(u"source");
            sources.AddTable(*row);
        }
        for (const ClauseRow* row : Rows(stored::join)) sources.AddJoin(*row);
        const ClauseRow* place = First(stored::place);
        return sources.All() + (place ? In(place->name1, place->expression) : Text());
    }

    Text FromLine() const
    {
        const Text from = From();
        return from.empty() ? from : Line(u"FROM " + from);
    }

    Text ExpressionLine(std::uint8_t attribute, TextView word) const
    {
        const ClauseRow* row = First(attribute);
        return row == nullptr ? Text() : Line(Text(word) + Needed(row->expression, word));
    }

    Text OrderLine() const
    {
        Text list;
        for (const ClauseRow* row : Rows(stored::order)) {
            const bool descending = row->name1 && EqualIgnoringCase(*row->name1, u"D");
            AppendTo(list, Needed(row->expression, u"order") + (descending ? u" DESC" : u""));
        }
        return list.empty() ? list : Line(u"ORDER BY " + list);
    }

    Text GroupLine() const
    {
        Text list;
        for (const ClauseRow* row : Rows(stored::group)) {
            const bool pivot = kind_ == stored::crosstab && row->flag.value_or(0) == stored::pivotColumn;
            if (!pivot) AppendTo(list, Needed(row->expression, u"group"));
        }
        return list.empty() ? list : Line(u"GROUP BY " + list);
    }

    Text Clauses() const
    {
        return FromLine() + ExpressionLine(stored::where, u"WHERE ") + GroupLine() +
               ExpressionLine(stored::having, u"HAVING ") + OrderLine();
    }

    Text Predicates() const
    {
        Text text;
        if (Has(stored::distinct)) text += u"DISTINCT ";
        if (Has(stored::distinctRow)) text += u"DISTINCTROW ";
        if (!Has(stored::top)) return text;
        const Text& count = Needed(top_, u"top");
        const bool digits = !count.empty() &&
                            std::all_of(count.begin(), count.end(), [](char16_t c) { return c >= u'0' && c <= u'9'; });
        if (!digits) throw Corrupt(u"top");
        return text + u"TOP " + count + u" " + (Has(stored::percent) ? u"PERCENT " : u"");
    }

    Text Select(const Text& into) const
    {
        return u"SELECT " + Predicates() + ColumnsWithStar() + into + (into.empty() ? Text() : TargetPlace()) +
               Clauses();
    }

    Text Append() const
    {
        Text fields, values;
        for (const ClauseRow* row : Rows(stored::column)) {
            if (row->name2) AppendTo(fields, Bracketed(*row->name2));
            if (row->flag.value_or(0) == stored::insertedValue) AppendTo(values, Needed(row->expression, u"value"));
        }
        const Text list = fields.empty() ? fields : u" ( " + fields + u" )";
        const Text head = u"INSERT INTO " + Target() + list + TargetPlace();
        if (!values.empty()) return head + Line(u"VALUES (" + values + u")");
        return head + Line(Select({}));
    }

    Text Update() const
    {
        Text list;
        for (const ClauseRow* row : Rows(stored::column)) {
            AppendTo(list, Needed(row->name2, u"field") + u" = " + Needed(row->expression, u"value"));
        }
        if (list.empty()) throw Corrupt(u"field");
        return u"UPDATE " + From() + u" SET " + list + ExpressionLine(stored::where, u"WHERE ");
    }

    Text Delete() const
    {
        Text columns = Columns();
        if (Has(stored::allColumns) || columns.empty()) AppendTo(columns, u"*");
        return u"DELETE " + Text(Has(stored::distinctRow) ? u"DISTINCTROW " : u"") + columns + FromLine() +
               ExpressionLine(stored::where, u"WHERE ");
    }

    Text Crosstab() const
    {
        const Text value = Columns(stored::plainColumn), headings = Columns(stored::headingColumn);
        Text pivot;
        for (const ClauseRow* row : Rows(stored::column)) {
            if (row->flag.value_or(0) == stored::pivotColumn) pivot = Needed(row->expression, u"pivot");
        }
        if (value.empty() || headings.empty() || pivot.empty()) throw Corrupt(u"column");
        return u"TRANSFORM " + value + Line(u"SELECT " + Predicates() + headings) + Clauses() + Line(u"PIVOT " + pivot);
    }

    Text Union() const
    {
        const ClauseRow *first = nullptr, *second = nullptr;
        for (const ClauseRow* row : Rows(stored::source)) {
            if (row->name2 == Text(stored::firstPart)) first = row;
            if (row->name2 == Text(stored::secondPart)) second = row;
        }
        if (first == nullptr || second == nullptr) throw Corrupt(u"union");
        const bool all = !Has(stored::distinct);
        return Needed(first->expression, u"union") + (all ? u"UNION ALL " : u"UNION ") +
               Needed(second->expression, u"union") + OrderLine();
    }

    std::vector<const ClauseRow*> rows_;
    stored::Kind kind_ = stored::select;
    std::int16_t flags_ = 0;
    std::optional<Text> top_;
};

}  // namespace

Text ToText(std::int32_t type, const std::vector<ClauseRow>& rows)
{
    return TextWriter(type, rows).All();
}

}  // namespace vmlib::sql
