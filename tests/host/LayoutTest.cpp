#include <gmock/gmock.h>

#include "host/Arguments.h"
#include "host/Layout.h"

namespace vmlib::host {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* sound = R"({
  "type": "FACT", "version": 2,
  "tables": [
    {"name": "Klanten", "fields": [
       {"name": "Nummer", "type": 4, "length": 4, "attributes": 17, "zeroLength": false},
       {"name": "Naam", "type": 10, "length": 40, "attributes": 2, "zeroLength": true}],
     "indexes": [{"name": "Sleutel", "fields": ["Nummer"], "primary": -1, "unique": -1},
                 {"name": "Op naam", "fields": ["-Naam", "Nummer"], "primary": 0, "unique": 0}]},
    {"name": "Posten", "fields": [{"name": "Klant", "type": 4, "length": 4, "attributes": 1, "zeroLength": false}], "indexes": []}],
  "relations": [{"name": "Klant van post", "table": "Klanten", "foreignTable": "Posten", "attributes": 4096,
                 "fields": [{"name": "Nummer", "foreignName": "Klant"}]}],
  "queries": [{"name": "Alle", "parameters": "", "sql": "SELECT * FROM Posten"}]})";

TEST(LayoutTest, TextComesBackAsItWas)
{
    const Layout layout = LayoutFromJson(Json::parse(sound));
    EXPECT_EQ(layout.tables[0].indexes[1].fields, (std::vector<Text>{u"-Naam", u"Nummer"}));
    EXPECT_EQ(layout.relations[0].attributes, 4096);
    EXPECT_EQ(LayoutToJson(layout), Json::parse(sound));
    EXPECT_THAT(LayoutFaults(layout), IsEmpty());
}

TEST(LayoutTest, MistakesInTheTextAreNamedWithTheirPlace)
{
    const struct
    {
        const char* text;
        const char* message;
    } cases[] = {
        {R"([])", "layout: is no object"},
        {R"({"version": 1, "tables": []})", "layout: type is missing"},
        {R"({"type": "F", "version": 40000, "tables": []})", "version is no whole number of 16 bits"},
        {R"({"type": "F", "version": 1, "tables": [{"name": "A", "fields": [{"name": "B", "typ": 4}]}]})",
         "layout, tables[0], fields[0]: type is missing"},
        {R"({"type": "F", "version": 1, "tables": [{"name": "A", "fields": [], "index": []}]})",
         "layout, tables[0]: unknown key index"},
        {R"({"type": "F", "version": 1, "tables": [], "relations": [{"name": "R", "table": "A", "foreignTable": "B", "fields": [{"name": 1}]}]})",
         "layout, relations[0], fields[0]: name is no text"},
    };
    for (const auto& c : cases) try {
            LayoutFromJson(Json::parse(c.text));
            ADD_FAILURE() << c.text;
        } catch (const UsageError& error) {
            EXPECT_THAT(error.message, HasSubstr(c.message));
        }
}

TEST(LayoutTest, FaultsAreWhatTheLayerCannotCarry)
{
    const struct
    {
        const char* path;  // JSON pointer of what is changed
        const char* value;
        const char* fault;
    } cases[] = {
        {"/type", R"("O'Neil")", "type: a file type"},
        {"/version", "0", "version: a version is 1 or more"},
        {"/tables/0/name", R"("Mijn klanten")", "table Mijn klanten: a name is a letter"},
        {"/tables/0/name", R"("Klant-naam")", "table Klant-naam: a name is a letter"},
        {"/tables/0/name", R"("Order")", "table Order: the name is a word of SQL"},
        {"/tables/0/name", R"("mSysteem")", "begin with MSys"},
        {"/tables/1/name", R"("KLANTEN")", "tables: two are called KLANTEN"},
        {"/tables/0/fields/1/name", R"("Ωmega")", "field Ωmega: a name is a letter"},
        {"/tables/0/fields/1/name", R"("2e")", "field 2e: a name is a letter"},
        {"/tables/0/fields/1/name", R"("group")", "field group: the name is a word of SQL"},
        {"/tables/0/fields/1/name", R"("Naam_die_langer_is_dan_dertig_t")", "longer than 30 characters"},
        {"/tables/0/fields/1/name", R"("NUMMER")", "two are called NUMMER"},
        {"/tables/0/fields/1/type", "13", "type 13 does not exist"},
        {"/tables/0/fields/1/length", "256", "the length is 1 to 255"},
        {"/tables/0/fields/1/attributes", "16", "an automatic number is of type 4"},
        {"/tables/0/fields/1/type", "12", "-Naam cannot be indexed"},
        {"/tables/0/indexes/0/name", R"("Een naam van meer dan dertig tekens")", "longer than 30 characters"},
        {"/tables/0/indexes/0/name", R"("a.b")", "index a.b: a name has no blanks around it"},
        {"/tables/0/indexes/0/fields", R"(["Onbekend"])", "the table has no field Onbekend"},
        {"/tables/0/indexes/1/primary", "-1", "it has two primary keys"},
        {"/relations/0/name", R"("Een naam van een relatie die veel te lang is")", "longer than 40 characters"},
        {"/relations/0/table", R"("Weg")", "there is no table Weg"},
        {"/relations/0/fields/0/name", R"("Naam")", "Naam and Klant are of different types"},
        {"/relations/0/fields", "[]", "it has no fields"},
        {"/tables/0/indexes/0/fields", R"(["Nummer", "Naam"])", "Klanten has no unique index of exactly its fields"},
        {"/tables/0/indexes", "[]", "Klanten has no unique index of exactly its fields"},
        {"/queries/0/name", R"("Meer dan twintig tekens")", "longer than 20 characters"},
        {"/queries/0/name", R"("Posten")", "a table has that name"},
        {"/queries/0/sql", R"("")", "it has no SQL"},
    };
    for (const auto& c : cases) {
        Json json = Json::parse(sound);
        json[Json::json_pointer(c.path)] = Json::parse(c.value);
        EXPECT_THAT(LayoutFaults(LayoutFromJson(json)), testing::Contains(HasSubstr(c.fault)))
            << c.path << " " << c.value;
    }
    // Letters of code page 1252 and words that are no keyword where a field stands.
    Json json = Json::parse(sound);
    json["/tables/0/fields/1/name"_json_pointer] = "Žürich_ß9";
    json["/tables/0/indexes/1/fields"_json_pointer] = Json::array({"Nummer"});
    json["/tables/1/name"_json_pointer] = "Primary";
    json["/relations/0/foreignTable"_json_pointer] = "Primary";
    EXPECT_THAT(LayoutFaults(LayoutFromJson(json)), IsEmpty());
}

}  // namespace
}  // namespace vmlib::host
