/**
 * @file
 * The width of the enumerations that cross the library's interface.
 *
 * Every enumeration in a record or in an argument is 32 bits wide. A value without an enumerator is
 * valid in the language: the library checks it or passes it on. In C, enumerations have this width
 * on the supported targets; C++ needs the underlying type.
 *
 *     typedef enum colour_t KEL_ENUM32 { COLOUR_RED = 0 } colour_t;
 */
#ifndef PLATFORM_FIXED_ENUM_H
#define PLATFORM_FIXED_ENUM_H

#include <stdint.h>

#ifdef __cplusplus
#define KEL_ENUM32 : uint32_t
#else
#define KEL_ENUM32
#endif

#endif
