#pragma once

#include <set>
#include <string>
#include <vector>

#include "jet/Definition.h"
#include "jet/Pager.h"

namespace vmlib::jet {

/// Reads a whole index tree by the page layout alone, apart from the classes under test, and collects everything that
/// is wrong with it.
class TreeVerifier
{
public:
    TreeVerifier(Pager& pager, PageNumber owner, const TreeDefinition& tree);

    const std::vector<std::string>& Faults() const { return faults_; }
    /// Entries of the leaves in order: key and row pointer.
    const std::vector<std::string>& Entries() const { return entries_; }
    const std::set<PageNumber>& Pages() const { return pages_; }
    std::size_t Leaves() const { return leaves_; }
    std::size_t FreeBytesOfLeaves() const { return freeBytes_; }

private:
    struct Node
    {
        unsigned level = 0;
        PageNumber previous = 0, next = 0, tail = 0;
        std::vector<std::string> entries;
    };
    Node Read(PageNumber number);
    void Visit(PageNumber number, int level, const std::string& low, const std::string* high);
    void Fault(PageNumber page, const std::string& finding);

    Pager& pager_;
    PageNumber owner_;
    std::vector<std::string> faults_, entries_;
    std::set<PageNumber> pages_;
    std::map<unsigned, std::pair<PageNumber, PageNumber>> lastOfLevel_;  // page, its next
    std::size_t leaves_ = 0, freeBytes_ = 0;
};

}  // namespace vmlib::jet
