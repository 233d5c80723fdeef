#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "fuzz/FuzzTarget.h"
#include "support/TemporaryFolder.h"

namespace vmlib::fuzz {

void PrintTo(const Target* target, std::ostream* out)
{
    *out << target->name;
}

namespace {

/// What the fuzzers do for hours, for a second: inputs that once broke a parser, seeds, and mutations of seeds.
class FuzzTest : public testing::TestWithParam<const Target*>
{
protected:
    static void Run(std::string_view input, const std::string& what)
    {
        try {
            GetParam()->run(input);
        } catch (const Broken& broken) {
            ADD_FAILURE() << what << ": " << broken.promise << "\n" << input;
        } catch (const std::exception& error) {
            ADD_FAILURE() << what << ": " << error.what() << "\n" << input;
        }
    }

    static void RunMutation(const std::vector<std::string>& seeds, std::mt19937& random, int round)
    {
        constexpr int steps = 3;
        std::string input = seeds[random() % seeds.size()];
        for (int step = 0; step < steps; ++step) input = GetParam()->mutate(input, random);
        Run(input, "round " + std::to_string(round));
    }
};

TEST_P(FuzzTest, WhatOnceBrokeUsHolds)
{
    std::vector<std::filesystem::path> files;
    const std::filesystem::path folder = std::filesystem::path(VMLIB_FUZZ_CORPUS) / GetParam()->name;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) files.push_back(entry.path());
    ASSERT_FALSE(files.empty()) << folder;
    std::sort(files.begin(), files.end());
    for (const auto& file : files) Run(test::ReadNative(file), file.filename().string());
}

TEST_P(FuzzTest, SeedsAndTheirMutationsHold)
{
    const std::vector<std::string> seeds = GetParam()->seeds();
    for (std::size_t i = 0; i < seeds.size(); ++i) Run(seeds[i], "seed " + std::to_string(i));
    std::mt19937 random(1);
    for (int round = 0; round < 150; ++round) RunMutation(seeds, random, round);
}

/// What reads the files and the statements of others gets a minute of it under the sanitizers. A failure names
/// its round, which the next run comes to as well.
class LongFuzzTest : public FuzzTest
{
};

TEST_P(LongFuzzTest, AMinuteOfMutationsHolds)
{
    constexpr std::chrono::seconds time{VMLIB_FUZZ_SECONDS};
    const std::vector<std::string> seeds = GetParam()->seeds();
    std::mt19937 random(2);
    const auto end = std::chrono::steady_clock::now() + time;
    for (int round = 0; std::chrono::steady_clock::now() < end && !HasFailure(); ++round)
        RunMutation(seeds, random, round);
}

INSTANTIATE_TEST_SUITE_P(Parsers, FuzzTest,
                         testing::Values(&jetFile, &journal, &sqlText, &jsonLines, &conversions, &registryText),
                         [](const auto& info) { return std::string(info.param->name); });
INSTANTIATE_TEST_SUITE_P(Readers, LongFuzzTest, testing::Values(&jetFile, &sqlText),
                         [](const auto& info) { return std::string(info.param->name); });

}  // namespace
}  // namespace vmlib::fuzz
