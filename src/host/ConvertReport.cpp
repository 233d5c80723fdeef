#include "host/ConvertReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vmlib::host {

namespace {

const char* NameOf(ConvertOutcome outcome)
{
    switch (outcome) {
        case ConvertOutcome::Converted:
            return "converted";
        case ConvertOutcome::Planned:
            return "planned";
        case ConvertOutcome::Skipped:
            return "skipped";
        case ConvertOutcome::Failed:
            return "failed";
        case ConvertOutcome::NotDone:
            return "not done";
    }
    return "";
}

template <class Value>
Json OrNull(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json();
}

double Rounded(double seconds)
{
    return std::round(seconds * 1000) / 1000;
}

Json ToJson(const Loss& loss)
{
    return {{"kind", loss.kind}, {"table", ToUtf8(loss.table)}, {"field", ToUtf8(loss.field)},
            {"key", loss.key},   {"value", loss.value},         {"reason", loss.reason},
            {"rows", loss.rows}, {"allowed", loss.allowed}};
}

std::string TextOf(const Json& object, const char* key)
{
    return object.at(key).is_string() ? object.at(key).get<std::string>() : std::string();
}

std::string RowsText(std::uint64_t rows)
{
    return std::to_string(rows) + (rows == 1 ? " row" : " rows");
}

/// kind TABLE.FIELD (key) "value": reason
std::string LossText(const Json& loss)
{
    const std::string kind = TextOf(loss, "kind"), field = TextOf(loss, "field"), key = TextOf(loss, "key");
    std::string text = kind + " " + TextOf(loss, "table") + (field.empty() ? "" : "." + field);
    if (!key.empty()) text += " (" + key + ")";
    if (const std::string value = TextOf(loss, "value"); !value.empty() || kind == "value")
        text += " \"" + value + "\"";
    text += ": " + TextOf(loss, "reason");
    if (loss.at("rows").get<std::uint64_t>() != 1 || kind == "table" || kind == "field")
        text += ", " + RowsText(loss.at("rows").get<std::uint64_t>());
    return text;
}

std::uint64_t RowsOf(const Json& document)
{
    std::uint64_t rows = 0;
    for (const Json& table : document.at("tables")) rows += table.at("before").get<std::uint64_t>();
    return rows;
}

std::string SecondsText(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", seconds);
    return text;
}

std::string VersionText(const Json& document)
{
    if (document.at("fromVersion").is_null()) return {};
    const auto text = [](const Json& version) { return version.is_null() ? std::string("?") : version.dump(); };
    return text(document.at("fromVersion")) + " to " + text(document.at("toVersion"));
}

}  // namespace

Json ToJson(const DocumentReport& report)
{
    Json tables = Json::array(), losses = Json::array();
    for (const TableCount& count : report.tables)
        tables.push_back({{"table", ToUtf8(count.table)}, {"before", count.before}, {"after", count.after}});
    for (const Loss& loss : report.losses) losses.push_back(ToJson(loss));
    return {{"document", report.document},
            {"outcome", NameOf(report.outcome)},
            {"code", report.code},
            {"text", report.text},
            {"detail", report.detail},
            {"fromVersion", OrNull(report.fromVersion)},
            {"toVersion", OrNull(report.toVersion)},
            {"tables", std::move(tables)},
            {"losses", std::move(losses)},
            {"notes", report.notes},
            {"backup", report.backup.empty() ? Json() : Json(report.backup)},
            {"seconds", Rounded(report.seconds)}};
}

std::size_t CountOf(const BatchReport& report, std::string_view outcome)
{
    return static_cast<std::size_t>(
        std::count_if(report.documents.begin(), report.documents.end(),
                      [&](const Json& one) { return one.at("outcome").get<std::string>() == outcome; }));
}

