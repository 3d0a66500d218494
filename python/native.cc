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

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>

#include "morvaneusd.hpp"
#include "platform/register_map.h"
#include "platform/system_service.h"

namespace {

// The platform. Its functions are null until open_platform().
struct Platform {
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

// The lock of the process. A batch holds it, for its thread.
std::mutex process_lock;
thread_local bool in_batch;

void take_turn() {
  if (!in_batch)
    process_lock.lock();
}

void end_turn() {
  if (!in_batch)
    process_lock.unlock();
}

// Runs an operation without the interpreter's lock and with the lock of the process.
template <typename Operation>
void in_turn(Operation &&operation) {
  PyThreadState *const thread = PyEval_SaveThread();
  take_turn();
  operation();
  end_turn();
  PyEval_RestoreThread(thread);
}

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

  operator const morvane::caller &() const { return who_; }

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

struct WritableWords : Words {};

struct Register {
  morvane::asic_reg at = morvane::at(KEL_ASIC_NUM_BLK, 0, 0);
};

// The arguments of an operation. Each returns false with a Python exception.
bool get(PyObject *object, uint32_t *word) {
  const unsigned long number = PyLong_AsUnsignedLong(object);
  if (PyErr_Occurred() != nullptr)
    return false;
  if (number > UINT32_MAX) {
    PyErr_Format(PyExc_OverflowError, "%lu is not a number from 0 to 0xFFFFFFFF", number);
    return false;
  }
  *word = static_cast<uint32_t>(number);
  return true;
}

template <std::size_t N>
bool get(PyObject *object, std::array<uint32_t, N> *words) {
  if (PyTuple_Check(object) == 0 || PyTuple_Size(object) != static_cast<Py_ssize_t>(N)) {
    PyErr_Format(PyExc_TypeError, "expected a tuple of %zu numbers", N);
    return false;
  }
  for (std::size_t i = 0; i < N; ++i) {
    if (!get(PyTuple_GetItem(object, static_cast<Py_ssize_t>(i)), &(*words)[i]))
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

bool get(PyObject *object, const char **text) {
  Py_ssize_t length = 0;
  *text = PyUnicode_AsUTF8AndSize(object, &length);
  if (*text == nullptr)
    return false;
  if (std::strlen(*text) != static_cast<std::size_t>(length)) {
    PyErr_SetString(PyExc_ValueError, "the text must not contain a NUL character");
    return false;
  }
  return true;
}

template <typename... Values>
bool get_all(PyObject *const *arguments, Py_ssize_t count, Values *...values) {
  if (count != static_cast<Py_ssize_t>(sizeof...(values))) {
    PyErr_Format(PyExc_TypeError, "expected %zu arguments, got %zd", sizeof...(values), count);
    return false;
  }
  return (get(*arguments++, values) && ...);
}

// Raises the package's Error, about a register, port or ASIC, as Python has it.
PyObject *fail(const std::error_code &ec, const char *operation, PyObject *subject) {
  const Reference errors(PyImport_ImportModule("morvaneusd.errors"));
  if (errors.get() == nullptr)
    return nullptr;
  const Reference error(PyObject_CallMethod(errors.get(), "error_about", "IsO",
                                            static_cast<unsigned>(ec.value()), operation, subject));
  if (error.get() != nullptr)
    PyErr_SetObject(reinterpret_cast<PyObject *>(Py_TYPE(error.get())), error.get());
  return nullptr;
}

PyObject *none_or_fail(const std::error_code &ec, const char *operation, PyObject *subject) {
  return ec ? fail(ec, operation, subject) : Py_NewRef(Py_None);
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
  if (!find(library, "sse_call2", &found.service_call) ||
      !find(library, "cardcfg_get_real_asic_type", &found.asic_type) ||
      !find(library, "cardcfg_card_get_sw_card_id", &found.card_id) ||
      !find(library, "morvane_lib_init", &found.describe) ||
      !find(library, "kel_asic_get_all_base_table", &found.bases) ||
      !find(library, "kel_asic_get_all_reg_table", &found.offsets))
    return nullptr;
  platform = found;
  return Py_NewRef(Py_None);
}

// library_file() -> str: the path of libmorvaneusd.so.
PyObject *library_file(PyObject *, PyObject *) {
  Dl_info library = {};
  dladdr(dlsym(RTLD_DEFAULT, "kel_asic_blk_names"), &library);
  return PyUnicode_DecodeFSDefault(library.dli_fname == nullptr ? "" : library.dli_fname);
}

// The library prints a line at initialisation, which is not output of the program. Python prints
// without the stream of the C library.
std::error_code init_quietly(uint32_t slot, const morvane::caller &who) {
  std::FILE *const output = stdout;
  std::FILE *const nothing = std::fopen("/dev/null", "we");
  if (nothing != nullptr)
    stdout = nothing;
  std::error_code ec;
  morvane::init(static_cast<slot_num_t>(slot), ec, who);
  stdout = output;
  if (nothing != nullptr)
    std::fclose(nothing);
  return ec;
}

PyObject *init(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  uint32_t slot = 0;
  Caller who;
  if (!get_all(arguments, count, &slot) || !who.find())
    return nullptr;
  if (slot > UINT8_MAX) {
    PyErr_SetString(PyExc_ValueError, "slot must be a number from 0 to 255");
    return nullptr;
  }
  std::error_code ec;
  in_turn([&] { ec = init_quietly(slot, who); });
  return none_or_fail(ec, "init", Py_None);
}

PyObject *read(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  Register reg;
  Caller who;
  if (!get_all(arguments, count, &reg) || !who.find())
    return nullptr;
  std::error_code ec;
  uint32_t value = 0;
  in_turn([&] { value = morvane::read(reg.at, ec, who); });
  return ec ? fail(ec, "read", arguments[0]) : PyLong_FromUnsignedLong(value);
}

PyObject *write(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  Register reg;
  uint32_t value = 0;
  Caller who;
  if (!get_all(arguments, count, &reg, &value) || !who.find())
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::write(reg.at, value, ec, who); });
  return none_or_fail(ec, "write", arguments[0]);
}

PyObject *write_field(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  Register reg;
  uint32_t value = 0, mask = 0;
  Caller who;
  if (!get_all(arguments, count, &reg, &value, &mask) || !who.find())
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::write_field(reg.at, value, mask, ec, who); });
  return none_or_fail(ec, "write_field", arguments[0]);
}

