#pragma once

#include <vector>

#include "core/Text.h"

// A command line is one text; the platform's programs take it apart themselves. Here it is done before a program starts,
// by the same rules:
//
//   "C:\my tools\sum" a.txt      the program stands between quotes, in which "\" means nothing special
//   C:\my tools\sum a.txt        without them it is C:\my if that is a file, else "C:\my tools\sum", and so on
//   a "b c" d\\"e               arguments are parted by blanks and tabs outside quotes
//   2n "\" and "                 n "\", and the quote begins or ends a quoted part
//   2n+1 "\" and "               n "\" and a plain quote; "\" without a quote behind it stands for itself
//   "" in a quoted part          a plain quote, with which the quoted part ends
namespace vmlib::posix {

/// A program as a command line may name it, and what follows it.
struct ProgramReading
{
    TextView program;
    TextView rest;
};

/// The readings of a command line in the order in which they are tried; views into it. None when it names no program.
std::vector<ProgramReading> ProgramReadings(TextView commandLine);

std::vector<Text> SplitArguments(TextView arguments);

}  // namespace vmlib::posix
