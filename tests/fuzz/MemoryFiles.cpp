#include "fuzz/MemoryFiles.h"

#include <algorithm>
#include <cstring>

namespace vmlib::test {

class MemoryFiles::Opened : public OpenFile
{
public:
    Opened(FileRef file, Text path, const FileOpenRequest& request)
        : file_(std::move(file)), path_(std::move(path)), request_(request)
    {
        file_->openers.push_back(this);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened() override { std::erase(file_->openers, this); }

    /// The table of FileSharing.
    bool LeavesRoomFor(const FileOpenRequest& other) const
    {
        if (request_.sharing != other.sharing) return false;
        return request_.sharing == FileSharing::Shared ||
               (request_.access == FileAccess::Read && other.access == FileAccess::Read);
    }
    void WriteBack() const
    {
        if (writeBack_) writeBack_();
    }

    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override
    {
        if (offset >= Size()) return 0;
        const std::size_t count = std::min<std::uint64_t>(into.size(), Size() - offset);
        std::memcpy(into.data(), file_->contents.data() + offset, count);
        return count;
    }
    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override
    {
        RequireRights();
        if (Size() < offset + bytes.size()) Resize(offset + bytes.size());
        std::copy(bytes.begin(), bytes.end(), file_->contents.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    std::uint64_t Size() const override { return file_->contents.size(); }
    void Resize(std::uint64_t size) override
    {
        RequireRights();
        if (size > greatestSize) throw FileError(FileFault::DiskFull, path_);
        file_->contents.resize(size);
    }
    void Sync() override {}
    FileIdentity Identity() const override { return {1, file_->number}; }
    const Text& Path() const override { return path_; }
    bool Lock(FileLock, bool, int) override { return true; }
    void Unlock(FileLock) override {}
    void OnCopy(std::function<void()> writeBack) override { writeBack_ = std::move(writeBack); }

private:
    static constexpr std::uint64_t greatestSize = 64 << 20;

    void RequireRights() const
    {
        if (request_.access != FileAccess::ReadWrite) throw FileError(FileFault::AccessDenied, path_);
    }

    FileRef file_;
    Text path_;
    FileOpenRequest request_;
    std::function<void()> writeBack_;
};

Text MemoryFiles::FullPath(TextView path)
{
    if (path.size() > 1 && path[1] == u':') return Text(path);
    return u"Z:\\" + Text(path.substr(std::min(path.size(), path.find_first_not_of(u'\\'))));
}

std::map<Text, MemoryFiles::FileRef>::iterator MemoryFiles::Require(TextView path)
{
    const auto found = files_.find(UpperCase(FullPath(path)));
    if (found == files_.end()) throw FileError(FileFault::NotFound, path);
    return found;
}

MemoryFiles::FileRef MemoryFiles::Unused(TextView path)
{
    const FileRef file = Require(path)->second;
    if (!file->openers.empty()) throw FileError(FileFault::SharingViolation, path);
    return file;
}

void MemoryFiles::Put(TextView path, Bytes contents)
{
    auto& file = files_[UpperCase(FullPath(path))];
    file = std::make_shared<File>();
    file->contents = std::move(contents);
    file->number = ++lastNumber_;
}

std::optional<Bytes> MemoryFiles::Contents(TextView path) const
{
    const auto found = files_.find(UpperCase(path));
    return found == files_.end() ? std::nullopt : std::optional(found->second->contents);
}

std::unique_ptr<OpenFile> MemoryFiles::Open(TextView path, const FileOpenRequest& request)
{
    if (path.empty() || path.find(u'\0') != TextView::npos) throw FileError(FileFault::InvalidName, path);
    const bool exists = Exists(path);
    if (exists && request.creation == FileCreation::CreateNew) throw FileError(FileFault::Exists, path);
    if (!exists && request.creation != FileCreation::OpenExisting) Put(path, {});
    const FileRef file = Require(path)->second;
    if (file->readOnly && request.access == FileAccess::ReadWrite) throw FileError(FileFault::AccessDenied, path);
    const bool truncates = request.creation == FileCreation::CreateOrTruncate;
    for (const Opened* opener : file->openers)
        if (truncates || !opener->LeavesRoomFor(request)) throw FileError(FileFault::SharingViolation, path);
    if (truncates) file->contents.clear();
    return std::make_unique<Opened>(file, FullPath(path), request);
}

std::optional<FileFacts> MemoryFiles::Facts(TextView path)
{
    FileFacts facts;
    const auto found = files_.find(UpperCase(FullPath(path)));
    if (found != files_.end()) {
        facts.size = found->second->contents.size();
        facts.isReadOnly = found->second->readOnly;
        facts.identity = {1, found->second->number};
        return facts;
    }
    facts.isFolder = path.empty() || path.back() == u'\\' || path.back() == u':';
    return facts.isFolder ? std::optional(facts) : std::nullopt;
}

void MemoryFiles::Delete(TextView path)
{
    if (Unused(path)->readOnly) throw FileError(FileFault::AccessDenied, path);
    files_.erase(Require(path));
}

void MemoryFiles::Move(TextView from, TextView to)
{
    const FileRef file = Unused(from);
    files_.erase(Require(from));
    files_[UpperCase(FullPath(to))] = file;
}

void MemoryFiles::Rename(TextView from, TextView to)
{
    if (Exists(to)) throw FileError(FileFault::Exists, to);
    Move(from, to);
}

void MemoryFiles::Copy(TextView from, TextView to)
{
    const FileRef file = Require(from)->second;
    if (Exists(to)) Unused(to);
    for (const Opened* opener : file->openers) opener->WriteBack();
    Put(to, file->contents);
}

void MemoryFiles::Replace(TextView from, TextView to)
{
    if (Exists(to)) Unused(to);
    Move(from, to);
}

std::pair<Text, std::uint16_t> MemoryFiles::CreateUnique(TextView folder, TextView prefix)
{
    const auto number = static_cast<std::uint16_t>(++lastNumber_);
    const Text path = FullPath(folder) + u"\\" + Text(prefix.substr(0, 3)) + Decimal(number) + u".tmp";
    Put(path, {});
    return {path, number};
}

void MemoryFiles::SetReadOnly(TextView path, bool readOnly)
{
    Require(path)->second->readOnly = readOnly;
}

std::vector<Text> MemoryFiles::List(TextView folder, TextView)
{
    std::vector<Text> names;
    const Text start = UpperCase(FullPath(folder)) + u"\\";
    for (const auto& [path, file] : files_)
        if (path.starts_with(start)) names.push_back(path.substr(start.size()));
    return names;
}

}  // namespace vmlib::test
