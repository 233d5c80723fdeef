#pragma once

#include "core/Text.h"

/// Reals of old record files, through the image of an IEEE double.
///
///     image            bytes  exponent  sign            mantissa (1.m, exponent less 129)
///     MBF single       4      byte 3    byte 2, bit 7   23 bits: byte 2 bits 0-6, bytes 1, 0
///     MBF double       8      byte 7    byte 6, bit 7   55 bits: byte 6 bits 0-6, bytes 5 to 0
///     six-byte real    6      byte 0    byte 5, bit 7   39 bits: byte 5 bits 0-6, bytes 4 to 1
///
/// Files depend on what looks odd here: reading knows no zero (exponent 0 is 2^-129), writing cuts the mantissa off
/// instead of rounding and keeps the exponent modulo 256, and an IEEE exponent whose low eight bits are 0 (2.0 to 4.0,
/// for one) is written as the MBF zero.
namespace vmlib::mbf {

/// Reads an MBF single or double. @throws Error 5 when the text is shorter than the image
float CVSMBF(const Text& OldStringSP);
/// Only the upper 40 bits of the mantissa are read.
double CVDMBF(const Text& OldStringDP);

Text MKSMBF(float OldNumberSP);
Text MKDMBF(double OldNumberDP);
/// The six-byte real; zero has exponent byte 130.
Text MKDTPR(double OldNumberDP);

}  // namespace vmlib::mbf
