// Marks what the library exports. Everything else stays inside the shared library, on every
// system, so that the export table is the same on Windows and elsewhere.
#pragma once

#if defined(_WIN32)
#  if defined(TESSEL_BUILDING_LIBRARY)
#    define TESSEL_API __declspec(dllexport)
#  else
#    define TESSEL_API __declspec(dllimport)
#  endif
#else
#  define TESSEL_API __attribute__((visibility("default")))
#endif
