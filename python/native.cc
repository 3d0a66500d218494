// The native part of the Python module: one function per operation of the library, for the Python
// code around it, which has the names and the comfort.
//
// Each function finds the caller in the Python stack, releases the interpreter's lock, and then
// takes the lock of the process, because the library serves one thread at a time.
//
// It also provides the six functions of the platform and forwards them to the platform that Python
// opens. So the library can be loaded without a platform, and a commit that the platform refuses is
// noticed, which the library does not report.
#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <limits>
#include <mutex>
#include <new>
#include <string>
#include <system_error>
#include <tuple>
#include <type_traits>
#include <utility>

#include "kel_asic_reference_text.h"
#include "morvaneusd.hpp"
#include "platform/register_map.h"
#include "platform/system_service.h"

namespace {

// The platform. All is null until open_platform().
struct Platform {
  void *library;
  decltype(sse_call2) *service_call;
  decltype(cardcfg_get_real_asic_type) *asic_type;
  decltype(cardcfg_card_get_sw_card_id) *card_id;
  decltype(morvane_lib_init) *describe;
  decltype(kel_asic_get_all_base_table) *bases;
  decltype(kel_asic_get_all_reg_table) *offsets;
};

Platform platform;
decltype(KEL_ASIC_fn::reg_dhs_entry_size) entry_size_hook;
syserr_t lost_commit;  // the first failure of the open batch

syserr_t service_result(int result) {
  if (result >= 0)
    return result == 0 ? 0 : KEL_ASIC_SYSERR_SERVICE_ANSWER;
  return KEL_ASIC_SYSERR_SERVICE | (static_cast<syserr_t>(errno) & KEL_ASIC_SYSERR_ERRNO_MASK);
}

}  // namespace

#pragma GCC visibility push(default)

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  if (platform.service_call == nullptr) {
    errno = ENOSYS;
    return -1;
  }
  const int result = platform.service_call(case_code, case_params, length);
  if (case_code == SYSSRV_MEM_WRITE_CASE && lost_commit == 0)
    lost_commit = service_result(result);
  return result;
}

int cardcfg_get_real_asic_type(uint32_t slot, uint32_t asic_index, uint32_t *dev_type) {
  return platform.asic_type(slot, asic_index, dev_type);
}

int cardcfg_card_get_sw_card_id(uint32_t slot, uint16_t *sw_card_id) {
  return platform.card_id(slot, sw_card_id);
}

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t context, char *file, int line, const char *func) {
  if (platform.describe == nullptr)
    return SYSERR_KEL_ASIC_UNINIT;
  const syserr_t result = platform.describe(funcs, limits, asic_ver, context, file, line, func);
  entry_size_hook = funcs->reg_dhs_entry_size;
  return result;
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t asic_ver) {
  return platform.bases(asic_ver);
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t asic_ver) {
  return platform.offsets(asic_ver);
}

#pragma GCC visibility pop

namespace {

// A reference to a Python object.
class Reference {
 public:
  explicit Reference(PyObject *object = nullptr) : object_(object) {}
  Reference(const Reference &) = delete;
  ~Reference() { Py_XDECREF(object_); }
  Reference &operator=(const Reference &) = delete;

  void reset(PyObject *object) {
    PyObject *const old = object_;
    object_ = object;
    Py_XDECREF(old);
  }
  [[nodiscard]] PyObject *get() const { return object_; }

