#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vmlib::bench {

/// One run of one half.
struct Sample
{
    double seconds = 0;
    long syncs = 0;
    long peakKiB = 0;  // resident memory of the process at its highest during the run
};

/// Runs and measures. The peak of resident memory is reset first, where the system can (Linux).
Sample Measure(const std::function<void()>& work);

/// Both halves, run alternately by the caller.
struct Pair
{
    std::vector<Sample> ours, twin;
};

double MedianSeconds(const std::vector<Sample>& samples);

/// {"name": ..., "ours": {...}, "twin": {...}, "ratio": ...}: medians, smallest and largest times, syncs and memory.
std::string Json(const std::string& name, const Pair& pair);

}  // namespace vmlib::bench
