#pragma once

#include <ostream>
#include <streambuf>
#include <vector>

#include "platform/Files.h"

namespace vmlib::host {

/// An output stream into a file of the Files port, from its first byte on. Errors of the file are thrown by what
/// prints; Close lets the last out.
class FileStream : private std::streambuf, public std::ostream
{
public:
    explicit FileStream(std::unique_ptr<OpenFile> file)
        : std::ostream(static_cast<std::streambuf*>(this)), file_(std::move(file)), buffer_(1 << 16)
    {
        setp(buffer_.data(), buffer_.data() + buffer_.size());
        exceptions(std::ios::badbit);  // rethrows what the file threw
    }

    void Close()
    {
        WriteOut();
        file_.reset();
    }

private:
    void WriteOut()
    {
        const auto count = static_cast<std::size_t>(pptr() - pbase());
        file_->WriteAt(offset_, {reinterpret_cast<const std::uint8_t*>(pbase()), count});
        offset_ += count;
        setp(buffer_.data(), buffer_.data() + buffer_.size());
    }

    std::streambuf::int_type overflow(std::streambuf::int_type c) override
    {
        WriteOut();
        if (std::streambuf::traits_type::eq_int_type(c, std::streambuf::traits_type::eof()))
            return std::streambuf::traits_type::not_eof(c);
        return sputc(std::streambuf::traits_type::to_char_type(c));
    }

    std::unique_ptr<OpenFile> file_;
    std::uint64_t offset_ = 0;
    std::vector<char> buffer_;
};

}  // namespace vmlib::host