 private:
  PyObject *object_;
};

// The lock of the process. A batch holds it, for its thread.
std::timed_mutex process_lock;
std::atomic<bool> batch_is_open;
thread_local bool in_batch;

// Whether Python shuts down: no other thread runs Python code any more.
bool is_shutting_down() {
  PyObject *const function = PySys_GetObject("is_finalizing");  // borrowed
  const Reference answer(function == nullptr ? nullptr : PyObject_CallNoArgs(function));
  PyErr_Clear();
  return answer.get() != Py_False;
}

// Takes the lock of the process from threads that Python has ended. False with a Python exception
// if one of them has a batch, because it keeps the lock.
bool take_from_ended_threads() {
  while (!process_lock.try_lock_for(std::chrono::milliseconds(10))) {
    if (batch_is_open) {
      PyErr_SetString(PyExc_RuntimeError, "Python shuts down while another thread has a batch");
      return false;
    }
  }
  return true;
}

// Releases the interpreter's lock, and takes the lock of the process. Null with a Python exception.
PyThreadState *take_turn() {
  bool has_turn = in_batch || process_lock.try_lock();
  if (!has_turn && is_shutting_down()) {
    if (!take_from_ended_threads())
      return nullptr;
    has_turn = true;
  }
  PyThreadState *const thread = PyEval_SaveThread();
  if (!has_turn)
    process_lock.lock();
  return thread;
}

void end_turn() {
  if (!in_batch)
    process_lock.unlock();
}

// Takes the interpreter's lock. If Python has shut down, its versions before 3.14 end a thread here
// by unwinding its stack, where destructors use Python's objects: it waits for the end instead.
void resume(PyThreadState *thread) {
  try {
    PyEval_RestoreThread(thread);
  } catch (...) {
    for (;;)
      pause();
  }
}

// Runs an operation, which throws nothing, without the interpreter's lock and with the lock of the
// process. False with a Python exception if it cannot have that.
template <typename Operation>
bool in_turn(Operation &&operation) {
  PyThreadState *const thread = take_turn();
  if (thread == nullptr)
    return false;
  operation();
  end_turn();
  resume(thread);
  return true;
}

struct Names {
  PyObject *filename, *function, *back;
};

Names names;
std::string *package_directory;  // of the Python code around this, with a slash at its end

// Text of Python, valid as long as the object; empty for what UTF-8 cannot encode.
std::pair<const char *, std::size_t> text_of(PyObject *object) {
  Py_ssize_t length = 0;
  const char *const text = PyUnicode_AsUTF8AndSize(object, &length);
  if (text != nullptr)
    return {text, static_cast<std::size_t>(length)};
  PyErr_Clear();
  return {"", 0};
}

// The caller of an operation: the first Python frame outside the package.
class Caller {
 public:
  // False with a Python exception.
  bool find() {
    Reference frame(Py_XNewRef(reinterpret_cast<PyObject *>(PyEval_GetFrame())));
    if (frame.get() == nullptr)
      return true;  // a program calls, and no script
    while (frame.get() != Py_None) {
      auto *const python_frame = reinterpret_cast<PyFrameObject *>(frame.get());
      const Reference code(reinterpret_cast<PyObject *>(PyFrame_GetCode(python_frame)));
      filename_.reset(PyObject_GetAttr(code.get(), names.filename));
      if (filename_.get() == nullptr)
        return false;
      const auto [file, length] = text_of(filename_.get());
      if (std::strncmp(file, package_directory->data(), package_directory->size()) != 0) {
        function_.reset(PyObject_GetAttr(code.get(), names.function));
        if (function_.get() == nullptr)
          return false;
        who_ = {end_of(file, length), PyFrame_GetLineNumber(python_frame),
                text_of(function_.get()).first};
        return true;
      }
      frame.reset(PyObject_GetAttr(frame.get(), names.back));
      if (frame.get() == nullptr)
        return false;
    }
    return true;
  }

  [[nodiscard]] const morvane::caller &where() const { return who_; }

 private:
  // A request has room for 127 characters of the file: those at the end tell files apart.
  static const char *end_of(const char *file, std::size_t length) {
    constexpr std::size_t room = sizeof(kel_asic_lib_debug_info_t::file) - 1;
    if (length <= room)
      return file;
    file += length - room;
    while ((static_cast<unsigned char>(*file) & 0xC0) == 0x80)  // within a character
      ++file;
    return file;
  }

  Reference filename_, function_;
  morvane::caller who_ = {"", 0, ""};
};

// Words in the buffer of a Python object.
class Words {
 public:
  Words() = default;
  Words(const Words &) = delete;
  ~Words() {
    if (view_.obj != nullptr)
      PyBuffer_Release(&view_);
  }
  Words &operator=(const Words &) = delete;

