// Sessions with the library, from sessions.txt: each is a separate process, in which each operation
// must give the result, ask the platform, send the records and write the trace that are listed
// below it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <map>
#include <numeric>
#include <sstream>
#include <string>
#include <string_view>

#include "fake_platform.h"

namespace {

constexpr uint32_t untouched = 0xDEADBEEF;
constexpr std::string_view library_folder = "asic/morvane/common/lib/morvaneusd_intf";
constexpr std::size_t max_words = 6000, stats_words = sizeof(kel_asic_qos_stats_t) / 4;

// A word of a session as an argument of any type.
struct argument {
  uint32_t value;
  template <typename To>
  operator To() const {  // NOLINT(google-explicit-constructor): arguments are written as they are
    return static_cast<To>(value);
  }
};

// The words after a name. A number that is missing is 0; "null" at the end is a null pointer.
class arguments {
 public:
  explicit arguments(const std::string &line) {
    std::istringstream words(line);
    words >> name;
    for (std::string word; words >> word;)
      words_.push_back(word);
    null = !words_.empty() && words_.back() == "null";
  }

  argument operator[](std::size_t i) const {
    const std::string word = i < words_.size() ? words_[i] : "0";
    const auto *block = std::find(kel_asic_blk_names, std::end(kel_asic_blk_names), word);
    if (block != std::end(kel_asic_blk_names))
      return {static_cast<uint32_t>(block - kel_asic_blk_names)};
    return {word == "magic"  ? KEL_ASIC_PGM_MAGIC
            : word == "raw"  ? KEL_ASIC_WR_RAW
            : word == "null" ? 0
                             : static_cast<uint32_t>(std::stoll(word, nullptr, 0))};
  }
  uint32_t code(std::size_t i) const {
    return i < words_.size() ? (*this)[i].value : KEL_ASIC_WR_SYMBOLIC;
  }
  std::size_t size() const { return words_.size(); }
  std::string text(std::size_t i) const { return words_.at(i) == "''" ? "" : words_[i]; }

  std::string name;
  bool null = false;

