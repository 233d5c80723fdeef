#pragma once

// The others take their types from the first.
// clang-format off
#include <windows.h>
#include <aclapi.h>
#include <lmcons.h>
#include <winnetwk.h>
// clang-format on

// A macro that turns the name of a port's member into another.
#undef MessageBox
