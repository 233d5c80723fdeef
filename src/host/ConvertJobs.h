#pragma once

#include <functional>

#include "host/ConvertDocument.h"
#include "host/ConvertFolder.h"

namespace vmlib::host {

/// Converts documents in one or several processes.
class ConvertJobs
{
public:
    ConvertJobs(Session& session, ConvertOptions options, int jobs);

    /// @param done  is told of each document in the order in which they are finished
    /// @param tick  is called now and then
    /// Returns true when it was stopped; documents that nobody began are told as not done.
    bool Run(const std::vector<std::string>& documents, const std::function<void(const Json&)>& done,
             const std::function<void()>& tick);

    /// What was found and moved before the first document.
    const std::vector<std::string>& Notes() const { return notes_; }

private:
    void RunHere(const std::vector<std::string>& documents, const std::function<void(const Json&)>& done);
    void RunInWorkers(const std::vector<std::string>& documents, const std::function<void(const Json&)>& done,
                      const std::function<void()>& tick);
    std::string Answer(const std::string& document);
    void Take(const std::string& answer, const std::function<void(const Json&)>& done);
    bool Stopped() const { return batch_ && batch_->StopRequested(); }

    Session& session_;
    ConvertOptions options_;
    int jobs_;
    Batch* batch_;
    Text temporaryFolder_;
    std::vector<std::string> notes_;
    std::size_t begun_ = 0;
    // Of a worker:
    std::unique_ptr<OwnTemporaryFolder> folder_;
    std::unique_ptr<DocumentConverter> converter_;
};

}  // namespace vmlib::host
