#pragma once

#include "platform/Desktop.h"

namespace vmlib::db {

/// Shows the waiting pointer and puts the remembered one back on every path.
class Hourglass
{
public:
    explicit Hourglass(Desktop& desktop) : desktop_(desktop), remembered_(desktop.MousePointer())
    {
        desktop_.SetMousePointer(hourglassPointer);
    }
    ~Hourglass() { desktop_.SetMousePointer(remembered_); }
    Hourglass(const Hourglass&) = delete;
    Hourglass& operator=(const Hourglass&) = delete;

private:
    Desktop& desktop_;
    std::int16_t remembered_;
};

}  // namespace vmlib::db
