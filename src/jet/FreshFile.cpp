#include "jet/FreshFile.h"

#include <random>

#include "jet/StorageError.h"

namespace vmlib::jet {

namespace {

constexpr int greatestTries = 100;  // for a name that is free

/// What a fault beside the target is to him who wants a database there.
Error PlacingError(const FileError& fault, const Text& target)
{
    switch (fault.Fault()) {
        case FileFault::PathNotFound:
            return Error(ErrorNumber::InvalidPath, {target});
        case FileFault::Exists:
            return Error(ErrorNumber::DatabaseExists);
        case FileFault::AccessDenied:
            return Error(ErrorNumber::CannotOpenFile, {target});
        case FileFault::SharingViolation:
            return Error(ErrorNumber::DatabaseInUse, {target});
        case FileFault::InvalidName:
            return Error(ErrorNumber::InvalidFileName);
        default:
            return StorageError(fault);
    }
}

}  // namespace

FreshFile::FreshFile(Files& files, TextView temporaryFolder, TextView target, TextView like)
    : files_(files), target_(target)
{
    PagerOptions options;
    options.isPrivate = true;
    options.temporaryFolder = temporaryFolder;
    try {
        pager_.emplace(files_, MakeBeside(like), std::move(options));
    } catch (const FileError& fault) {
        throw PlacingError(fault, target_);
    }
    allocator_.emplace(*pager_);
}

std::unique_ptr<OpenFile> FreshFile::MakeBeside(TextView like)
{
    static constexpr char16_t digits[] = u"0123456789ABCDEF";
    std::random_device random;
    for (int tries = 1;; ++tries) {
        Text path = target_ + Text(unfinishedCopyMark);
        const unsigned number = random();
        for (int shift = 12; shift >= 0; shift -= 4) path += digits[number >> shift & 15];
        try {
            auto file = files_.Open(
                path, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateNew, false, like});
            path_ = path;
            return file;
        } catch (const FileError& fault) {
            if (fault.Fault() != FileFault::Exists || tries == greatestTries) throw;
        }
    }
}

FreshFile::~FreshFile()
{
    pager_.reset();
    if (path_.empty()) return;
    try {
        files_.Delete(path_);
    } catch (const Error&) {
        // Its name says what it is.
    }
}

template <class Step>
void FreshFile::Place(Step step)
{
    pager_.reset();
    try {
        step();
    } catch (const FileError& fault) {
        throw PlacingError(fault, target_);
    }
    path_.clear();
}

void FreshFile::TakeFreeName()
{
    Place([&] { files_.Rename(path_, target_); });
}

void FreshFile::ReplaceTarget()
{
    Place([&] { files_.Replace(path_, target_); });
}

}  // namespace vmlib::jet
