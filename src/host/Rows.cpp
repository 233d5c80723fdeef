#include "host/Rows.h"

#include <algorithm>
#include <functional>
#include <ostream>

#include "automation/Convert.h"
#include "host/Session.h"

namespace vmlib::host {

namespace {

constexpr std::int16_t guidType = 15;

/// A column of the recordset; its field object follows the current row.
struct Column
{
    std::string name;
    bool isGuid;
    bool isNumber;
    ObjectRef field;
};

std::vector<Column> ColumnsOf(const ObjectRef& recordset)
{
    const ObjectRef fields = ToObject(Get(recordset, u"Fields"));
    const std::int32_t count = ToLong(Get(fields, u"Count"));
    std::vector<Column> columns;
    for (std::int32_t i = 0; i < count; ++i) {
        const ObjectRef field = ToObject(Get(fields, u"Item", i));
        const std::int16_t type = ToInteger(Get(field, u"Type"));
        columns.push_back({ToUtf8(ToText(Get(field, u"Name"))), type == guidType, type >= 2 && type <= 7, field});
    }
    return columns;
}

std::size_t ForEachRow(const ObjectRef& recordset, const std::function<void()>& visit)
{
    std::size_t count = 0;
    for (; !ToBoolean(Get(recordset, u"EOF")); Call(recordset, u"MoveNext")) {
        visit();
        ++count;
    }
    return count;
}

std::string CsvQuoted(const std::string& text)
{
    if (!text.empty() && text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

std::string CsvField(const Column& column)
{
    const Variant value = Get(column.field, u"Value");
    return value.IsNull() ? std::string() : CsvQuoted(FieldToText(value, column.isGuid, ""));
}

std::size_t PrintCsv(const ObjectRef& recordset, const std::vector<Column>& columns, std::ostream& out)
{
    const auto line = [&](auto&& textOf) {
        for (std::size_t i = 0; i < columns.size(); ++i) out << (i ? "," : "") << textOf(columns[i]);
        out << "\n";
    };
    line([](const Column& column) { return CsvQuoted(column.name); });
    return ForEachRow(recordset, [&] { line(CsvField); });
}

/// Two columns may have one name, but an object of JSON keeps only one value a key: the second becomes "Naam (2)".
std::vector<std::string> KeysOf(const std::vector<Column>& columns)
{
    std::vector<std::string> keys;
    for (const Column& column : columns) {
        std::string key = column.name;
        for (int n = 2; std::find(keys.begin(), keys.end(), key) != keys.end(); ++n)
            key = column.name + " (" + std::to_string(n) + ")";
        keys.push_back(std::move(key));
    }
    return keys;
}

std::size_t PrintJson(const ObjectRef& recordset, const std::vector<Column>& columns, std::ostream& out)
{
    const std::vector<std::string> keys = KeysOf(columns);
    return ForEachRow(recordset, [&] {
        Json row = Json::object();
        for (std::size_t i = 0; i < columns.size(); ++i)
            row[keys[i]] = FieldToJson(Get(columns[i].field, u"Value"), columns[i].isGuid);
        out << ToLine(row) << "\n";
    });
}

/// Characters of a UTF-8 text, near enough to columns of a terminal.
std::size_t Width(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string OneLine(const std::string& text)
{
    std::string line = Printable(FromUtf8(text));
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
    return line;
}

std::size_t PrintTable(const ObjectRef& recordset, const std::vector<Column>& columns, std::ostream& out)
{
    std::vector<std::vector<std::string>> lines(1);
    std::vector<std::size_t> widths;
    for (const Column& column : columns) {
        lines[0].push_back(OneLine(column.name));
        widths.push_back(Width(lines[0].back()));
    }
    const std::size_t count = ForEachRow(recordset, [&] {
        std::vector<std::string>& line = lines.emplace_back();
        for (std::size_t i = 0; i < columns.size(); ++i) {
            line.push_back(OneLine(FieldToText(Get(columns[i].field, u"Value"), columns[i].isGuid, "")));
            widths[i] = std::max(widths[i], Width(line.back()));
        }
    });
    for (const auto& line : lines) {
        std::string text;
        for (std::size_t i = 0; i < line.size(); ++i) {
            const std::string padding(widths[i] - Width(line[i]), ' ');
            text += (i ? "  " : "") + (columns[i].isNumber ? padding + line[i] : line[i] + padding);
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out << text << "\n";
    }
    return count;
}

}  // namespace

std::size_t PrintRows(const ObjectRef& recordset, RowForm form, std::ostream& out)
{
    const std::vector<Column> columns = ColumnsOf(recordset);
    switch (form) {
        case RowForm::Csv:
            return PrintCsv(recordset, columns, out);
        case RowForm::Json:
            return PrintJson(recordset, columns, out);
        case RowForm::Table:
            break;
    }
    return PrintTable(recordset, columns, out);
}

}  // namespace vmlib::host
