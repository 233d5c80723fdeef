#include "jet/IndexTree.h"

#include <array>
#include <cassert>
#include <cstring>
#include <utility>

#include "jet/Damage.h"
#include "jet/IndexPage.h"
#include "jet/PageMap.h"

namespace vmlib::jet {
namespace {

// Longer keys are cut so that this much of them is left as it was.
constexpr std::size_t comparablePartOfLongKey = 253;

std::string_view Comparable(std::string_view key)
{
    return key.size() > greatestKeySize ? key.substr(0, comparablePartOfLongKey) : key;
}

/// What every string that begins with `prefix` stands before; "" when there is no such string.
std::string Behind(std::string_view prefix)
{
    std::string bound(prefix);
    while (!bound.empty() && bound.back() == '\xFF') bound.pop_back();
    if (!bound.empty()) ++bound.back();
    return bound;
}

/// Walks from page to page of a tree; each step down must lead one level down, which ends every walk.
class Descent
{
public:
    Descent(Pager& pager, PageNumber owner, PageNumber root) : pager_(pager), owner_(owner), page_(Load(root)) {}

    const IndexPage& Page() const { return page_; }

    void Down(std::size_t at)
    {
        const unsigned expected = page_.Level() - 1;
        const PageNumber child = page_.Child(at);
        page_ = Load(child);
        if (page_.Level() != expected) throw Damaged(child, "an index page of the wrong level");
    }

private:
    IndexPage Load(PageNumber number) { return {pager_.Read(number), owner_}; }

    Pager& pager_;
    PageNumber owner_;
    IndexPage page_;
};

}  // namespace

// --------------------------------------------------------------------------------------------- position

/// Keeps a copy of its leaf: as long as the page still has these bytes, entry and neighbours are where they were, and a
/// step costs one comparison of a page. Otherwise the place is looked up anew by its entry.
struct IndexTree::Position::State
{
    enum class Place
    {
        Before,
        On,
        Behind
    };

    State(Pager& pagerOfTree, PageNumber ownerOfTree, PageNumber rootOfTree)
        : pager(&pagerOfTree), owner(ownerOfTree), root(rootOfTree)
    {
    }
    State(const State& other)
        : pager(other.pager), owner(other.owner), root(other.root), place(other.place), key(other.key), row(other.row)
    {
    }
    State& operator=(const State&) = delete;

    void Seek(std::string_view bytes);
    void SeekLast();
    void Next();
    void Previous();

private:
    void Keep(const IndexPage& page);
    bool LeafIsCurrent() const;
    void StandAt(std::size_t index);
    void StepTo(std::size_t index, bool forward);
    void ToNeighbour(std::string_view from, bool forward);
    void ToLeaf(PageNumber number, bool forward);

