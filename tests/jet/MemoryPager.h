#pragma once

#include <cassert>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/ByteOrder.h"
#include "jet/Damage.h"
#include "jet/Pager.h"

namespace vmlib::jet {

/// A Pager whose file is memory: made empty or from the bytes of a file. Units of work nest and roll back; nothing is
/// durable.
///
///     MemoryPager pager = MemoryPager::FromFile(path);    // a copy; the file is never written
class MemoryPager : public Pager
{
public:
    /// Pages 0 and 1 of a file without tables: a header of zeros, and the free map and an empty map as rows 0 and 1 of
    /// page 1.
    MemoryPager() : MemoryPager(EmptyFile()) {}

    /// A last part of a page that is cut off reads as zeros behind its end.
    explicit MemoryPager(const Bytes& file)
    {
        for (std::size_t at = 0; at < file.size(); at += pageSize) {
            Frame& frame = Append();
            std::memcpy(frame.data, file.data() + at, std::min(pageSize, file.size() - at));
        }
    }

    static Bytes FileBytes(const std::string& nativePath)
    {
        std::ifstream stream(nativePath, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(stream), {});
    }

    /// The file as it is now.
    Bytes Contents() const
    {
        Bytes all;
        all.reserve(frames_.size() * pageSize);
        for (const auto& frame : frames_) all.insert(all.end(), frame->data, frame->data + pageSize);
        return all;
    }

    std::size_t editCount = 0;   // calls of Edit, EditZeroed and Extend so far
    std::size_t failAtEdit = 0;  // that call throws 3026 (counted from 1); 0: none

    bool IsReadOnly() const override { return false; }
    PageNumber PageCount() const override { return static_cast<PageNumber>(frames_.size()); }

    PageRef Read(PageNumber number) override
    {
        if (number >= frames_.size()) throw Damaged(number, "the page lies behind the end of the file");
        return Reference(*frames_[number]);
    }

    PageEdit Edit(PageNumber number) override
    {
        assert(!units_.empty() && "a change needs a unit of work");
        if (number >= frames_.size()) throw Damaged(number, "the page lies behind the end of the file");
        CountEdit();
        Frame& frame = *frames_[number];
        if (frame.savedIn != units_.back().serial) {
            units_.back().before.emplace(number, Bytes(frame.data, frame.data + pageSize));
            frame.savedIn = units_.back().serial;
        }
        return Editable(frame);
    }

    PageEdit EditZeroed(PageNumber number) override
    {
        PageEdit edit = Edit(number);
        std::memset(edit.Data(), 0, pageSize);
        return edit;
    }

    PageEdit Extend() override
    {
        assert(!units_.empty() && "a change needs a unit of work");
        CountEdit();
        Frame& frame = Append();
        frame.savedIn = units_.back().serial;
        return Editable(frame);
    }

    std::uint64_t Generation() const override { return generation_; }

    void BeginUnit() override { units_.push_back(Unit{++lastSerial_, PageCount(), {}}); }

    void CommitUnit() override
    {
        Unit unit = std::move(units_.back());
        units_.pop_back();
        if (units_.empty()) return;
        for (auto& [number, image] : unit.before) {
            if (number < units_.back().pageCount) units_.back().before.emplace(number, std::move(image));
        }
    }

    void RollbackUnit() noexcept override
    {
        Unit& unit = units_.back();
        for (const auto& [number, image] : unit.before) {
            std::memcpy(frames_[number]->data, image.data(), pageSize);
            frames_[number]->savedIn = 0;
        }
        while (frames_.size() > unit.pageCount) {
            if (frames_.back()->references != 0) orphans_.push_back(std::move(frames_.back()));
            frames_.pop_back();
        }
        units_.pop_back();
        ++generation_;
    }

    void BeginRead() override {}
    void EndRead() noexcept override {}

    /// No page may stay held when nothing runs.
    std::size_t HeldPages() const
    {
        std::size_t held = 0;
        for (const auto& frame : frames_) held += frame->references != 0 ? 1 : 0;
        return held;
    }

private:
    struct Frame : CachedPage
    {
        std::unique_ptr<std::uint8_t[]> bytes;
        std::uint64_t savedIn = 0;  // the unit that keeps its before-image
    };
    struct Unit
    {
        std::uint64_t serial;
        PageNumber pageCount;
        std::map<PageNumber, Bytes> before;
    };

    Frame& Append()
    {
        Frame& frame = *frames_.emplace_back(std::make_unique<Frame>());
        frame.bytes = std::make_unique<std::uint8_t[]>(pageSize);
        frame.data = frame.bytes.get();
        frame.number = static_cast<PageNumber>(frames_.size() - 1);
        return frame;
    }

    void CountEdit()
    {
        if (++editCount == failAtEdit) throw Error(ErrorNumber::EngineDiskFull);
    }

    static Bytes EmptyFile()
    {
        Bytes file(2 * pageSize);
        std::uint8_t* maps = file.data() + pageSize;
        maps[0] = maps[1] = 1;
        StoreLittle<std::uint16_t>(maps + 2, pageSize - 14 - 2 * 133);
        StoreLittle<std::uint32_t>(maps + 4, 1);
        StoreLittle<std::uint16_t>(maps + 8, 2);
        StoreLittle<std::uint16_t>(maps + 10, pageSize - 133);
        StoreLittle<std::uint16_t>(maps + 12, pageSize - 266);
        std::uint8_t* freeMap = maps + pageSize - 133;
        std::memset(freeMap + 5, 0xFF, 128);  // bits behind the end of the file are set
        freeMap[5] = 0xFC;
        return file;
    }

    std::vector<std::unique_ptr<Frame>> frames_;
    std::vector<std::unique_ptr<Frame>> orphans_;  // pages of a unit that was rolled back, still held by somebody
    std::vector<Unit> units_;
    std::uint64_t lastSerial_ = 0;
    std::uint64_t generation_ = 0;
};

}  // namespace vmlib::jet
