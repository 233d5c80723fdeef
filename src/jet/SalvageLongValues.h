#pragma once

#include <span>
#include <unordered_set>

#include "jet/LongValues.h"

namespace vmlib::jet {

/// Reads long values of a damaged file. Each piece of a chain belongs to one value: chains that run through each other,
/// or in circles, end there, so that reading all values of a file takes no longer than the file is long.
class SalvageLongValues
{
public:
    explicit SalvageLongValues(Pager& pager) : pager_(pager) {}

    /// The value that a row's field leads to. @param into  what could be read, also when it throws
    /// @throws Damaged when it is not whole
    void Read(std::span<const std::uint8_t> field, PageNumber rowPage, Bytes& into);

private:
    void ReadChain(RowPointer at, std::size_t length, Bytes& into);
    void GiveBack(const std::vector<std::uint32_t>& pieces);

    Pager& pager_;
    std::unordered_set<std::uint32_t> used_;  // pieces of chains
    std::uint64_t givenBack_ = 0;
};

}  // namespace vmlib::jet
