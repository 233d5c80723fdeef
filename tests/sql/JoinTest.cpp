// Random joins, nested and outer ones too, against nested loops.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "sql/Sample.h"

namespace vmlib::sql {
namespace {

using Number = std::optional<int>;

struct TestTable
{
    const char* name;
    std::vector<const char*> columns;
    std::vector<std::vector<Number>> rows;  // as the sample has them
};

const TestTable tables[] = {
    {"Klanten", {"Id", "Code"}, {{1, 5}, {2, {}}, {3, 3}, {4, 5}}},
    {"Orders", {"Nr", "Klant"}, {{10, 1}, {11, 1}, {12, 2}, {13, 9}}},
    {"Regels", {"Kop"}, {{10}, {10}, {12}}},
};

/// One row of a join: a row of each source, null where an outer join filled up.
using Joined = std::vector<const std::vector<Number>*>;

class RandomJoin
{
public:
    explicit RandomJoin(std::mt19937& random) : random_(random) {}

    /// A FROM clause over `count` sources and its rows, with a WHERE on one of them.
    void Make(int count)
    {
        sources_.clear();
        for (int i = 0; i < count; ++i) sources_.push_back(&tables[Below(std::size(tables))]);
        Part whole = Join(0, sources_.size());
        text_ = whole.text;
        rows_ = std::move(whole.rows);
        if (Below(2) == 0) Filter();
    }

    std::string Sql() const
    {
        std::string list;
        for (std::size_t i = 0; i < sources_.size(); ++i)
            for (const char* column : sources_[i]->columns) list += (list.empty() ? "" : ", ") + Named(i, column);
        return "SELECT " + list + " FROM " + text_;
    }

    std::vector<std::string> Rows() const
    {
        std::vector<std::string> lines;
        for (const Joined& row : rows_) {
            std::string line;
            for (std::size_t i = 0; i < sources_.size(); ++i)
                for (std::size_t column = 0; column < sources_[i]->columns.size(); ++column) {
                    const Number value = row[i] ? (*row[i])[column] : std::nullopt;
                    line += (line.empty() ? "" : ",") + (value ? std::to_string(*value) : "Null");
                }
            lines.push_back(line);
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }

private:
    struct Part
    {
        std::string text;
        std::vector<Joined> rows;
    };
    struct Place
    {
        std::size_t source, column;
    };

    std::size_t Below(std::size_t count) { return random_() % count; }
    static std::string Named(std::size_t source, const char* column)
    {
        return std::string(1, static_cast<char>('a' + source)) + "." + column;
    }
    Place AnyIn(std::size_t from, std::size_t to)
    {
        const std::size_t source = from + Below(to - from);
        return {source, Below(sources_[source]->columns.size())};
    }
    std::string TextOf(const Place& place) const
    {
        return Named(place.source, sources_[place.source]->columns[place.column]);
    }
    static Number ValueOf(const Joined& row, const Place& place)
    {
        return row[place.source] ? (*row[place.source])[place.column] : std::nullopt;
    }
    static Joined Together(const Joined& left, const Joined& right)
    {
        Joined row = left;
        for (std::size_t i = 0; i < row.size(); ++i)
            if (right[i]) row[i] = right[i];
        return row;
    }

    /// The sources from..to-1, joined two and two.
    Part Join(std::size_t from, std::size_t to)
    {
        if (to - from == 1) return Single(from);
        const std::size_t middle = from + 1 + Below(to - from - 1);
        const Part left = Join(from, middle), right = Join(middle, to);
        const Place a = AnyIn(from, middle), b = AnyIn(middle, to);
        const bool equal = Below(3) > 0;
        const auto matches = [&](const Joined& row) {
            const Number x = ValueOf(row, a), y = ValueOf(row, b);
            return x && y && (equal ? *x == *y : *x < *y);
        };
        constexpr const char* kinds[] = {" INNER JOIN ", " LEFT JOIN ", " RIGHT JOIN "};
        const std::size_t kind = Below(3);
        const auto enclosed = [](const std::string& text, std::size_t count) {
            return count > 1 ? "(" + text + ")" : text;
        };
        return {enclosed(left.text, middle - from) + kinds[kind] + enclosed(right.text, to - middle) + " ON " +
                    TextOf(a) + (equal ? " = " : " < ") + TextOf(b),
                Loops(left.rows, right.rows, matches, kind == 1, kind == 2)};
    }
    Part Single(std::size_t source)
    {
        Part part;
        part.text = std::string(sources_[source]->name) + " AS " + static_cast<char>('a' + source);
        for (const auto& row : sources_[source]->rows) {
            part.rows.emplace_back(sources_.size(), nullptr);
            part.rows.back()[source] = &row;
        }
        return part;
    }
    template <class Matches>
    static std::vector<Joined> Loops(const std::vector<Joined>& left, const std::vector<Joined>& right,
                                     const Matches& matches, bool keepLeft, bool keepRight)
    {
        std::vector<Joined> rows;
        std::vector<bool> used(right.size());
        for (const Joined& one : left) {
            bool found = false;
            for (std::size_t i = 0; i < right.size(); ++i) {
                Joined row = Together(one, right[i]);
                if (!matches(row)) continue;
                rows.push_back(std::move(row));
                found = used[i] = true;
            }
            if (!found && keepLeft) rows.push_back(one);
        }
        for (std::size_t i = 0; keepRight && i < right.size(); ++i)
            if (!used[i]) rows.push_back(right[i]);
        return rows;
    }
    void Filter()
    {
        const Place place = AnyIn(0, sources_.size());
        const bool isNull = Below(2) == 0;
        text_ += " WHERE " + TextOf(place) + (isNull ? " Is Null" : " <= 10");
        std::erase_if(rows_, [&](const Joined& row) {
            const Number value = ValueOf(row, place);
            return isNull ? value.has_value() : !(value && *value <= 10);
        });
    }

    std::mt19937& random_;
    std::vector<const TestTable*> sources_;
    std::string text_;
    std::vector<Joined> rows_;
};

TEST(RandomJoins, AgreeWithNestedLoops)
{
    Sample sample;
    std::mt19937 random(3);
    RandomJoin join(random);
    for (int i = 0; i < 400; ++i) {
        join.Make(2 + i % 3);
        std::vector<std::string> rows;
        for (const auto& row : sample.Run(FromUtf8(join.Sql())).rows) rows.push_back(Sample::Print({row}));
        std::sort(rows.begin(), rows.end());
        ASSERT_EQ(rows, join.Rows()) << join.Sql();
    }
}

}  // namespace
}  // namespace vmlib::sql
