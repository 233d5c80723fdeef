#include <algorithm>
#include <mutex>

#include "jet/NewFile.h"
#include "jet/Opening.h"
#include "jet/WorkspaceState.h"

namespace vmlib::jet {

namespace {

constexpr int deepestTransaction = 5;

PagerOptions OptionsFor(const WorkspaceState& state, bool readOnly, bool exclusive)
{
    PagerOptions options;
    options.readOnly = readOnly;
    options.shared = !exclusive;
    options.temporaryFolder = state.temporaryFolder;
    return options;
}

bool IsIn(TextView path, TextView folder)
{
    if (folder.ends_with(u'\\')) folder.remove_suffix(1);
    return EqualIgnoringCase(path.substr(0, path.rfind(u'\\')), folder);
}

// Gives a file that is open the rights that are missing.
void Upgrade(const WorkspaceState& state, DatabaseFile& file, bool readOnly, bool exclusive)
{
    FilePager& pager = file.GetPager();
    const bool wantsWriting = !readOnly && pager.IsReadOnly();
    const bool wantsExclusive = exclusive && pager.IsShared();
    if (!wantsWriting && !wantsExclusive) return;
    if (pager.UnitDepth() != 0) throw Error(ErrorNumber::FileInUse, {file.Path()});
    const auto open = [&](bool onlyReading, bool shared) {
        return OpenForDatabase(state.files, file.Path(), onlyReading, !shared);
    };
    pager.Reopen(open, pager.IsReadOnly() && !wantsWriting, pager.IsShared() && !wantsExclusive);
    file.LockPagesAgain();
}

}  // namespace

std::vector<std::shared_ptr<DatabaseFile>> WorkspaceState::OpenFiles()
{
    std::vector<std::shared_ptr<DatabaseFile>> files;
    for (const auto& each : open) {
        if (auto file = each.lock()) files.push_back(std::move(file));
    }
    std::erase_if(open, [](const auto& each) { return each.expired(); });
    return files;
}

std::shared_ptr<DatabaseFile> WorkspaceState::FileOf(const FileIdentity& identity)
{
    for (auto& file : OpenFiles()) {
        if (file->Identity() == identity) return file;
    }
    return nullptr;
}

void WorkspaceState::Join(const std::shared_ptr<DatabaseFile>& file)
{
    for (int i = 0; i < depth; ++i) file->GetPager().BeginLazyUnit();
    if (depth > 0) inTransaction.push_back(file);
    open.push_back(file);
}

void WorkspaceState::Settle()
{
    for (const auto& file : OpenFiles()) file->GetPager().Settle();
}

void WorkspaceState::RollbackAll() noexcept
{
    for (const auto& file : inTransaction) {
        while (file->GetPager().UnitDepth() > 0) file->GetPager().RollbackUnit();
    }
    depth = 0;
    inTransaction.clear();
}

Workspace::Workspace(Files& files, Text temporaryFolder, Clock now)
    : state_(std::make_shared<WorkspaceState>(
          WorkspaceState{files, std::move(temporaryFolder), std::move(now), {}, {}, {}}))
{
}

Workspace::~Workspace()
{
    state_->RollbackAll();
}

std::shared_ptr<Database> Workspace::Open(TextView path, const OpenOptions& options)
{
    const FileFacts facts = RequireFile(state_->files, path);
    bool readOnly = options.readOnly || facts.isReadOnly;
    std::shared_ptr<DatabaseFile> file = state_->FileOf(facts.identity);
    if (file != nullptr) {
        readOnly = readOnly || file->GetPager().Format() == FileFormat::Format4;
        Upgrade(*state_, *file, readOnly, options.exclusive);
        RequirePassword(file->GetPager(), options.password);
    } else {
        const Text full = state_->files.FullPath(path);
        SettleJournal(state_->files, full);
        auto opened = OpenForDatabase(state_->files, full, readOnly, options.exclusive);
        PagerOptions ofPager = OptionsFor(*state_, readOnly, options.exclusive);
        ofPager.format = RequireDatabase(*opened, !options.exclusive, options);
        if (ofPager.format == FileFormat::Format4) ofPager.readOnly = readOnly = true;
        file = std::make_shared<DatabaseFile>(state_->files, std::move(opened), std::move(ofPager), state_->now);
        state_->Join(file);
    }
    std::shared_ptr<Database> database(new Database(state_, std::move(file), readOnly, options.exclusive));
    state_->databases.push_back(database);
    return database;
}

std::shared_ptr<Database> Workspace::Create(TextView path, const SortLocale& locale, TextView password)
{
    const Text full = WithExtension(state_->files.FullPath(path));
    auto opened = MakeForDatabase(state_->files, full, IsIn(full, state_->files.FullPath(state_->temporaryFolder)));
    PagerOptions options = OptionsFor(*state_, false, true);
    options.isPrivate = true;
    std::shared_ptr<DatabaseFile> file;
    try {
        file = std::make_shared<DatabaseFile>(state_->files, std::move(opened), std::move(options), state_->now);
        UnitOfWork unit(file->GetPager());
        LayDownNewFile(file->GetPager(), locale, password, state_->now());
        unit.Commit();
    } catch (...) {
        opened.reset();
        file.reset();
        try {
            state_->files.Delete(full);
        } catch (const Error&) {
            // What is left has no header and is no database.
        }
        throw;
    }
    state_->Join(file);
    std::shared_ptr<Database> database(new Database(state_, std::move(file), false, true));
    state_->databases.push_back(database);
    return database;
}

std::shared_ptr<Database> Workspace::Find(TextView path)
{
    const auto facts = state_->files.Facts(state_->files.FullPath(path));
    if (!facts) return nullptr;
    const auto file = state_->FileOf(facts->identity);
    std::erase_if(state_->databases, [](const auto& each) { return each.expired(); });
    for (const auto& each : state_->databases) {
        auto database = each.lock();
        if (file != nullptr && database->IsOpen() && database->file_ == file) return database;
    }
    return nullptr;
}

void Workspace::Begin()
{
    if (state_->depth >= deepestTransaction) throw Error(ErrorNumber::TooManyTransactions);
    if (state_->depth == 0) state_->inTransaction = state_->OpenFiles();
    std::size_t begun = 0;
    try {
        for (; begun < state_->inTransaction.size(); ++begun) state_->inTransaction[begun]->GetPager().BeginLazyUnit();
    } catch (...) {
        while (begun-- > 0) state_->inTransaction[begun]->GetPager().RollbackUnit();
        if (state_->depth == 0) state_->inTransaction.clear();
        throw;
    }
    ++state_->depth;
}

void Workspace::Commit()
{
    if (state_->depth == 0) throw Error(ErrorNumber::NoTransaction);
    try {
        if (state_->depth > 1) {
            for (const auto& file : state_->inTransaction) file->GetPager().CommitUnit();
        } else {
            // Every file is written and synced before the first change counts: a full disk undoes them all.
            const bool alone = state_->inTransaction.size() == 1;
            for (const auto& file : state_->inTransaction) file->GetPager().PrepareCommit(alone);
            for (const auto& file : state_->inTransaction) file->GetPager().FinishCommit();
        }
    } catch (...) {
        state_->RollbackAll();
        throw;
    }
    if (--state_->depth == 0) state_->inTransaction.clear();
}

void Workspace::Rollback()
{
    if (state_->depth == 0) throw Error(ErrorNumber::NoTransaction);
    for (const auto& file : state_->inTransaction) file->GetPager().RollbackUnit();
    if (--state_->depth == 0) state_->inTransaction.clear();
}

int Workspace::TransactionDepth() const
{
    return state_->depth;
}

Files& Workspace::FilesPort()
{
    return state_->files;
}

const Text& Workspace::TemporaryFolder() const
{
    return state_->temporaryFolder;
}

}  // namespace vmlib::jet
