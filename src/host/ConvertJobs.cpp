#include "host/ConvertJobs.h"

#include <algorithm>

namespace vmlib::host {

namespace {

Json ReportOf(const std::string& document, ConvertOutcome outcome, const std::string& text)
{
    DocumentReport report;
    report.document = document;
    report.outcome = outcome;
    report.text = text;
    return ToJson(report);
}

}  // namespace

ConvertJobs::ConvertJobs(Session& session, ConvertOptions options, int jobs)
    : session_(session),
      options_(std::move(options)),
      jobs_(jobs),
      batch_(session.platform.processes.LongBatch()),
      temporaryFolder_(session.platform.system.TemporaryFolder().value_or(Text()))
{
}

bool ConvertJobs::Run(const std::vector<std::string>& documents, const std::function<void(const Json&)>& done,
                      const std::function<void()>& tick)
{
    if (batch_) batch_->DeferStop();
    RemoveAbandonedFolders(session_.platform.files, batch_, temporaryFolder_);
    const int useful = static_cast<int>(std::min<std::size_t>(documents.size(), static_cast<std::size_t>(jobs_)));
    if (batch_ && useful > 1)
        RunInWorkers(documents, done, tick);
    else
        RunHere(documents, [&](const Json& report) {
            done(report);
            tick();
        });
    const bool stopped = begun_ < documents.size();
    for (; begun_ < documents.size(); ++begun_)
        done(ReportOf(documents[begun_], ConvertOutcome::NotDone, "the batch was stopped"));
    return stopped;
}

/// In the process that works: its folder comes before anything of the library, which asks for the temporary folder
/// when it starts.
std::string ConvertJobs::Answer(const std::string& document)
{
    Json answer = {{"notes", Json::array()}};
    if (!converter_) {
        folder_ = std::make_unique<OwnTemporaryFolder>(session_.platform.files, batch_);
        converter_ = std::make_unique<DocumentConverter>(session_, options_);
        if (const auto told = MoveConversionCopyAside(session_, temporaryFolder_)) answer["notes"].push_back(*told);
    }
    answer["report"] = ToJson(converter_->Convert(document));
    return ToLine(answer);
}

void ConvertJobs::Take(const std::string& answer, const std::function<void(const Json&)>& done)
{
    const Json parsed = Json::parse(answer);
    for (const Json& note : parsed.at("notes")) notes_.push_back(note.get<std::string>());
    done(parsed.at("report"));
}

void ConvertJobs::RunHere(const std::vector<std::string>& documents, const std::function<void(const Json&)>& done)
{
    while (begun_ < documents.size() && !Stopped()) Take(Answer(documents[begun_++]), done);
    converter_.reset();
    folder_.reset();
}

void ConvertJobs::RunInWorkers(const std::vector<std::string>& documents, const std::function<void(const Json&)>& done,
                               const std::function<void()>& tick)
{
    // A task is a number, as names may have line ends in them.
    const auto documentOf = [&](const std::string& task) { return documents.at(std::stoul(task)); };
    WorkerRun run;
    run.next = [&]() -> std::optional<std::string> {
        if (begun_ == documents.size() || Stopped()) return std::nullopt;
        return std::to_string(begun_++);
    };
    run.work = [&](const std::string& task) { return Answer(documentOf(task)); };
    run.finish = [&] {
        converter_.reset();
        folder_.reset();
    };
    run.done = [&](const std::string& task, const std::optional<std::string>& answer) {
        if (answer)
            Take(*answer, done);
        else
            done(ReportOf(documentOf(task), ConvertOutcome::Failed, "the process that converted it ended"));
    };
    run.tick = tick;
    batch_->RunWorkers(jobs_, run);
}

}  // namespace vmlib::host
