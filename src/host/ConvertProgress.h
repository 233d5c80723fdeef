#pragma once

#include <chrono>
#include <iosfwd>

#include "host/Json.h"
#include "platform/Batch.h"

namespace vmlib::host {

/// The bar of a batch on a terminal: documents, rows, time left. Nothing without one.
class ConvertProgress
{
public:
    ConvertProgress(Batch* batch, std::size_t documents, std::ostream& terminal);

    bool IsShown() const { return columns_ > 0; }
    void Done(const Json& document);
    void Draw();
    /// Takes the bar away, so that a line can be printed.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    std::ostream& terminal_;
    std::size_t columns_ = 0;
    std::size_t documents_;
    std::size_t done_ = 0;
    std::uint64_t rows_ = 0;
    bool inColour_ = false;
    Clock::time_point begin_ = Clock::now();
};

}  // namespace vmlib::host
