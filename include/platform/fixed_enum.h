/**
 * @file
 * The width of the enumerations that cross the library's interface.
 *
 * Every enumeration in a record or in an argument is 32 bits wide, and a value that names no
 * enumerator is an ordinary value: the library checks it or passes it on. C gives an enumeration
 * that much by itself on the targets; C++ needs the underlying type spelled out.
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