  // False with a Python exception.
  bool open(PyObject *object, bool writable) {
    if (PyObject_GetBuffer(object, &view_, PyBUF_FULL_RO) != 0)
      return false;
    if (!has_words()) {
      PyErr_SetString(PyExc_TypeError,
                      "the buffer must have unsigned items of 4 bytes, as array('I')");
      return false;
    }
    if (writable && view_.readonly != 0) {
      PyErr_SetString(PyExc_TypeError, "the buffer is read-only");
      return false;
    }
    if (PyBuffer_IsContiguous(&view_, 'C') == 0) {
      PyErr_SetString(PyExc_ValueError, "the buffer is not contiguous");
      return false;
    }
    return true;
  }

  // As the interface takes words.
  [[nodiscard]] uint32_t *data() const { return static_cast<uint32_t *>(view_.buf); }
  [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(view_.len) / 4; }

 private:
  [[nodiscard]] bool has_words() const {
    const char *format = view_.format == nullptr ? "B" : view_.format;
    format += std::strchr("@=<", *format) != nullptr && *format != '\0';
    return view_.itemsize == 4 && (std::strcmp(format, "I") == 0 || std::strcmp(format, "L") == 0);
  }

  Py_buffer view_ = {};
};

// Words that are read into.
struct WritableWords : Words {};

// The steps of a program, as words.
struct Steps : Words {
  static constexpr std::size_t step_words = sizeof(kel_asic_pgm_t) / sizeof(uint32_t);

