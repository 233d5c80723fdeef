#include "jet/Opening.h"

#include <array>
#include <chrono>
#include <thread>

#include "core/ByteOrder.h"
#include "jet/Format4Header.h"
#include "jet/HeaderPage.h"
#include "jet/PageFile.h"
#include "jet/StorageError.h"

namespace vmlib::jet {

namespace {

constexpr int lockWait = 2000;       // milliseconds for a commit of another opener to pass
constexpr int writerPatience = 500;  // milliseconds for the mark of another program's writing to pass

/// The one user name of a workspace without a work group.
constexpr TextView userName = u"admin";

Error Because(ErrorNumber number, const Text& path, const char16_t* reason)
{
    const Error plain(number, {path});
    return Error(plain.Number(), plain.Description() + u" (" + reason + u")");
}

bool CanBeOpenedShared(Files& files, TextView path)
{
    try {
        files.Open(path, {FileAccess::Read, FileSharing::Shared, FileCreation::OpenExisting});
        return true;
    } catch (const FileError&) {
        return false;
    }
}

Error OpeningError(Files& files, const FileError& fault, bool exclusive)
{
    const Text& path = fault.Path();
    switch (fault.Fault()) {
        case FileFault::PathNotFound:
            return Error(ErrorNumber::InvalidPath, {path});
        case FileFault::NotFound:
            return Error(ErrorNumber::NoSuchFile, {path});
        case FileFault::InvalidName:
            return Error(ErrorNumber::InvalidFileName);
        case FileFault::Exists:
            return Error(ErrorNumber::DatabaseExists);
        case FileFault::AccessDenied:
            return Error(ErrorNumber::CannotOpenFile, {path});
        case FileFault::SharingViolation:
            if (exclusive && CanBeOpenedShared(files, path)) {
                const DatabaseUser user = files.FirstUser(path).value_or(DatabaseUser{u"?", u"?"});
                return Error(ErrorNumber::ExclusivelyOpen, {user.computer, user.user});
            }
            return Error(ErrorNumber::FileInUse, {path});
        default:
            return StorageError(fault);
    }
}

// A slot that says "writing" may be another program's that will have done in a moment, unless the file is held
// exclusively.
void RequireNoDamageMark(OpenFile& file, const Text& path, bool shared)
{
    for (int waited = 0;; waited += 50) {
        const CommitWords words = ReadCommitWords(file);
        bool writing = false, damaged = false;
        for (std::size_t at = 0; at < words.size(); at += 2) {
            const auto word = LoadLittle<std::uint16_t>(&words[at]);
            writing = writing || word == writingWord;
            damaged = damaged || word == damagedWord;
        }
        if (damaged) throw Error(ErrorNumber::DamagedDatabase);
        if (!writing) return;
        if (!shared || waited >= writerPatience) throw Error(ErrorNumber::NotADatabase, {path});
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

}  // namespace

void RequireFormat(std::span<const std::uint8_t> header, const Text& path)
{
    constexpr auto number = ErrorNumber::UnrecognizedFormat;
    switch (HeaderPage::FaultOf(header)) {
        case HeaderFault::None:
            return;
        case HeaderFault::NotJet:
            throw Error(number, {path});
        case HeaderFault::Format4:
            throw Because(number, path, u"the file has format 4 of a later engine, which is only read");
        case HeaderFault::Unknown:
            throw Because(number, path, u"the file has the format of an unknown engine");
        case HeaderFault::Encrypted:
            throw Because(number, path, u"the file is encrypted");
    }
}

FileFacts RequireFile(Files& files, TextView path)
{
    const Text full = files.FullPath(path);
    const auto facts = files.Facts(full);
    if (facts && !facts->isFolder) return *facts;
    if (facts) throw Error(ErrorNumber::CannotOpenFile, {full});
    const auto folder = files.Facts(TextView(full).substr(0, full.rfind(u'\\') + 1));
    const bool folderThere = folder && folder->isFolder;
    throw Error(folderThere ? ErrorNumber::NoSuchFile : ErrorNumber::InvalidPath, {full});
}

std::unique_ptr<OpenFile> OpenForDatabase(Files& files, TextView path, bool readOnly, bool exclusive)
{
    try {
        FileOpenRequest request{readOnly ? FileAccess::Read : FileAccess::ReadWrite,
                                exclusive ? FileSharing::Exclusive : FileSharing::Shared, FileCreation::OpenExisting};
        if (!exclusive) request.listedAs = userName;
        return files.Open(path, request);
    } catch (const FileError& fault) {
        throw OpeningError(files, fault, exclusive);
    }
}

FileFormat RequireDatabase(OpenFile& opened, bool shared, const OpenOptions& options)
{
    const Text& path = opened.Path();
    std::array<std::uint8_t, pageSize> header{};
    const bool locked = shared && OnDisk([&] { return opened.Lock(FileLock::Reading, false, lockWait); });
    if (shared && !locked) throw Error(ErrorNumber::FileInUse, {path});
    const std::size_t size = OnDisk([&] { return opened.ReadAt(0, header); });
    if (locked) opened.Unlock(FileLock::Reading);

    const auto stored = std::span<const std::uint8_t>(header).first(size);
    if (HeaderPage::FaultOf(stored) == HeaderFault::Format4) {
        if (!format4::Header(header).Accepts(options.password)) throw Error(ErrorNumber::InvalidPassword);
        return FileFormat::Format4;
    }
    RequireFormat(stored, path);
    if (!options.forRepair) RequireNoDamageMark(opened, path, shared);
    if (!HeaderPage(header).Accepts(options.password)) throw Error(ErrorNumber::InvalidPassword);
    return FileFormat::Format3;
}

void RequirePassword(Pager& pager, TextView password)
{
    const ReadScope scope(pager);
    const PageRef header = pager.Read(0);
    const bool accepted = pager.Format() == FileFormat::Format4 ? format4::Header(header.Bytes()).Accepts(password)
                                                                : HeaderPage(header.Bytes()).Accepts(password);
    if (!accepted) throw Error(ErrorNumber::InvalidPassword);
}

std::unique_ptr<OpenFile> MakeForDatabase(Files& files, TextView path, bool temporary)
{
    try {
        return files.Open(path, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateNew, temporary});
    } catch (const FileError& fault) {
        throw OpeningError(files, fault, true);
    }
}

Text WithExtension(TextView path)
{
    const TextView name = path.substr(path.find_last_of(u"\\:") + 1);  // npos + 1 is the start
    return Text(path) + (name.find(u'.') == TextView::npos ? u".mdb" : u"");
}

}  // namespace vmlib::jet
