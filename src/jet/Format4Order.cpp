#include "jet/Format4Order.h"

#include <cstring>
#include <vector>

#include "jet/Damage.h"
#include "jet/DataPage.h"

namespace vmlib::jet::format4 {

/// Pages that are nowhere but in memory and never rolled back.
class Order::Pages final : public Pager
{
public:
    bool IsReadOnly() const override { return false; }
    PageNumber PageCount() const override { return static_cast<PageNumber>(frames_.size()); }
    PageRef Read(PageNumber number) override { return Reference(FrameOf(number)); }
    PageEdit Edit(PageNumber number) override { return Editable(FrameOf(number)); }
    PageEdit EditZeroed(PageNumber number) override
    {
        Frame& frame = FrameOf(number);
        frame.bytes.fill(0);
        return Editable(frame);
    }
    PageEdit Extend() override
    {
        Frame& frame = *frames_.emplace_back(std::make_unique<Frame>());
        frame.data = frame.bytes.data();
        frame.number = PageCount() - 1;
        return Editable(frame);
    }
    std::uint64_t Generation() const override { return 0; }
    void BeginUnit() override {}
    void CommitUnit() override {}
    void RollbackUnit() noexcept override {}
    void BeginRead() override {}
    void EndRead() noexcept override {}

private:
    struct Frame : CachedPage
    {
        std::array<std::uint8_t, jet::pageSize> bytes{};
    };
    Frame& FrameOf(PageNumber number)
    {
        if (number >= frames_.size()) throw Damaged(number, "the page lies behind the end of an order in memory");
        return *frames_[number];
    }

    std::vector<std::unique_ptr<Frame>> frames_;
};

Order::Order() : pages_(std::make_unique<Pages>()), allocator_(std::make_unique<PageAllocator>(*pages_))
{
    constexpr std::size_t mapSize = 133;
    pages_->Extend();
    DataPageEdit maps = DataPageEdit::Format(pages_->Extend(), DataPage::mapOwner);
    const std::array<std::uint8_t, mapSize> freeMap{};
    maps.Append(freeMap);
    const TreeDefinition tree = IndexTree::Create(*pages_, *allocator_, noPage);
    tree_ = std::make_unique<IndexTree>(*pages_, *allocator_, noPage, tree.root, tree.ownedMap);
}

Order::~Order() = default;

}  // namespace vmlib::jet::format4
