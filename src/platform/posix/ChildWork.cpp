#include "platform/posix/ChildWork.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>

#include "platform/posix/Descriptor.h"

namespace vmlib::posix {

namespace {

void ResetSignals()
{
    for (int number = 1; number < NSIG; ++number) std::signal(number, SIG_DFL);
    // The keys that interrupt a program at its terminal are for the host to obey; the child ends with it.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Leaves nothing open but `output`, and returns its new number.
int CloseAllBut(int output)
{
    constexpr int kept = STDERR_FILENO + 1;
    // By way of a number above those that are written over: the host may have had its streams closed.
    output = ::fcntl(output, F_DUPFD_CLOEXEC, kept + 1);
    if (output < 0) ::_exit(1);
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(nowhere, stream);
    ::dup3(output, kept, O_CLOEXEC);
    if (::close_range(kept + 1, UINT_MAX, 0) != 0)  // a kernel before 5.9
        for (long number = kept + 1, end = ::sysconf(_SC_OPEN_MAX); number < end; ++number)
            ::close(static_cast<int>(number));
    return kept;
}

bool Succeeds(const std::function<bool()>& work)
{
    try {
        return work();
    } catch (...) {  // the parent only learns that there is no result
        return false;
    }
}

[[noreturn]] void WorkAndLeave(pid_t parent, int output, const std::function<bool()>& work, const void* result,
                               std::size_t size)
{
    ResetSignals();
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(1);  // it ended before that
    ::alarm(desktopPatience);
    output = CloseAllBut(output);
    const bool isDone = Succeeds(work) && ::write(output, result, size) == static_cast<ssize_t>(size);
    ::_exit(isDone ? 0 : 1);
}

/// True when the other end wrote `size` bytes before it was closed.
bool ReadWhole(int input, void* result, std::size_t size)
{
    ssize_t count;
    do count = ::read(input, result, size);  // written at once, and shorter than a pipe's atomic piece
    while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(size);
}

}  // namespace

bool RunInChild(const std::function<bool()>& work, void* result, std::size_t size)
{
    constexpr int tries = 3;
    constexpr useconds_t pause = 50000;
    for (int i = 1;; ++i) {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) return false;
        const Descriptor input(ends[0]);
        Descriptor output(ends[1]);
        const pid_t parent = ::getpid(), child = ::fork();
        if (child < 0) return false;
        if (child == 0) WorkAndLeave(parent, output.Number(), work, result, size);
        output = Descriptor();  // so that the child's end is seen
        const bool isDone = ReadWhole(input.Number(), result, size);
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
        const bool isWorthAnother = !isDone && WIFEXITED(status) && WEXITSTATUS(status) == tryAgainCode;
        if (!isWorthAnother || i == tries) return isDone;
        ::usleep(pause);
    }
}

void SetTimeLimit(unsigned seconds)
{
    ::alarm(seconds);
}

}  // namespace vmlib::posix
