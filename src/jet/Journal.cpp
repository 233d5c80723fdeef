#include "jet/Journal.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <random>
#include <utility>

#include "core/ByteOrder.h"
#include "jet/StorageError.h"

namespace vmlib::jet {

namespace {

constexpr char magic[] = "VMLJRNL1";
constexpr std::size_t headerSize = 512;  // one sector: it is on the disk whole or not at all
constexpr std::size_t samplesAt = 36;
constexpr std::size_t greatestSampleCount = 32;
constexpr std::size_t recordCountAt = samplesAt + 8 * greatestSampleCount;
constexpr std::uint64_t recordsAt = headerSize;
constexpr std::size_t recordSize = 8 + pageSize;
constexpr std::uint64_t greatestKeptSize = 1 << 20;  // of a journal that waits for the next unit
constexpr std::size_t bufferLimit = 32 * recordSize;

constexpr PageNumber sealMark = 0xFFFFFFFF;
constexpr std::size_t sealedPagesAt = 20;

using Record = std::array<std::uint8_t, recordSize>;

// FNV-1a by 32-bit words: every length here is a multiple of four.
std::uint32_t CheckSum(std::uint32_t salt, std::span<const std::uint8_t> bytes)
{
    std::uint64_t sum = 0xCBF29CE484222325ull ^ salt;
    for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4) {
        sum = (sum ^ LoadLittle<std::uint32_t>(bytes.data() + at)) * 0x100000001B3ull;
        sum ^= sum >> 29;
    }
    return static_cast<std::uint32_t>(sum ^ sum >> 32);
}

std::uint32_t RecordSum(std::uint32_t salt, PageNumber page, std::span<const std::uint8_t, pageSize> before)
{
    return CheckSum(salt ^ (page * 0x9E3779B9u), before);
}

using HeaderBytes = std::array<std::uint8_t, headerSize>;

HeaderBytes Encode(const JournalHeader& header)
{
    HeaderBytes bytes{};
    std::memcpy(bytes.data(), magic, 8);
    StoreLittle(&bytes[8], static_cast<std::uint32_t>(pageSize));
    StoreLittle(&bytes[12], header.salt);
    StoreLittle(&bytes[16], header.fileNumber);
    StoreLittle(&bytes[24], header.fileSize);
    StoreLittle(&bytes[32], header.commitWord);
    StoreLittle(&bytes[34], static_cast<std::uint16_t>(header.samples.size()));
    std::size_t at = samplesAt;
    for (const auto& sample : header.samples) {
        StoreLittle(&bytes[at], sample.page);
        StoreLittle(&bytes[at + 4], sample.sum);
        at += 8;
    }
    StoreLittle(&bytes[recordCountAt], header.recordCount);
    StoreLittle(&bytes[headerSize - 4], CheckSum(header.salt, std::span(bytes).first(headerSize - 4)));
    return bytes;
}

std::optional<JournalHeader> ReadHeader(OpenFile& file)
{
    HeaderBytes bytes{};
    if (file.ReadAt(0, bytes) != headerSize || std::memcmp(bytes.data(), magic, 8) != 0) return std::nullopt;
    JournalHeader header;
    header.salt = LoadLittle<std::uint32_t>(&bytes[12]);
    header.fileNumber = LoadLittle<std::uint64_t>(&bytes[16]);
    header.fileSize = LoadLittle<std::uint64_t>(&bytes[24]);
    header.commitWord = LoadLittle<std::uint16_t>(&bytes[32]);
    const std::size_t count = std::min<std::size_t>(LoadLittle<std::uint16_t>(&bytes[34]), greatestSampleCount);
    for (std::size_t at = samplesAt; at < samplesAt + 8 * count; at += 8) {
        header.samples.push_back({LoadLittle<std::uint32_t>(&bytes[at]), LoadLittle<std::uint32_t>(&bytes[at + 4])});
    }
    header.recordCount = LoadLittle<std::uint32_t>(&bytes[recordCountAt]);
    if (bytes != Encode(header)) return std::nullopt;
    return header;
}

// Reads the record at `at`; false at the end of the journal.
bool ReadRecord(OpenFile& journal, std::uint64_t at, Record& record)
{
    return journal.ReadAt(at, record) == record.size();
}

bool IsIntact(const JournalHeader& header, const Record& record)
{
    const std::span<const std::uint8_t, pageSize> content(record.data() + 8, pageSize);
    const auto page = LoadLittle<std::uint32_t>(record.data());
    return LoadLittle<std::uint32_t>(record.data() + 4) == RecordSum(header.salt, page, content);
}

bool IsValid(const JournalHeader& header, const Record& record)
{
    return LoadLittle<std::uint32_t>(record.data()) < header.fileSize / pageSize && IsIntact(header, record);
}

// True when every record is there that was on the disk when the first page was overwritten.
bool IsWhole(OpenFile& journal, const JournalHeader& header)
{
    Record record;
    for (std::uint64_t n = 0; n < header.recordCount; ++n)
        if (!ReadRecord(journal, recordsAt + n * recordSize, record) || !IsIntact(header, record)) return false;
    return true;
}

// True when the journal has a seal and the file is what the seal says.
bool IsComplete(OpenFile& journal, const JournalHeader& header, PageFile& file)
{
    Record record;
    for (std::uint64_t at = recordsAt; ReadRecord(journal, at, record); at += recordSize) {
        if (LoadLittle<std::uint32_t>(record.data()) != sealMark || !IsIntact(header, record)) continue;
        if (file.Size() != LoadLittle<std::uint64_t>(&record[8])) return false;
        const std::size_t count =
            std::min<std::size_t>(LoadLittle<std::uint32_t>(&record[16]), Journal::greatestSealedCount);
        std::array<std::uint8_t, pageSize> page;
        for (std::size_t i = 0; i < count; ++i) {
            const auto number = LoadLittle<std::uint32_t>(&record[sealedPagesAt + 8 * i]);
            if (number >= file.PageCount()) return false;
            file.Read(number, page);
            if (RecordSum(header.salt, number, page) != LoadLittle<std::uint32_t>(&record[sealedPagesAt + 8 * i + 4]))
                return false;
        }
        return true;
    }
    return false;
}

// Every valid record counts, also behind one that is not: records that a sync covered come first, and a page whose
// record was not covered is still what its record says.
void PlayBack(OpenFile& journal, const JournalHeader& header, PageFile& file)
{
    Record record;
    std::optional<Record> headerPage;
    file.WriteCommitWord(writingWord);
    for (std::uint64_t at = recordsAt; OnDisk([&] { return ReadRecord(journal, at, record); }); at += recordSize) {
        if (!IsValid(header, record)) continue;
        const auto page = LoadLittle<std::uint32_t>(record.data());
        if (page == 0) {
            headerPage = record;
        } else {
            file.Write(page, std::span<const std::uint8_t, pageSize>(record.data() + 8, pageSize));
        }
    }
    if (file.Size() > header.fileSize) file.Resize(header.fileSize);
    // The header page goes last: whoever finds another commit word than 0000 finds the pages complete.
    if (headerPage) {
        file.Write(0, std::span<const std::uint8_t, pageSize>(headerPage->data() + 8, pageSize));
    } else {
        file.WriteCommitWord(header.commitWord);
    }
    file.Sync();
}

void InvalidateHeader(OpenFile& journal)
{
    const std::array<std::uint8_t, headerSize> zeros{};
    journal.WriteAt(0, zeros);
    journal.Sync();
}

std::vector<bool> PagesOf(OpenFile& journal, const JournalHeader& header)
{
    std::vector<bool> pages(static_cast<std::size_t>(header.fileSize / pageSize));
    Record record;
    for (std::uint64_t at = recordsAt; ReadRecord(journal, at, record); at += recordSize) {
        if (IsValid(header, record)) pages[LoadLittle<std::uint32_t>(record.data())] = true;
    }
    return pages;
}

// The file is in a state that the journal's unit can have left: not shorter, a commit word of before, of during or of
// after the unit, and every sampled page that the unit did not touch is what it was. A file with another number must
// have such a page to show.
bool BelongsTo(OpenFile& journal, const JournalHeader& header, PageFile& file)
{
    const std::uint16_t word = CommitWordOf(file.ReadCommitWords());
    if (word != header.commitWord && word != writingWord && word != NextCommitWord(header.commitWord)) return false;
    if (file.Size() < header.fileSize) return false;
    const std::vector<bool> touched = PagesOf(journal, header);
    bool proven = header.fileNumber == file.Port().Identity().file;
    std::array<std::uint8_t, pageSize> page;
    for (const auto& sample : header.samples) {
        if (sample.page >= touched.size() || touched[sample.page]) continue;
        file.Read(sample.page, page);
        if (RecordSum(header.salt, sample.page, page) != sample.sum) return false;
        proven = true;
    }
    return proven;
}

std::uint32_t NewSalt()
{
    thread_local std::mt19937 generator{std::random_device{}()};
    return static_cast<std::uint32_t>(generator());
}

void TryDelete(Files& files, TextView path) noexcept
{
    try {
        files.Delete(path);
    } catch (const Error&) {
        // Left behind, it says nothing; the next opener tries again.
    }
}

std::unique_ptr<OpenFile> TryOpen(Files& files, TextView path, FileAccess access)
{
    try {
        return files.Open(path, {access, FileSharing::Shared, FileCreation::OpenExisting});
    } catch (const FileError&) {
        return nullptr;
    }
}

}  // namespace