 private:
  std::vector<std::string> words_;
};

using args = const arguments &;

// The caller's array, and how many of its words are shown after the operation: one more than it
// was said to have.
std::vector<uint32_t> array;
std::size_t shown;

uint32_t *array_of(args a, uint32_t words) {
  shown = a.null ? 0 : std::min<std::size_t>(words + 1ULL, max_words);
  return a.null ? nullptr : array.data();
}

uint32_t *words_from(args a, uint32_t first) {
  std::iota(array.begin(), array.end(), first);
  return a.null ? nullptr : array.data();
}

struct {
  uint32_t context;
  char *file;
  int line;
  const char *func;
} caller = {CALLER};

template <typename Operation, typename... Own>
syserr_t by_caller(Operation operation, Own... own) {
  return operation(own..., caller.context, caller.file, caller.line, caller.func);
}

template <typename Operation, typename... Own>
syserr_t at_register(Operation operation, args a, Own... own) {
  return by_caller(operation, a[0], a[1], a[2], a[3], a[4], own...);
}

syserr_t run_program(args a) {
  std::vector<kel_asic_pgm_t> steps;
  for (std::size_t i = 3; i + 6 <= a.size(); i += 6)
    steps.push_back({a[i], a[i + 1], a[i + 2], a[i + 3], a[i + 4], a[i + 5]});
  return by_caller(lib_mrv_asic_pgm, a[0], a[1], a.null ? nullptr : steps.data(), a[2]);
}

syserr_t start(args a) {
  std::string name = a.text(1);
  return static_cast<syserr_t>(mrv_asic_transaction_start(a.null ? nullptr : name.data(), a[0]));
}

syserr_t get_qos(args a) {
  auto *stats = reinterpret_cast<kel_asic_qos_stats_t *>(array_of(a, stats_words));
  return lib_mrv_asic_get_qos_stats(a[0], a[1], a[2], a[3], stats, a[4]);
}

constexpr struct {
  const char *name;
  syserr_t (*run)(args);
} operations[] = {
    {"init",
     [](args a) {
       return by_caller(lib_mrv_asic_init, slot_num_t{3}, a.size() != 0 ? a[0].value : 236);
     }},
    {"read", [](args a) { return at_register(lib_mrv_asic_read, a, array_of(a, 1)); }},
    {"write", [](args a) { return at_register(lib_mrv_asic_write, a, a[5], a.code(6)); }},
    {"field",
     [](args a) { return at_register(lib_mrv_asic_write_field, a, a[5], a[6], a.code(7)); }},
    {"n_read", [](args a) { return at_register(lib_mrv_asic_n_read, a, array_of(a, a[5]), a[5]); }},
    {"read_dhs",
     [](args a) {
       return at_register(lib_mrv_asic_read_dhs, a, a[5], array_of(a, 16 * a[6].value), a[6]);
     }},
    {"write_dhs",
     [](args a) {
       return at_register(lib_mrv_asic_write_dhs, a, a[5], words_from(a, a[7]), a[6]);
     }},
    {"start", start},
    {"commit", [](args) { return static_cast<syserr_t>(mrv_asic_transaction_commit()); }},
    {"pgm", run_program},
    {"get_qos", get_qos},
    {"clear_qos",
     [](args a) { return lib_mrv_asic_clear_qos_stats(a[0], a[1], a[2], a[3], a[4]); }},
    {"clear_all_qos", [](args a) { return lib_mrv_asic_clear_all_qos_stats(a[0], a[1], a[2]); }},
    {"pause", [](args a) { return lib_mrv_asic_link_pause_enable(a[0], a[1], a[2], a[3]); }},
    {"unpause", [](args a) { return lib_mrv_asic_link_pause_disable(a[0], a[1], a[2], a[3]); }},
    {"nodrop", [](args a) { return lib_mrv_asic_set_nodrop_class_map(a[0], a[1], a[2]); }},
    {"sfp", [](args a) { return lib_mrv_asic_sfp_validation_failed(a[0], a[1], a[2], a[3]); }},
    {"timer", [](args a) { return lib_mrv_asic_prog_sp_timer(a[0], a[1], a[2]); }},
    {"drops", [](args) { return lib_mrv_asic_clear_all_drop_counters(); }},
};

// Fills what was read: data and words from `first` on, `num` of them said to be answered. Of a
// transaction every byte is `first`, unless that is 0.
void answer(uint32_t case_code, void *record, uint32_t length, uint32_t num, uint32_t first) {
  auto *words = static_cast<uint32_t *>(record);
  if (case_code == SYSSRV_MEM_READ_CASE)
    std::iota(words, words + length / 4, first);
  if (case_code == SYSSRV_MEM_WRITE_CASE && first != 0)
    std::memset(record, static_cast<int>(first), length);
  auto *request = static_cast<kel_asic_reg_access_params_t *>(record);
  if (case_code != SYSSRV_REG_READ_CASE && case_code != SYSSRV_REG_WRITE_CASE)
    return;
  request->data = first;
  request->mask = first + 1;
  request->num = num;
  if (case_code == SYSSRV_REG_READ_CASE)
    std::iota(request->pdata, request->pdata + (length - sizeof *request) / 4, first);
}

constexpr struct {
  const char *name;
  void (*set)(args);
} conditions[] = {
    {"trace", [](args) { faults().marker_file = true; }},
    {"caller",  // [LENGTH] of its texts
     [](args a) {
       static std::string text;
       text.assign(a[0], 't');
       char *given = a.null ? nullptr : text.data();
       caller = {0xC0FFEE01, given, -2, given};
       if (a.size() == 0)
         caller = {CALLER};
     }},
    {"service",  // RESULT ERRNO NUM FIRST
     [](args a) {
       fake().answer = [=](uint32_t case_code, void *record, uint32_t length) {
         answer(case_code, record, length, a[2], a[3]);
         errno = a[1];
         return int{a[0]};
       };
     }},
    {"device", [](args a) { fake().device_type = a[0], fake().device_query_fails = a.null; }},
    {"card", [](args a) { fake().sw_card_id = a[0], fake().sw_card_query_fails = a.null; }},
    {"map", [](args a) { fake().map_result = a[0]; }},
    {"hook",  // has an entry size for each of three indices
     [](args) {
       fake().hook = [](kel_asic_blk_t, kel_asic_reg_t, uint32_t index) {
         return index == 1 ? 4 : index == 2 ? -2 : 0x7FFFFFFF;
       };
     }},
    {"hole", [](args a) { fake().holes.emplace_back(a[0], a[1]); }},
    {"fail",  // KIND, once
     [](args a) {
       (a.text(0) == "calloc"    ? faults().fail_calloc
        : a.text(0) == "realloc" ? faults().fail_realloc
        : a.text(0) == "fopen"   ? faults().fail_fopen
                                 : faults().fail_fseek) = true;
     }},
};

std::string word_text(uint32_t word) {
  char text[9] = "";
  std::memcpy(text, &word, sizeof word);
  if (!std::all_of(text, text + 4, [](char letter) { return letter > 32 && letter < 127; }))
    std::snprintf(text, sizeof text, "%x", word);
  return text;
}

// The words; more than three that are equal as 7*0, and more than three that count up as 7..806. Of
// a long text only the beginning, and a sum of all the words.
std::string words_text(const uint32_t *begin, const uint32_t *end) {
  std::string text;
  for (const uint32_t *word = begin; word != end && text.size() < 500;) {
    const uint32_t *next = word + 1;
    const uint32_t step = next != end ? *next - *word : 0;
    while (step <= 1 && next != end && *next - next[-1] == step)
      ++next;
    const bool is_run = next - word > 3;
    next = is_run ? next : word + 1;
    text += is_run && step == 0 ? " " + std::to_string(next - word) + "*" : " ";
    text += word_text(*word);
    if (is_run && step == 1)
      text += ".." + word_text(next[-1]);
    word = next;
  }
  const auto add = [](uint32_t sum, uint32_t word) { return sum * 16777619 + word; };
  if (text.size() >= 500)
    text += " ... sum " + std::to_string(std::accumulate(begin, end, 0U, add));
  return text;
}

__attribute__((noinline)) void poison_stack() {  // what it leaves must not be sent
  volatile char litter[4096];
  for (volatile char &byte : litter)
    byte = 'X';
}

std::string call_text(const sent_call &call) {
  std::vector<uint32_t> words(call.bytes.size() / 4);
  std::memcpy(words.data(), call.bytes.data(), call.bytes.size());
  if (call.case_code == SYSSRV_REG_READ_CASE)  // there the words after the header are left over
    words.resize(std::min<std::size_t>(words.size(), sizeof(kel_asic_reg_access_params_t) / 4 + 8));
  const auto info = call.as<kel_asic_reg_access_params_t>().info;
  if (std::string_view(info.file, strnlen(info.file, sizeof info.file)) == library_folder)
    std::memcpy(&words[8], "line", words[8] != 0 ? 4 : 0);  // one of the library, wherever that is
  std::ostringstream text;
  text << "  " << std::hex << call.case_code << std::dec << ' ' << call.driver_id << ' '
       << call.length << ':' << words_text(words.data(), words.data() + words.size()) << '\n';
  return text.str();
}

// The trace without the number of this process; of a long one the beginning and the end.
std::string trace_text() {
  const std::vector<std::string> lines = trace_lines();
  const std::string process = "PID " + std::to_string(getpid());
  std::string text;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines.size() > 40 && i == 6) {
      i = lines.size() - 3;
      text += "  ... " + std::to_string(i - 6) + " more\n";
    }
    std::string line = lines[i];
    const std::size_t at = line.find(process);
    text += "  " + (at == std::string::npos ? line : line.erase(at + 4, process.size() - 4)) + "\n";
  }
  return text;
}

