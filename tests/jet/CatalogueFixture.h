#pragma once

#include <array>
#include <cstdio>
#include <map>

#include "jet/DatabaseFixture.h"

namespace vmlib::jet {

inline const SortLocale dutch{0, dutchOrder, 1252};

/// What a program of another maker prints; no value when it is not installed.
inline std::optional<std::string> OutputOf(const std::string& program, const std::string& arguments)
{
    if (std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) != 0) return std::nullopt;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((program + " " + arguments).c_str(), "r"), pclose);
    std::string output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get()))
        output.append(buffer.data(), count);
    return output;
}

#define OUTPUT_OR_SKIP(variable, program, arguments)                       \
    const auto variable##Output = OutputOf(program, arguments);            \
    if (!variable##Output) GTEST_SKIP() << program << " is not installed"; \
    const std::string variable = *variable##Output

class CatalogueFixture : public DatabaseFixture
{
protected:
    std::shared_ptr<Database> database_ = workspace_->Create(At("a.mdb"), dutch, u"");

    std::string Native() const { return folder_.Native("a.mdb").string(); }

    void ExpectSound()
    {
        const CheckReport report = Check(*database_);
        EXPECT_THAT(report.faults, testing::IsEmpty());
        EXPECT_THAT(report.notes, testing::IsEmpty());
    }

    /// Holders and their rights on an object.
    std::map<Bytes, std::int32_t> RightsOf(TextView name, std::int16_t type)
    {
        std::map<Bytes, std::int32_t> rights;
        const std::int32_t id = database_->FindObject(name, type)->id;
        const auto table = database_->OpenTable(u"MSysACEs");
        for (auto cursor = table->Scan(); cursor.Next();) {
            const Row& row = cursor.Current();
            if (std::get<std::int32_t>(row[0]) == id) rights[std::get<Bytes>(row[1])] = std::get<std::int32_t>(row[2]);
        }
        return rights;
    }

    static TableDefinition Klanten()
    {
        TableDefinition table =
            TableOf(u"Klanten", {Column(u"Id", ColumnType::Long), Column(u"Naam", ColumnType::Text, 50),
                                 Column(u"Saldo", ColumnType::Currency), Column(u"Opmerking", ColumnType::Memo)});
        table.columns[0].autoNumber = true;
        table.columns[1].properties.SetBoolean(u"Required", true);
        table.columns[1].properties.SetBoolean(u"AllowZeroLength", false);
        table.columns[2].properties.SetString(u"DefaultValue", u"0");
        return table;
    }
    static TableDefinition Orders()
    {
        return TableOf(u"Orders", {Column(u"Nr", ColumnType::Long), Column(u"Klant", ColumnType::Long),
                                   Column(u"Naam", ColumnType::Text, 50)});
    }
    static RelationDefinition Relation(TextView name, std::uint32_t attributes = 0)
    {
        return {Text(name), u"Klanten", u"Orders", attributes, {{u"Id", u"Klant"}}};
    }

    void MakeBoth()
    {
        database_->CreateTable(Klanten());
        database_->CreateTable(Orders());
        database_->CreateIndex(u"Klanten", IndexOver(*database_->OpenTable(u"Klanten"), u"PrimaryKey", {u"Id"}, true));
    }
};

}  // namespace vmlib::jet
