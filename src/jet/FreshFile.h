#pragma once

#include <optional>

#include "jet/FilePager.h"
#include "jet/PageAllocator.h"

namespace vmlib::jet {

/// A database in the making beside the file whose name it will get. It is a file of its own, with the mark of
/// unfinished copies behind that name, until it is complete and synced; one that never gets so far is removed.
///
///     FreshFile fresh(files, temporaryFolder, target, source);
///     UnitOfWork unit(fresh.GetPager());
///     ...
///     unit.Commit();
///     fresh.Settle();
///     fresh.TakeFreeName();
class FreshFile
{
public:
    /// @param target  full path
    /// @param like    the file whose owner and permissions it gets
    /// @throws Error 3044, 3051, 3026
    FreshFile(Files& files, TextView temporaryFolder, TextView target, TextView like);
    FreshFile(const FreshFile&) = delete;
    FreshFile& operator=(const FreshFile&) = delete;
    ~FreshFile();

    FilePager& GetPager() { return *pager_; }
    PageAllocator& Allocator() { return *allocator_; }

    /// Returns when everything is on the disk. @throws Error 3026, 3043
    void Settle() { pager_->Settle(); }
    /// Closes the file and gives it its name. @throws Error 3204 when something has the name
    void TakeFreeName();
    /// Closes the file and puts it in place of the one that has the name, in one step. @throws Error 3196 when somebody
    /// has that open, 3051
    void ReplaceTarget();

private:
    std::unique_ptr<OpenFile> MakeBeside(TextView like);
    template <class Step>
    void Place(Step step);

    Files& files_;
    Text target_;
    Text path_;  // empty once it has its name
    std::optional<FilePager> pager_;
    std::optional<PageAllocator> allocator_;
};

}  // namespace vmlib::jet
