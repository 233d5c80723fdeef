#pragma once

#include <deque>
#include <optional>
#include <vector>

#include "platform/Desktop.h"
#include "platform/System.h"

namespace vmlib::test {

/// Answers messages as scripted and records them; without a scripted answer it takes the safe one.
class FakeDesktop : public Desktop
{
public:
    struct Message
    {
        Text text;
        std::int32_t style;
        Text title;
        bool operator==(const Message&) const = default;
    };

    std::int16_t MessageBox(TextView text, std::int32_t style, TextView title) override
    {
        messages.push_back({Text(text), style, Text(title)});
        if (answers.empty()) return SafeAnswer(style);
        const std::int16_t answer = answers.front();
        answers.pop_front();
        return answer;
    }
    std::int16_t MousePointer() override { return pointer; }
    void SetMousePointer(std::int16_t value) override
    {
        pointer = value;
        pointersSet.push_back(value);
    }

    std::deque<std::int16_t> answers;
    std::vector<Message> messages;
    std::int16_t pointer = defaultPointer;
    std::vector<std::int16_t> pointersSet;
};

/// Facts as the test sets them.
class FakeSystem : public System
{
public:
    explicit FakeSystem(Text temporary = {}) : temporaryFolder(std::move(temporary)) {}

    std::optional<Text> UserName() override { return userName; }
    std::optional<Text> TemporaryFolder() override { return temporaryFolder; }
    Text NumberLocaleName() override { return numberLocale; }
    Text DateLocaleName() override { return dateLocale; }
    Date Now() override { return now; }

    std::optional<Text> userName = u"anna";
    std::optional<Text> temporaryFolder;  // with "\" at the end
    Text numberLocale = u"nl_NL.UTF-8";
    Text dateLocale = u"nl_NL.UTF-8";
    Date now{45356.25};  // 5 March 2024, six o'clock
};

}  // namespace vmlib::test
