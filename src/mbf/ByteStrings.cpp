#include "mbf/ByteStrings.h"

#include "core/ByteOrder.h"
#include "mbf/ByteImage.h"

namespace vmlib::mbf {

namespace {

void EndAfterMessage(Platform& platform)
{
    try {
        platform.desktop.MessageBox(u"Illegal Function Call", 0, {});
    } catch (...) {
        // Whoever should have seen it is gone. The application ends all the same.
    }
    platform.processes.EndApplication();
}

template <class Number>
Number Read(Platform& platform, Text& image)
{
    if (image.size() != sizeof(Number)) EndAfterMessage(platform);
    const std::string bytes = ToAnsi(image);
    image = FromAnsi(bytes);
    return LoadLittle<Number>(reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

template <class Number>
Text Write(Number number)
{
    ByteImage<sizeof(Number)> image;
    StoreLittle(image.data(), number);
    return ToText(image);
}

}  // namespace

std::int16_t CVI(Platform& platform, Text& x)
{
    return Read<std::int16_t>(platform, x);
}

std::int32_t CVL(Platform& platform, Text& x)
{
    return Read<std::int32_t>(platform, x);
}

float CVS(Platform& platform, Text& x)
{
    return Read<float>(platform, x);
}

double CVD(Platform& platform, Text& x)
{
    return Read<double>(platform, x);
}

Text MKI(std::int16_t x)
{
    return Write(x);
}

Text MKL(std::int32_t x)
{
    return Write(x);
}

Text MKS(float x)
{
    return Write(x);
}

Text MKD(double x)
{
    return Write(x);
}

}  // namespace vmlib::mbf
