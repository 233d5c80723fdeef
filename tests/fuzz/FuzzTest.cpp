#include <gmock/gmock.h>

#include <algorithm>
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
    constexpr int rounds = 150, steps = 3;
    std::mt19937 random(1);
    const std::vector<std::string> seeds = GetParam()->seeds();
    for (std::size_t i = 0; i < seeds.size(); ++i) Run(seeds[i], "seed " + std::to_string(i));
    for (int round = 0; round < rounds; ++round) {
        std::string input = seeds[random() % seeds.size()];
        for (int step = 0; step < steps; ++step) input = GetParam()->mutate(input, random);
        Run(input, "round " + std::to_string(round));
    }
}

INSTANTIATE_TEST_SUITE_P(Parsers, FuzzTest,
                         testing::Values(&jetFile, &journal, &sqlText, &jsonLines, &conversions, &registryText),
                         [](const auto& info) { return std::string(info.param->name); });

}  // namespace
}  // namespace vmlib::fuzz
