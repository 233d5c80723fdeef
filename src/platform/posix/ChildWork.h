#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <type_traits>

// Work with a desktop's libraries, in a child process of its own: what they do to their process (they end it when the
// screen goes away, and wait without end for one that does not answer) does no harm to the host.
namespace vmlib::posix {

/// Seconds for a desktop to answer.
inline constexpr unsigned desktopPatience = 2;
inline constexpr int tryAgainCode = 75;

/// Runs `work` in a child; true when it returned true there, and then what the child had in the `size` bytes at `result`
/// stands in them here. False when it returned false, threw, ended its process or took longer than `desktopPatience`.
///
/// The child holds none of the host's files open (an open file keeps its locks), its streams lead nowhere, nothing of
/// the host's buffers is written there, and it ends with the thread that waits for it.
/// A child that ends with `tryAgainCode` is started again, twice at most.
bool RunInChild(const std::function<bool()>& work, void* result, std::size_t size);

/// In the work: from here on it may take so many seconds; 0: as long as a person needs.
void SetTimeLimit(unsigned seconds);

/// The same for work that returns a std::optional of plain data.
template <class Work>
auto ResultOfChild(const Work& work) -> decltype(work())
{
    using Result = typename decltype(work())::value_type;
    static_assert(std::is_trivially_copyable_v<Result>);
    Result result{};
    const auto inChild = [&work, &result] {
        const std::optional<Result> found = work();
        if (found) result = *found;
        return found.has_value();
    };
    if (!RunInChild(inChild, &result, sizeof result)) return std::nullopt;
    return result;
}

}  // namespace vmlib::posix