  [[nodiscard]] const kel_asic_pgm_t *data() const {
    return reinterpret_cast<const kel_asic_pgm_t *>(Words::data());
  }
  [[nodiscard]] std::size_t size() const { return Words::size() / step_words; }
};

struct Register {
  morvane::asic_reg at = morvane::at(KEL_ASIC_NUM_BLK, 0, 0);
};

// The arguments of an operation. Each get() returns false with a Python exception.
template <typename Number, typename = std::enable_if_t<std::is_unsigned_v<Number>>>
bool get(PyObject *object, Number *number) {
  if (!PyLong_CheckExact(object)) {  // perhaps another kind of integer
    const Reference index(PyNumber_Index(object));
    return index.get() != nullptr && get(index.get(), number);
  }
  const unsigned long value = PyLong_AsUnsignedLong(object);
  if (value == static_cast<unsigned long>(-1) && PyErr_Occurred() != nullptr)
    return false;
  constexpr unsigned long highest = std::numeric_limits<Number>::max();
  if (value > highest) {
    PyErr_Format(PyExc_OverflowError, "%lu is not a number from 0 to %lu", value, highest);
    return false;
  }
  *number = static_cast<Number>(value);
  return true;
}

template <std::size_t N>
bool get(PyObject *object, std::array<uint32_t, N> *numbers) {
  if (PyTuple_Check(object) == 0 || PyTuple_Size(object) != static_cast<Py_ssize_t>(N)) {
    PyErr_Format(PyExc_TypeError, "expected a tuple of %zu numbers", N);
    return false;
  }
  for (std::size_t i = 0; i < N; ++i) {
    if (!get(PyTuple_GetItem(object, static_cast<Py_ssize_t>(i)), &(*numbers)[i]))
      return false;
  }
  return true;
}

bool get(PyObject *object, morvane::asic *on) {
  std::array<uint32_t, 2> numbers = {};
  if (!get(object, &numbers))
    return false;
  *on = {static_cast<int>(numbers[0]), numbers[1]};
  return true;
}

bool get(PyObject *object, Register *reg) {
  std::array<uint32_t, 5> numbers = {};
  if (!get(object, &numbers))
    return false;
  const auto &[module, asic, block, instance, number] = numbers;
  reg->at = morvane::at(static_cast<kel_asic_blk_t>(block), instance, number)
                .on({static_cast<int>(module), asic});
  return true;
}

bool get(PyObject *object, morvane::port *port) {
  std::array<uint32_t, 4> numbers = {};
  if (!get(object, &numbers))
    return false;
  const auto &[type, number, module, asic] = numbers;
  *port = {static_cast<cardcfg_port_type_t>(type), number, {static_cast<int>(module), asic}};
  return true;
}

bool get(PyObject *object, Words *words) {
  return words->open(object, false);
}

bool get(PyObject *object, WritableWords *words) {
  return words->open(object, true);
}

bool get(PyObject *object, Steps *steps) {
  if (!steps->open(object, false))
    return false;
  if (steps->Words::size() % Steps::step_words == 0)
    return true;
  PyErr_SetString(PyExc_ValueError, "the words are not complete steps of a program");
  return false;
}

bool get(PyObject *object, const char **text) {
  Py_ssize_t length = 0;
  *text = PyUnicode_AsUTF8AndSize(object, &length);
  if (*text == nullptr)
    return false;
  if (std::strlen(*text) == static_cast<std::size_t>(length))
    return true;
  PyErr_SetString(PyExc_ValueError, "the text must not contain a NUL character");
  return false;
}

template <typename... Values>
bool get_all(PyObject *const *arguments, Py_ssize_t count, Values *...values) {
  if (count == static_cast<Py_ssize_t>(sizeof...(values)))
    return (get(*arguments++, values) && ...);
  PyErr_Format(PyExc_TypeError, "expected %zu arguments, got %zd", sizeof...(values), count);
  return false;
}

// Raises the error of an operation, about its first argument. Without a text it has the usual one.
PyObject *fail(const std::error_code &failure, const char *text, const char *operation,
               PyObject *subject) {
  if (failure == morvane::errc::wrong_size) {
    PyErr_SetString(PyExc_ValueError, text);
    return nullptr;
  }
  const Reference errors(PyImport_ImportModule("morvaneusd.errors"));
  if (errors.get() == nullptr)
    return nullptr;
  const auto code = static_cast<unsigned>(failure.value());
  const Reference error(
      PyObject_CallMethod(errors.get(), "error_about", "IsOs", code, operation, subject, text));
  if (error.get() != nullptr)
    PyErr_SetObject(reinterpret_cast<PyObject *>(Py_TYPE(error.get())), error.get());
  return nullptr;
}

// Runs an operation of morvaneusd.hpp with arguments of these types and its caller. Returns None.
template <typename... Values, typename Operation>
PyObject *perform(PyObject *const *arguments, Py_ssize_t count, const char *name,
                  Operation operation) {
  std::tuple<Values...> values;
  Caller who;
  const bool complete =
      std::apply([&](Values &...value) { return get_all(arguments, count, &value...); }, values);
  if (!complete || !who.find())
    return nullptr;
  std::exception_ptr failure;
  const bool had_turn = in_turn([&] {
    try {
      std::apply([&](const Values &...value) { operation(value..., who.where()); }, values);
    } catch (...) {
      failure = std::current_exception();
    }
  });
  if (!had_turn)
    return nullptr;
  try {
    if (failure != nullptr)
      std::rethrow_exception(failure);
    return Py_NewRef(Py_None);
  } catch (const std::system_error &error) {
    return fail(error.code(), error.what(), name, count == 0 ? Py_None : arguments[0]);
  } catch (const std::bad_alloc &) {
    return PyErr_NoMemory();
  }
}

// The functions of the module. Those without a comment are one operation of the library.

// set_package_directory(path): callers are sought outside it.
PyObject *set_package_directory(PyObject *, PyObject *path) {
  const char *text = nullptr;
  if (!get(path, &text))
    return nullptr;
  package_directory->assign(text);
  return Py_NewRef(Py_None);
}

template <typename Function>
bool find(void *library, const char *name, Function **function) {
  *function = reinterpret_cast<Function *>(dlsym(library, name));
  if (*function == nullptr)
    PyErr_Format(PyExc_OSError, "the platform does not have the function %s", name);
  return *function != nullptr;
}

// open_platform(path): once in a process; a later call does nothing.
PyObject *open_platform(PyObject *, PyObject *path) {
  const char *file = nullptr;
  if (!get(path, &file))
    return nullptr;
  if (platform.service_call != nullptr)
    return Py_NewRef(Py_None);
  void *const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    PyErr_Format(PyExc_OSError, "no platform: %s; name one with MORVANE_PLATFORM", dlerror());
    return nullptr;
  }
  Platform found = {};
  found.library = library;
  if (!find(library, "sse_call2", &found.service_call) ||
      !find(library, "cardcfg_get_real_asic_type", &found.asic_type) ||
      !find(library, "cardcfg_card_get_sw_card_id", &found.card_id) ||
      !find(library, "morvane_lib_init", &found.describe) ||
      !find(library, "kel_asic_get_all_base_table", &found.bases) ||
      !find(library, "kel_asic_get_all_reg_table", &found.offsets)) {
    dlclose(library);
    return nullptr;
  }
  platform = found;
  return Py_NewRef(Py_None);
}

