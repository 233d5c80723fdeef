#include "support/FailingFiles.h"

#include <algorithm>
#include <utility>

namespace vmlib::test {

class FailingOpenFile : public OpenFile
{
public:
    FailingOpenFile(FailingFiles& owner, std::unique_ptr<OpenFile> real)
        : owner_(owner), real_(std::move(real)), key_(owner.Key(real_->Path()))
    {
    }

    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override
    {
        RefuseWithoutPower();
        return real_->ReadAt(offset, into);
    }

    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override
    {
        const bool cutShort = owner_.Pass(Step::Write, Path());
        if (cutShort) bytes = bytes.first(bytes.size() / 2);
        FailingFiles::Change change = ChangeAt(offset, bytes.size());
        real_->WriteAt(offset, bytes);
        change.after.assign(bytes.begin(), bytes.end());
        Record(std::move(change));
        if (cutShort) throw FileError(owner_.fault_.fault, Path(), "cut short by the test");
    }

    void Resize(std::uint64_t size) override
    {
        if (owner_.Pass(Step::Resize, Path())) throw FileError(owner_.fault_.fault, Path(), "failed by the test");
        const std::uint64_t sizeNow = real_->Size();
        FailingFiles::Change change = ChangeAt(size, sizeNow > size ? static_cast<std::size_t>(sizeNow - size) : 0);
        real_->Resize(size);
        Record(std::move(change));
    }

    void Sync() override
    {
        if (owner_.Pass(Step::Sync, Path())) throw FileError(owner_.fault_.fault, Path(), "failed by the test");
        real_->Sync();
        if (owner_.pending_[key_].created) owner_.DeletionsAreSynced(Path());
        owner_.pending_.erase(key_);
    }

    std::uint64_t Size() const override { return real_->Size(); }
    FileIdentity Identity() const override { return real_->Identity(); }
    const Text& Path() const override { return real_->Path(); }
    bool Lock(FileLock lock, bool exclusive, int milliseconds) override
    {
        RefuseWithoutPower();
        return real_->Lock(lock, exclusive, milliseconds);
    }
    void Unlock(FileLock lock) override { real_->Unlock(lock); }
    void OnCopy(std::function<void()> writeBack) override { real_->OnCopy(std::move(writeBack)); }

private:
    void RefuseWithoutPower() const
    {
        if (owner_.powerIsOff_) throw FileError(FileFault::Io, Path(), "the power is off");
    }

    FailingFiles::Change ChangeAt(std::uint64_t offset, std::size_t count)
    {
        FailingFiles::Change change;
        change.offset = offset;
        change.sizeBefore = real_->Size();
        change.before.resize(count);
        change.before.resize(real_->ReadAt(offset, change.before));
        return change;
    }

    void Record(FailingFiles::Change change)
    {
        change.sizeAfter = real_->Size();
        owner_.pending_[key_].changes.push_back(std::move(change));
    }

