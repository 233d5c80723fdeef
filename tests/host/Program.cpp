#include "host/Program.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace vmlib::host::test {

namespace {

std::array<int, 2> Pipe()
{
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    return ends;
}

/// Feeds the input and drains both outputs together, so that no side waits for the other.
void Exchange(int in, int out, int err, std::string input, Outcome& outcome)
{
    std::array<pollfd, 3> ends = {{{in, POLLOUT, 0}, {out, POLLIN, 0}, {err, POLLIN, 0}}};
    while (ends[0].fd >= 0 || ends[1].fd >= 0 || ends[2].fd >= 0) {
        if (ends[0].fd >= 0 && input.empty()) ::close(std::exchange(ends[0].fd, -1));
        if (::poll(ends.data(), ends.size(), -1) < 0) continue;
        if (ends[0].fd >= 0 && ends[0].revents != 0) {
            const ssize_t count = ::write(ends[0].fd, input.data(), std::min<std::size_t>(input.size(), 4096));
            input.erase(0, count > 0 ? static_cast<std::size_t>(count) : input.size());
        }
        for (std::size_t i = 1; i < 3; ++i) {
            if (ends[i].fd < 0 || ends[i].revents == 0) continue;
            char buffer[4096];
            const ssize_t count = ::read(ends[i].fd, buffer, sizeof buffer);
            if (count > 0)
                (i == 1 ? outcome.out : outcome.err).append(buffer, static_cast<std::size_t>(count));
            else
                ::close(std::exchange(ends[i].fd, -1));
        }
    }
}

}  // namespace

std::vector<Json> Outcome::AsJsonLines() const
{
    std::vector<Json> values;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) values.push_back(Json::parse(line));
    return values;
}

void Program::Become(const std::vector<std::string>& words) const
{
    for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
    std::string program = VMLIB_PROGRAM;
    std::vector<std::string> copies = words;
    std::vector<char*> arguments = {program.data()};
    for (std::string& word : copies) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    ::execv(program.c_str(), arguments.data());
    ::_exit(127);
}

Outcome Program::Run(const std::vector<std::string>& words, const std::string& input) const
{
    std::signal(SIGPIPE, SIG_IGN);
    const auto in = Pipe(), out = Pipe(), err = Pipe();
    const pid_t process = ::fork();
    if (process == 0) {
        ::setsid();  // away from any terminal that the tests run at
        ::dup2(in[0], 0);
        ::dup2(out[1], 1);
        ::dup2(err[1], 2);
        for (const int end : {in[0], in[1], out[0], out[1], err[0], err[1]}) ::close(end);
        Become(words);
    }
    for (const int end : {in[0], out[1], err[1]}) ::close(end);
    Outcome outcome;
    Exchange(in[1], out[0], err[0], input, outcome);
    int status = 0;
    ::waitpid(process, &status, 0);
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

bool Program::RunAndKill(const std::vector<std::string>& words, std::chrono::microseconds after) const
{
    const pid_t process = ::fork();
    if (process == 0) {
        const int nowhere = ::open("/dev/null", O_RDWR);
        for (const int end : {0, 1, 2}) ::dup2(nowhere, end);
        Become(words);
    }
    std::this_thread::sleep_for(after);
    ::kill(process, SIGKILL);
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status);
}

}  // namespace vmlib::host::test
