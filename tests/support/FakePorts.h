#pragma once

#include <array>
#include <deque>
#include <map>
#include <optional>
#include <tuple>
#include <vector>

#include "platform/DrawnText.h"
#include "platform/Platform.h"

namespace vmlib::test {

/// A screen whose letters are all of one width: 6 pixels, 13 high; twice as wide and bold where the font is bold.
class FakeMeasures : public Measures
{
public:
    Size ScreenSize() override { return screen; }
    TwipsPoint TwipsPerPixel() override { return twipsPerPixel; }
    Size NonClientSize() override { return nonClient; }
    Font MessageFont() override { return messageFont; }
    Size LineSize(TextView text, const Font& font) override
    {
        return {static_cast<int>(text.size()) * LetterWidth(font), lineHeight};
    }
    Size TextSize(TextView text, const Font& font, std::optional<int> width) override
    {
        return SizeOfLines(text, width, lineHeight,
                           [&](TextView run) { return static_cast<int>(run.size()) * LetterWidth(font); });
    }

    Size screen{1024, 768};
    TwipsPoint twipsPerPixel{15, 15};
    Size nonClient{6, 25};
    Font messageFont{u"Segoe UI", 9};
    int lineHeight = 13;

private:
    static int LetterWidth(const Font& font) { return font.bold ? 12 : 6; }
};

/// Answers messages as scripted and records them, forms with their layout too; without a scripted answer it takes the
/// safe one. Windows are rectangles by handle.
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
        return static_cast<std::int16_t>(NextAnswer(StandardMessage(text, style, title).safeAnswer));
    }
    std::int32_t ShowForm(const vmlib::Message& message, const Layouter& layOut) override
    {
        forms.push_back(message);
        layouts.push_back(layOut(measures));
        return NextAnswer(message.safeAnswer);
    }
    std::int16_t MousePointer() override { return pointer; }
    void SetMousePointer(std::int16_t value) override
    {
        pointer = value;
        pointersSet.push_back(value);
    }

    std::int16_t KeyState(std::int16_t key) override { return keyStates[key]; }
    void SendKeys(TextView text) override { typed += text; }
    std::optional<TwipsPoint> ScreenTwips() override { return screenTwips; }

    std::int32_t SendWindowMessage(std::int32_t window, std::int32_t message, std::int32_t first,
                                   std::int32_t second) override
    {
        sent.push_back({window, message, first, second});
        return windowAnswer;
    }
    Rectangle WindowRectangle(std::int32_t window) override { return windows[window]; }
    Point ToClient(std::int32_t window, Point onScreen) override
    {
        return {onScreen.x - windows[window].left, onScreen.y - windows[window].top};
    }
    void MoveWindow(std::int32_t window, const Rectangle& place, bool repaint) override
    {
        moved.emplace_back(window, place, repaint);
    }
    Size TextExtent(std::int32_t deviceContext, TextView text) override
    {
        contexts.push_back(deviceContext);
        return {static_cast<int>(text.size()) * 7, 13};
    }
    bool OpenHelp(std::int32_t window, TextView file, std::int32_t command, std::int32_t data) override
    {
        help.emplace_back(window, file, command, data);
        return true;
    }

    FakeMeasures measures;
    std::vector<vmlib::Message> forms;
    std::vector<FormLayout> layouts;
    std::optional<TwipsPoint> screenTwips = TwipsPoint{15360, 11520};
    std::vector<std::array<std::int32_t, 4>> sent;
    std::int32_t windowAnswer = 0;
    std::map<std::int32_t, Rectangle> windows;
    std::vector<std::tuple<std::int32_t, Rectangle, bool>> moved;
    std::vector<std::int32_t> contexts;
    std::vector<std::tuple<std::int32_t, Text, std::int32_t, std::int32_t>> help;
    std::map<std::int16_t, std::int16_t> keyStates;
    Text typed;
    std::deque<std::int32_t> answers;
    std::vector<Message> messages;
    std::int16_t pointer = defaultPointer;
    std::vector<std::int16_t> pointersSet;

