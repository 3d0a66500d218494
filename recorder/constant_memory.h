// Which memory keeps its content.
#ifndef RECORDER_CONSTANT_MEMORY_H
#define RECORDER_CONSTANT_MEMORY_H

#pragma GCC visibility push(hidden)

// Neither function may be used by two threads at once.

// Whether an address is in a part of a loaded object that cannot be written, such as the literals
// of a program; true of null. Remembers what it has found.
bool is_constant(const void *address);

// Forgets objects that have been unloaded.
void check_unloaded();

#pragma GCC visibility pop

#endif
