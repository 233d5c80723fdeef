#pragma once

#include <string>
#include <string_view>

#include "core/Error.h"
#include "jet/Format.h"

namespace vmlib::jet {

/// A structure of the file that contradicts the format: error 3428 whose text names page and finding, so that repair
/// can report it.
///
///     throw Damaged(pageNumber, "row 3 ends after the page");
class Damaged : public Error
{
public:
    Damaged(PageNumber page, std::string_view finding);
    PageNumber Page() const { return page_; }
    const std::string& Finding() const { return finding_; }

private:
    PageNumber page_;
    std::string finding_;
};

}  // namespace vmlib::jet