    Pager* pager;
    PageNumber owner;
    PageNumber root;

public:
    Place place = Place::Behind;
    Key key;
    RowPointer row;

private:
    std::array<std::uint8_t, pageSize> bytes;  // of the leaf, valid with `leaf`
    std::optional<IndexPage> leaf;
    std::size_t at = 0;
    std::uint64_t generation = 0;
};

void IndexTree::Position::State::Keep(const IndexPage& page)
{
    std::memcpy(bytes.data(), page.Bytes(), pageSize);
    leaf.emplace(page);
    leaf->Rebase(bytes.data());
    generation = pager->Generation();
}

bool IndexTree::Position::State::LeafIsCurrent() const
{
    if (!leaf || generation != pager->Generation()) return false;
    return std::memcmp(pager->Read(leaf->Number()).Data(), bytes.data(), pageSize) == 0;
}

void IndexTree::Position::State::StandAt(std::size_t index)
{
    at = index;
    place = Place::On;
    leaf->CopySeparator(at, key);
    row = RowOf(key);
    key.resize(key.size() - indexLayout::rowPointerSize);
}

/// To the first entry that is not before `wanted`.
void IndexTree::Position::State::Seek(std::string_view wanted)
{
    Descent descent(*pager, owner, root);
    while (!descent.Page().IsLeaf()) descent.Down(descent.Page().LowerBound(wanted));
    Keep(descent.Page());
    const std::size_t index = leaf->LowerBound(wanted);
    if (index < leaf->Count()) return StandAt(index);
    ToNeighbour(wanted, true);
}

void IndexTree::Position::State::SeekLast()
{
    Descent descent(*pager, owner, root);
    while (!descent.Page().IsLeaf()) descent.Down(descent.Page().Count());
    Keep(descent.Page());
    if (leaf->Next() != noPage) throw Damaged(leaf->Number(), "the last index leaf has a next one");
    if (leaf->Count() > 0) return StandAt(leaf->Count() - 1);
    ToNeighbour({}, false);
}

void IndexTree::Position::State::Next()
{
    if (place == Place::Behind) return;
    if (place == Place::Before) return Seek({});
    if (!LeafIsCurrent()) {
        std::string behind = EntryOf(key, row);
        behind.push_back('\0');
        return Seek(behind);
    }
    if (at + 1 == leaf->Count()) return ToNeighbour(EntryOf(key, row), true);
    StepTo(at + 1, true);
}

void IndexTree::Position::State::Previous()
{
    if (place == Place::Before) return;
    if (place == Place::Behind) return SeekLast();
    if (!LeafIsCurrent()) {
        Seek(EntryOf(key, row));
        if (place == Place::Behind) return SeekLast();
    }
    if (at == 0) return ToNeighbour(EntryOf(key, row), false);
    StepTo(at - 1, false);
}

// Each step leads to a greater (backward: smaller) entry or fails, so a walk ends whatever the pages hold.

void IndexTree::Position::State::StepTo(std::size_t index, bool forward)
{
    if (!(forward ? leaf->InOrder(at, index) : leaf->InOrder(index, at))) {
        throw Damaged(leaf->Number(), "the entries of an index leaf are out of order");
    }
    StandAt(index);
}

/// To the nearest entry on the leaves behind (before) this one; "" as `from` stands for no bound.
void IndexTree::Position::State::ToNeighbour(std::string_view from, bool forward)
{
    for (PageNumber steps = 0;; ++steps) {
        const PageNumber number = forward ? leaf->Next() : leaf->Previous();
        if (number == noPage) break;
        if (steps > pager->PageCount()) throw Damaged(number, "the index leaves are linked in a circle");
        ToLeaf(number, forward);
        if (leaf->Count() == 0) continue;
        StandAt(forward ? 0 : leaf->Count() - 1);
        const std::string found = EntryOf(key, row);
        if (!from.empty() && (forward ? found <= from : found >= from)) {
            throw Damaged(number, "the entries of an index leaf and its neighbour are out of order");
        }
        return;
    }
    place = forward ? Place::Behind : Place::Before;
}

void IndexTree::Position::State::ToLeaf(PageNumber number, bool forward)
{
    const IndexPage page(pager->Read(number), owner);
    if (!page.IsLeaf() || (forward ? page.Previous() : page.Next()) != leaf->Number()) {
        throw Damaged(number, "an index leaf is not linked with its neighbour");
    }
    Keep(page);
}

IndexTree::Position::Position(std::unique_ptr<State> state) : state_(std::move(state)) {}
IndexTree::Position::Position(const Position& other)
    : state_(other.state_ ? std::make_unique<State>(*other.state_) : nullptr)
{
}
IndexTree::Position::Position(Position&& other) noexcept = default;
IndexTree::Position& IndexTree::Position::operator=(Position other) noexcept
{
    state_ = std::move(other.state_);
    return *this;
}
IndexTree::Position::~Position() = default;

bool IndexTree::Position::AtEnd() const
{
    return !state_ || state_->place != State::Place::On;
}

const Key& IndexTree::Position::EntryKey() const
{
    assert(!AtEnd());
    return state_->key;
}

RowPointer IndexTree::Position::Row() const
{
    assert(!AtEnd());
    return state_->row;
}

void IndexTree::Position::Next()
{
    if (state_) state_->Next();
}

void IndexTree::Position::Previous()
{
    if (state_) state_->Previous();
}

// --------------------------------------------------------------------------------------------- reading

IndexTree::IndexTree(Pager& pager, PageAllocator& allocator, PageNumber owner, PageNumber root, std::uint32_t ownedMap)
    : pager_(pager), allocator_(allocator), owner_(owner), root_(root), ownedMap_(ownedMap)
{
}

IndexTree::Position IndexTree::LowerBound(std::string_view key) const
{
    auto state = std::make_unique<Position::State>(pager_, owner_, root_);
    state->Seek(Comparable(key));
    return Position(std::move(state));
}

IndexTree::Position IndexTree::UpperBound(std::string_view prefix) const
{
    const std::string bound = Behind(Comparable(prefix));
    auto state = std::make_unique<Position::State>(pager_, owner_, root_);
    if (!bound.empty()) state->Seek(bound);  // else the position stays behind the last entry, where it was made
    return Position(std::move(state));
}

IndexTree::Position IndexTree::First() const
{
    return LowerBound({});
}

IndexTree::Position IndexTree::Last() const
{
    auto state = std::make_unique<Position::State>(pager_, owner_, root_);
    state->SeekLast();
    return Position(std::move(state));
}

bool IndexTree::Contains(std::string_view key) const
{
    const Position at = LowerBound(key);
    return !at.AtEnd() && at.EntryKey() == key;
}

}  // namespace vmlib::jet