// connect(address) -> errno, or None if the platform has no switch to choose; None: a private
// switch.
PyObject *connect(PyObject *, PyObject *argument) {
  const char *address = nullptr;
  if (argument != Py_None && !get(argument, &address))
    return nullptr;
  using Connect = int (*)(const char *);
  const auto connect_to = reinterpret_cast<Connect>(dlsym(platform.library, "vp_connect"));
  if (connect_to == nullptr)
    return Py_NewRef(Py_None);
  int error = 0;
  if (!in_turn([&] { error = connect_to(address); }))
    return nullptr;
  return PyLong_FromLong(error);
}

// library_file() -> str: the path of libmorvaneusd.so.
PyObject *library_file(PyObject *, PyObject *) {
  Dl_info library = {};
  dladdr(dlsym(RTLD_DEFAULT, "kel_asic_blk_names"), &library);
  return PyUnicode_DecodeFSDefault(library.dli_fname == nullptr ? "" : library.dli_fname);
}

// While it exists, what the library prints goes nowhere. Python prints without the stream of the C
// library.
class DiscardedOutput {
 public:
  DiscardedOutput() : output_(stdout), nothing_(std::fopen("/dev/null", "we")) {
    if (nothing_ != nullptr)
      stdout = nothing_;
  }
  DiscardedOutput(const DiscardedOutput &) = delete;
  DiscardedOutput &operator=(const DiscardedOutput &) = delete;
  ~DiscardedOutput() {
    stdout = output_;
    if (nothing_ != nullptr)
      std::fclose(nothing_);
  }

 private:
  std::FILE *output_, *nothing_;
};

PyObject *init(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<slot_num_t>(arguments, count, __func__, [](auto slot, auto &who) {
    const DiscardedOutput line_about_the_trace;
    morvane::init(slot, who);
  });
}

PyObject *read(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  uint32_t value = 0;
  const Reference done(perform<Register>(arguments, count, __func__, [&](auto &reg, auto &who) {
    value = morvane::read(reg.at, who);
  }));
  return done.get() == nullptr ? nullptr : PyLong_FromUnsignedLong(value);
}

PyObject *write(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<Register, uint32_t>(
      arguments, count, __func__,
      [](auto &reg, auto value, auto &who) { morvane::write(reg.at, value, who); });
}

PyObject *write_field(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<Register, uint32_t, uint32_t>(arguments, count, __func__,
                                               [](auto &reg, auto value, auto mask, auto &who) {
                                                 morvane::write_field(reg.at, value, mask, who);
                                               });
}

PyObject *write_raw(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<uint32_t, morvane::asic, uint32_t>(
      arguments, count, __func__, [](auto address, auto &on, auto value, auto &who) {
        morvane::write(morvane::raw(address, on), value, who);
      });
}

PyObject *write_field_raw(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<uint32_t, morvane::asic, uint32_t, uint32_t>(
      arguments, count, __func__, [](auto address, auto &on, auto value, auto mask, auto &who) {
        morvane::write_field(morvane::raw(address, on), value, mask, who);
      });
}

