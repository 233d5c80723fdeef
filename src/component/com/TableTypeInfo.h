#pragma once

#include "automation/MemberTable.h"
#include "component/com/ComApi.h"

namespace vmlib::com {

/// Type information of a class that stands in no library: the engine's databases and recordsets, collections. Made in
/// memory from its table, under the class's own name. Hosts such as PowerShell call only what type information names,
/// and others take the name of the class from it. Null when the system refuses.
ComPtr<ITypeInfo> MakeTypeInfo(const MemberTable& table);

}  // namespace vmlib::com