JournalHeader JournalHeader::Of(PageFile& file)
{
    JournalHeader header;
    header.salt = NewSalt();
    header.fileNumber = file.Port().Identity().file;
    header.fileSize = file.Size();
    header.commitWord = CommitWordOf(file.ReadCommitWords());
    const std::uint64_t others =
        std::max<std::uint64_t>(header.fileSize / pageSize, 1) - 1;  // the header page is in every unit
    const std::uint64_t count = std::min<std::uint64_t>(others, greatestSampleCount);
    std::array<std::uint8_t, pageSize> bytes;
    for (std::uint64_t i = 0; i < count; ++i) {
        const auto page = static_cast<PageNumber>(1 + i * others / count);
        file.Read(page, bytes);
        header.samples.push_back({page, RecordSum(header.salt, page, bytes)});
    }
    return header;
}

Journal::Journal(Files& files, TextView file, const JournalHeader& header)
    : files_(files), path_(PathFor(file)), header_(header), written_(recordsAt)
{
    // It holds pages of the file: whoever may not read that may not read them here.
    file_ = OnDisk([&] {
        return files_.Open(path_, {.access = FileAccess::ReadWrite,
                                   .sharing = FileSharing::Exclusive,
                                   .creation = FileCreation::CreateNew,
                                   .permissionsOf = file});
    });
}