PyObject *send_command(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<uint32_t, morvane::port, uint32_t>(
      arguments, count, __func__, [](auto address, auto &port, auto value, auto &who) {
        morvane::write(morvane::command(address, port), value, who);
      });
}

PyObject *read_block(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<Register, WritableWords>(
      arguments, count, __func__,
      [](auto &reg, auto &words, auto &who) { morvane::read_block(reg.at, words, who); });
}

// Words of an entry, 0 if it does not exist. The register map decides some after the
// initialisation.
uint32_t size_of_entry(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t index) {
  int words = kel_asic_dhs_entry_size(block, vreg, index);
  if (words == KEL_ASIC_DHS_BY_HOOK && entry_size_hook != nullptr)
    words = entry_size_hook(block, vreg, index);
  return static_cast<uint32_t>(std::max(0, words));
}

// entry_words(block, number, index) -> int: 0 if it is not known.
PyObject *entry_words(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  uint32_t block = 0, number = 0, index = 0;
  if (!get_all(arguments, count, &block, &number, &index))
    return nullptr;
  return PyLong_FromUnsignedLong(size_of_entry(static_cast<kel_asic_blk_t>(block), number, index));
}

// The table, for a buffer of complete entries: the library moves as many words as it has room for.
morvane::table table_at(const Register &reg, uint32_t index) {
  return {reg.at, size_of_entry(reg.at.where().block(), reg.at.where().vreg(), index)};
}

PyObject *read_entries(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<Register, uint32_t, WritableWords>(
      arguments, count, __func__, [](auto &reg, auto index, auto &words, auto &who) {
        morvane::read_entries(table_at(reg, index), index, words, who);
      });
}

PyObject *write_entries(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<Register, uint32_t, Words>(
      arguments, count, __func__, [](auto &reg, auto index, auto &words, auto &who) {
        morvane::write_entries(table_at(reg, index), index, words, who);
      });
}

// run(asics, steps): ASICs as module and bit map, the steps as words, 6 each.
PyObject *run(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<morvane::asic, Steps>(
      arguments, count, __func__, [](auto &asics, auto &steps, auto &who) {
        morvane::run(steps, morvane::asic_set::map(asics.number, asics.module), who);
      });
}

PyObject *get_qos_stats(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  kel_asic_qos_stats_t record;
  const Reference done(perform<morvane::port, uint32_t>(
      arguments, count, __func__, [&](auto &port, auto options, auto &) {
        record = morvane::get_qos_stats(port, options).record();
      }));
  if (done.get() == nullptr)
    return nullptr;
  return PyBytes_FromStringAndSize(reinterpret_cast<const char *>(&record), sizeof record);
}

PyObject *clear_qos_stats(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<morvane::port, uint32_t>(
      arguments, count, __func__,
      [](auto &port, auto options, auto &) { morvane::clear_qos_stats(port, options); });
}

PyObject *clear_all_qos_stats(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<morvane::asic, uint32_t>(
      arguments, count, __func__,
      [](auto &on, auto options, auto &) { morvane::clear_all_qos_stats(on, options); });
}

PyObject *link_pause_enable(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<morvane::port>(arguments, count, __func__,
                                [](auto &port, auto &) { morvane::link_pause_enable(port); });
}

PyObject *link_pause_disable(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<morvane::port>(arguments, count, __func__,
                                [](auto &port, auto &) { morvane::link_pause_disable(port); });
}

PyObject *sfp_validation_failed(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<morvane::port>(arguments, count, __func__,
                                [](auto &port, auto &) { morvane::sfp_validation_failed(port); });
}

PyObject *set_nodrop_class_map(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<morvane::asic, uint32_t>(
      arguments, count, __func__,
      [](auto &on, auto map, auto &) { morvane::set_nodrop_class_map(map, on); });
}

PyObject *prog_sp_timer(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<morvane::asic, uint16_t>(
      arguments, count, __func__,
      [](auto &on, auto time, auto &) { morvane::prog_sp_timer(time, on); });
}

PyObject *clear_all_drop_counters(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return perform<>(arguments, count, __func__, [](auto &) { morvane::clear_all_drop_counters(); });
}

