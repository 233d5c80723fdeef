#include "jet/TreeVerifier.h"

#include "core/ByteOrder.h"
#include "jet/PageMap.h"

namespace vmlib::jet {

TreeVerifier::TreeVerifier(Pager& pager, PageNumber owner, const TreeDefinition& tree) : pager_(pager), owner_(owner)
{
    Visit(tree.root, -1, "", nullptr);
    for (const auto& [level, last] : lastOfLevel_) {
        if (last.second != 0) Fault(last.first, "is last of level " + std::to_string(level) + " but has a next page");
    }
    const std::vector<PageNumber> owned = PageMap(pager, tree.ownedMap).All();
    if (std::set<PageNumber>(owned.begin(), owned.end()) != pages_) Fault(tree.root, "map and tree differ");
    PageMap freePages(pager, PageMap::freeMapPointer);
    for (const PageNumber page : pages_) {
        if (freePages.Contains(page)) Fault(page, "is in the free map");
    }
}

void TreeVerifier::Fault(PageNumber page, const std::string& finding)
{
    faults_.push_back("page " + std::to_string(page) + " " + finding);
}

TreeVerifier::Node TreeVerifier::Read(PageNumber number)
{
    const PageRef ref = pager_.Read(number);
    const std::uint8_t* page = ref.Data();
    Node node;
    node.level = page[21];
    node.previous = LoadLittle<std::uint32_t>(page + 8);
    node.next = LoadLittle<std::uint32_t>(page + 12);
    node.tail = LoadLittle<std::uint32_t>(page + 16);
    if (page[0] != (node.level == 0 ? 4 : 3) || page[1] != 1) Fault(number, "has the wrong kind");
    if (LoadLittle<std::uint32_t>(page + 4) != owner_) Fault(number, "has the wrong owner");
    std::size_t start = 0;
    for (std::size_t end = 0; end < 226 * 8; ++end) {
        if ((page[22 + end / 8] >> end % 8 & 1) == 0) continue;
        if (end > 1800) {
            Fault(number, "has an entry beyond its end");
            break;
        }
        std::string entry(reinterpret_cast<const char*>(page) + 248 + start, end - start);
        if (!node.entries.empty()) entry.insert(0, node.entries[0].substr(0, page[20]));
        node.entries.push_back(entry);
        start = end;
    }
    if (LoadLittle<std::uint16_t>(page + 2) != 1800 - start) Fault(number, "counts its free bytes wrong");
    if (node.entries.empty() && page[20] != 0) Fault(number, "has a prefix of nothing");
    if (!node.entries.empty() && page[20] > node.entries[0].size()) Fault(number, "has too long a prefix");
    if (node.level == 0) ++leaves_, freeBytes_ += 1800 - start;
    return node;
}

void TreeVerifier::Visit(PageNumber number, int level, const std::string& low, const std::string* high)
{
    if (!pages_.insert(number).second) return Fault(number, "is reached twice");
    const Node node = Read(number);
    if (level >= 0 && node.level != static_cast<unsigned>(level)) return Fault(number, "has the wrong level");
    auto& last = lastOfLevel_[node.level];
    if (node.previous != last.first) Fault(number, "has the wrong previous page");
    if (last.first != 0 && last.second != number) Fault(last.first, "has the wrong next page");
    last = {number, node.next};

    std::string before = low;  // everything here comes behind it
    for (const std::string& entry : node.entries) {
        const std::string key = node.level == 0 ? entry : entry.substr(0, entry.size() - 4);
        if (!(before < key)) Fault(number, "is out of order");
        if (high != nullptr && *high < key) Fault(number, "goes beyond its separator");
        if (node.level > 0) {
            const auto* child = reinterpret_cast<const std::uint8_t*>(entry.data()) + entry.size() - 4;
            Visit(LoadBig<std::uint32_t>(child), static_cast<int>(node.level) - 1, before, &key);
        } else {
            entries_.push_back(entry);
        }
        before = key;
    }
    if (node.level > 0) {
        Visit(node.tail, static_cast<int>(node.level) - 1, before, high);
    } else if (node.tail != 0) {
        Fault(number, "is a leaf with a tail child");
    }
}

}  // namespace vmlib::jet
