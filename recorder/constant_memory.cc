#include "constant_memory.h"

#include <link.h>

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace {

struct segment {
  uintptr_t begin, size;
};

bool includes(const segment &one, uintptr_t address) {
  return address - one.begin < one.size;
}

// A search takes a microsecond and more, so its results are kept: constant segments, and pages that
// are in none, each in a place that the page selects.
constexpr uintptr_t page = 4096, places = 8;
segment constants[places];
uintptr_t other_pages[places];
unsigned long long unloaded;  // objects so far

struct search {
  uintptr_t address;
  segment found;
};

int find_constant(dl_phdr_info *object, std::size_t, void *to) {
  auto *const wanted = static_cast<search *>(to);
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr) &part = object->dlpi_phdr[i];
    const segment here = {object->dlpi_addr + part.p_vaddr, part.p_memsz};
    if (part.p_type == PT_LOAD && (part.p_flags & PF_W) == 0 && includes(here, wanted->address)) {
      wanted->found = here;
      return 1;
    }
  }
  return 0;
}

int count_unloaded(dl_phdr_info *object, std::size_t, void *to) {
  *static_cast<unsigned long long *>(to) = object->dlpi_subs;
  return 1;
}

}  // namespace

bool is_constant(const void *address) {
  if (address == nullptr)
    return true;
  search wanted = {reinterpret_cast<uintptr_t>(address), {}};
  const uintptr_t number = wanted.address / page, place = number % places;
  if (includes(constants[place], wanted.address))
    return true;
  if (other_pages[place] == number)
    return false;
  if (dl_iterate_phdr(find_constant, &wanted) == 0) {
    other_pages[place] = number;
    return false;
  }
  constants[place] = wanted.found;
  return true;
}

void check_unloaded() {
  unsigned long long now = 0;
  dl_iterate_phdr(count_unloaded, &now);
  if (now == unloaded)
    return;
  unloaded = now;
  for (segment &one : constants)
    one = {};
}
