// The module-level objects for the test program, which carries its own copy of the module code:
// the library keeps its copy hidden. Their resource module is the test program itself.

#include "com/ComModule.h"

namespace ATL {

ComTableState g_comTableState;
CAtlBaseModule g_baseModule;
CComModule g_module;

} // namespace ATL
