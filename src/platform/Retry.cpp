#include "platform/Retry.h"

#include <algorithm>
#include <random>
#include <thread>

namespace vmlib {

bool RetryFor(std::chrono::milliseconds patience, const std::function<bool()>& attempt)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + patience;
    thread_local std::minstd_rand random{std::random_device{}()};
    for (int longest = 1000;; longest = std::min(longest * 2, 25'000)) {
        if (attempt()) return true;
        const auto now = Clock::now();
        if (now >= end) return false;
        const auto pause = std::chrono::microseconds(std::uniform_int_distribution<int>(longest / 4, longest)(random));
        std::this_thread::sleep_for(std::min<Clock::duration>(pause, end - now));
    }
}

}  // namespace vmlib