std::string ReportLines(const Json& document)
{
    std::string lines = TextOf(document, "document") + ": " + TextOf(document, "outcome");
    const std::string outcome = TextOf(document, "outcome");
    if (outcome == "converted" || outcome == "planned")
        lines += " " + VersionText(document) + ", " + RowsText(RowsOf(document)) + ", " +
                 SecondsText(document.at("seconds").get<double>()) + " s";
    if (const int code = document.at("code").get<int>(); code != 0) lines += ", code " + std::to_string(code);
    for (const char* key : {"text", "detail"}) {
        std::string text = TextOf(document, key);
        std::replace(text.begin(), text.end(), '\n', ' ');
        if (!text.empty()) lines += ": " + text;
    }
    lines += '\n';
    for (const Json& loss : document.at("losses"))
        lines += std::string(loss.at("allowed").get<bool>() ? "  lost " : "  would lose ") + LossText(loss) + "\n";
    for (const Json& note : document.at("notes")) lines += "  note: " + note.get<std::string>() + "\n";
    return lines;
}

std::string ReportAsJson(const BatchReport& report)
{
    Json documents = report.documents;
    const Json json = {{"type", report.type},
                       {"layout", report.layout},
                       {"started", report.started},
                       {"seconds", Rounded(report.seconds)},
                       {"dryRun", report.dryRun},
                       {"stopped", report.stopped},
                       {"counts",
                        {{"converted", CountOf(report, "converted")},
                         {"planned", CountOf(report, "planned")},
                         {"skipped", CountOf(report, "skipped")},
                         {"failed", CountOf(report, "failed")},
                         {"notDone", CountOf(report, "not done")}}},
                       {"notes", report.notes},
                       {"documents", std::move(documents)}};
    return json.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

namespace {

std::string Escaped(std::string_view text)
{
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

constexpr const char* pageHead = R"(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width">
<title>Conversion</title><style>
body { font: 15px/1.45 system-ui, sans-serif; color: #222; max-width: 72em; margin: 2em auto; padding: 0 1em }
h1 { font-size: 1.5em; margin-bottom: .2em } h2 { font-size: 1.15em; margin-top: 2em }
table { border-collapse: collapse; width: 100%; margin: .5em 0 }
th, td { text-align: left; vertical-align: top; padding: .3em .7em; border-bottom: 1px solid #ddd }
th { font-weight: 600; background: #f4f4f4 } td.n, th.n { text-align: right; font-variant-numeric: tabular-nums }
.counts { display: flex; flex-wrap: wrap; gap: 1em; margin: 1em 0 }
.counts div { border: 1px solid #ddd; border-radius: 6px; padding: .5em 1em } .counts b { font-size: 1.5em; display: block }
.failed { color: #a40000 } .done { color: #1d6b2a } .path { overflow-wrap: anywhere } .small { color: #666; font-size: .9em }
td.below { padding-left: 3em; padding-bottom: 1em } details { margin: .2em 0 } summary { cursor: pointer }
</style></head><body>
)";

void AddCount(std::string& page, const char* label, std::size_t count, const char* style)
{
    page += "<div><b class=\"" + std::string(count ? style : "") + "\">" + std::to_string(count) + "</b>" + label +
            "</div>";
}

std::string LossList(const Json& losses)
{
    if (losses.empty()) return {};
    std::string list =
        "<table><tr><th>Lost</th><th>Table</th><th>Field</th><th>Key</th><th>Value</th><th>Reason</th>"
        "<th class=\"n\">Rows</th><th>Allowed</th></tr>";
    for (const Json& loss : losses) {
        list += "<tr>";
        for (const char* key : {"kind", "table", "field", "key", "value", "reason"})
            list += "<td class=\"path\">" + Escaped(TextOf(loss, key)) + "</td>";
        const bool allowed = loss.at("allowed").get<bool>();
        list += "<td class=\"n\">" + loss.at("rows").dump() + "</td><td" + (allowed ? ">yes" : " class=\"failed\">no") +
                "</td></tr>";
    }
    return list + "</table>";
}

std::string TableList(const Json& tables)
{
    if (tables.empty()) return {};
    std::string list = "<details><summary>" + std::to_string(tables.size()) +
                       " tables</summary><table><tr><th>Table</th><th class=\"n\">Rows before</th><th class=\"n\">Rows "
                       "after</th></tr>";
    for (const Json& table : tables)
        list += "<tr><td>" + Escaped(TextOf(table, "table")) + "</td><td class=\"n\">" + table.at("before").dump() +
                "</td><td class=\"n\">" + table.at("after").dump() + "</td></tr>";
    return list + "</table></details>";
}

void AddDocument(std::string& page, const Json& document)
{
    const std::string outcome = TextOf(document, "outcome");
    const bool isGood = outcome == "converted" || outcome == "planned" || outcome == "skipped";
    page += "<tr><td class=\"path\">" + Escaped(TextOf(document, "document")) + "</td><td class=\"" +
            (isGood ? "done" : "failed") + "\">" + outcome + "</td><td>" + VersionText(document) +
            "</td><td class=\"n\">" + std::to_string(RowsOf(document)) + "</td><td class=\"n\">" +
            SecondsText(document.at("seconds").get<double>()) + "</td><td>";
    if (const int code = document.at("code").get<int>(); code != 0) page += "Code " + std::to_string(code) + ": ";
    page += Escaped(TextOf(document, "text"));
    if (const std::string detail = TextOf(document, "detail"); !detail.empty())
        page += "<div class=\"small\">" + Escaped(detail) + "</div>";
    for (const Json& note : document.at("notes"))
        page += "<div class=\"small\">" + Escaped(note.get<std::string>()) + "</div>";
    if (const std::string backup = TextOf(document, "backup"); !backup.empty())
        page += "<div class=\"small\">Backup: <span class=\"path\">" + Escaped(backup) + "</span></div>";
    page += "</td></tr>\n";
    const std::string below = LossList(document.at("losses")) + TableList(document.at("tables"));
    if (!below.empty()) page += "<tr><td class=\"below\" colspan=\"6\">" + below + "</td></tr>\n";
}

void AddSection(std::string& page, const BatchReport& report, const char* title,
                std::initializer_list<std::string_view> outcomes)
{
    std::string rows;
    for (const Json& document : report.documents)
        if (std::find(outcomes.begin(), outcomes.end(), document.at("outcome").get<std::string>()) != outcomes.end())
            AddDocument(rows, document);
    if (rows.empty()) return;
    page += "<h2>" + std::string(title) +
            "</h2><table><tr><th>Document</th><th>Outcome</th><th>Version</th><th class=\"n\">Rows</th><th "
            "class=\"n\">Seconds</th><th>What to know</th></tr>\n" +
            rows + "</table>\n";
}

}  // namespace

std::string ReportAsHtml(const BatchReport& report)
{
    std::string page = pageHead;
    page += "<h1>Conversion of " + Escaped(report.type) +
            " documents</h1><p class=\"small\">Layout <span class=\"path\">" + Escaped(report.layout) +
            "</span>, begun " + Escaped(report.started) + ", " + SecondsText(report.seconds) + " s" +
            (report.dryRun ? ". <b>Dry run: nothing was changed.</b>" : "") +
            (report.stopped ? " <b>Stopped before the end.</b>" : "") + "</p><div class=\"counts\">";
    AddCount(page, "failed", CountOf(report, "failed"), "failed");
    if (report.stopped) AddCount(page, "not done", CountOf(report, "not done"), "failed");
    AddCount(page, report.dryRun ? "would be converted" : "converted",
             CountOf(report, report.dryRun ? "planned" : "converted"), "done");
    AddCount(page, "skipped: up to date", CountOf(report, "skipped"), "done");
    std::size_t losing = 0;
    for (const Json& document : report.documents) losing += document.at("losses").empty() ? 0 : 1;
    AddCount(page, "with losses", losing, "failed");
    page += "</div>\n";
    for (const std::string& note : report.notes) page += "<p>" + Escaped(note) + "</p>\n";
    AddSection(page, report, "Failed", {"failed"});
    AddSection(page, report, "Not done", {"not done"});
    AddSection(page, report, report.dryRun ? "Would be converted" : "Converted", {"converted", "planned"});
    AddSection(page, report, "Skipped", {"skipped"});
    return page + "</body></html>\n";
}

}  // namespace vmlib::host
