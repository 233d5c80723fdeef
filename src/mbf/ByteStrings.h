#pragma once

#include "core/Text.h"
#include "platform/Platform.h"

/// Numbers as the bytes of old record files: a text with one character a byte in code page 1252, least significant byte
/// first.
///
///     name       number                bytes
///     CVI, MKI   16-bit integer        2   two's complement
///     CVL, MKL   32-bit integer        4   two's complement
///     CVS, MKS   IEEE single           4
///     CVD, MKD   IEEE double           8
namespace vmlib::mbf {

/// Reads a number. A text of another length shows "Illegal Function Call" and ends the application.
/// @param x  becomes the text of its bytes: a character that has no byte comes back as its substitute
std::int16_t CVI(Platform& platform, Text& x);
std::int32_t CVL(Platform& platform, Text& x);
float CVS(Platform& platform, Text& x);
double CVD(Platform& platform, Text& x);

Text MKI(std::int16_t x);
Text MKL(std::int32_t x);
Text MKS(float x);
Text MKD(double x);

}  // namespace vmlib::mbf
