#pragma once

#include <vector>

#include "jet/Definition.h"
#include "jet/PageAllocator.h"

/// Table definitions to bytes and back, and the pages that these bytes stand on. Knows no rows and no keys.
namespace vmlib::jet {

/// The pages of a definition in their order. @throws Damaged when a page is of another kind or the chain comes back to
/// itself
std::vector<PageNumber> DefinitionPages(Pager& pager, PageNumber first);

/// Without name and properties, which the catalogue holds. @throws Damaged when pointers, counts or lengths contradict
/// each other
TableDefinition ReadDefinitionPages(Pager& pager, PageNumber first);

/// Writes a definition over the pages of the one that stands at `definition.page`, which may be a zero page; takes or
/// gives back pages behind it. Row count and last AutoNumber are written as `definition` has them.
void WriteDefinitionPages(Pager& pager, PageAllocator& allocator, const TableDefinition& definition);

/// The definition as one piece, with the head of its first page and none of the others.
Bytes EncodeDefinition(const TableDefinition& definition);
/// @param first  the page to name in errors
TableDefinition DecodeDefinition(const Bytes& joined, PageNumber first);

/// The numbers on the first page of a definition that change with its rows.
namespace counters {

std::uint32_t RowCount(const PageRef& firstPage);
void SetRowCount(const PageEdit& firstPage, std::uint32_t count);
std::uint32_t LastAutoNumber(const PageRef& firstPage);
void SetLastAutoNumber(const PageEdit& firstPage, std::uint32_t number);
std::uint32_t DistinctKeys(const PageRef& firstPage, std::size_t realIndex);
void SetDistinctKeys(const PageEdit& firstPage, std::size_t realIndex, std::uint32_t count);

}  // namespace counters

}  // namespace vmlib::jet
