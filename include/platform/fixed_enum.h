/**
 * @file
 * The width of the enumerations, and the size of the records, that cross the library's interface.
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

/** Placed after the name of an enumeration: makes it 32 bits wide. */
#ifdef __cplusplus
#define KEL_ENUM32 : uint32_t
#else
#define KEL_ENUM32
#endif

/**
 * Stops the compiler if a record has another size than the service expects, for example with
 * -fshort-enums or a packing option.
 *
 * @param type the record
 * @param size its size in bytes
 */
#ifdef __cplusplus
#define KEL_SIZE_IS(type, size) \
  static_assert(sizeof(type) == (size), "a compiler option changes the size of " #type)
#elif defined __STDC_VERSION__ && __STDC_VERSION__ >= 201112L
#define KEL_SIZE_IS(type, size) \
  _Static_assert(sizeof(type) == (size), "a compiler option changes the size of " #type)
#else
#define KEL_SIZE_IS(type, size) typedef char size_of_##type[sizeof(type) == (size) ? 1 : -1]
#endif

#endif
