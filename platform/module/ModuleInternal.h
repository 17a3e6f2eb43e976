// What the module area's files share: the executable's base and the module that holds an address.
#pragma once

#include <cstdint>

#include "TesselPlatform/Types.h"

namespace TesselPlatform::Module {

std::uintptr_t ExecutableBase();
// 0 when the address lies in no loaded object.
std::uintptr_t ModuleBaseOf(const void* address);

} // namespace TesselPlatform::Module
