#pragma once

#include <random>
#include <string>
#include <string_view>
#include <vector>

/// What libFuzzer and the test suite need of each parser. An input is text that a person can read in an editor; what it
/// stands for (edits of a generated file, a statement, lines of a protocol) is the target's own.
namespace vmlib::fuzz {

struct Target
{
    const char* name;  // of its corpus, a folder beside this file
    /// Feeds one input. Damage and nonsense are errors that it expects; a promise that was broken is a Broken.
    void (*run)(std::string_view input);
    std::vector<std::string> (*seeds)();
    /// Another input, not far from this one.
    std::string (*mutate)(std::string_view input, std::mt19937& random);
};

extern const Target jetFile;
extern const Target journal;
extern const Target sqlText;
extern const Target jsonLines;
extern const Target conversions;
extern const Target registryText;

/// A promise that does not hold for the input. No std::exception, so that nothing under test takes it for its own.
struct Broken
{
    std::string promise;
};

inline void Promise(bool holds, std::string_view promise)
{
    if (!holds) throw Broken{std::string(promise)};
}

}  // namespace vmlib::fuzz
