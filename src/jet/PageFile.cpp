#include "jet/PageFile.h"

#include <utility>

#include "core/ByteOrder.h"
#include "jet/Damage.h"
#include "jet/StorageError.h"

namespace vmlib::jet {

namespace {

std::uint64_t OffsetOf(PageNumber number)
{
    return std::uint64_t{number} * pageSize;
}

}  // namespace

PageNumber PageFile::PageCount()
{
    return static_cast<PageNumber>(Size() / pageSize);
}

std::uint64_t PageFile::Size()
{
    return OnDisk([&] { return file_->Size(); });
}

void PageFile::Resize(std::uint64_t size)
{
    OnDisk([&] { file_->Resize(size); });
}

void PageFile::Read(PageNumber number, std::span<std::uint8_t, pageSize> into)
{
    ReadRun(number, into);
}

void PageFile::Write(PageNumber number, std::span<const std::uint8_t, pageSize> bytes)
{
    WriteRun(number, bytes);
}

void PageFile::ReadRun(PageNumber first, std::span<std::uint8_t> into)
{
    const std::size_t read = OnDisk([&] { return file_->ReadAt(OffsetOf(first), into); });
    if (read == into.size()) return;
    throw Damaged(first + static_cast<PageNumber>(read / pageSize), "the file ends before the end of the page");
}

void PageFile::WriteRun(PageNumber first, std::span<const std::uint8_t> bytes)
{
    OnDisk([&] { file_->WriteAt(OffsetOf(first), bytes); });
}

void PageFile::Sync()
{
    OnDisk([&] { file_->Sync(); });
}

CommitWords ReadCommitWords(OpenFile& file, std::size_t at)
{
    CommitWords words{};
    const std::size_t read = OnDisk([&] { return file.ReadAt(at, words); });
    if (read != words.size()) words.fill(0);
    return words;
}

void PageFile::WriteCommitWord(std::uint16_t word)
{
    std::array<std::uint8_t, 2> bytes{};
    StoreLittle(bytes.data(), word);
    OnDisk([&] { file_->WriteAt(commitWordsAt, bytes); });
}

bool PageFile::Lock(FileLock lock, bool exclusive, int milliseconds)
{
    return OnDisk([&] { return file_->Lock(lock, exclusive, milliseconds); });
}

void PageFile::Unlock(FileLock lock) noexcept
{
    try {
        file_->Unlock(lock);
    } catch (const Error&) {
        // A lock that cannot be given up goes with the descriptor; nothing of the file depends on it.
    }
}

std::uint16_t CommitWordOf(std::span<const std::uint8_t> commitWords)
{
    return LoadLittle<std::uint16_t>(commitWords.data());
}

std::uint16_t NextCommitWord(std::uint16_t word)
{
    if (word == writingWord || word == damagedWord || word == 0xFFFF) return firstWord;
    return static_cast<std::uint16_t>(word + 1);
}

}  // namespace vmlib::jet
