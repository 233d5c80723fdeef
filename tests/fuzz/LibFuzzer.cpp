#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fuzz/FuzzTarget.h"

// The entries of libFuzzer for the target that VMLIB_FUZZ_TARGET names.

using vmlib::fuzz::Broken;
using vmlib::fuzz::Target;

namespace {

constexpr const Target& target = vmlib::fuzz::VMLIB_FUZZ_TARGET;

std::string_view AsText(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        target.run(AsText(data, size));
    } catch (const Broken& broken) {
        std::fprintf(stderr, "%s\n", broken.promise.c_str());
        std::abort();
    }
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t greatestSize,
                                               unsigned seed)
{
    static const std::vector<std::string> seeds = target.seeds();
    std::mt19937 random(seed);
    std::string_view input = AsText(data, size);
    if (size < 2 || random() % 64 == 0) input = seeds[random() % seeds.size()];
    const std::string mutated = target.mutate(input, random);
    const std::size_t count = std::min(mutated.size(), greatestSize);
    std::memcpy(data, mutated.data(), count);
    return count;
}
