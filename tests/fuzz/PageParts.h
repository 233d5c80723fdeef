#pragma once

#include <map>
#include <random>

#include "fuzz/ByteEdits.h"
#include "jet/Format.h"

namespace vmlib::fuzz {

/// The pages of a file by what they are: "header", "data", "maps", "long", "definition", "branch", "leaf", "other";
/// "file" is the whole of it. Edits name their place so: it stays the same kind of place when the file is made
/// differently.
class PageParts
{
public:
    explicit PageParts(const Bytes& file);

    void Apply(const ByteEdit& edit, Bytes& to) const;
    /// An edit of a page's field, or anywhere in it: a number that means something there, or a bit.
    ByteEdit RandomEdit(std::mt19937& random) const;

private:
    std::size_t RandomOffset(const std::string& part, const std::uint8_t* page, std::mt19937& random) const;
    Bytes RandomBytes(const std::uint8_t* at, std::size_t room, std::mt19937& random) const;

    const Bytes& file_;
    std::map<std::string, std::vector<jet::PageNumber>> pages_;
};

}  // namespace vmlib::fuzz
