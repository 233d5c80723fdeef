#pragma once

#include <map>
#include <string>
#include <vector>

#include "automation/Variant.h"
#include "sql/Schema.h"
#include "sql/Translate.h"

struct sqlite3;
struct sqlite3_stmt;

namespace vmlib::sql {

/// A few tables in an SQLite connection of their own, in the forms that SqliteValues.h documents, with known rows:
///
///     Klanten   Id AutoNumber, Naam Text 50, Plaats Text 30, Saldo Currency, Geboren Date, Actief Boolean,
///               Opmerking Memo, Korting Double, Code Integer, Factor Single
///     Orders    Nr, Klant Long, Datum Date, Bedrag Currency, Soort Text 10
///     Regels    Kop Long, Tekst Text 20
///     Indexen, Layout, Info as documents have them; Stored queries GroteKlanten, PerPlaats, Kring1, Kring2
class Sample : public Schema
{
public:
    Sample();
    ~Sample() override;
    Sample(const Sample&) = delete;
    Sample& operator=(const Sample&) = delete;

    std::optional<SchemaTable> Find(TextView name, const Place& place) override;
    std::vector<Variant> FirstColumn(const Translation& query) override;
    void AddQuery(TextView name, TextView text);

    struct Result
    {
        Translation translation;
        std::vector<std::vector<Variant>> rows;  // visible columns, then row pointers
    };
    /// Translates, prepares, binds (by name) and steps. @throws what the statement raises, also inside functions
    Result Run(TextView sql, const std::map<Text, Variant>& parameters = {}, const TranslateOptions& options = {});

    /// The rows as text: values joined by ",", rows by "; ". Null, True, 12.5, #36526.5#, text as it is; money with "$"
    /// behind.
    std::string Rows(TextView sql, const std::map<Text, Variant>& parameters = {});
    /// The value of an expression, as Rows prints it.
    std::string Value(TextView expression);
    /// The number of the error that the statement raises, 0 for none.
    int ErrorOf(TextView sql);
    /// Lines of EXPLAIN QUERY PLAN.
    std::string Plan(TextView sql);

    std::vector<std::vector<Variant>> Fetch(const std::string& sqlite, const std::vector<ValueType>& types,
                                            const std::vector<std::pair<ValueType, Variant>>& bindings = {});
    static std::string Print(const std::vector<std::vector<Variant>>& rows);

private:
    std::vector<std::pair<ValueType, Variant>> Bindings(const Translation& translation) const;

    sqlite3* connection_ = nullptr;
    std::map<Text, Variant> parameters_;  // of the statement that runs
    std::map<Text, SchemaTable> tables_;
};

/// Case is ignored, then an accent counts, as in the file's order; enough for the tests.
int CompareSampleText(std::string_view left, std::string_view right);

}  // namespace vmlib::sql
