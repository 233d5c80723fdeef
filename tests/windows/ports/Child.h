#pragma once

#include <string>
#include <vector>

#include "core/Text.h"
#include "platform/windows/Handle.h"

namespace vmlib::test {

/// Runs this test program a second time, as one that does one thing (ChildMain) and lives until it is killed.
class Child
{
public:
    /// Returns when the child has said how its work went: '+' or '-'.
    explicit Child(const std::vector<Text>& arguments);
    ~Child() { Kill(); }
    void Kill();
    char Answer() const { return answer_; }

private:
    windows::Handle process_, output_;
    char answer_ = '?';
};

/// The command line that runs this program as a child.
Text ChildCommand(const std::vector<Text>& arguments);

/// What the child does, its arguments behind the mark:
///     hold ACCESS SHARING PATH   opens a file (0 or 1 each, as their enumerations count)
///     lock BYTE PATH             locks a byte, with all sharing
///     write PATH ARGUMENTS       writes its arguments into a file, a line each, after a while, and ends
///     end                        prints "out" and ends the application
int ChildMain(const std::vector<Text>& arguments);
inline constexpr char childMark[] = "--child";

}  // namespace vmlib::test