// The scope of a batch, with a name and reorder. Its methods are native because ^C is raised
// between any two instructions of Python: the lock would stay taken.
//
// __enter__(): keeps the lock of the process.
PyObject *enter_batch(PyObject *self, PyObject *) {
  const Reference name_object(PyObject_GetAttrString(self, "name")),
      reorder_object(PyObject_GetAttrString(self, "reorder"));
  const char *name = nullptr;
  uint32_t reorder = 0;
  if (name_object.get() == nullptr || reorder_object.get() == nullptr ||
      !get(name_object.get(), &name) || !get(reorder_object.get(), &reorder))
    return nullptr;
  if (*name == '\0' || in_batch) {
    const std::error_code code = *name == '\0' ? morvane::to_error_code(SYSERR_KEL_ASIC_INVALID_ARG)
                                               : morvane::errc::already_open;
    return fail(code, "", "batch", name_object.get());
  }
  PyThreadState *const thread = take_turn();
  if (thread == nullptr)
    return nullptr;
  in_batch = batch_is_open = true;
  lost_commit = 0;
  mrv_asic_transaction_start(const_cast<char *>(name), reorder != 0);
  resume(thread);
  return Py_NewRef(self);
}

// __exit__(kind, error, traceback): commits, and calls _ended(error, code) with the code of the
// first service call of the batch that failed, or 0.
PyObject *exit_batch(PyObject *self, PyObject *const *arguments, Py_ssize_t count) {
  if (!in_batch) {
    PyErr_SetString(PyExc_RuntimeError, "a batch must end in the thread that began it");
    return nullptr;
  }
  PyThreadState *const thread = PyEval_SaveThread();
  mrv_asic_transaction_commit();
  const syserr_t lost = lost_commit;
  in_batch = batch_is_open = false;
  end_turn();
  resume(thread);
  return PyObject_CallMethod(self, "_ended", "OI", count > 1 ? arguments[1] : Py_None, lost);
}

// before_fork() and after_fork(): no thread is in the library while the process forks.
PyObject *before_fork(PyObject *, PyObject *) {
  PyThreadState *const thread = take_turn();
  if (thread == nullptr)
    return nullptr;
  resume(thread);
  return Py_NewRef(Py_None);
}

PyObject *after_fork(PyObject *, PyObject *) {
  end_turn();
  return Py_NewRef(Py_None);
}

// register_text(register), port_text(port) and address_text(address) -> str: as mrvctl has them,
// without module and ASIC.
PyObject *register_text(PyObject *, PyObject *argument) {
  Register reg;
  if (!get(argument, &reg))
    return nullptr;
  const morvane::reg &at = reg.at.where();
  std::array<char, 64> text = {};
  return PyUnicode_FromString(
      kel_asic_register_text(text.data(), text.size(), at.block(), at.instance(), at.vreg()));
}

PyObject *port_text(PyObject *, PyObject *argument) {
  morvane::port port = {};
  if (!get(argument, &port))
    return nullptr;
  std::array<char, 64> text = {};
  return PyUnicode_FromString(kel_asic_port_text(text.data(), text.size(), port.type, port.number));
}

PyObject *address_text(PyObject *, PyObject *argument) {
  uint32_t address = 0;
  if (!get(argument, &address))
    return nullptr;
  std::array<char, 64> text = {};
  return PyUnicode_FromString(kel_asic_address_text(text.data(), text.size(), address));
}

// explain(code) -> (name, errno, message): errno is 0 for a code without one.
PyObject *explain(PyObject *, PyObject *argument) {
  uint32_t code = 0;
  if (!get(argument, &code))
    return nullptr;
  const std::error_code ec = morvane::to_error_code(code);
  const std::error_condition condition = ec.default_error_condition();
  const int number = condition.category() == std::generic_category() ? condition.value() : 0;
  try {
    return Py_BuildValue("sis", kel_asic_syserr_name(code), number, ec.message().c_str());
  } catch (const std::bad_alloc &) {
    return PyErr_NoMemory();
  }
}

