#include "fuzz/PageParts.h"

#include <algorithm>

#include "core/ByteOrder.h"

namespace vmlib::fuzz {

using namespace jet;

namespace {

std::string PartOf(PageNumber number, const std::uint8_t* page)
{
    constexpr std::uint32_t longValueOwner = 0x4C41564C;  // "LVAL"
    if (number == 0) return "header";
    switch (static_cast<PageKind>(page[0])) {
        case PageKind::Data: {
            const auto owner = LoadLittle<std::uint32_t>(page + 4);
            return owner <= 1 ? "maps" : owner == longValueOwner ? "long" : "data";
        }
        case PageKind::Definition:
            return "definition";
        case PageKind::IndexBranch:
            return "branch";
        case PageKind::IndexLeaf:
            return "leaf";
        default:
            return "other";
    }
}

/// Where the numbers of a page stand that others depend on; docs/file-format.md has their meaning.
const std::vector<std::size_t>& FieldsOf(const std::string& part)
{
    static const std::vector<std::size_t> header = {0, 4, 20, 0x18, 0x1C, 0x20, 0x3A, 0x3C, 0x3E, 0x42, 0x600};
    static const std::vector<std::size_t> rows = {0, 2, 4, 8, 10, 12, 14, 16, 18, 20};
    static const std::vector<std::size_t> definition = {0,  4,  8,  12, 16, 20, 21, 23, 25,
                                                        27, 31, 35, 39, 43, 47, 51, 55, 59};
    static const std::vector<std::size_t> index = {0, 2, 4, 8, 12, 16, 20, 21, 22, 23, 24, 248, 249, 252};
    if (part == "header") return header;
    if (part == "definition") return definition;
    return part == "leaf" || part == "branch" ? index : rows;
}

}  // namespace

PageParts::PageParts(const Bytes& file) : file_(file)
{
    for (std::size_t at = 0; at + pageSize <= file.size(); at += pageSize) {
        const auto number = static_cast<PageNumber>(at / pageSize);
        pages_[PartOf(number, file.data() + at)].push_back(number);
    }
}

void PageParts::Apply(const ByteEdit& edit, Bytes& to) const
{
    const auto found = pages_.find(edit.part);
    const std::size_t base = found == pages_.end() ? 0 : found->second[edit.index % found->second.size()] * pageSize;
    fuzz::Apply(edit, base, to);
}

std::size_t PageParts::RandomOffset(const std::string& part, const std::uint8_t* page, std::mt19937& random) const
{
    const auto& fields = FieldsOf(part);
    if (random() % 2 == 0) return fields[random() % fields.size()];
    if (part == "definition") {
        const auto length = LoadLittle<std::uint32_t>(page + 8);
        return 43 + random() % std::clamp<std::size_t>(length, 1, pageSize - 43);
    }
    const bool hasRows = part == "data" || part == "maps" || part == "long";
    if (!hasRows || random() % 4 == 0) return random() % pageSize;
    const std::size_t lowest = 14u + LoadLittle<std::uint16_t>(page + 2);  // near it: where the rows begin
    return std::min<std::size_t>(pageSize - 1, lowest + random() % (pageSize - std::min(lowest, pageSize - 1)));
}

Bytes PageParts::RandomBytes(const std::uint8_t* at, std::size_t room, std::mt19937& random) const
{
    const std::size_t sizes[] = {1, 2, 4, 8};
    Bytes bytes(at, at + std::min(room, sizes[random() % 4]));
    std::uint64_t value = 0;
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(&value));
    const auto pages = static_cast<std::uint32_t>(file_.size() / pageSize);
    const std::uint64_t ends[] = {0, ~std::uint64_t{0}, 0x7F, 0x80, 0x7FFF, 0x8000, 0x7FFFFFFF, 0x80000000, 0x4000};
    switch (random() % 6) {
        case 0:
            value ^= std::uint64_t{1} << random() % (8 * bytes.size());
            break;
        case 1:
            value += random() % 9 - 4;
            break;
        case 2:
            value = ends[random() % std::size(ends)];
            break;
        case 3:
            value = random() % (pages + 2);
            break;
        case 4:
            value = (random() % (pages + 1)) << 8 | random() % 8;  // a row pointer
            break;
        default:
            value = random();
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(value >> 8 * i & 0xFF);
    return bytes;
}

ByteEdit PageParts::RandomEdit(std::mt19937& random) const
{
    ByteEdit edit;
    if (random() % 50 == 0) {
        edit.part = "cut";
        edit.offset = random() % (file_.size() + 4 * pageSize);
        return edit;
    }
    const auto part = std::next(pages_.begin(), static_cast<std::ptrdiff_t>(random() % pages_.size()));
    edit.part = part->first;
    edit.index = random() % part->second.size();
    const std::uint8_t* page = file_.data() + part->second[edit.index] * pageSize;
    edit.offset = RandomOffset(edit.part, page, random);
    edit.bytes = RandomBytes(page + edit.offset, pageSize - edit.offset, random);
    return edit;
}

}  // namespace vmlib::fuzz