Text Journal::PathFor(TextView file)
{
    return Text(file) + u"-journal";
}

JournalHeader::Sample Journal::After(PageNumber page, std::span<const std::uint8_t, pageSize> bytes) const
{
    return {page, RecordSum(header_.salt, page, bytes)};
}

void Journal::Seal(std::uint64_t sizeAfter, std::span<const JournalHeader::Sample> pages)
{
    assert(!sealed_ && !headerWritten_ && pages.size() <= greatestSealedCount);
    Record seal{};
    StoreLittle(&seal[8], sizeAfter);
    StoreLittle(&seal[16], static_cast<std::uint32_t>(pages.size()));
    std::size_t at = sealedPagesAt;
    for (const auto& page : pages) {
        StoreLittle(&seal[at], page.page);
        StoreLittle(&seal[at + 4], page.sum);
        at += 8;
    }
    const std::span<const std::uint8_t, pageSize> content(seal.data() + 8, pageSize);
    StoreLittle(seal.data(), sealMark);
    StoreLittle(&seal[4], RecordSum(header_.salt, sealMark, content));
    buffer_.insert(buffer_.end(), seal.begin(), seal.end());
    sealed_ = true;
    synced_ = false;
}

void Journal::Append(PageNumber page, std::span<const std::uint8_t, pageSize> before)
{
    if (buffer_.size() + recordSize > bufferLimit) Flush();
    std::array<std::uint8_t, 8> head{};
    StoreLittle(&head[0], page);
    StoreLittle(&head[4], RecordSum(header_.salt, page, before));
    buffer_.insert(buffer_.end(), head.begin(), head.end());
    buffer_.insert(buffer_.end(), before.begin(), before.end());
    if (held_.size() <= page) held_.resize(page + std::size_t{1});
    held_[page] = true;
    synced_ = false;
}

template <class Step>
void Journal::Attempt(Step step)
{
    const bool wasSound = std::exchange(sound_, false);
    OnDisk(step);
    sound_ = wasSound;
}

bool Journal::CanRestart() noexcept
{
    if (!sound_ || written_ > greatestKeptSize) return false;
    try {
        const auto facts = files_.Facts(path_);
        return facts && facts->identity == file_->Identity();
    } catch (const Error&) {
        return false;
    }
}

void Journal::Restart(const JournalHeader& header)
{
    header_ = header;
    held_.clear();
    buffer_.clear();
    written_ = recordsAt;
    headerWritten_ = synced_ = sealed_ = false;
}

