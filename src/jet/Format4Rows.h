#pragma once

#include <memory>
#include <span>
#include <vector>

#include "jet/Definition.h"
#include "jet/Format4Pages.h"

/// Definitions and rows of format 4 in the structures of format 3.
namespace vmlib::jet::format4 {

/// Without name and properties. Columns of the system tables come in the order of format 3. Decimals become Doubles.
/// @throws Damaged
TableDefinition ReadDefinition(Pager& pager, PageNumber first);

/// Text of a name, a field or a memo: UTF-16, or compressed behind FF FE. @throws Damaged naming `page`
Text DecodeText(std::span<const std::uint8_t> stored, PageNumber page);
/// As code page 1252 (std::string) when nothing is lost so, else as Text.
Value ValueOf(Text text);

/// Decodes the wanted columns of a row, long values too; the others are left as they are. @throws Damaged
void DecodeRow(Pager& pager, const TableDefinition& table, const StoredRow& row, std::span<const std::size_t> wanted,
               Row& into);

/// One walk over the rows of a table, page by page.
class Scan
{
public:
    Scan(Pager& pager, std::shared_ptr<const TableDefinition> table, std::vector<std::size_t> wanted);

    /// False at the end. @throws Damaged; the call after it goes on behind the damaged row or page
    bool Next();
    const Row& Current() const { return row_; }
    RowPointer Where() const { return where_; }

private:
    Pager& pager_;
    std::shared_ptr<const TableDefinition> table_;
    std::vector<std::size_t> wanted_;
    std::vector<PageNumber> pages_;
    std::size_t nextPage_ = 0;
    StoredPageRef page_;
    std::size_t slot_ = 0;
    Row row_;
    RowPointer where_;
};

}  // namespace vmlib::jet::format4