// What an operation has done.
std::string outcome_text(syserr_t result) {
  std::ostringstream text;
  text << "  = " << std::hex << std::showbase << result;
  text << (faults().allocates ? ", allocates\n" : "\n");
  for (const std::string &call : fake().platform_calls)
    text << "  " << call << '\n';
  for (const sent_call &call : fake().calls)
    text << call_text(call);
  text << trace_text();
  const uint32_t *begin = array.data(), *end = begin + shown;
  if (std::any_of(begin, end, [](uint32_t word) { return word != untouched; }))
    text << "  array" << words_text(begin, end) << '\n';
  return text.str();
}

template <typename Rows>
auto find_row(const Rows &rows, const std::string &name) {
  return std::find_if(std::begin(rows), std::end(rows),
                      [&](auto &row) { return row.name == name; });
}

// Runs a line of a session and gives all its effects.
std::string run_line(const arguments &a) {
  const auto *condition = find_row(conditions, a.name);
  if (condition != std::end(conditions)) {
    condition->set(a);
    return "";
  }
  const auto *operation = find_row(operations, a.name);
  if (operation == std::end(operations))
    return "  no such operation\n";
  array.assign(max_words, untouched);
  shown = 0;
  fake().calls.clear();
  fake().platform_calls.clear();
  poison_stack();
  faults().arm();
  const syserr_t result = operation->run(a);
  faults().disarm();
  return outcome_text(result);
}

