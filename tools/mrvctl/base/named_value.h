// A table of values and their names, as generated from the public headers.
#ifndef MRVCTL_NAMED_VALUE_H
#define MRVCTL_NAMED_VALUE_H

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace mrvctl {

struct NamedValue {
  uint32_t value;
  const char *name;
};

// The last name of a value: where two share one, the later is an alias with a plainer meaning. Null
// where it has none.
template <size_t kSize>
const char *name_of(const NamedValue (&table)[kSize], uint32_t value) {
  const auto found =
      std::find_if(std::rbegin(table), std::rend(table),
                   [value](const NamedValue &named) { return named.value == value; });
  return found == std::rend(table) ? nullptr : found->name;
}

}  // namespace mrvctl

#endif