    FailingFiles& owner_;
    std::unique_ptr<OpenFile> real_;
    Text key_;
};

void FailingFiles::Arm(Fault fault)
{
    fault_ = std::move(fault);
    count_ = 0;
    struck_ = false;
}

bool FailingFiles::Pass(Step step, TextView path)
{
    if (powerIsOff_) throw FileError(FileFault::Io, path, "the power is off");
    if (!fault_.steps.contains(step)) return false;
    ++count_;
    if (fault_.at == 0 || count_ < fault_.at) return false;
    if (count_ > fault_.at && fault_.kind != FaultKind::FailsOn) return false;
    struck_ = true;
    if (fault_.kind == FaultKind::CutShort) return true;
    powerIsOff_ = fault_.kind == FaultKind::PowerCut;
    throw FileError(fault_.fault, path, powerIsOff_ ? "the power went" : "failed by the test");
}

std::unique_ptr<OpenFile> FailingFiles::Open(TextView path, const FileOpenRequest& request)
{
    const bool creates = request.creation != FileCreation::OpenExisting && !real_.Exists(path);
    const bool truncates = request.creation == FileCreation::CreateOrTruncate && !creates;
    const Step step = creates ? Step::Create : Step::Resize;
    if (powerIsOff_ || creates || truncates)
        if (Pass(step, path)) throw FileError(fault_.fault, path, "failed by the test");
    std::unique_ptr<FailingOpenFile> file;
    if (truncates) {
        // In two steps, so that the bytes that go are known.
        auto opened =
            std::make_unique<FailingOpenFile>(*this, real_.Open(path, {FileAccess::ReadWrite, request.sharing}));
        const Fault armed = std::exchange(fault_, {});
        opened->Resize(0);
        fault_ = armed;
        file = std::move(opened);
    } else {
        file = std::make_unique<FailingOpenFile>(*this, real_.Open(path, request));
    }
    if (creates) pending_[Key(path)] = Pending{true, {}};
    return file;
}

std::optional<FileFacts> FailingFiles::Facts(TextView path)
{
    if (powerIsOff_) throw FileError(FileFault::Io, path, "the power is off");
    return real_.Facts(path);
}

void FailingFiles::Delete(TextView path)
{
    if (Pass(Step::Delete, path)) throw FileError(fault_.fault, path, "failed by the test");
    Deleted deleted = Remember(path);
    real_.Delete(path);
    pending_.erase(Key(path));
    if (!deleted.pending.created) deleted_[Key(path)] = std::move(deleted);
}

FailingFiles::Deleted FailingFiles::Remember(TextView path)
{
    Deleted deleted;
    deleted.path = Text(path);
    const auto facts = real_.Facts(path);
    if (!facts) return deleted;
    deleted.contents.resize(static_cast<std::size_t>(facts->size));
    try {
        real_.Open(path, {})->ReadAt(0, deleted.contents);
    } catch (const FileError&) {
        return deleted;  // held by somebody: the deletion will fail too
    }
    if (const auto pending = pending_.find(Key(path)); pending != pending_.end()) deleted.pending = pending->second;
    return deleted;
}

bool FailingFiles::InFolderOf(const Text& key, TextView path)
{
    const Text folder = Key(path).substr(0, Key(path).rfind(u'\\') + 1);
    return key.rfind(u'\\') + 1 == folder.size() && key.starts_with(folder);
}

void FailingFiles::DeletionsAreSynced(TextView path)
{
    std::erase_if(deleted_, [&](const auto& entry) { return InFolderOf(entry.first, path); });
}

void FailingFiles::Rename(TextView from, TextView to)
{
    if (Pass(Step::Rename, from)) throw FileError(fault_.fault, from, "failed by the test");
    real_.Rename(from, to);
    DeletionsAreSynced(to);
    auto moved = pending_.extract(Key(from));
    if (moved.empty()) return;
    moved.key() = Key(to);
    moved.mapped().created = false;
    pending_.insert(std::move(moved));
}

void FailingFiles::Copy(TextView from, TextView to)
{
    if (Pass(Step::Copy, to)) throw FileError(fault_.fault, to, "failed by the test");
    real_.Copy(from, to);
    pending_.erase(Key(to));
}

void FailingFiles::Replace(TextView from, TextView to)
{
    if (Pass(Step::Replace, to)) throw FileError(fault_.fault, to, "failed by the test");
    real_.Replace(from, to);
    DeletionsAreSynced(to);
    pending_.erase(Key(to));
    pending_.erase(Key(from));
}

std::pair<Text, std::uint16_t> FailingFiles::CreateUnique(TextView folder, TextView prefix)
{
    if (Pass(Step::Create, folder)) throw FileError(fault_.fault, folder, "failed by the test");
    return real_.CreateUnique(folder, prefix);
}

void FailingFiles::CreateFolder(TextView path)
{
    if (Pass(Step::Create, path)) throw FileError(fault_.fault, path, "failed by the test");
    real_.CreateFolder(path);
}

void FailingFiles::SyncFolder(TextView path)
{
    if (Pass(Step::Sync, path)) throw FileError(fault_.fault, path, "failed by the test");
    real_.SyncFolder(path);
    for (auto& [name, pending] : pending_)
        if (InFolderOf(name, path)) pending.created = false;
    DeletionsAreSynced(path);
}

void FailingFiles::AfterPowerCut(Unsynced unsynced, unsigned seed)
{
    std::mt19937 random(seed);
    for (const auto& [path, pending] : pending_) PutBack(path, pending, unsynced, random);
    for (const auto& entry : deleted_) BringBack(entry.second, unsynced, random);
    pending_.clear();
    deleted_.clear();
    powerIsOff_ = false;
    fault_ = {};
}

void FailingFiles::BringBack(const Deleted& deleted, Unsynced unsynced, std::mt19937& random)
{
    if (unsynced == Unsynced::Kept || (unsynced == Unsynced::Random && random() % 2 == 0)) return;
    if (real_.Exists(deleted.path)) return;
    {
        const auto file =
            real_.Open(deleted.path, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateNew});
        file->WriteAt(0, deleted.contents);
    }
    PutBack(deleted.path, deleted.pending, unsynced, random);
}

void FailingFiles::PutBack(const Text& path, const Pending& pending, Unsynced unsynced, std::mt19937& random)
{
    if (unsynced == Unsynced::Kept || !real_.Exists(path)) return;
    if (pending.created && (unsynced == Unsynced::Lost || random() % 4 == 0)) {
        real_.Delete(path);
        return;
    }
    const auto file = real_.Open(path, {FileAccess::ReadWrite, FileSharing::Exclusive});
    for (auto change = pending.changes.rbegin(); change != pending.changes.rend(); ++change) {
        file->Resize(change->sizeBefore);
        file->WriteAt(change->offset, change->before);
    }
    if (unsynced == Unsynced::Lost) return;
    for (const Change& change : pending.changes) {
        const auto fate = random() % 3;
        if (fate == 0) continue;  // lost
        std::size_t count = change.after.size();
        if (fate == 1 && count > 512) count = (1 + random() % (count / 512)) * 512;  // torn
        if (change.after.empty())
            file->Resize(change.sizeAfter);
        else
            file->WriteAt(change.offset, std::span(change.after).first(std::min(count, change.after.size())));
    }
}

}  // namespace vmlib::test
