#include "jet/CheckFindings.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/DataPage.h"
#include "jet/PageMap.h"

namespace vmlib::jet {
namespace {

constexpr std::size_t greatestLineCount = 500;
constexpr std::size_t freeBytesAt = 2, ownerAt = 4;
constexpr std::size_t printedKeySize = 40;

}  // namespace

void CheckFindings::Fault(std::string text)
{
    if (report_.faults.size() < greatestLineCount) {
        report_.faults.push_back(std::move(text));
    } else {
        ++moreFaults_;
    }
}

void CheckFindings::Note(std::string text)
{
    if (report_.notes.size() < greatestLineCount) {
        report_.notes.push_back(std::move(text));
    } else {
        ++moreNotes_;
    }
}

void CheckFindings::Finish()
{
    if (moreFaults_ > 0) report_.faults.push_back(std::to_string(moreFaults_) + " more faults");
    if (moreNotes_ > 0) report_.notes.push_back(std::to_string(moreNotes_) + " more notes");
}

PageLedger::PageLedger(Pager& pager, CheckFindings& findings)
    : pager_(pager), findings_(findings), owners_(pager.PageCount(), nobody)
{
}

bool PageLedger::Claim(PageNumber page, const std::string& who)
{
    if (page == noPage || page >= owners_.size()) {
        findings_.Fault(who + ": page " + std::to_string(page) + " is outside the file of " +
                        std::to_string(owners_.size()) + " pages");
        return false;
    }
    if (owners_[page] != nobody) {
        findings_.Fault("page " + std::to_string(page) + " belongs to " + names_[owners_[page]] + " and to " + who);
        return false;
    }
    if (names_.back() != who) names_.push_back(who);
    owners_[page] = names_.size() - 1;
    return true;
}

std::vector<PageNumber> PageLedger::ClaimMap(std::uint32_t rowPointer, const std::string& who)
{
    std::vector<PageNumber> pages;
    const auto [known, added] = maps_.emplace(rowPointer, who);
    if (!added) {
        findings_.Fault("the page map " + Printed(RowPointer::Unpack(rowPointer)) + " belongs to " + known->second +
                        " and to " + who);
        return pages;
    }
    findings_.Guard(who + ", page map " + Printed(RowPointer::Unpack(rowPointer)), [&] {
        PageMap map(pager_, rowPointer);
        for (const PageNumber page : map.MapPages()) Claim(page, "the page map of " + who);
        pages = map.All();
    });
    if (rowPointer == PageMap::freeMapPointer) return pages;  // its bits go on behind the end of the file
    const auto outside = std::lower_bound(pages.begin(), pages.end(), owners_.size());
    for (auto page = outside; page != pages.end(); ++page) Claim(*page, who);
    pages.erase(outside, pages.end());
    return pages;
}

void PageLedger::ClaimFreePages()
{
    Claim(PageMap::firstPage, "the maps of the whole file");
    findings_.Guard("the free pages", [&] {
        if (LoadLittle<PageNumber>(pager_.Read(PageMap::firstPage).Data() + ownerAt) != PageMap::firstPage)
            findings_.Fault("the page of the free map has another owner than itself");
    });
    ClaimMap(PageMap::freeMapPointer + 1, "the second map of page 1");
    for (const PageNumber page : ClaimMap(PageMap::freeMapPointer, "the free pages")) {
        if (page < owners_.size()) Claim(page, "the free pages");
    }
}

void PageLedger::CheckMapPages()
{
    std::set<PageNumber> pages;
    for (const auto& [pointer, who] : maps_) pages.insert(RowPointer::Unpack(pointer).page);
    for (const PageNumber number : pages) {
        if (number != PageMap::firstPage && !Claim(number, "page maps")) continue;
        findings_.Guard("page maps", [&] {
            const DataPage page(pager_.Read(number), DataPage::mapOwner);
            for (std::size_t row = 0; row < page.SlotCount(); ++row) {
                const RowPointer at{number, static_cast<std::uint8_t>(row)};
                if (page.At(row).state != SlotState::Deleted && !maps_.contains(at.Packed())) {
                    findings_.Note("the page map " + Printed(at) + " is used by nobody");
                }
            }
            CheckFreeBytes(number, page.FreeBytes(), "page maps");
        });
    }
}

void PageLedger::NoteLostPages()
{
    std::string list;
    std::size_t count = 0;
    for (PageNumber page = 1; page < owners_.size(); ++page) {
        if (owners_[page] != nobody) continue;
        if (++count <= 20) list += " " + std::to_string(page);
    }
    if (count > 0)
        findings_.Note(std::to_string(count) + " pages belong to nobody:" + list + (count > 20 ? " ..." : ""));
}

void PageLedger::CheckFreeBytes(PageNumber page, std::size_t really, const std::string& who)
{
    const auto stored = LoadLittle<std::uint16_t>(pager_.Read(page).Data() + freeBytesAt);
    if (stored != really) {
        findings_.Fault(who + ": page " + std::to_string(page) + " counts " + std::to_string(stored) +
                        " free bytes, has " + std::to_string(really));
    }
}

std::string Printed(RowPointer at)
{
    return std::to_string(at.page) + "/" + std::to_string(at.row);
}

std::string Printed(TextView text)
{
    return ToUtf8(text);
}

std::string PrintedKey(std::string_view key)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const char byte : key.substr(0, printedKeySize)) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 15];
    }
    return key.size() > printedKeySize ? text + "..." : text;
}

}  // namespace vmlib::jet
