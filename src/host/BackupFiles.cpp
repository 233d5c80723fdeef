#include "host/BackupFiles.h"

#include <algorithm>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "host/ConvertBackup.h"
#include "host/Leftovers.h"
#include "host/ValueText.h"

namespace vmlib::host {

namespace {

constexpr std::size_t comparedPiece = 1 << 16;

/// "20240305-060000"
Text MomentText(Date moment)
{
    const CalendarDate parts = SplitDate(moment);
    char text[32];
    std::snprintf(text, sizeof text, "%04d%02d%02d-%02d%02d%02d", parts.year, parts.month, parts.day, parts.hour,
                  parts.minute, parts.second);
    return FromUtf8(text);
}

/// The moment with which a text begins, and the number of a second backup of that moment behind it, as fractions of a
/// second, so that they sort.
std::optional<Date> MomentOf(TextView text)
{
    constexpr std::size_t length = 15;
    if (text.size() < length || text[8] != u'-') return std::nullopt;
    const std::string digits = ToUtf8(text.substr(0, length));
    const std::string iso = digits.substr(0, 4) + "-" + digits.substr(4, 2) + "-" + digits.substr(6, 2) + "T" +
                            digits.substr(9, 2) + ":" + digits.substr(11, 2) + ":" + digits.substr(13, 2);
    TextView rest = text.substr(length);
    double number = 0;
    if (rest.size() > 1 && rest[0] == u'-') {
        for (rest.remove_prefix(1); !rest.empty() && rest[0] >= u'0' && rest[0] <= u'9'; rest.remove_prefix(1))
            number = number * 10 + (rest[0] - u'0');
    }
    if (!rest.empty() || number > 999) return std::nullopt;
    std::optional<Date> moment;
    ResumeNext([&] { moment = Date{FromIsoDate(iso).serial + number / 1000 / 86400}; });
    return moment;
}

Text Unfinished(const Text& path, int number)
{
    return path + Text(unfinishedCopyMark) + Decimal(number) + u".tmp";
}

}  // namespace

bool SameBytes(Files& files, TextView left, TextView right)
{
    const auto one = files.Open(left, {}), other = files.Open(right, {});
    if (one->Size() != other->Size()) return false;
    std::vector<std::uint8_t> first(comparedPiece), second(comparedPiece);
    for (std::uint64_t at = 0;; at += comparedPiece) {
        const std::size_t count = one->ReadAt(at, first);
        if (other->ReadAt(at, second) != count) return false;
        if (!std::equal(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(count), second.begin()))
            return false;
        if (count < comparedPiece) return true;
    }
}

Text UnfinishedName(Files& files, const Text& path)
{
    for (int n = 0;; ++n) {
        Text name = Unfinished(path, n);
        if (!files.Facts(name)) return name;
    }
}

Text MakeUnfinished(Files& files, const Text& path, TextView permissionsOf)
{
    for (int n = 0;; ++n) {
        Text name = Unfinished(path, n);
        try {
            files.Open(name,
                       {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateNew, false, permissionsOf});
            return name;
        } catch (const FileError& error) {
            if (error.Fault() != FileFault::Exists) throw;
        }
    }
}

bool TakeName(Files& files, const Text& from, const Text& to)
{
    try {
        files.Rename(from, to);
        return true;
    } catch (const FileError& error) {
        if (error.Fault() != FileFault::Exists) throw;
        return false;
    }
}

Text KeepAsBackup(Session& session, const Text& document)
{
    Files& files = session.platform.files;
    const Text start = document + Text(backupMark) + MomentText(session.platform.system.Now());
    const Text unfinished = MakeUnfinished(files, document, document);
    try {
        files.Copy(document, unfinished);
        for (int n = 1;; ++n) {
            Text name = n == 1 ? start : start + u"-" + Decimal(n);
            if (!TakeName(files, unfinished, name)) continue;
            files.SyncFolder(name);
            return name;
        }
    } catch (const Error&) {
        ResumeNext([&] { files.Delete(unfinished); });
        throw;
    }
}

std::vector<Backup> BackupsOf(Session& session, const Text& document)
{
    Files& files = session.platform.files;
    const std::size_t nameStart = document.rfind(u'\\') + 1;
    const Text folder = document.substr(0, nameStart);
    const TextView name = TextView(document).substr(nameStart);
    std::vector<Backup> backups;
    for (const Text& candidate : files.List(folder, u"*")) {
        if (!StartsWithIgnoringCase(candidate, name)) continue;
        const TextView mark = TextView(candidate).substr(name.size());
        const auto facts = files.Facts(folder + candidate);
        if (!facts || facts->isFolder) continue;
        if (IsBackupMark(mark)) backups.push_back({folder + candidate, facts->modified});
        if (!mark.starts_with(backupMark)) continue;
        if (const auto moment = MomentOf(mark.substr(backupMark.size())))
            backups.push_back({folder + candidate, *moment});
    }
    std::stable_sort(backups.begin(), backups.end(),
                     [](const Backup& left, const Backup& right) { return left.made.serial > right.made.serial; });
    return backups;
}

}  // namespace vmlib::host
