#include "Measure.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <sstream>

namespace {

std::atomic<long> syncCount{0};

}  // namespace

// The linker sends every call of fsync and fdatasync here (bench/CMakeLists.txt).
extern "C" {
int __real_fsync(int descriptor);
int __real_fdatasync(int descriptor);
int __wrap_fsync(int descriptor);
int __wrap_fdatasync(int descriptor);

int __wrap_fsync(int descriptor)
{
    ++syncCount;
    return __real_fsync(descriptor);
}

int __wrap_fdatasync(int descriptor)
{
    ++syncCount;
    return __real_fdatasync(descriptor);
}
}

namespace vmlib::bench {

namespace {

long PeakKiB()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
    }
    return 0;
}

void ResetPeak()
{
    std::ofstream("/proc/self/clear_refs") << 5;
}

void Describe(std::ostream& out, const std::vector<Sample>& samples)
{
    const auto bySeconds = [](const Sample& a, const Sample& b) { return a.seconds < b.seconds; };
    const auto [fastest, slowest] = std::minmax_element(samples.begin(), samples.end(), bySeconds);
    long syncs = 0, peak = 0;
    for (const Sample& sample : samples) {
        syncs = std::max(syncs, sample.syncs);
        peak = std::max(peak, sample.peakKiB);
    }
    out << "{\"medianSeconds\": " << MedianSeconds(samples) << ", \"fastest\": " << fastest->seconds
        << ", \"slowest\": " << slowest->seconds << ", \"runs\": " << samples.size() << ", \"syncs\": " << syncs
        << ", \"peakKiB\": " << peak << "}";
}

}  // namespace

Sample Measure(const std::function<void()>& work)
{
    ResetPeak();
    const long syncsBefore = syncCount;
    const auto begin = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    return {taken.count(), syncCount - syncsBefore, PeakKiB()};
}

double MedianSeconds(const std::vector<Sample>& samples)
{
    std::vector<double> seconds;
    for (const Sample& sample : samples) seconds.push_back(sample.seconds);
    std::sort(seconds.begin(), seconds.end());
    const std::size_t middle = seconds.size() / 2;
    return seconds.size() % 2 == 1 ? seconds[middle] : (seconds[middle - 1] + seconds[middle]) / 2;
}

std::string Json(const std::string& name, const Pair& pair)
{
    std::ostringstream out;
    out << "{\"name\": \"" << name << "\", \"ours\": ";
    Describe(out, pair.ours);
    out << ", \"twin\": ";
    Describe(out, pair.twin);
    out << ", \"ratio\": " << MedianSeconds(pair.ours) / MedianSeconds(pair.twin) << "}";
    return out.str();
}

}  // namespace vmlib::bench
