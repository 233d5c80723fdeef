#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "jet/Check.h"
#include "jet/Damage.h"
#include "jet/Pager.h"

/// What the parts of the check share: the report in the making, and who owns which page.
namespace vmlib::jet {

class CheckFindings
{
public:
    explicit CheckFindings(CheckReport& report) : report_(report) {}

    /// One line each; from some hundred on they are only counted.
    void Fault(std::string text);
    void Note(std::string text);

    /// Runs a step; an Error becomes a fault that begins with `where`. False when there was one.
    template <class Step>
    bool Guard(const std::string& where, Step&& step)
    {
        try {
            step();
            return true;
        } catch (const Damaged& damage) {
            Fault(where + ": page " + std::to_string(damage.Page()) + ": " + damage.Finding());
        } catch (const Error& error) {
            Fault(where + ": " + error.what());
        }
        return false;
    }

    CheckReport& Report() { return report_; }
    /// Says how many lines were left out.
    void Finish();

private:
    CheckReport& report_;
    std::size_t moreFaults_ = 0, moreNotes_ = 0;
};

/// Who owns each page and each page map. Everything may be claimed once.
class PageLedger
{
public:
    PageLedger(Pager& pager, CheckFindings& findings);

    /// False, with a fault, when the page is outside the file or somebody else's.
    bool Claim(PageNumber page, const std::string& who);
    /// The pages of a page map; claims its row and its pages of bits. Pages outside the file are faults and left out.
    std::vector<PageNumber> ClaimMap(std::uint32_t rowPointer, const std::string& who);
    bool IsClaimed(PageNumber page) const { return page < owners_.size() && owners_[page] != nobody; }
    /// The pages of the file's free map; those claimed already are faults.
    void ClaimFreePages();
    /// The pages that hold maps: their rows and who uses them.
    void CheckMapPages();
    void NoteLostPages();

    /// Checks the count of free bytes of a page of rows against its rows.
    void CheckFreeBytes(PageNumber page, std::size_t really, const std::string& who);

private:
    static constexpr std::size_t nobody = 0;

    Pager& pager_;
    CheckFindings& findings_;
    std::vector<std::size_t> owners_;  // by page, a position in names_
    std::vector<std::string> names_{""};
    std::map<std::uint32_t, std::string> maps_;  // by row pointer
};

/// "12/3": page and row.
std::string Printed(RowPointer at);
std::string Printed(TextView text);
/// The first bytes of a key in hexadecimal.
std::string PrintedKey(std::string_view key);

}  // namespace vmlib::jet