void Journal::Flush()
{
    if (buffer_.empty()) return;
    Attempt([&] { file_->WriteAt(written_, buffer_); });
    written_ += buffer_.size();
    buffer_.clear();
}

void Journal::Sync()
{
    if (synced_) return;
    Flush();
    if (!headerWritten_) header_.recordCount = static_cast<std::uint32_t>((written_ - recordsAt) / recordSize);
    Attempt([&] {
        if (!headerWritten_) file_->WriteAt(0, Encode(header_));
        file_->Sync();  // the first one puts the name of the journal on the disk, too
    });
    headerWritten_ = true;
    synced_ = true;
}

void Journal::PlayInto(PageFile& file)
{
    Flush();
    PlayBack(*file_, header_, file);
}

void Journal::Invalidate()
{
    if (!headerWritten_) return;
    Attempt([&] { InvalidateHeader(*file_); });
    headerWritten_ = false;
}

void Journal::Revalidate()
{
    Attempt([&] {
        file_->WriteAt(0, Encode(header_));
        file_->Sync();
    });
    headerWritten_ = true;
}

void Journal::Delete() noexcept
{
    file_.reset();
    TryDelete(files_, path_);
}

Settled SettleJournalAlone(Files& files, PageFile& file, TextView path)
{
    const Text journalPath = Journal::PathFor(path);
    if (!files.Exists(journalPath)) return Settled::NoJournal;
    auto journal = OnDisk([&] {
        return files.Open(journalPath, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::OpenExisting});
    });
    const auto header = OnDisk([&] { return ReadHeader(*journal); });
    if (header) {
        if (!OnDisk([&] { return BelongsTo(*journal, *header, file); })) return Settled::NotOurs;
        if (OnDisk([&] { return IsComplete(*journal, *header, file); })) {
            // The pages may still be on their way to the disk: the journal goes only behind them.
            file.Sync();
            journal.reset();
            TryDelete(files, journalPath);
            return Settled::Removed;
        }
        // Half of a unit taken back would be worse than none: a record can only be missing while no page has been
        // overwritten, or when something happened to the journal later.
        const bool begun = CommitWordOf(file.ReadCommitWords()) != header->commitWord;
        if (begun && !OnDisk([&] { return IsWhole(*journal, *header); })) return Settled::NotOurs;
        PlayBack(*journal, *header, file);
        OnDisk([&] { InvalidateHeader(*journal); });
    } else if (CommitWordOf(file.ReadCommitWords()) == writingWord) {
        return Settled::NotOurs;  // 0000 is written only behind a journal with a header: this one was damaged later and
                                  // is evidence, not rubbish
    }
    journal.reset();
    TryDelete(files, journalPath);
    return header ? Settled::PlayedBack : Settled::Removed;
}

Settled SettleJournal(Files& files, TextView path)
{
    const Text journalPath = Journal::PathFor(path);
    if (!files.Exists(journalPath)) return Settled::NoJournal;

    auto opened = TryOpen(files, path, FileAccess::ReadWrite);
    if (opened == nullptr) {
        // No right to write, or somebody holds the file exclusively: then he has settled the journal or is its owner.
        auto readable = TryOpen(files, path, FileAccess::Read);
        if (readable == nullptr) return Settled::InUse;
        const auto journal = TryOpen(files, journalPath, FileAccess::Read);
        if (journal == nullptr) return Settled::InUse;
        const auto header = OnDisk([&] { return ReadHeader(*journal); });
        if (!header || header->fileNumber != readable->Identity().file) return Settled::NotOurs;
        PageFile file(std::move(readable));
        if (OnDisk([&] { return IsComplete(*journal, *header, file); })) return Settled::NotOurs;
        throw Error(ErrorNumber::CannotOpenFile, {Text(path)});
    }
    PageFile file(std::move(opened));
    if (!file.Lock(FileLock::Writing, true, 0)) return Settled::InUse;
    if (!file.Lock(FileLock::Reading, true, 2000)) return Settled::InUse;
    return SettleJournalAlone(files, file, path);
}

void MoveJournalAside(Files& files, TextView path)
{
    const Text journalPath = Journal::PathFor(path);
    for (int number = 1;; ++number) {
        const Text aside = journalPath + u"-" + Decimal(number);
        if (files.Exists(aside)) continue;
        return OnDisk([&] { files.Rename(journalPath, aside); });
    }
}

}  // namespace vmlib::jet
