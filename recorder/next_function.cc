#include "next_function.h"

#include <dlfcn.h>
#include <link.h>

#include <iterator>

namespace {

const void *object_of(const void *address) {
  Dl_info object = {};
  return dladdr(address, &object) == 0 ? nullptr : object.dli_fbase;
}

const void *own_object() {
  static const char here = 0;
  return object_of(&here);
}

// An object and its libraries, as one scope.
class loaded_tree {
 public:
  explicit loaded_tree(const char *file) : handle_(dlopen(file, RTLD_LAZY | RTLD_NOLOAD)) {}
  ~loaded_tree() {
    if (handle_ != nullptr)
      dlclose(handle_);
  }
  loaded_tree(const loaded_tree &) = delete;
  loaded_tree &operator=(const loaded_tree &) = delete;

  void *find(const char *name) const { return handle_ == nullptr ? nullptr : dlsym(handle_, name); }
  void keep_loaded() { handle_ = nullptr; }

 private:
  void *handle_;
};

// Whether the object of the caller is the root of the tree, or a part: the tree has its function.
bool includes(const loaded_tree &tree, const link_map &root, const Dl_info &caller) {
  if (root.l_addr == reinterpret_cast<uintptr_t>(caller.dli_fbase))
    return true;
  if (caller.dli_sname == nullptr)
    return false;
  const void *const found = tree.find(caller.dli_sname);
  return found != nullptr && object_of(found) == caller.dli_fbase;
}

// The bounds of the loaded object that has an address.
struct object_bounds {
  uintptr_t address, begin, end;
};

int find_bounds(dl_phdr_info *object, std::size_t, void *to) {
  auto *const bounds = static_cast<object_bounds *>(to);
  uintptr_t begin = UINTPTR_MAX, end = 0;
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr) &part = object->dlpi_phdr[i];
    if (part.p_type != PT_LOAD)
      continue;
    const uintptr_t first = object->dlpi_addr + part.p_vaddr;
    begin = first < begin ? first : begin;
    end = first + part.p_memsz > end ? first + part.p_memsz : end;
  }
  if (bounds->address < begin || bounds->address >= end)
    return 0;
  *bounds = {bounds->address, begin, end};
  return 1;
}

// In the order in which they were loaded.
const link_map *loaded_objects() {
  void *const program = dlopen(nullptr, RTLD_LAZY | RTLD_NOLOAD);
  if (program == nullptr)
    return nullptr;
  dlclose(program);  // it stays
  return static_cast<const link_map *>(program);
}

// The program may unload what uses the library: calls must still find the function.
void keep_library_loaded(const void *function) {
  Dl_info library = {};
  if (dladdr(function, &library) != 0)
    loaded_tree(library.dli_fname).keep_loaded();
}

// Not inline: RTLD_NEXT means the object that the call of dlsym returns to.
__attribute__((noinline)) void *find_global_function(const char *name) {
  void *const found = dlsym(RTLD_NEXT, name);
  if (found != nullptr)
    keep_library_loaded(found);
  return found;
}

// The function in the libraries of an object that includes the caller, or else in those of the
// first object that has it.
void *find_local_function(const char *name, const void *caller, choice_report report) {
  const void *const own = own_object();
  Dl_info calling = {};
  if (dladdr(caller, &calling) == 0)
    calling = {};
  void *found = nullptr;
  bool is_callers = false, is_only = true;
  for (const link_map *object = loaded_objects(); object != nullptr; object = object->l_next) {
    if (object->l_name[0] == '\0')  // the program, whose scope is the global one
      continue;
    const loaded_tree tree(object->l_name);
    void *const function = tree.find(name);
    if (function == nullptr || object_of(function) == own)
      continue;
    is_only = is_only && (found == nullptr || found == function);
    const bool has_caller = includes(tree, *object, calling);
    if (found != nullptr && (is_callers || !has_caller))
      continue;
    found = function;
    is_callers = has_caller;
  }
  if (found == nullptr)
    return nullptr;
  keep_library_loaded(found);
  Dl_info library = {};
  if (!is_only && report != nullptr && dladdr(found, &library) != 0)
    report(name, library.dli_fname);
  return found;
}

}  // namespace

void *find_next_function(const char *name, const void *caller, choice_report report) {
  void *const global = find_global_function(name);
  return global != nullptr ? global : find_local_function(name, caller, report);
}

void next_function::find_global(void *function) {
  global_ = function != nullptr ? function : find_global_function(name_);
}

void *next_function::find_local(const void *caller) {
  const auto address = reinterpret_cast<uintptr_t>(caller);
  for (const local_function &local : locals_) {
    const uintptr_t begin = local.begin.load(std::memory_order_acquire);
    if (begin != 0 && address >= begin && address < local.end)
      return local.function;
  }
  find_global();
  void *const global = global_;
  if (global != nullptr)
    return global;
  void *const function = find_local_function(name_, caller, report_);
  if (function != nullptr)
    remember(caller, function);
  return function;
}

// Callers in more objects than there is space for are searched for at each call.
void next_function::remember(const void *caller, void *function) {
  object_bounds bounds = {reinterpret_cast<uintptr_t>(caller), 0, 0};
  dl_iterate_phdr(find_bounds, &bounds);
  if (bounds.begin == 0)
    return;
  const uint32_t place = used_.fetch_add(1);
  if (place >= std::size(locals_)) {
    used_ = static_cast<uint32_t>(std::size(locals_));
    return;
  }
  locals_[place].end = bounds.end;
  locals_[place].function = function;
  locals_[place].begin.store(bounds.begin, std::memory_order_release);
}