PyObject *write_raw(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  morvane::raw_address to = {};
  uint32_t value = 0;
  Caller who;
  if (!get_all(arguments, count, &to.on, &to.address, &value) || !who.find())
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::write(to, value, ec, who); });
  return none_or_fail(ec, "write_raw", arguments[1]);
}

PyObject *write_field_raw(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  morvane::raw_address to = {};
  uint32_t value = 0, mask = 0;
  Caller who;
  if (!get_all(arguments, count, &to.on, &to.address, &value, &mask) || !who.find())
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::write_field(to, value, mask, ec, who); });
  return none_or_fail(ec, "write_field_raw", arguments[1]);
}

PyObject *read_block(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  Register reg;
  WritableWords words;
  Caller who;
  if (!get_all(arguments, count, &reg, &words) || !who.find())
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::read_block(reg.at, words, ec, who); });
  return none_or_fail(ec, "read_block", arguments[0]);
}

// Words of an entry; below 1 for what is not one. The register map decides some after the
// initialisation.
int size_of_entry(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t index) {
  const int published = kel_asic_dhs_entry_size(block, vreg, index);
  if (published != KEL_ASIC_DHS_BY_HOOK || entry_size_hook == nullptr)
    return published;
  return entry_size_hook(block, vreg, index);
}

// entry_words(block, number, index) -> int: 0 if it is not known.
PyObject *entry_words(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  uint32_t block = 0, number = 0, index = 0;
  if (!get_all(arguments, count, &block, &number, &index))
    return nullptr;
  return PyLong_FromLong(
      std::max(0, size_of_entry(static_cast<kel_asic_blk_t>(block), number, index)));
}

// The table, whose entries the words must be: the library moves complete entries. 0 words of an
// entry that does not exist, which the library refuses.
morvane::table table_at(const morvane::asic_reg &at, uint32_t index) {
  const int words = size_of_entry(at.where().block(), at.where().vreg(), index);
  return {at, static_cast<uint32_t>(std::max(0, words))};
}

bool are_entries(const morvane::table &table, const Words &words) {
  if (table.words() == 0 || words.size() % table.words() == 0)
    return true;
  PyErr_Format(PyExc_ValueError, "%zu words are not a multiple of the entry size, %u", words.size(),
               table.words());
  return false;
}

PyObject *read_entries(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  Register reg;
  uint32_t index = 0;
  WritableWords words;
  Caller who;
  if (!get_all(arguments, count, &reg, &index, &words) || !who.find())
    return nullptr;
  const morvane::table table = table_at(reg.at, index);
  if (!are_entries(table, words))
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::read_entries(table, index, words, ec, who); });
  return none_or_fail(ec, "read_entries", arguments[0]);
}

