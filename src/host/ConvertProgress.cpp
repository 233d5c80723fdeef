#include "host/ConvertProgress.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ostream>

namespace vmlib::host {

namespace {

constexpr std::size_t barColumns = 24;
constexpr const char* toLineStart = "\r\x1B[K";

std::string TimeText(double seconds)
{
    const auto whole = std::lround(seconds);
    if (whole < 60) return std::to_string(whole) + " s";
    if (whole < 3600) return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
    return std::to_string(whole / 3600) + " h " + std::to_string(whole % 3600 / 60) + " min";
}

}  // namespace

ConvertProgress::ConvertProgress(Batch* batch, std::size_t documents, std::ostream& terminal)
    : terminal_(terminal), documents_(documents)
{
    const auto columns = batch ? batch->ProgressColumns() : std::nullopt;
    if (columns) columns_ = static_cast<std::size_t>(std::max(*columns, 20));
    const char* noColour = std::getenv("NO_COLOR");
    inColour_ = !noColour || !*noColour;
}

void ConvertProgress::Done(const Json& document)
{
    ++done_;
    for (const Json& table : document.at("tables")) rows_ += table.at("before").get<std::uint64_t>();
}

void ConvertProgress::Draw()
{
    if (!IsShown()) return;
    const std::size_t filled = documents_ ? barColumns * done_ / documents_ : 0;
    std::string text = " " + std::to_string(done_) + "/" + std::to_string(documents_) + " documents, " +
                       std::to_string(rows_) + " rows";
    if (done_ > 0 && done_ < documents_) {
        const double spent = std::chrono::duration<double>(Clock::now() - begin_).count();
        text += ", " + TimeText(spent / static_cast<double>(done_) * static_cast<double>(documents_ - done_)) + " left";
    }
    const std::size_t room = columns_ - 1;
    std::string bar = barColumns + 2 + text.size() <= room
                          ? (inColour_ ? "\x1B[32m" : "") + std::string(filled, '#') + (inColour_ ? "\x1B[0m" : "") +
                                std::string(barColumns - filled, '.')
                          : std::string();
    terminal_ << toLineStart << (bar.empty() ? "" : "[" + bar + "]") << text.substr(0, room) << std::flush;
}

void ConvertProgress::Clear()
{
    if (IsShown()) terminal_ << toLineStart << std::flush;
}

}  // namespace vmlib::host