using FastFunction = PyObject *(*)(PyObject *, PyObject *const *, Py_ssize_t);

PyCFunction as_function(FastFunction function) noexcept {
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

PyMethodDef functions[] = {
    {"set_package_directory", set_package_directory, METH_O, nullptr},
    {"open_platform", open_platform, METH_O, nullptr},
    {"connect", connect, METH_O, nullptr},
    {"library_file", library_file, METH_NOARGS, nullptr},
    {"init", as_function(init), METH_FASTCALL, nullptr},
    {"read", as_function(read), METH_FASTCALL, nullptr},
    {"write", as_function(write), METH_FASTCALL, nullptr},
    {"write_field", as_function(write_field), METH_FASTCALL, nullptr},
    {"write_raw", as_function(write_raw), METH_FASTCALL, nullptr},
    {"write_field_raw", as_function(write_field_raw), METH_FASTCALL, nullptr},
    {"send_command", as_function(send_command), METH_FASTCALL, nullptr},
    {"read_block", as_function(read_block), METH_FASTCALL, nullptr},
    {"entry_words", as_function(entry_words), METH_FASTCALL, nullptr},
    {"read_entries", as_function(read_entries), METH_FASTCALL, nullptr},
    {"write_entries", as_function(write_entries), METH_FASTCALL, nullptr},
    {"run", as_function(run), METH_FASTCALL, nullptr},
    {"before_fork", before_fork, METH_NOARGS, nullptr},
    {"after_fork", after_fork, METH_NOARGS, nullptr},
    {"get_qos_stats", as_function(get_qos_stats), METH_FASTCALL, nullptr},
    {"clear_qos_stats", as_function(clear_qos_stats), METH_FASTCALL, nullptr},
    {"clear_all_qos_stats", as_function(clear_all_qos_stats), METH_FASTCALL, nullptr},
    {"link_pause_enable", as_function(link_pause_enable), METH_FASTCALL, nullptr},
    {"link_pause_disable", as_function(link_pause_disable), METH_FASTCALL, nullptr},
    {"set_nodrop_class_map", as_function(set_nodrop_class_map), METH_FASTCALL, nullptr},
    {"sfp_validation_failed", as_function(sfp_validation_failed), METH_FASTCALL, nullptr},
    {"prog_sp_timer", as_function(prog_sp_timer), METH_FASTCALL, nullptr},
    {"clear_all_drop_counters", as_function(clear_all_drop_counters), METH_FASTCALL, nullptr},
    {"register_text", register_text, METH_O, nullptr},
    {"port_text", port_text, METH_O, nullptr},
    {"address_text", address_text, METH_O, nullptr},
    {"explain", explain, METH_O, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyMethodDef batch_methods[] = {
    {"__enter__", enter_batch, METH_NOARGS, nullptr},
    {"__exit__", as_function(exit_batch), METH_FASTCALL, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyType_Slot batch_slots[] = {{Py_tp_methods, batch_methods}, {0, nullptr}};

PyType_Spec batch_scope = {"morvaneusd._native.BatchScope", sizeof(PyObject), 0,
                           Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, batch_slots};

PyModuleDef module = {
    PyModuleDef_HEAD_INIT, "_native", nullptr, -1, functions, nullptr, nullptr, nullptr, nullptr};

}  // namespace

// NOLINTNEXTLINE(*-reserved-identifier,cert-dcl*): the name that Python requires
PyMODINIT_FUNC PyInit__native() {
  names = {PyUnicode_InternFromString("co_filename"), PyUnicode_InternFromString("co_name"),
           PyUnicode_InternFromString("f_back")};
  if (names.filename == nullptr || names.function == nullptr || names.back == nullptr)
    return nullptr;
  package_directory = new std::string;
  const Reference scope(PyType_FromSpec(&batch_scope));
  PyObject *const made = scope.get() == nullptr ? nullptr : PyModule_Create(&module);
  if (made == nullptr || PyModule_AddObjectRef(made, "BatchScope", scope.get()) == 0)
    return made;
  Py_DECREF(made);
  return nullptr;
}
