// Marks the functions that the platform layer's shared library exports.
#pragma once

#define TESSEL_PLATFORM_API __attribute__((visibility("default")))

#ifdef __cplusplus
#  define TESSEL_EXTERN_C_BEGIN extern "C" {
#  define TESSEL_EXTERN_C_END }
#else
#  define TESSEL_EXTERN_C_BEGIN
#  define TESSEL_EXTERN_C_END
#endif
