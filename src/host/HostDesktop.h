#pragma once

#include <functional>
#include <optional>

#include "platform/Desktop.h"

namespace vmlib::host {

/// The desktop as the program decides it: questions answered by `--yes`, messages handed to an rpc client, else the
/// platform's own.
class HostDesktop : public Desktop
{
public:
    using Listener = std::function<std::int16_t(TextView text, std::int32_t style, TextView title)>;

    explicit HostDesktop(Desktop& native) : native_(native) {}

    /// Yes, or OK, or whatever a message offers that goes on.
    void AnswerYes() { answerYes_ = true; }
    void SetListener(Listener listener) { listener_ = std::move(listener); }

    std::int16_t MessageBox(TextView text, std::int32_t style, TextView title) override;
    std::int16_t MousePointer() override { return native_.MousePointer(); }
    void SetMousePointer(std::int16_t pointer) override { native_.SetMousePointer(pointer); }
    std::int16_t KeyState(std::int16_t key) override { return native_.KeyState(key); }
    void SendKeys(TextView text) override { native_.SendKeys(text); }

    /// A question of the program's own; without anybody who answers it is No.
    bool Confirm(TextView question);

private:
    Desktop& native_;
    bool answerYes_ = false;
    Listener listener_;
};

}  // namespace vmlib::host
