#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/CheckFindings.h"
#include "jet/Definition.h"
#include "jet/IndexPage.h"

namespace vmlib::jet {

/// The entries of a tree in their order, one behind the other in one piece of memory, each with a mark.
class EntryList
{
public:
    void Add(std::string_view entry);
    std::size_t Count() const { return ends_.size(); }
    std::string_view At(std::size_t index) const;
    std::string_view KeyAt(std::size_t index) const;  // without the row pointer
    /// True when the entry is there; marks it.
    bool Mark(std::string_view entry);
    bool IsMarked(std::size_t index) const { return marked_[index]; }
    bool HasKey(std::string_view key) const;

private:
    std::size_t LowerBound(std::string_view bytes) const;

    std::string bytes_;
    std::vector<std::size_t> ends_;
    std::vector<bool> marked_;
};

/// Walks a whole tree from its root: kinds, levels, links, order, separators, free bytes, and the map against the
/// pages.
class TreeCheck
{
public:
    TreeCheck(Pager& pager, CheckFindings& findings, PageLedger& ledger)
        : pager_(pager), findings_(findings), ledger_(ledger)
    {
    }

    /// The entries of the leaves; no value when the tree could not be walked to its end.
    std::optional<EntryList> Walk(const TreeDefinition& tree, PageNumber owner, const std::string& who);

private:
    struct Edge  // the last page of a level that the walk has met
    {
        PageNumber page = noPage;
        PageNumber next = noPage;
    };

    void Visit(PageNumber number, std::optional<unsigned> level, const std::string& low, const std::string* high);
    void CheckLinks(const IndexPage& page);
    void CheckOrder(const IndexPage& page, const std::string& low, const std::string* high);

    Pager& pager_;
    CheckFindings& findings_;
    PageLedger& ledger_;
    PageNumber owner_ = noPage;
    std::string who_;
    std::set<PageNumber> pages_;
    std::map<unsigned, Edge> edges_;
    EntryList entries_;
};

}  // namespace vmlib::jet
