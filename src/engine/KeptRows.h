#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "jet/Value.h"
#include "platform/Files.h"

namespace vmlib::engine {

/// A list of rows of values with bounded memory: what grows beyond it goes to a temporary file, which is removed with
/// the list. A row costs eight bytes of memory then.
class KeptRows
{
public:
    /// Bytes of memory for values; a test takes less.
    static constexpr std::size_t usualMemory = std::size_t{32} << 20;

    /// @param width  values a row; 0: rows are counted only
    KeptRows(Files& files, TextView temporaryFolder, std::size_t width, std::size_t memory = usualMemory);
    ~KeptRows();
    KeptRows(const KeptRows&) = delete;
    KeptRows& operator=(const KeptRows&) = delete;
    /// An empty list that keeps its rows as this one does.
    std::unique_ptr<KeptRows> Another() const;

    /// @throws Error 3026, 3043 when the temporary file cannot be written
    void Add(jet::Row row);
    /// Valid until the next call. @throws Error 3043
    const jet::Row& At(std::size_t row);

private:
    class Store;

    Files& files_;
    Text folder_;
    std::size_t width_;
    std::size_t memory_;
    std::size_t used_ = 0;
    std::vector<jet::Row> rows_;  // until the store takes them
    std::unique_ptr<Store> store_;
    jet::Row read_;
    std::optional<std::size_t> readRow_;  // the number of read_
};

}  // namespace vmlib::engine