PyObject *write_entries(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  Register reg;
  uint32_t index = 0;
  Words words;
  Caller who;
  if (!get_all(arguments, count, &reg, &index, &words) || !who.find())
    return nullptr;
  const morvane::table table = table_at(reg.at, index);
  if (!are_entries(table, words))
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::write_entries(table, index, words, ec, who); });
  return none_or_fail(ec, "write_entries", arguments[0]);
}

// run(asic, steps): the steps as words, 6 each.
PyObject *run(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  morvane::asic on;
  Words words;
  Caller who;
  if (!get_all(arguments, count, &on, &words) || !who.find())
    return nullptr;
  constexpr std::size_t step_words = sizeof(kel_asic_pgm_t) / sizeof(uint32_t);
  if (words.size() % step_words != 0 || words.size() / step_words > INT_MAX) {
    PyErr_SetString(PyExc_ValueError, "the words are not the steps of a program");
    return nullptr;
  }
  syserr_t result = 0;
  in_turn([&] {
    const morvane::caller &caller = who;
    result =
        lib_mrv_asic_pgm(on.module, on.number, reinterpret_cast<kel_asic_pgm_t *>(words.data()),
                         static_cast<int>(words.size() / step_words), caller.context,
                         const_cast<char *>(caller.file), caller.line, caller.func);
  });
  return none_or_fail(morvane::to_error_code(result), "run", Py_None);
}

// start_batch(name, reorder): keeps the lock of the process.
PyObject *start_batch(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  const char *name = nullptr;
  uint32_t reorder = 0;
  if (!get_all(arguments, count, &name, &reorder))
    return nullptr;
  if (*name == '\0')
    return fail(SYSERR_KEL_ASIC_INVALID_ARG, "batch", arguments[0]);
  if (in_batch)
    return fail(morvane::errc::already_open, "batch", arguments[0]);
  PyThreadState *const thread = PyEval_SaveThread();
  take_turn();
  in_batch = true;
  lost_commit = 0;
  mrv_asic_transaction_start(const_cast<char *>(name), reorder != 0);
  PyEval_RestoreThread(thread);
  return Py_NewRef(Py_None);
}

// commit_batch() -> int: the code of the first of its service calls that failed, or 0.
PyObject *commit_batch(PyObject *, PyObject *) {
  if (!in_batch) {
    PyErr_SetString(PyExc_RuntimeError, "a batch must end in the thread that began it");
    return nullptr;
  }
  PyThreadState *const thread = PyEval_SaveThread();
  mrv_asic_transaction_commit();
  const syserr_t lost = lost_commit;
  in_batch = false;
  end_turn();
  PyEval_RestoreThread(thread);
  return PyLong_FromUnsignedLong(lost);
}

// before_fork() and after_fork(): no thread is in the library while the process forks.
PyObject *before_fork(PyObject *, PyObject *) {
  PyThreadState *const thread = PyEval_SaveThread();
  take_turn();
  PyEval_RestoreThread(thread);
  return Py_NewRef(Py_None);
}

PyObject *after_fork(PyObject *, PyObject *) {
  end_turn();
  return Py_NewRef(Py_None);
}

// get_qos_stats(port, options) -> bytes: the record.
PyObject *get_qos_stats(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  morvane::port port = {};
  uint32_t options = 0;
  if (!get_all(arguments, count, &port, &options))
    return nullptr;
  std::error_code ec;
  kel_asic_qos_stats_t record;
  in_turn([&] { record = morvane::get_qos_stats(port, ec, options).record(); });
  if (ec)
    return fail(ec, "get_qos_stats", arguments[0]);
  return PyBytes_FromStringAndSize(reinterpret_cast<const char *>(&record), sizeof record);
}

// The operations on a port, with nothing else or with options.
using PortOperation = void (*)(const morvane::port &, std::error_code &);

PyObject *on_port(PyObject *const *arguments, Py_ssize_t count, const char *name,
                  PortOperation operation) {
  morvane::port port = {};
  if (!get_all(arguments, count, &port))
    return nullptr;
  std::error_code ec;
  in_turn([&] { operation(port, ec); });
  return none_or_fail(ec, name, arguments[0]);
}

PyObject *link_pause_enable(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return on_port(arguments, count, __func__, morvane::link_pause_enable);
}

PyObject *link_pause_disable(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return on_port(arguments, count, __func__, morvane::link_pause_disable);
}

