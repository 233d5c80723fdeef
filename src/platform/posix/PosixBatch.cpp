#include "platform/posix/PosixBatch.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <utility>
#include <vector>

#include "platform/posix/Descriptor.h"
#include "platform/posix/ScratchFolder.h"
#include "platform/posix/SystemFailure.h"

namespace vmlib::posix {

namespace {

constexpr int tickMilliseconds = 200;
constexpr int usualColumns = 80;

volatile std::sig_atomic_t stopRequested = 0;

extern "C" void NoteStop(int)
{
    stopRequested = 1;
}

/// What is at work goes on, also when nobody reads what is printed any more. A signal that whoever started the program has switched off stays so.
void OnStop(void (*handler)(int))
{
    struct sigaction action = {}, before = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
}

/// False when the other end is gone.
bool WriteLine(int output, std::string line)
{
    line += '\n';
    for (std::string_view rest = line; !rest.empty();) {
        const ssize_t count = ::send(output, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// The lines that come out of a descriptor.
class LineReader
{
public:
    /// Takes what is there; false at the end.
    bool Fill(int input)
    {
        char buffer[1 << 14];
        ssize_t count;
        do count = ::read(input, buffer, sizeof buffer);
        while (count < 0 && errno == EINTR);
        if (count <= 0) return false;
        waiting_.append(buffer, static_cast<std::size_t>(count));
        return true;
    }

    std::optional<std::string> Take()
    {
        const std::size_t end = waiting_.find('\n');
        if (end == std::string::npos) return std::nullopt;
        std::string line = waiting_.substr(0, end);
        waiting_.erase(0, end + 1);
        return line;
    }

private:
    std::string waiting_;
};

[[noreturn]] void WorkUntilEnd(pid_t parent, int channel, const WorkerRun& run)
{
    OnStop(SIG_IGN);  // the starting process says when it is over
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(1);
    LineReader tasks;
    try {
        do
            while (const auto task = tasks.Take())
                if (!WriteLine(channel, run.work(*task))) ::_exit(1);
        while (tasks.Fill(channel));
        run.finish();
    } catch (...) {  // the starting process sees that no answer comes
        ::_exit(1);
    }
    ::_exit(0);
}

/// The starting process's end of a worker.
struct Worker
{
    pid_t process = -1;
    Descriptor channel;
    LineReader answers;
    std::optional<std::string> task;
};

class WorkerPool
{
public:
    WorkerPool(int count, const WorkerRun& run) : run_(run), workers_(static_cast<std::size_t>(count)) {}

    void Run()
    {
        for (Worker& worker : workers_) GiveTask(worker);
        while (Listen()) run_.tick();
        for (Worker& worker : workers_) End(worker);
    }

private:
    void Start(Worker& worker)
    {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw SystemFailure(errno, u"");
        Descriptor own(ends[0]);
        const Descriptor other(ends[1]);
        std::cout.flush();
        const pid_t parent = ::getpid(), process = ::fork();
        if (process < 0) throw SystemFailure(errno, u"");
        if (process == 0) {
            // The ends of the others would keep them waiting when the starting process is done.
            for (Worker& earlier : workers_) earlier.channel = Descriptor();
            own = Descriptor();
            WorkUntilEnd(parent, other.Number(), run_);
        }
        worker = {process, std::move(own), {}, {}};
    }

    void GiveTask(Worker& worker)
    {
        auto task = run_.next();
        if (!task) return;
        if (worker.process < 0) Start(worker);
        worker.task = std::move(task);
        WriteLine(worker.channel.Number(), *worker.task);  // a worker that is gone shows when it is read from
    }

    static void End(Worker& worker)
    {
        worker.channel = Descriptor();
        if (worker.process < 0) return;
        while (::waitpid(worker.process, nullptr, 0) < 0 && errno == EINTR) continue;
        worker.process = -1;
    }

    /// Waits for answers; false when nobody works.
    bool Listen()
    {
        std::vector<pollfd> ends;
        for (const Worker& worker : workers_) ends.push_back({worker.task ? worker.channel.Number() : -1, POLLIN, 0});
        bool anyAtWork = false;
        for (const pollfd& end : ends) anyAtWork = anyAtWork || end.fd >= 0;
        if (!anyAtWork) return false;
        if (::poll(ends.data(), ends.size(), tickMilliseconds) <= 0) return true;
        for (std::size_t i = 0; i < ends.size(); ++i)
            if (ends[i].fd >= 0 && ends[i].revents != 0) Hear(workers_[i]);
        return true;
    }

    void Hear(Worker& worker)
    {
        const bool goesOn = worker.answers.Fill(worker.channel.Number());
        const auto answer = worker.answers.Take();
        if (!answer && goesOn) return;
        const std::string task = *std::exchange(worker.task, std::nullopt);
        if (!goesOn) End(worker);
        run_.done(task, answer);
        GiveTask(worker);
    }

    const WorkerRun& run_;
    std::vector<Worker> workers_;
};

}  // namespace

std::optional<Text> PosixBatch::EnterOwnFolder(TextView prefix)
{
    if (temporaryFolder_.empty()) {
        const char* variable = std::getenv("TMPDIR");
        temporaryFolder_ = variable && *variable ? variable : "/tmp";
    }
    std::string name = temporaryFolder_ + "/" + ToUtf8(prefix) + "XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) return std::nullopt;
    try {
        const Text folder = files_.FromNative(name);
        ::setenv("TMPDIR", name.c_str(), 1);
        SetScratchFolder(files_.ToNative(folder));
        return folder + u'\\';
    } catch (const FileError&) {
        ::rmdir(name.c_str());
        return std::nullopt;
    }
}

void PosixBatch::RemoveFolder(TextView path)
{
    if (path.ends_with(u'\\')) path.remove_suffix(1);
    ::rmdir(files_.ToNative(path).c_str());
}

void PosixBatch::DeferStop()
{
    OnStop(NoteStop);
}

bool PosixBatch::StopRequested()
{
    return stopRequested != 0;
}

void PosixBatch::RunWorkers(int count, const WorkerRun& run)
{
    WorkerPool(count, run).Run();
}

std::optional<int> PosixBatch::ProgressColumns()
{
    if (!::isatty(STDERR_FILENO)) return std::nullopt;
    winsize size = {};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return usualColumns;
    return size.ws_col;
}

bool PosixBatch::OutputIsTerminal()
{
    return ::isatty(STDOUT_FILENO) != 0;
}

}  // namespace vmlib::posix
