// A module that carries one registration script and nothing else, for the tests that run the
// scripts of a module other than the program.

#include "TesselWin32.h"

namespace {

const char kScript[] = "HKCR { ModulePaths { val Module = s '%Module%' val Raw = s '%Module_Raw%' } }";
const TESSEL_RESOURCE kScripts[] = {{L"REGISTRY", MAKEINTRESOURCEW(201), kScript, sizeof kScript - 1}};
TESSEL_MODULE_RESOURCES(kScripts);

} // namespace
