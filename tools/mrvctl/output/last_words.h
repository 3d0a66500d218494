// What the tool still says where a signal ends it: ^C, a closed pipe.
#ifndef MRVCTL_LAST_WORDS_H
#define MRVCTL_LAST_WORDS_H

#include <string>

namespace mrvctl {

// From now on a signal that ends the tool prints the last words first, if there are any.
void watch_signals();

// Sets them; an empty text for none.
void set_exit_notice(const std::string &text);

// Prints them; for signal handlers that end the tool themselves.
void print_exit_notice();

}  // namespace mrvctl

#endif
