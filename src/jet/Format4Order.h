#pragma once

#include <memory>

#include "jet/IndexTree.h"
#include "jet/PageAllocator.h"

namespace vmlib::jet::format4 {

/// The rows of a table in the order of one of its indexes, in memory. The trees of format 4 have keys of another kind;
/// here the rows are ordered by the keys of format 3, so that whoever seeks needs no second kind.
class Order
{
public:
    Order();
    ~Order();
    void Add(std::string_view key, RowPointer row) { tree_->Insert(key, row); }
    const IndexTree& Tree() const { return *tree_; }

private:
    class Pages;
    std::unique_ptr<Pages> pages_;
    std::unique_ptr<PageAllocator> allocator_;
    std::unique_ptr<IndexTree> tree_;
};

}  // namespace vmlib::jet::format4
