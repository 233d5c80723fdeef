#include "host/ConvertBackup.h"

#include "automation/ResumeNext.h"
#include "core/ByteOrder.h"
#include "host/BackupFiles.h"
#include "host/Info.h"
#include "host/StoredFile.h"
#include "jet/PageFile.h"

namespace vmlib::host {

namespace {

constexpr std::size_t pageSize = 2048;  // of the format that is converted

/// True for a page of rows of that table, which the page itself names.
bool IsPageOf(jet::PageNumber table, std::span<const std::uint8_t> page)
{
    const auto owner = LoadLittle<jet::PageNumber>(&page[4]);
    return page[0] == 1 && page[1] == 1 && owner == table;
}

/// Takes out of a header how often the file was changed.
void CutCommits(std::vector<std::uint8_t>& header)
{
    const auto at = header.begin() + static_cast<std::ptrdiff_t>(jet::commitWordsAt);
    std::fill_n(at, jet::CommitWords().size(), std::uint8_t{0});
}

/// True when all pages in which the files differ hold the record of the document.
bool DifferInInfoOnly(Session& session, const Text& left, const Text& right)
{
    const jet::PageNumber info = StoredFile(session, left)->OpenTable(u"Info")->Definition().page;
    if (StoredFile(session, right)->OpenTable(u"Info")->Definition().page != info) return false;
    Files& files = session.platform.files;
    const auto one = files.Open(left, {}), other = files.Open(right, {});
    if (one->Size() != other->Size() || one->Size() % pageSize != 0) return false;
    std::vector<std::uint8_t> first(pageSize), second(pageSize);
    for (std::uint64_t at = 0; at < one->Size(); at += pageSize) {
        if (one->ReadAt(at, first) != pageSize || other->ReadAt(at, second) != pageSize) return false;
        if (at == 0) CutCommits(first), CutCommits(second);
        if (first != second && !(IsPageOf(info, first) && IsPageOf(info, second))) return false;
    }
    return true;
}

/// The document is what the backup holds, but for the mark of a run of this user's that was killed.
bool DifferByOwnMark(Session& session, const Text& document, const Text& backup)
{
    bool result = false;
    // A backup that cannot be read is not the one that is wanted.
    ResumeNext([&] {
        const InfoRecord now = ReadInfo(session, document), then = ReadInfo(session, backup);
        const bool isOwn = now.inUseBy && *now.inUseBy == session.UserName() && then.inUseBy && then.inUseBy->empty();
        result = isOwn && now.version == then.version && now.type == then.type && now.name == then.name &&
                 DifferInInfoOnly(session, document, backup);
    });
    return result;
}

/// Backups that runs which were killed left half made, where `status` does not look. Whoever works on one holds it.
void RemoveUnfinished(Files& files, const Text& folder, TextView name)
{
    ResumeNext([&] {
        for (const Text& candidate : files.List(folder, u"*")) {
            if (!StartsWithIgnoringCase(candidate, name)) continue;
            if (!TextView(candidate).substr(name.size()).starts_with(unfinishedCopyMark)) continue;
            ResumeNext([&] { files.Delete(folder + candidate); });
        }
    });
}

bool SkipDigits(TextView& text)
{
    const std::size_t before = text.size();
    while (!text.empty() && text[0] >= u'0' && text[0] <= u'9') text.remove_prefix(1);
    return text.size() < before;
}

}  // namespace

void DocumentBackup::Make(const Text& folder, std::int32_t version)
{
    constexpr int tries = 3;
    const std::size_t nameStart = document_.rfind(u'\\') + 1;
    const Text name = folder + document_.substr(nameStart);
    // Elsewhere a backup may be that of another document, which may need it back or take it away.
    const bool isBeside = EqualIgnoringCase(folder, TextView(document_).substr(0, nameStart));
    if (!isBeside) RemoveUnfinished(session_.platform.files, folder, TextView(name).substr(folder.size()));
    for (int attempt = 1;; ++attempt) {
        try {
            return MakeNamed(name, name + u"-v" + Decimal(version), isBeside);
        } catch (const FileError& error) {
            // Another run took ours for a half made one in the moment before it got its name.
            if (isBeside || error.Fault() != FileFault::NotFound || attempt == tries) throw;
        }
    }
}

void DocumentBackup::MakeNamed(const Text& name, const Text& start, bool isBeside)
{
    Files& files = session_.platform.files;
    const auto isSame = [&](const Text& there) {
        if (!isBeside || !files.Exists(there)) return false;
        return SameBytes(files, document_, there) || DifferByOwnMark(session_, document_, there);
    };
    const Text unfinished = MakeUnfinished(files, name, document_);
    try {
        files.Copy(document_, unfinished);
        for (int n = 1;; ++n) {
            const Text wanted = start + (n == 1 ? Text() : u"-" + Decimal(n)) + u".bak";
            if (TakeName(files, unfinished, wanted)) {
                isOwn_ = true;
                path_ = wanted;
                break;
            }
            if (isSame(wanted)) {
                path_ = wanted;
                files.Delete(unfinished);
                break;
            }
        }
        files.SyncFolder(path_);
    } catch (const Error&) {
        ResumeNext([&] { files.Delete(unfinished); });
        Discard();
        throw;
    }
}

void DocumentBackup::MakeTemporary()
{
    Files& files = session_.platform.files;
    path_ = files.CreateUnique(session_.platform.system.TemporaryFolder().value_or(Text()), u"~VM").first;
    isOwn_ = isTemporary_ = true;
    files.Copy(document_, path_);
}

void DocumentBackup::PutBack()
{
    Files& files = session_.platform.files;
    Text from = path_;
    if (!isOwn_) {
        from = files.CreateUnique(session_.platform.system.TemporaryFolder().value_or(Text()), u"~VM").first;
        files.Copy(path_, from);
    }
    files.Replace(from, document_);
    isOwn_ = isTemporary_ = false;
    path_.clear();
}

void DocumentBackup::Discard()
{
    if (isOwn_) ResumeNext([&] { session_.platform.files.Delete(path_); });
    isOwn_ = isTemporary_ = false;
    path_.clear();
}

DocumentBackup::~DocumentBackup()
{
    if (isTemporary_) Discard();
}

bool IsBackupMark(TextView rest)
{
    if (!StartsWithIgnoringCase(rest, u"-v")) return false;
    rest.remove_prefix(2);
    if (!SkipDigits(rest)) return false;
    if (rest.starts_with(u'-')) {
        rest.remove_prefix(1);
        if (!SkipDigits(rest)) return false;
    }
    return EqualIgnoringCase(rest, u".bak");
}

}  // namespace vmlib::host
