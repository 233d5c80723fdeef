#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "jet/Database.h"

namespace vmlib::jet {

inline std::string Printed(const Value& value)
{
    struct
    {
        std::string operator()(Null) const { return "-"; }
        std::string operator()(bool flag) const { return flag ? "true" : "false"; }
        std::string operator()(std::uint8_t number) const { return std::to_string(number); }
        std::string operator()(std::int16_t number) const { return std::to_string(number); }
        std::string operator()(std::int32_t number) const { return std::to_string(number); }
        std::string operator()(Currency money) const { return std::to_string(money.units); }
        std::string operator()(float number) const { return std::to_string(number); }
        std::string operator()(double number) const { return std::to_string(number); }
        std::string operator()(Date date) const { return std::to_string(date.serial); }
        std::string operator()(const std::string& text) const { return "'" + text + "'"; }
        std::string operator()(const Bytes& bytes) const { return "x" + std::string(bytes.begin(), bytes.end()); }
        std::string operator()(const Guid& guid) const { return std::string(guid.bytes.begin(), guid.bytes.end()); }
        std::string operator()(const Text& text) const { return ToUtf8(text); }
    } const print;
    return std::visit(print, value);
}

/// Every row of every table, system tables too, by the table's name and in the order of the file. Ids of tables, which
/// are pages, are printed as names, so that two files with the same contents give the same.
using FileContents = std::map<std::string, std::vector<std::string>>;

inline FileContents ContentsOf(Database& database)
{
    std::map<std::int32_t, std::string> names;
    for (const ObjectEntry& entry : database.Objects())
        if (entry.type == 1) names[entry.id] = ToUtf8(entry.name);
    FileContents contents;
    for (const auto& [id, name] : names) {
        auto& rows = contents[name];
        const auto table = database.OpenTable(FromUtf8(name));
        for (auto cursor = table->Scan(); cursor.Next();) {
            std::string text;
            for (std::size_t i = 0; i < cursor.Current().size(); ++i) {
                const Value& value = cursor.Current()[i];
                const auto* number = std::get_if<std::int32_t>(&value);
                const bool isTable =
                    number && i == 0 && names.contains(*number) && (name == "MSysObjects" || name == "MSysACEs");
                text += (isTable ? names[*number] : Printed(value)) + "|";
            }
            rows.push_back(std::move(text));
        }
    }
    return contents;
}

/// The same without the order of the rows.
inline FileContents Sorted(FileContents contents)
{
    for (auto& [name, rows] : contents) std::sort(rows.begin(), rows.end());
    return contents;
}

}  // namespace vmlib::jet
