#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/Json.h"

/// What `convert` tells of its documents.
namespace vmlib::host {

/// Something that the document held and the converted one does not.
struct Loss
{
    // table, field: the layout has it no more; value: one that does not fit; row: left out whole; query: a stored one
    const char* kind = "";
    Text table;  // or the query's name
    Text field;
    std::string key{};    // of the row
    std::string value{};  // the start of a long one
    std::string reason{};
    std::uint64_t rows = 1;  // that lose something: table, field, and what stands for the values beyond the first
    bool allowed = false;
};

struct TableCount
{
    Text table;
    std::uint64_t before = 0, after = 0;  // rows
};

enum class ConvertOutcome
{
    Converted,
    Planned,  // a dry run that would convert
    Skipped,  // has the layout's version
    Failed,
    NotDone,  // the batch was stopped before it
};

struct DocumentReport
{
    std::string document;
    ConvertOutcome outcome = ConvertOutcome::Failed;
    std::int16_t code = 0;
    std::string text{};  // why it failed: the code's text, or what else is wrong
    std::string detail{};
    std::optional<std::int32_t> fromVersion{}, toVersion{};
    std::vector<TableCount> tables{};
    std::vector<Loss> losses{};
    std::vector<std::string> notes{};
    std::string backup{};
    double seconds = 0;
};

/// One object: document, outcome, code, text, detail, fromVersion, toVersion, tables, losses, notes, backup, seconds.
Json ToJson(const DocumentReport& report);

/// The whole batch.
struct BatchReport
{
    std::string type, layout;
    std::string started;
    bool dryRun = false;
    bool stopped = false;
    double seconds = 0;
    std::vector<std::string> notes{};
    std::vector<Json> documents{};  // as ToJson makes them
};

/// Documents with an outcome.
std::size_t CountOf(const BatchReport& report, std::string_view outcome);

/// One line for a person, and a line a loss below it.
std::string ReportLines(const Json& document);
std::string ReportAsJson(const BatchReport& report);
/// A page that needs nothing beside it; failed documents come first.
std::string ReportAsHtml(const BatchReport& report);

}  // namespace vmlib::host
