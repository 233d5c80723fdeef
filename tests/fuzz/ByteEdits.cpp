#include "fuzz/ByteEdits.h"

#include <algorithm>
#include <iomanip>
#include <optional>
#include <sstream>

namespace vmlib::fuzz {

namespace {

constexpr std::size_t greatestSize = 1 << 20;

std::optional<ByteEdit> ParseEdit(const std::string& line)
{
    std::istringstream in(line);
    ByteEdit edit;
    in >> edit.part;
    if (edit.part == "cut") {
        in >> edit.offset;
        return in ? std::optional(edit) : std::nullopt;
    }
    std::string at;
    char colon = 0;
    in >> edit.index >> at >> edit.offset >> colon;
    if (!in || at != "at" || colon != ':') return std::nullopt;
    for (unsigned byte = 0; in >> std::hex >> byte;) edit.bytes.push_back(static_cast<std::uint8_t>(byte));
    return edit;
}

}  // namespace

std::vector<ByteEdit> ParseEdits(std::string_view text)
{
    std::vector<ByteEdit> edits;
    std::istringstream in{std::string(text)};
    for (std::string line; std::getline(in, line);)
        if (auto edit = ParseEdit(line)) edits.push_back(std::move(*edit));
    return edits;
}

std::string PrintEdits(const std::vector<ByteEdit>& edits)
{
    std::ostringstream out;
    for (const ByteEdit& edit : edits) {
        out << edit.part << ' ' << std::dec;
        if (edit.part == "cut") {
            out << edit.offset;
        } else {
            out << edit.index << " at " << edit.offset << ':' << std::hex << std::uppercase << std::setfill('0');
            for (const std::uint8_t byte : edit.bytes) out << ' ' << std::setw(2) << +byte;
        }
        out << '\n';
    }
    return out.str();
}

std::string MutateEdits(std::string_view text, std::mt19937& random, const std::function<ByteEdit()>& make)
{
    constexpr std::size_t greatestCount = 12;
    std::vector<ByteEdit> edits = ParseEdits(text);
    if (edits.size() >= greatestCount || (!edits.empty() && random() % 3 == 0))
        edits.erase(edits.begin() + static_cast<std::ptrdiff_t>(random() % edits.size()));
    if (!edits.empty() && random() % 4 == 0) {
        edits[random() % edits.size()].bytes = make().bytes;
    } else {
        edits.push_back(make());
    }
    return PrintEdits(edits);
}

void Apply(const ByteEdit& edit, std::size_t base, Bytes& to)
{
    if (edit.part == "cut") {
        to.resize(std::min(edit.offset, greatestSize));
    } else if (base < to.size() && edit.offset < to.size() - base) {
        const std::size_t count = std::min(edit.bytes.size(), to.size() - base - edit.offset);
        std::copy_n(edit.bytes.begin(), count, to.begin() + static_cast<std::ptrdiff_t>(base + edit.offset));
    }
}

}  // namespace vmlib::fuzz