// Lines that sessions share, with the names of the words that differ in them.
struct passage {
  std::vector<std::string> parameters;
  std::string lines;
};

using passages = std::map<std::string, passage>;

// The lines of a passage, with the words in the places of its parameters; the last one takes the
// rest.
std::string lines_of(const passage &used, std::istringstream &words) {
  std::string lines = used.lines;
  for (const std::string &parameter : used.parameters) {
    std::string value;
    std::getline(words >> std::ws, value, parameter == used.parameters.back() ? '\n' : ' ');
    const std::string name = "{" + parameter + "}";
    for (std::size_t at = lines.find(name); at != std::string::npos; at = lines.find(name, at + 1))
      lines.replace(at, name.size(), value);
  }
  return lines;
}

// The text, with the lines of a passage in place of its name after an arrow.
std::string expanded(const passages &known, const std::string &text) {
  std::istringstream lines(text);
  std::string result, name;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t arrow = line.find("=> ");
    if (arrow == std::string::npos) {
      result += line + "\n";
      continue;
    }
    if (line.find_first_not_of(' ') < arrow)
      result += line.substr(0, arrow - 1) + "\n";
    std::istringstream words(line.substr(arrow + 3));
    words >> name;
    const auto used = known.find(name);
    result += used != known.end() ? expanded(known, lines_of(used->second, words))
                                  : "  no passage " + name + "\n";
  }
  return result;
}

class session : public testing::Test {
 public:
  explicit session(std::string expected) : expected_(std::move(expected)) {}

  void TestBody() override {
    std::istringstream lines(expected_);
    std::string actual;
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("  ", 0) != 0)
        actual += line + "\n" + run_line(arguments(line));
    }
    std::ofstream(std::string("/tmp/w-libtests/actual/") +
                  testing::UnitTest::GetInstance()->current_test_info()->name())
        << actual;  // TEMP
    EXPECT_EQ(actual, expected_);
  }

 private:
  std::string expected_;  // the lines of the session, and what must come of them
};

// Before the tests are listed or run: what it throws may end the program.
// NOLINTNEXTLINE(cert-err58-cpp)
const bool added = [] {
  std::ifstream file(SESSIONS);
  passages known, sessions;
  passage *open = nullptr;
  for (std::string line, word; std::getline(file, line);) {
    std::istringstream words(line);
    words.ignore(3) >> word;
    if (line.rfind("-- ", 0) == 0 || line.rfind("== ", 0) == 0) {
      open = &(line[0] == '-' ? known : sessions)[word];
      while (words >> word)
        open->parameters.push_back(word);
    } else if (open != nullptr && !line.empty() && line[0] != '#') {
      open->lines += line + "\n";
    }
  }
  for (const auto &[name, written] : sessions)
    testing::RegisterTest("Session", name.c_str(), nullptr, nullptr, SESSIONS, 1,
                          [lines = expanded(known, written.lines)]() -> testing::Test * {
                            return new session(lines);
                          });
  return true;
}();

}  // namespace
