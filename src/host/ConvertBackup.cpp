#include "host/ConvertBackup.h"

#include "automation/ResumeNext.h"

namespace vmlib::host {

namespace {

constexpr std::size_t comparedPiece = 1 << 16;

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

/// An empty file with a free name, with the permissions of the document.
Text MakeUnfinished(Files& files, const Text& path, TextView permissionsOf)
{
    for (int n = 0;; ++n) {
        const Text name = path + Text(unfinishedCopyMark) + Decimal(n);
        try {
            files.Open(name,
                       {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateNew, false, permissionsOf});
            return name;
        } catch (const FileError& error) {
            if (error.Fault() != FileFault::Exists) throw;
        }
    }
}

/// Gives a finished copy its name; false when the name is taken.
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

bool SkipDigits(TextView& text)
{
    const std::size_t before = text.size();
    while (!text.empty() && text[0] >= u'0' && text[0] <= u'9') text.remove_prefix(1);
    return text.size() < before;
}

}  // namespace

void DocumentBackup::Make(const Text& folder, std::int32_t version)
{
    Files& files = session_.platform.files;
    const std::size_t nameStart = document_.rfind(u'\\') + 1;
    // Elsewhere it may be that of another document, which may need it back or take it away.
    const bool isBeside = EqualIgnoringCase(folder, TextView(document_).substr(0, nameStart));
    const Text name = folder + document_.substr(nameStart);
    const Text start = name + u"-v" + Decimal(version);
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
            if (isBeside && files.Exists(wanted) && SameBytes(files, document_, wanted)) {
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
