#pragma once

#include "component/com/ComApi.h"

namespace vmlib::com {

inline constexpr TextView engineProgId = u"VMDEngine.DBEngine";
inline constexpr GUID engineClassId = {0xEDB15748, 0x61F5, 0x4C58, {0x98, 0xB7, 0xC2, 0xF6, 0x54, 0xC0, 0x4E, 0xBA}};

}  // namespace vmlib::com
