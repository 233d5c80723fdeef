#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "jet/PageFile.h"

namespace vmlib::jet {

// The rollback journal `NAME-journal` beside the file NAME holds what the pages of one unit of work were before. All
// integers little endian.
//
//   at  size  content
//    0     8  "VMLJRNL1"
//    8     4  page size, 2048
//   12     4  salt: mixed into every check sum, so that remains of a former journal do not count
//   16     8  number of the file on its volume, as the platform gives it
//   24     8  size of the file in bytes before the unit
//   32     2  commit word of slot 0 before the unit
//   34     2  number of samples, at most 32
//   36     8n samples: page number (4), check sum of salt, number and page before the unit (4); 0 behind them
//  292     4  number of records that were on the disk before the first page was overwritten, a seal included
//  508     4  check sum of bytes 0 to 507
//  512       records: page number (4), check sum of salt, number and page (4), the page as it was (2048)
//
// The samples name the file by its contents. The number alone does not: it changes when a stick without such numbers is
// plugged in again, and it stays when another document is copied over the file.
//
// A seal may stand behind the records, of their size and with FFFFFFFF for the page number:
//
//    8     8  size of the file after the unit
//   16     4  number of pages that the unit has changed, at most 254
//   20     8n page number (4), check sum of salt, number and page after the unit (4)
//
// The header is valid from the first sync of the journal until the unit is complete. Without a seal it is overwritten
// with zeros then: that moment is the commit. With a seal the commit is the sync of the file: who finds all pages as
// the seal has them knows that the unit is complete and removes the journal, so that nothing needs to be synced after
// the file.

/// What a journal says of the file that it belongs to.
struct JournalHeader
{
    struct Sample
    {
        PageNumber page = noPage;
        std::uint32_t sum = 0;
        bool operator==(const Sample&) const = default;
    };
    std::uint32_t salt = 0;
    std::uint64_t fileNumber = 0;
    std::uint64_t fileSize = 0;
    std::uint16_t commitWord = 0;
    std::vector<Sample> samples;
    std::uint32_t recordCount = 0;

    /// The header for a unit that begins now on the file.
    static JournalHeader Of(PageFile& file);
};

/// The journal of the running unit of work. Knows bytes of pages, not what they mean.
class Journal
{
public:
    /// Makes the journal of a file; nothing is valid in it before the first Sync. @throws Error 3043, 3026, 3027
    Journal(Files& files, TextView file, const JournalHeader& header);
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;
    /// Leaves the file where it is.
    ~Journal() = default;

    /// True when the file can serve another unit: it is where it was made, not large, and nothing about it has failed.
    bool CanRestart() noexcept;
    /// Begins anew for another unit, after Invalidate or before the first Sync. Records of former units have another
    /// salt.
    void Restart(const JournalHeader& header);

    bool Holds(PageNumber page) const { return page < held_.size() && held_[page]; }
    void Append(PageNumber page, std::span<const std::uint8_t, pageSize> before);

    /// What a page will be, for Seal.
    JournalHeader::Sample After(PageNumber page, std::span<const std::uint8_t, pageSize> bytes) const;
    /// Says what the file will be: all pages that the unit changes, none of which has been written yet. Before the
    /// first Sync, once. A sealed journal needs no Invalidate.
    void Seal(std::uint64_t sizeAfter, std::span<const JournalHeader::Sample> pages);
    bool IsSealed() const { return sealed_; }
    static constexpr std::size_t greatestSealedCount = 254;

    /// Returns when all records and the header are on the disk; from then on the pages may be overwritten.
    void Sync();
    bool IsSynced() const { return synced_; }

    /// Puts the pages back into the file and cuts it to its former size; returns when that is on the disk.
    void PlayInto(PageFile& file);

    /// Makes the journal invalid, on the disk too. When it throws the journal may count or not.
    void Invalidate();
    /// Makes it count again after an Invalidate that threw.
    void Revalidate();
    /// Deletes the file. A journal that is not valid may stay behind: it says nothing.
    void Delete() noexcept;

    static Text PathFor(TextView file);

private:
    template <class Step>
    void Attempt(Step step);
    void Flush();

    Files& files_;
    Text path_;
    JournalHeader header_;
    std::unique_ptr<OpenFile> file_;
    std::vector<bool> held_;
    std::vector<std::uint8_t> buffer_;  // records not written yet
    std::uint64_t written_;             // size of the file
    bool headerWritten_ = false;
    bool synced_ = false;
    bool sealed_ = false;
    bool sound_ = true;  // no step has failed
};

/// What became of a journal that was found beside a file.
enum class Settled
{
    NoJournal,
    Removed,     // it was not valid: nothing had been overwritten; or its unit is complete
    PlayedBack,  // the file is as it was before the unit
    InUse,       // its owner is alive
    NotOurs,     // it belongs to another file, or was damaged later, and stays where it is
};

/// Looks for a journal beside the file and plays it back when its owner is gone: takes the locks of a writer first.
/// @throws Error 3051 when the journal counts but the file may not be written; storage errors
Settled SettleJournal(Files& files, TextView path);

/// The same for him who already is the only writer of the file.
Settled SettleJournalAlone(Files& files, PageFile& file, TextView path);

/// Puts a journal that belongs to another file out of the way, under a name that is free: it may be somebody's only
/// rescue.
void MoveJournalAside(Files& files, TextView path);

}  // namespace vmlib::jet
