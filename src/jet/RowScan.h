#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "jet/RowCodec.h"
#include "jet/RowStore.h"

namespace vmlib::jet {

/// Decodes the wanted columns of a row, long values too; the others are left as they are. @throws Damaged
void DecodeRow(Pager& pager, const RowCodec& codec, std::span<const std::uint8_t> bytes, PageNumber page,
               std::span<const std::size_t> wanted, Row& into);

/// One walk over the rows of a table, page by page, while the table may change.
///
/// The pages are those of the table's map when the walk began. A row that moves keeps its old place, so it comes once,
/// wherever it went. Rows inserted since the beginning are kept out by their slots: slots only ever grow, so whoever
/// inserts tells the walk the first new one of a page.
class RowScan
{
public:
    RowScan(Pager& pager, const RowStore& store, std::uint32_t owner, std::shared_ptr<const RowCodec> codec,
            std::vector<std::size_t> wanted);

    bool Next();
    const Row& Current() const { return row_; }
    RowPointer Where() const { return where_; }

    void NoteInserted(RowPointer at);

private:
    bool OpenNextPage();
    bool PageIsGone(const PageRef& page);

    Pager& pager_;
    RowStore store_;
    std::uint32_t owner_;
    std::shared_ptr<const RowCodec> codec_;
    std::vector<std::size_t> wanted_;  // positions of columns
    std::vector<PageNumber> pages_;
    std::size_t nextPage_ = 0;
    PageRef page_;
    std::uint64_t generation_ = 0;  // that page_ was read in
    std::size_t slot_ = 0;          // next on page_
    std::size_t slotLimit_ = 0;
    std::unordered_map<PageNumber, std::uint8_t> firstNew_;
    RowPointer lastNoted_;
    Row row_;
    RowPointer where_;
};

}  // namespace vmlib::jet