PyObject *sfp_validation_failed(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  return on_port(arguments, count, __func__, morvane::sfp_validation_failed);
}

PyObject *clear_qos_stats(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  morvane::port port = {};
  uint32_t options = 0;
  if (!get_all(arguments, count, &port, &options))
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::clear_qos_stats(port, ec, options); });
  return none_or_fail(ec, __func__, arguments[0]);
}

// The operations on an ASIC, with a number.
PyObject *clear_all_qos_stats(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  morvane::asic on;
  uint32_t options = 0;
  if (!get_all(arguments, count, &on, &options))
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::clear_all_qos_stats(on, ec, options); });
  return none_or_fail(ec, __func__, Py_None);
}

PyObject *set_nodrop_class_map(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  morvane::asic on;
  uint32_t map = 0;
  if (!get_all(arguments, count, &on, &map))
    return nullptr;
  std::error_code ec;
  in_turn([&] { morvane::set_nodrop_class_map(map, on, ec); });
  return none_or_fail(ec, __func__, Py_None);
}

PyObject *prog_sp_timer(PyObject *, PyObject *const *arguments, Py_ssize_t count) {
  morvane::asic on;
  uint32_t time = 0;
  if (!get_all(arguments, count, &on, &time))
    return nullptr;
  if (time > UINT16_MAX) {
    PyErr_SetString(PyExc_ValueError, "time must be a number from 0 to 65535");
    return nullptr;
  }
  std::error_code ec;
  in_turn([&] { morvane::prog_sp_timer(static_cast<uint16_t>(time), on, ec); });
  return none_or_fail(ec, __func__, Py_None);
}

PyObject *clear_all_drop_counters(PyObject *, PyObject *) {
  std::error_code ec;
  in_turn([&] { morvane::clear_all_drop_counters(ec); });
  return none_or_fail(ec, __func__, Py_None);
}

// explain(code) -> (name, errno, message): errno is 0 for a code without one.
PyObject *explain(PyObject *, PyObject *argument) {
  uint32_t code = 0;
  if (!get(argument, &code))
    return nullptr;
  const std::error_code ec = morvane::to_error_code(code);
  const std::error_condition condition = ec.default_error_condition();
  const int number = condition.category() == std::generic_category() ? condition.value() : 0;
  return Py_BuildValue("sis", kel_asic_syserr_name(code), number, ec.message().c_str());
}

using FastFunction = PyObject *(*)(PyObject *, PyObject *const *, Py_ssize_t);

PyCFunction as_function(FastFunction function) {
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

PyMethodDef functions[] = {
    {"set_package_directory", set_package_directory, METH_O, nullptr},
    {"open_platform", open_platform, METH_O, nullptr},
    {"library_file", library_file, METH_NOARGS, nullptr},
    {"init", as_function(init), METH_FASTCALL, nullptr},
    {"read", as_function(read), METH_FASTCALL, nullptr},
    {"write", as_function(write), METH_FASTCALL, nullptr},
    {"write_field", as_function(write_field), METH_FASTCALL, nullptr},
    {"write_raw", as_function(write_raw), METH_FASTCALL, nullptr},
    {"write_field_raw", as_function(write_field_raw), METH_FASTCALL, nullptr},
    {"read_block", as_function(read_block), METH_FASTCALL, nullptr},
    {"entry_words", as_function(entry_words), METH_FASTCALL, nullptr},
    {"read_entries", as_function(read_entries), METH_FASTCALL, nullptr},
    {"write_entries", as_function(write_entries), METH_FASTCALL, nullptr},
    {"run", as_function(run), METH_FASTCALL, nullptr},
    {"start_batch", as_function(start_batch), METH_FASTCALL, nullptr},
    {"commit_batch", commit_batch, METH_NOARGS, nullptr},
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
    {"clear_all_drop_counters", clear_all_drop_counters, METH_NOARGS, nullptr},
    {"explain", explain, METH_O, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyModuleDef module = {
    PyModuleDef_HEAD_INIT, "_native", nullptr, -1, functions, nullptr, nullptr, nullptr, nullptr};

}  // namespace

PyMODINIT_FUNC PyInit__native() {
  names = {PyUnicode_InternFromString("co_filename"), PyUnicode_InternFromString("co_name"),
           PyUnicode_InternFromString("f_back")};
  if (names.filename == nullptr || names.function == nullptr || names.back == nullptr)
    return nullptr;
  package_directory = new std::string;
  return PyModule_Create(&module);
}