private:
    std::int32_t NextAnswer(std::int32_t safeAnswer)
    {
        if (answers.empty()) return safeAnswer;
        const std::int32_t answer = answers.front();
        answers.pop_front();
        return answer;
    }
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
    std::optional<std::int32_t> PlatformFamily() override { return family; }
    std::optional<Text> WindowsFolder() override { return windowsFolder; }
    Text ProfileText(TextView section, TextView key, TextView defaultText, std::size_t, TextView file) override
    {
        const auto found = profile.find(Text(file) + u"|" + Text(section) + u"|" + Text(key));
        return found == profile.end() ? Text(defaultText) : found->second;
    }
    std::int32_t ProfileNumber(TextView, TextView, std::int32_t defaultNumber, TextView) override
    {
        return profileNumber.value_or(defaultNumber);
    }

    std::optional<Text> userName = u"anna";
    std::optional<Text> temporaryFolder;  // with "\" at the end
    Text numberLocale = u"nl_NL.UTF-8";
    Text dateLocale = u"nl_NL.UTF-8";
    Date now{45356.25};  // 5 March 2024, six o'clock
    std::optional<std::int32_t> family = 2;
    std::optional<Text> windowsFolder = u"Z:\\windows";
    std::map<Text, Text> profile;  // by "file|section|key"
    std::optional<std::int32_t> profileNumber;
};

/// A registry that holds nothing and takes nothing.
class NoRegistry : public RegistryStore
{
public:
    std::int32_t OpenKey(RegistryHandle, TextView, std::uint32_t, RegistryHandle&) override { return registryNotFound; }
    std::int32_t CreateKey(RegistryHandle, TextView, std::uint32_t, RegistryHandle&) override
    {
        return registryAccessDenied;
    }
    std::int32_t CloseKey(RegistryHandle) override { return registryInvalidHandle; }
    std::int32_t DeleteKey(RegistryHandle, TextView) override { return registryNotFound; }
    std::int32_t DeleteValue(RegistryHandle, TextView) override { return registryNotFound; }
    std::int32_t SetValue(RegistryHandle, TextView, std::uint32_t, const std::string&) override
    {
        return registryAccessDenied;
    }
    std::int32_t QueryValue(RegistryHandle, TextView, std::uint32_t&, std::span<char>, std::uint32_t&) override
    {
        return registryNotFound;
    }
    std::int32_t EnumKey(RegistryHandle, std::uint32_t, std::size_t, Text&) override { return registryNoMoreItems; }
    std::int32_t EnumValue(RegistryHandle, std::uint32_t, std::size_t, Text&, std::uint32_t&, std::span<char>,
                           std::uint32_t&) override
    {
        return registryNoMoreItems;
    }
    void Provide(RegistryHandle, TextView, TextView, std::function<Text()>) override {}
    Text Describe(RegistryHandle) override { return {}; }
};

/// What FakeProcesses throws where the application would end.
struct ApplicationEnded
{
};

/// Starts nothing and remembers what it should have started.
class FakeProcesses : public Processes
{
public:
    std::int32_t Start(TextView commandLine, std::int16_t windowStyle) override
    {
        if (!finds) throw Error(ErrorNumber::FileNotFound);
        started.emplace_back(commandLine, windowStyle);
        return static_cast<std::int32_t>(started.size());
    }
    void WaitFor(std::int32_t process) override { waitedFor.push_back(process); }
    [[noreturn]] void EndApplication() override { throw ApplicationEnded{}; }

    bool finds = true;
    std::vector<std::pair<Text, std::int16_t>> started;
    std::vector<std::int32_t> waitedFor;
};

/// A platform for tests that have nothing to do with settings and programs.
inline Platform PlatformOf(Files& files, System& system, Desktop& desktop)
{
    static NoRegistry registry;
    static FakeProcesses processes;
    return {files, system, desktop, registry, processes};
}

}  // namespace vmlib::test
