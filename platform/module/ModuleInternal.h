// What the module area's files share: the executable's base, the module that holds an address,
// and the UTF-8 forms of paths.
#pragma once

#include <cstdint>
#include <string>

#include "TesselPlatform/Types.h"

namespace TesselModule {

std::uintptr_t ExecutableBase();
// 0 when the address lies in no loaded object.
std::uintptr_t ModuleBaseOf(const void* address);
std::string ToUtf8(LPCWSTR text);
std::wstring ToWide(const std::string& text);

} // namespace TesselModule
