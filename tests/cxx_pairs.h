// Each operation of morvaneusd.hpp next to the call of the C interface that it wraps: the test
// compares what they do, and the benchmark what they cost.
#ifndef CXX_PAIRS_H
#define CXX_PAIRS_H

#include <array>
#include <system_error>
#include <vector>

#include "morvaneusd.hpp"

namespace cxx_pairs {

constexpr morvane::asic second = {1, 0};  // of the second module
constexpr auto plain = morvane::at(static_cast<kel_asic_hi_reg_t>(40), 2);
constexpr auto there = plain.on(second);
constexpr morvane::table_of<HF_DHS_POL_OFFSET> policers(3, second);
constexpr morvane::port host = morvane::hif(3, second);

inline uint32_t values[16] = {1, 2, 3};
inline std::array steps = {morvane::step(plain, 3), morvane::step(plain, 2, 6)};

// Makes the compiler deliver what a C call received, as a caller that uses it does.
template <typename Value>
void keep(Value &value) {
  asm volatile("" : "+m"(value) : : "memory");
}

// Makes a C call that receives into a value, and delivers that.
template <typename Value, typename Call>
syserr_t into(Value value, Call call) {
  const syserr_t result = call(value);
  keep(value);
  return result;
}

template <typename... Calls>
struct overloaded : Calls... {
  using Calls::operator()...;
};
template <typename... Calls>
overloaded(Calls...) -> overloaded<Calls...>;

#define AT_PLAIN 1, 0, KEL_ASIC_BLK_HI, 2, 40
#define AT_POLICERS 1, 0, KEL_ASIC_BLK_HF, 3, HF_DHS_POL_OFFSET
#define HOST_PORT 1, 0, CARDCFG_PORT_TYPE_HIF, 3
#define C_CALLER 0, const_cast<char *>(__FILE__), __LINE__, "operator()"
#define C(...) [] { return __VA_ARGS__; }
// Throws without an argument; with a std::error_code it reports there. Neither is a template, which
// would have a longer name than the function that the C call names as its caller.
#define CXX(operation, ...)                                                               \
  overloaded {                                                                            \
    [] { return morvane::operation(__VA_ARGS__); },                                       \
        [](std::error_code &ec) noexcept(noexcept(morvane::operation(__VA_ARGS__, ec))) { \
          return morvane::operation(__VA_ARGS__, ec);                                     \
        }                                                                                 \
  }

inline constexpr auto read_block = [](auto &to) {
  return lib_mrv_asic_n_read(AT_PLAIN, to.data(), 16, C_CALLER);
};
inline constexpr auto read_two = [](auto &to) {
  return lib_mrv_asic_read_dhs(AT_POLICERS, 4, to.data(), 2, C_CALLER);
};
inline constexpr auto read_rows = [](auto &to) {
  return lib_mrv_asic_read_dhs(AT_POLICERS, 4, to[0].data(), 2, C_CALLER);
};
inline constexpr auto read_row = [](auto &to) {
  return lib_mrv_asic_read_dhs(AT_POLICERS, 4, to.data(), 1, C_CALLER);
};

// Calls visit(name, c, cxx) for each pair. A name begins with the name of the C++ operation.
template <typename Visit>
void visit_pairs(Visit visit) {
  constexpr auto get_qos = [] {
    kel_asic_qos_stats_t record;
    const syserr_t result = lib_mrv_asic_get_qos_stats(HOST_PORT, &record, 0);
    keep(record);
    return result;
  };
  visit("read", C(into(0U, [](auto &to) { return lib_mrv_asic_read(AT_PLAIN, &to, C_CALLER); })),
        CXX(read, there));
  visit("write", C(lib_mrv_asic_write(AT_PLAIN, 7, KEL_ASIC_WR_SYMBOLIC, C_CALLER)),
        CXX(write, there, 7));
  visit("write, raw",
        C(lib_mrv_asic_write(1, 0, KEL_ASIC_BLK_HI, 0, 0x102000A0, 7, KEL_ASIC_WR_RAW, C_CALLER)),
        CXX(write, morvane::raw(0x102000A0, second), 7));
  visit("write, command", C(lib_mrv_asic_link_pause_disable(HOST_PORT)),
        CXX(write, morvane::command(KEL_ASIC_CMD_LINK_PAUSE_DISABLE, host), 0));
  visit("write_field", C(lib_mrv_asic_write_field(AT_PLAIN, 6, 15, KEL_ASIC_WR_SYMBOLIC, C_CALLER)),
        CXX(write_field, there, 6, 15));
  visit("read_block 16", C(lib_mrv_asic_n_read(AT_PLAIN, values, 16, C_CALLER)),
        CXX(read_block, there, values));
  visit("read_block 16, a vector", C(into(std::vector<uint32_t>(16), read_block)),
        CXX(read_block, there, 16));
  visit("read_entries 2", C(lib_mrv_asic_read_dhs(AT_POLICERS, 4, values, 2, C_CALLER)),
        CXX(read_entries, policers, 4, values));
  visit("read_entries 2, a vector", C(into(std::vector<uint32_t>(16), read_two)),
        CXX(read_entries, policers, 4, 2));
  visit("read_rows 2", C(into(std::vector<std::array<uint32_t, 8>>(2), read_rows)),
        CXX(read_rows, policers, 4, 2));
  visit("read_row", C(into(std::array<uint32_t, 8>(), read_row)), CXX(read_row, policers, 4));
  visit("write_entries 2", C(lib_mrv_asic_write_dhs(AT_POLICERS, 4, values, 2, C_CALLER)),
        CXX(write_entries, policers, 4, values));
  visit("run 2 steps", C(lib_mrv_asic_pgm(1, 0, steps.data(), 2, C_CALLER)),
        CXX(run, steps, second));
  visit("get_qos_stats", get_qos, CXX(get_qos_stats, host));
  visit("clear_qos_stats", C(lib_mrv_asic_clear_qos_stats(HOST_PORT, 0)),
        CXX(clear_qos_stats, host));
  visit("clear_all_qos_stats", C(lib_mrv_asic_clear_all_qos_stats(1, 0, 0)),
        CXX(clear_all_qos_stats, second));
  visit("link_pause_enable", C(lib_mrv_asic_link_pause_enable(HOST_PORT)),
        CXX(link_pause_enable, host));
  visit("link_pause_disable", C(lib_mrv_asic_link_pause_disable(HOST_PORT)),
        CXX(link_pause_disable, host));
  visit("set_nodrop_class_map", C(lib_mrv_asic_set_nodrop_class_map(1, 0, 9)),
        CXX(set_nodrop_class_map, 9, second));
  visit("sfp_validation_failed", C(lib_mrv_asic_sfp_validation_failed(HOST_PORT)),
        CXX(sfp_validation_failed, host));
  visit("prog_sp_timer", C(lib_mrv_asic_prog_sp_timer(1, 0, 77)), CXX(prog_sp_timer, 77, second));
  visit("clear_all_drop_counters", C(lib_mrv_asic_clear_all_drop_counters()),
        [](auto &...ec) noexcept(noexcept(morvane::clear_all_drop_counters(ec...))) {
          morvane::clear_all_drop_counters(ec...);
        });
}

#undef AT_PLAIN
#undef AT_POLICERS
#undef HOST_PORT
#undef C_CALLER
#undef C
#undef CXX

}  // namespace cxx_pairs

#endif
