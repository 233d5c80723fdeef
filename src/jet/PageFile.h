#pragma once

#include <array>
#include <memory>
#include <span>
#include <utility>

#include "jet/Format.h"
#include "platform/Files.h"

namespace vmlib::jet {

/// The 256 commit counters of the header (0x600). Slot 0 is the one that this engine uses.
using CommitWords = std::array<std::uint8_t, 512>;

inline constexpr std::size_t commitWordsAt = 0x600;         // in the header page
inline constexpr std::size_t commitWordsOfFormat4 = 0xE00;  // in that of format 4

/// All zero when the file is too short to have them. @throws Error 3043
CommitWords ReadCommitWords(OpenFile& file, std::size_t at = commitWordsAt);

/// Pages of one open file: bytes in and out, locks, sync. Faults come out as engine errors. Knows no cache and no
/// journal.
class PageFile
{
public:
    /// @param commitWords  where they stand; written only where format 3 has them
    explicit PageFile(std::unique_ptr<OpenFile> file, std::size_t commitWords = commitWordsAt)
        : file_(std::move(file)), commitWordsAt_(commitWords)
    {
    }

    OpenFile& Port() { return *file_; }
    /// Another descriptor of the same file takes over; gives the former one.
    std::unique_ptr<OpenFile> Exchange(std::unique_ptr<OpenFile> file) { return std::exchange(file_, std::move(file)); }

    /// Whole pages in the file; what follows the last whole page does not count.
    PageNumber PageCount();
    std::uint64_t Size();
    void Resize(std::uint64_t size);

    /// @throws Damaged when the file ends before the end of the page
    void Read(PageNumber number, std::span<std::uint8_t, pageSize> into);
    void Write(PageNumber number, std::span<const std::uint8_t, pageSize> bytes);
    /// Several pages in a row; the size is a multiple of the page size.
    void ReadRun(PageNumber first, std::span<std::uint8_t> into);
    void WriteRun(PageNumber first, std::span<const std::uint8_t> bytes);
    void Sync();

    CommitWords ReadCommitWords() { return jet::ReadCommitWords(*file_, commitWordsAt_); }
    /// Writes slot 0.
    void WriteCommitWord(std::uint16_t word);

    bool Lock(FileLock lock, bool exclusive, int milliseconds);
    void Unlock(FileLock lock) noexcept;

private:
    std::unique_ptr<OpenFile> file_;
    std::size_t commitWordsAt_;
};

/// The commit word of slot 0 in a header page or in the commit words themselves.
std::uint16_t CommitWordOf(std::span<const std::uint8_t> commitWords);

inline constexpr std::uint16_t writingWord = 0x0000;  // somebody is writing, or died while writing
inline constexpr std::uint16_t damagedWord = 0x0001;  // somebody met a damaged page
inline constexpr std::uint16_t firstWord = 0x0100;
inline constexpr std::uint16_t createdWord = 0x0101;

/// The word after a commit: one more, past the two that are marks.
std::uint16_t NextCommitWord(std::uint16_t word);

}  // namespace vmlib::jet
