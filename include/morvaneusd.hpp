/**
 * @file
 * libmorvaneusd for C++17: the C interface of kel_asic_intf.h with typed registers, std::error_code
 * and exceptions, and RAII classes for batches and the lock. The header needs only the C interface.
 *
 *     morvane::init();
 *     constexpr auto offset = morvane::at(HI_DHS_LVIF_OFFSET, 2);  // block HI, by its type
 *     morvane::write(offset, 0x1234);
 *     const uint32_t value = morvane::read(offset);
 *
 * Each operation exists twice. One throws std::system_error with the operation and the register in
 * its text and, if the library refuses an argument, the argument's range. The other takes a
 * std::error_code, is noexcept, and clears it on success; on failure it returns 0, zeros or an
 * empty vector. With -fno-exceptions, the header omits the throwing ones. It needs no RTTI.
 *
 * The last argument identifies the caller: file, line and function of the call, by default.
 *
 * An operation takes at most three nanoseconds more than its C function, whose reference has the
 * details. Only functions that return a vector, and morvane::program, allocate.
 *
 * Threads: as the library, from one thread at a time. In a program with threads, make the calls
 * through a morvane::session.
 */
#ifndef MORVANEUSD_HPP
#define MORVANEUSD_HPP

#if __cplusplus < 201703L
#error "morvaneusd.hpp requires C++17: compile with -std=c++17 or later"
#endif

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

#include "kel_asic_dhs_tables.h"
#include "kel_asic_intf.h"
#include "kel_asic_reference_text.h"
#include "kel_asic_syserr_def.h"
#include "kel_asic_syserr_text.h"

/* A program has one error category, one lock and one open batch, also if its shared objects are
   built with hidden visibility. */
#pragma GCC visibility push(default)

/** The C interface for C++. */
namespace morvane {

/**
 * @defgroup cxx_registers C++: registers
 * @{
 */

namespace detail {

/** The position of an enumeration in a list. */
template <typename Enumeration, typename... Listed>
constexpr kel_asic_blk_t position_of() noexcept {
  uint32_t position = 0;
  (void)((std::is_same_v<Enumeration, Listed> || (++position, false)) || ...);
  return static_cast<kel_asic_blk_t>(position);
}

/** The text that a function of kel_asic_reference_text.h prints. */
template <typename Print, typename... Arguments>
std::string printed(Print print, Arguments... arguments) {
  std::array<char, 64> text = {};
  return print(text.data(), text.size(), arguments...);
}

/** Only for an enumerator or a number: for the constructors that refuse one. */
template <typename Number>
using if_number = std::enable_if_t<std::is_enum_v<Number> || std::is_integral_v<Number>>;

/** Does not compile: the message of all these constructors. */
template <typename Number>
constexpr kel_asic_blk_t no_instance() noexcept {
  static_assert(sizeof(Number) == 0, "a register needs its instance: say at(REGISTER, INSTANCE)");
  return KEL_ASIC_NUM_BLK;
}

}  // namespace detail

/** The block whose registers an enumeration names; ::KEL_ASIC_NUM_BLK for any other type. */
template <typename Enumeration>
inline constexpr kel_asic_blk_t block_of = detail::position_of<  // in the order of kel_asic_blk_t
    Enumeration, kel_asic_ss_reg_t, kel_asic_hr_reg_t, kel_asic_nr_reg_t, kel_asic_hi_reg_t,
    kel_asic_ni_reg_t, kel_asic_si_reg_t, kel_asic_hf_reg_t, kel_asic_nf_reg_t, kel_asic_ci_reg_t,
    kel_asic_bi_reg_t, kel_asic_cc_reg_t, kel_asic_pc_reg_t, kel_asic_rs_edma_reg_t,
    kel_asic_rs_pcie_reg_t, kel_asic_misc_reg_t, kel_asic_ch_reg_t, kel_asic_mb_reg_t,
    kel_asic_qs_reg_t, kel_asic_xl_reg_t>();

/** An ASIC of the switch. */
struct asic {
  int module = 0;            /**< module number, 0 to 3 */
  kel_asic_num_t number = 0; /**< ASIC number, as far as the ASIC limits reach (0) */
};

class asic_reg;

/** A register of an ASIC, made by at(): block, instance and number. */
class reg {
 public:
  /** @cond */
  template <typename Number, typename = detail::if_number<Number>>
  constexpr reg(Number) noexcept : reg(detail::no_instance<Number>(), 0, 0) {}
  /** @endcond */

  /** @return the block */
  [[nodiscard]] constexpr kel_asic_blk_t block() const noexcept { return block_; }
  /** @return the instance of the block */
  [[nodiscard]] constexpr uint32_t instance() const noexcept { return instance_; }
  /** @return the virtual register, its number in the block */
  [[nodiscard]] constexpr kel_asic_reg_t vreg() const noexcept { return vreg_; }

  /**
   * The register on another ASIC. By default a register is on ASIC 0 of module 0.
   *
   * @param which the ASIC
   * @return the register there
   */
  [[nodiscard]] constexpr asic_reg on(asic which) const noexcept;

 protected:
  /**
   * @param block    the block
   * @param instance the instance of the block
   * @param vreg     the virtual register
   */
  constexpr reg(kel_asic_blk_t block, uint32_t instance, kel_asic_reg_t vreg) noexcept
      : block_(block), instance_(instance), vreg_(vreg) {}

 private:
  friend constexpr reg at(kel_asic_blk_t block, uint32_t instance, kel_asic_reg_t vreg) noexcept;

  kel_asic_blk_t block_;
  uint32_t instance_;
  kel_asic_reg_t vreg_;
};

/** A register whose block the compiler knows: an argument that takes no register of another. */
template <kel_asic_blk_t Block>
class reg_in : public reg {
 public:
  /**
   * @param vreg     virtual register, a value of the block's enumeration
   * @param instance instance of the block
   */
  template <typename Enumeration>
  constexpr reg_in(Enumeration vreg, uint32_t instance) noexcept : reg(Block, instance, vreg) {
    static_assert(block_of<Enumeration> == Block, "a register of another block");
  }
};

/**
 * A register in a text.
 *
 * @param which the register
 * @return "HI.2:HI_DHS_LVIF", or "HI.2:40" for a register without a name
 */
[[nodiscard]] inline std::string to_string(const reg &which) {
  return detail::printed(kel_asic_register_text, which.block(), which.instance(), which.vreg());
}

/**
 * Names a register; its block follows from its type. A register without a name is one of its
 * block's enumeration too: at(static_cast<kel_asic_hi_reg_t>(40), 2).
 *
 * @param vreg     virtual register, a value of a block's enumeration (HI_DHS_LVIF_OFFSET), not a
 * hole
 * @param instance instance of the block, below the number that the card has
 * @return the register
 */
template <typename Enumeration>
[[nodiscard]] constexpr auto at(Enumeration vreg, uint32_t instance) noexcept {
  static_assert(block_of<Enumeration> != KEL_ASIC_NUM_BLK,
                "not a register of a block's enumeration: say at(block, instance, number)");
  return reg_in<block_of<Enumeration>>(vreg, instance);
}

/**
 * Names a register by its number: one without a name, or one whose block is known only at run time.
 *
 * @param block    block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance instance of the block, below the number that the card has
 * @param vreg     virtual register, its number in the block, not a hole
 * @return the register
 */
[[nodiscard]] constexpr reg at(kel_asic_blk_t block, uint32_t instance,
                               kel_asic_reg_t vreg) noexcept {
  return {block, instance, vreg};
}

/** @cond */
/* The type of an enumerator has its block: a second block could contradict it. */
template <typename Enumeration, typename = std::enable_if_t<std::is_enum_v<Enumeration>>>
reg at(kel_asic_blk_t the_block_follows_from_the_register, uint32_t instance,
       Enumeration vreg) = delete;
/** @endcond */

/** A register on a certain ASIC; any register is one, on ASIC 0 of module 0. */
class asic_reg {
 public:
  /**
   * @param which the register
   * @param on    its ASIC
   */
  constexpr asic_reg(const reg &which, asic on = {}) noexcept : where_(which), on_(on) {}
  /** @cond */
  template <typename Number, typename = detail::if_number<Number>>
  constexpr asic_reg(Number number) noexcept : asic_reg(reg(number)) {}
  /** @endcond */

  /** @return the register */
  [[nodiscard]] constexpr const reg &where() const noexcept { return where_; }
  /** @return the ASIC */
  [[nodiscard]] constexpr asic on() const noexcept { return on_; }

 private:
  reg where_;
  asic on_;
};

constexpr asic_reg reg::on(asic which) const noexcept {
  return {*this, which};
}

/** A port of an ASIC. */
struct port {
  cardcfg_port_type_t type; /**< port type */
  uint32_t number;          /**< port number within its type */
  asic on = {};             /**< the ASIC */
};

/**
 * Names a host interface.
 *
 * @param number port number, below the number of instances of block HI
 * @param on     its ASIC
 * @return the port
 */
[[nodiscard]] constexpr port hif(uint32_t number, asic on = {}) noexcept {
  return {CARDCFG_PORT_TYPE_HIF, number, on};
}

/**
 * Names a network interface.
 *
 * @param number port number, below the number of instances of block NI
 * @param on     its ASIC
 * @return the port
 */
[[nodiscard]] constexpr port nif(uint32_t number, asic on = {}) noexcept {
  return {CARDCFG_PORT_TYPE_NIF, number, on};
}

/** An address that is sent as it is, unchecked, or a command. Only writes take it. */
struct raw_address {
  uint32_t address; /**< register address, or command address */
  asic on = {};     /**< the ASIC; its number is not checked, and is the port word of a command */
};

/**
 * Names a register by its address.
 *
 * @param address register address, any
 * @param on      the ASIC
 * @return the address as a write takes it
 */
[[nodiscard]] constexpr raw_address raw(uint32_t address, asic on = {}) noexcept {
  return {address, on};
}

/**
 * Names a command to a port.
 *
 * @param address command address (KEL_ASIC_CMD_...)
 * @param to      the port; type and number below 256, ASIC number below 65536
 * @return the command as a write takes it
 */
[[nodiscard]] constexpr raw_address command(uint32_t address, const port &to) noexcept {
  return {address, {to.on.module, to.on.number << 16 | uint32_t{to.type} << 8 | to.number}};
}

/** The target of a write: a register, or a raw address. */
class target {
 public:
  /** @param to the register */
  constexpr target(const asic_reg &to) noexcept : to_(to), code_(KEL_ASIC_WR_SYMBOLIC) {}
  /** @param to the register, on ASIC 0 of module 0 */
  constexpr target(const reg &to) noexcept : target(asic_reg(to)) {}
  /** @param to the raw address */
  constexpr target(const raw_address &to) noexcept
      : to_(at(KEL_ASIC_NUM_BLK, UINT32_MAX, to.address), to.on), code_(KEL_ASIC_WR_RAW) {}
  /** @cond */
  template <typename Number, typename = detail::if_number<Number>>
  constexpr target(Number number) noexcept : target(reg(number)) {}
  /** @endcond */

  /** @return the register; for a raw address no block, and the address as its number */
  [[nodiscard]] constexpr const asic_reg &to() const noexcept { return to_; }
  /** @return the code argument of the C interface: KEL_ASIC_WR_SYMBOLIC or KEL_ASIC_WR_RAW */
  [[nodiscard]] constexpr uint32_t code() const noexcept { return code_; }

 private:
  asic_reg to_;
  uint32_t code_;
};

/** A table (DHS) register, with the words of its entries by kel_asic_dhs_tables.h. */
class table : public asic_reg {
 public:
  /**
   * Looks the entry size up. It is 0 for a register that is not a table, and for a table whose
   * entry size the register map decides; operations on their entries are refused.
   *
   * @param which the register
   * @param words words of an entry, for a table whose entry size the register map decides. It must
   *              be the size of the map, because the library moves that many words. For any other
   *              table only the published size is accepted
   */
  constexpr table(const asic_reg &which, uint32_t words = 0) noexcept
      : asic_reg(which), words_(entry_words(which.where(), words)) {}
  /** @param which the register, on ASIC 0 of module 0 */
  constexpr table(const reg &which) noexcept : table(asic_reg(which)) {}

  /** @cond */
  template <typename Number, typename = detail::if_number<Number>>
  constexpr table(Number number) noexcept : table(reg(number)) {}
  /** @endcond */

  /** @return 32-bit words of an entry; 0 if unknown */
  [[nodiscard]] constexpr uint32_t words() const noexcept { return words_; }

 private:
  static constexpr uint32_t entry_words(const reg &which, uint32_t words) noexcept {
    const int known = kel_asic_dhs_entry_size(which.block(), which.vreg(), 0);
    if (known <= 0)
      return known < 0 ? 0 : words;
    return words == 0 || words == static_cast<uint32_t>(known) ? static_cast<uint32_t>(known) : 0;
  }

  uint32_t words_;
};

/**
 * A table register that the compiler knows, and so the words of its entries:
 *
 *     constexpr morvane::table_of<HF_DHS_POL_OFFSET> policers(0);
 *     const auto row = morvane::read_row(policers, 3);  // std::array<uint32_t, 8>
 *
 * For a table whose entry size the register map decides, give it as a second argument:
 * table_of<HF_DHS_RESULT_00_OFFSET, 4>.
 */
template <auto Register, uint32_t Words = 0>
class table_of : public table {
  static constexpr int published =
      kel_asic_dhs_entry_size(block_of<std::remove_const_t<decltype(Register)>>, Register, 0);
  static_assert(published >= 0, "not a table (DHS) register");
  static_assert(published != KEL_ASIC_DHS_BY_HOOK || Words != 0,
                "the register map decides this entry size: say table_of<REGISTER, WORDS>");
  static_assert(published <= 0 || Words == 0 || Words == static_cast<uint32_t>(published),
                "the entries of this table have another size");

 public:
  /** Words of an entry. */
  static constexpr std::size_t entry_size = published > 0 ? static_cast<std::size_t>(published)
                                                          : Words;

  /** An entry. */
  using row = std::array<uint32_t, entry_size>;

  /**
   * @param instance instance of the block
   * @param on       the ASIC
   */
  explicit constexpr table_of(uint32_t instance, asic on = {}) noexcept
      : table(at(Register, instance).on(on), entry_size) {}
};
/** @} */

/**
 * @defgroup cxx_caller C++: the caller
 * @{
 */

/** The caller of an operation. Each request carries it to the service. */
struct caller {
  const char *file;     /**< source file; sent up to 127 characters */
  int line;             /**< line in it */
  const char *func;     /**< plain name of the function; sent up to 31 characters */
  uint32_t context = 0; /**< a number of the caller's own */

  /**
   * The place of the call. As a default argument: the place that calls the function with that
   * argument. Do not give its own arguments.
   *
   * @param file source file
   * @param line line in it
   * @param func function
   * @return the place
   */
  [[nodiscard]] static constexpr caller here(const char *file = __builtin_FILE(),
                                             int line = __builtin_LINE(),
                                             const char *func = __builtin_FUNCTION()) noexcept {
    return {file, line, func};
  }

  /**
   * @param number the caller's own number
   * @return this place with the number: caller::here().with_context(7)
   */
  [[nodiscard]] constexpr caller with_context(uint32_t number) const noexcept {
    return {file, line, func, number};
  }
};
/** @} */

/**
 * @defgroup cxx_errors C++: errors
 *
 * A code of the library is an error code of error_category(), compared with the enumerators of
 * kel_asic_syserr_t or with morvane::errc. A service call that failed compares with std::errc too:
 *
 *     if (err == std::errc::timed_out) ...
 *     if (err == SYSERR_KEL_ASIC_UNINIT) ...
 * @{
 */

/** Codes without an enumerator of the C interface: two plain numbers of it, and this header's. */
enum class errc : syserr_t {
  no_buffer =
      KEL_ASIC_SYSERR_NO_BUFFER, /**< no memory for the words; std::errc::not_enough_memory */
  no_trace_log = KEL_ASIC_SYSERR_NO_TRACE_LOG, /**< the trace log cannot be used */
  /** Words that are not a number of complete entries, or rows of another size than the entries;
      refused before the library is called. std::errc::invalid_argument */
  wrong_size = 0x43230001,
  /** A batch while another batch of this program is open; the library would ignore it.
      std::errc::device_or_resource_busy */
  already_open = 0x43230002,
  /** A register does not hold what a commit should have written. std::errc::io_error */
  not_verified = 0x43230003
};

namespace detail {

class category final : public std::error_category {
 public:
  const char *name() const noexcept override { return "morvane"; }

  /* A code by its name, with what to do about it. */
  std::string message(int value) const override {
    const auto result = static_cast<syserr_t>(value);
    const auto own = static_cast<errc>(result);
    std::string text = std::string(kel_asic_syserr_name(result)) + ": " +
                       kel_asic_syserr_meaning(result) + ": " + kel_asic_syserr_advice(result);
    if (result == 0)
      text = "success";
    if (own == errc::wrong_size)
      text = "wrong_size: the words are not complete entries of this table: use its entry size";
    if (own == errc::already_open)
      text = "already_open: this program has an open batch: end it first";
    if (own == errc::not_verified)
      text =
          "not_verified: the register does not hold what was written: the commit was lost, or "
          "the register keeps other bits; write again";
    std::array<char, 16> number = {};
    std::snprintf(number.data(), number.size(), " (0x%08X)", static_cast<unsigned>(result));
    return text + number.data();
  }

  std::error_condition default_error_condition(int value) const noexcept override {
    const auto result = static_cast<syserr_t>(value);
    if (kel_asic_syserr_is_service(result) && kel_asic_syserr_errno(result) != 0)
      return {kel_asic_syserr_errno(result), std::generic_category()};
    switch (result) {
      case SYSERR_KEL_ASIC_INVALID_ARG:
      case static_cast<syserr_t>(errc::wrong_size):
        return std::errc::invalid_argument;
      case SYSERR_KEL_ASIC_MALLOC:
      case KEL_ASIC_SYSERR_NO_BUFFER:
        return std::errc::not_enough_memory;
      case static_cast<syserr_t>(errc::already_open):
        return std::errc::device_or_resource_busy;
      case static_cast<syserr_t>(errc::not_verified):
        return std::errc::io_error;
      default:
        return {value, *this};
    }
  }
};

}  // namespace detail

/** @return the category of the codes of this interface; the same object everywhere in a program */
inline const std::error_category &error_category() noexcept {
  static const detail::category object;
  return object;
}

/**
 * The result of a function of the C interface as an error code.
 *
 * @param result what it returned, any value; 0 is success
 * @return the error code
 */
[[nodiscard]] inline std::error_code to_error_code(syserr_t result) noexcept {
  if (result == 0)
    return {};
  return {static_cast<int>(result), error_category()};
}

/**
 * @param code the code
 * @return the error code that compares equal to it
 */
[[nodiscard]] inline std::error_code make_error_code(errc code) noexcept {
  return to_error_code(static_cast<syserr_t>(code));
}
/** @} */

}  // namespace morvane

/**
 * @param code the code
 * @return the error code that compares equal to it
 */
[[nodiscard]] inline std::error_code make_error_code(kel_asic_syserr_t code) noexcept {
  return morvane::to_error_code(code);
}

/** @cond */
template <>
struct std::is_error_code_enum<kel_asic_syserr_t> : std::true_type {};
template <>
struct std::is_error_code_enum<morvane::errc> : std::true_type {};
/** @endcond */

namespace morvane {

/**
 * @defgroup cxx_words C++: words and rows
 * @{
 */

/** Maximum number of words in one operation. */
inline constexpr uint32_t max_words = 1073741774;

namespace detail {

/** Words of an element of an array: 0 of a plain word, N of a row of N; SIZE_MAX: it is neither. */
template <typename Element>
inline constexpr std::size_t row_size = SIZE_MAX;
template <>
inline constexpr std::size_t row_size<uint32_t> = 0;
template <std::size_t N>
inline constexpr std::size_t row_size<uint32_t[N]> = N;
template <std::size_t N>
inline constexpr std::size_t row_size<std::array<uint32_t, N>> = N != 0 ? N : SIZE_MAX;

/** The address of an empty array. */
inline uint32_t empty_run = 0;

/** The elements of what has data() and size(). */
template <typename Container>
using element_of = std::remove_pointer_t<decltype(std::data(std::declval<Container &>()))>;

}  // namespace detail

/**
 * Words in the caller's memory: of anything with data() and size(), with elements of uint32_t or
 * with rows, std::array<uint32_t, N> or uint32_t[N]. It keeps a pointer, for the call that it is an
 * argument of.
 */
template <typename Word>
class word_span {
 public:
  /** @param container the words; a word_buffer needs writable ones */
  template <typename Container,
            typename = std::enable_if_t<!std::is_same_v<std::decay_t<Container>, word_span>>,
            typename Element = detail::element_of<Container>>
  word_span(Container &&container) noexcept
      : word_span(reinterpret_cast<Word *>(std::data(container)),
                  detail::row_size<std::remove_const_t<Element>>, std::size(container)) {
    static_assert(detail::row_size<std::remove_const_t<Element>> != SIZE_MAX,
                  "words are uint32_t, and rows std::array<uint32_t, N> or uint32_t[N]");
    static_assert(std::is_const_v<Word> || !std::is_const_v<Element>,
                  "what is read needs an array that can be written");
  }

  /**
   * @param first the first word
   * @param count number of words
   */
  word_span(Word *first, std::size_t count) noexcept : word_span(first, 0, count) {}

  /** @param words words to write */
  word_span(std::initializer_list<uint32_t> words) noexcept
      : word_span(words.begin(), 0, words.size()) {}

  /** @return the first word */
  [[nodiscard]] Word *first() const noexcept { return first_; }
  /** @return number of words */
  [[nodiscard]] std::size_t count() const noexcept { return count_; }
  /** @return words of a row; 0 if the words are not rows */
  [[nodiscard]] std::size_t row() const noexcept { return row_; }

 private:
  /* The library refuses a null address; that is what a container may have that holds nothing. */
  word_span(Word *first, std::size_t row, std::size_t elements) noexcept
      : first_(elements != 0 ? first : &detail::empty_run),
        row_(row),
        count_(row == 0 ? elements : row * elements) {}

  Word *first_;
  std::size_t row_;
  std::size_t count_;
};

/** Words that are read into. */
using word_buffer = word_span<uint32_t>;

/** Words to write. */
using word_view = word_span<const uint32_t>;
/** @} */

namespace detail {

/* Apart, so that a call that succeeds saves no registers for it. */
[[gnu::cold, gnu::noinline]] inline void set(std::error_code &ec, syserr_t result) noexcept {
  ec = to_error_code(result);
}

[[gnu::always_inline]] inline void report(syserr_t result, std::error_code &ec) noexcept {
  if (result != 0 || ec.value() != 0)
    set(ec, result);
}

#ifdef __cpp_exceptions
/** If the library refused the arguments: the reason, if there is one. */
template <typename Print, typename... Arguments>
std::string refusal(syserr_t result, Print print, Arguments... arguments) {
  const std::string reason =
      result == SYSERR_KEL_ASIC_INVALID_ARG ? printed(print, arguments...) : "";
  return reason.empty() ? "" : ": " + reason;
}

inline std::string place(int module, kel_asic_num_t number) {
  return "module " + std::to_string(module) + ", ASIC " + std::to_string(number);
}

/* What an operation failed on, from single values. */

inline std::string subject(syserr_t, const char *name) {
  return name == nullptr || *name == '\0' ? "without a name" : name;
}

inline std::string subject(syserr_t result, int module, kel_asic_num_t number) {
  return place(module, number) + refusal(result, kel_asic_place_refusal_text, module, number);
}

inline std::string subject(syserr_t result, int module, kel_asic_num_t number, kel_asic_blk_t block,
                           uint32_t instance, kel_asic_reg_t vreg) {
  const std::string on = " of " + place(module, number);
  if (block == KEL_ASIC_NUM_BLK && instance == UINT32_MAX)  // a raw address
    return printed(kel_asic_address_text, vreg) +
           (kel_asic_command_name(vreg) == nullptr
                ? on
                : " with port word " + printed(kel_asic_address_text, number) + " of module " +
                      std::to_string(module)) +
           refusal(result, kel_asic_place_refusal_text, module, 0U);
  return printed(kel_asic_register_text, block, instance, vreg) + on +
         refusal(result, kel_asic_refusal_text, module, number, block, instance, vreg);
}

inline std::string subject(syserr_t result, int module, kel_asic_num_t number, kel_asic_blk_t block,
                           uint32_t instance, kel_asic_reg_t vreg, uint32_t index) {
  const std::string reason =
      refusal(result, kel_asic_entry_refusal_text, module, number, block, instance, vreg, index);
  return printed(kel_asic_register_text, block, instance, vreg) + '[' + std::to_string(index) +
         "] of " + place(module, number) + reason;
}

inline std::string subject(syserr_t result, int module, kel_asic_num_t number,
                           cardcfg_port_type_t type, uint32_t port) {
  return printed(kel_asic_port_text, type, port) + " of " + place(module, number) +
         refusal(result, kel_asic_port_refusal_text, module, number, type, port);
}

/* The ASICs of a program: a number, or bit 31 and a map. */
inline std::string places(int module, kel_asic_num_t selection) {
  constexpr kel_asic_num_t map_flag = UINT32_C(1) << 31;
  if (selection < map_flag)
    return place(module, selection);
  return "module " + std::to_string(module) + ", ASIC map " + std::to_string(selection - map_flag);
}

inline std::string subject(syserr_t result, int module, kel_asic_num_t number,
                           const kel_asic_pgm_t *steps, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const kel_asic_pgm_t &step = steps[i];
    const std::string reason = refusal(result, kel_asic_step_refusal_text, module, &step);
    if (!reason.empty())
      return places(module, number) + ", step " + std::to_string(i) + ", " +
             printed(kel_asic_register_text, step.block, step.instance, step.vreg) + reason;
  }
  return places(module, number) + (count == 0 ? ": a program has at least one step" : "");
}

template <typename... Values>
[[noreturn, gnu::cold, gnu::noinline]] void fail(syserr_t result, const char *operation,
                                                 Values... values) {
  throw std::system_error(to_error_code(result), operation + (' ' + subject(result, values...)));
}

/* As single values, the subject stays in registers until the operation fails. */
template <typename... Values>
[[gnu::always_inline]] inline void check(syserr_t result, const char *operation, Values... values) {
  if (result != 0)
    fail(result, operation, values...);
}

[[gnu::always_inline]] inline void check_at(syserr_t result, const char *operation,
                                            const port &at) {
  check(result, operation, at.on.module, at.on.number, at.type, at.number);
}

template <typename... Entry>
[[gnu::always_inline]] inline void check_at(syserr_t result, const char *operation,
                                            const asic_reg &at, Entry... index) {
  check(result, operation, at.on().module, at.on().number, at.where().block(),
        at.where().instance(), at.where().vreg(), index...);
}
#endif

/* The operations once, with the result of the C interface. */

/** The interface takes a char * and only reads it. */
inline char *text(const char *constant) noexcept {
  return const_cast<char *>(constant);
}

inline syserr_t init(slot_num_t slot, const caller &who) noexcept {
  return lib_mrv_asic_init(slot, KEL_ASIC_DRIVER_MORVANE, who.context, text(who.file), who.line,
                           who.func);
}

/** Calls a register function of the C interface: its register, its own arguments, the caller. */
template <typename Function, typename... Arguments>
[[gnu::always_inline]] inline syserr_t call(Function function, const caller &who,
                                            const asic_reg &at, Arguments... arguments) noexcept {
  return function(at.on().module, at.on().number, at.where().block(), at.where().instance(),
                  at.where().vreg(), arguments..., who.context, text(who.file), who.line, who.func);
}

inline syserr_t read(const asic_reg &from, uint32_t *value, const caller &who) noexcept {
  return call(lib_mrv_asic_read, who, from, value);
}

inline syserr_t write(const target &at, uint32_t value, const caller &who) noexcept {
  return call(lib_mrv_asic_write, who, at.to(), value, at.code());
}

inline syserr_t write_field(const target &at, uint32_t value, uint32_t mask,
                            const caller &who) noexcept {
  return call(lib_mrv_asic_write_field, who, at.to(), value, mask, at.code());
}

inline syserr_t read_block(const asic_reg &from, const word_buffer &out,
                           const caller &who) noexcept {
  if (out.count() > max_words)
    return SYSERR_KEL_ASIC_INVALID_ARG;
  return call(lib_mrv_asic_n_read, who, from, out.first(), static_cast<uint32_t>(out.count()));
}

/** Whether words are complete entries of a table; rows must have its entry size. */
template <typename Word>
syserr_t check_entries(const table &in, const word_span<Word> &words) noexcept {
  if (in.words() == 0 || words.count() > max_words)
    return SYSERR_KEL_ASIC_INVALID_ARG;
  const bool fit = (words.row() == 0 || words.row() == in.words()) &&
                   static_cast<uint32_t>(words.count()) % in.words() == 0;
  return fit ? 0 : static_cast<syserr_t>(errc::wrong_size);
}

inline syserr_t read_entries(const table &from, uint32_t index, const word_buffer &out,
                             const caller &who) noexcept {
  const syserr_t refusal = check_entries(from, out);
  if (refusal != 0)
    return refusal;
  return call(lib_mrv_asic_read_dhs, who, from, index, out.first(),
              static_cast<uint32_t>(out.count()) / from.words());
}

inline syserr_t write_entries(const table &to, uint32_t index, const word_view &in,
                              const caller &who) noexcept {
  const syserr_t refusal = check_entries(to, in);
  if (refusal != 0)
    return refusal;
  return call(lib_mrv_asic_write_dhs, who, to, index, const_cast<uint32_t *>(in.first()),
              static_cast<uint32_t>(in.count()) / to.words());
}

/** Makes room; a vector's own failure is one of memory. */
template <typename Element>
[[gnu::always_inline]] inline syserr_t make_room(std::vector<Element> *elements,
                                                 std::size_t count) noexcept {
#ifdef __cpp_exceptions
  try {
    *elements = std::vector<Element>(count);
  } catch (const std::exception &) {
    return KEL_ASIC_SYSERR_NO_BUFFER;
  }
#else
  *elements = std::vector<Element>(count);
#endif
  return 0;
}

inline syserr_t read_block(const asic_reg &from, std::size_t count, std::vector<uint32_t> *out,
                           const caller &who) noexcept {
  const syserr_t refusal = count > max_words ? SYSERR_KEL_ASIC_INVALID_ARG : make_room(out, count);
  return refusal != 0 ? refusal : read_block(from, word_buffer(*out), who);
}

/** Into words or into rows. */
template <typename Element>
syserr_t read_entries(const table &from, uint32_t index, std::size_t count,
                      std::vector<Element> *out, const caller &who) noexcept {
  if (from.words() == 0 || count > max_words / from.words())
    return SYSERR_KEL_ASIC_INVALID_ARG;
  const syserr_t refusal = make_room(out, row_size<Element> == 0 ? count * from.words() : count);
  return refusal != 0 ? refusal : detail::read_entries(from, index, word_buffer(*out), who);
}

}  // namespace detail

/**
 * @defgroup cxx_access C++: register access
 * @{
 */

#ifdef __cpp_exceptions
/**
 * Initialises the library: lib_mrv_asic_init. Call it once, before anything else. It makes no
 * service call and does not change an open batch; after an initialisation that completed it does
 * nothing.
 *
 * @param slot slot of the card that carries the ASIC, 0 to 255
 * @param who  the caller
 * @throws std::system_error ::SYSERR_KEL_ASIC_INVALID_ARG if the card does not carry a Morvane;
 *         morvane::errc::no_buffer, morvane::errc::no_trace_log; any other code is of the register
 * map
 */
inline void init(slot_num_t slot = 0, caller who = caller::here()) {
  detail::check(detail::init(slot, who), "init", "of the library");
}

/**
 * Reads one register: lib_mrv_asic_read. Makes one service call. It sends the writes of an open
 * batch first; the writes after it go in another call of the batch.
 *
 * @param from the register
 * @param who  the caller
 * @return its value
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the register does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE with its
 * errno)
 */
[[nodiscard]] inline uint32_t read(const asic_reg &from, caller who = caller::here()) {
  uint32_t value = 0;
  detail::check_at(detail::read(from, &value, who), "read", from);
  return value;
}

/**
 * Writes all bits of one register, or sends a command: lib_mrv_asic_write. Makes one service call.
 * While a batch is open it joins the batch, and a failure of its service call is not reported.
 *
 * @param to    the register, raw address or command
 * @param value its value, any
 * @param who   the caller
 * @throws std::system_error ::SYSERR_KEL_ASIC_INVALID_ARG before init(), or if the register or
 * module does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
inline void write(const target &to, uint32_t value, caller who = caller::here()) {
  detail::check_at(detail::write(to, value, who), "write", to.to());
}

/**
 * Writes the bits of one register that a mask selects: lib_mrv_asic_write_field. Makes one service
 * call. While a batch is open it joins the batch, and a failure of its service call is not
 * reported.
 *
 * @param to    the register, raw address or command
 * @param value value of the field, in its place in the register; sent as it is
 * @param mask  bits of the register to write; not 0 of a register
 * @param who   the caller
 * @throws std::system_error ::SYSERR_KEL_ASIC_INVALID_ARG before init(), for a mask of 0, or if the
 *         register or module does not exist; a service call that failed
 *         (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
inline void write_field(const target &to, uint32_t value, uint32_t mask,
                        caller who = caller::here()) {
  detail::check_at(detail::write_field(to, value, mask, who),
                   mask != 0 ? "write_field" : "write_field with mask 0", to.to());
}

/**
 * Reads consecutive registers: lib_mrv_asic_n_read. Makes one service call. It sends the writes of
 * an open batch first; the writes after it go in another call of the batch.
 *
 * @param from the first register; the service decides whether the others exist
 * @param out  up to morvane::max_words words. On success it receives those that the service
 * returns; the other words, and all on failure, keep their values
 * @param who  the caller
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the register does not exist, or for too many words; morvane::errc::no_buffer; a service call
 *         that failed (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
inline void read_block(const asic_reg &from, word_buffer out, caller who = caller::here()) {
  detail::check_at(detail::read_block(from, out, who), "read_block", from);
}

/**
 * Reads consecutive registers: lib_mrv_asic_n_read. Makes one service call. It sends the writes of
 * an open batch first; the writes after it go in another call of the batch.
 *
 * @param from  the first register; the service decides whether the others exist
 * @param count number of words, up to morvane::max_words
 * @param who   the caller
 * @return the words; 0 for words that the service does not return
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the register does not exist, or for too many words; morvane::errc::no_buffer; a service call
 *         that failed (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
[[nodiscard]] inline std::vector<uint32_t> read_block(const asic_reg &from, std::size_t count,
                                                      caller who = caller::here()) {
  std::vector<uint32_t> words;
  detail::check_at(detail::read_block(from, count, &words, who), "read_block", from);
  return words;
}

/**
 * Reads consecutive entries of a table: lib_mrv_asic_read_dhs. Makes one service call. It
 * sends the writes of an open batch first; the writes after it go in another call of the batch.
 *
 * @param from  the table
 * @param index the first entry, 0 to the last index of the table
 * @param out   words of complete entries, or rows of the table's size; up to morvane::max_words
 * words. On success it receives the words that the service returns; the other words, and all on
 *              failure, keep their values
 * @param who   the caller
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the register does not exist or is not a table, if its entry size is not known, for an index
 *         past the last one, or for too many words; morvane::errc::no_buffer;
 * morvane::errc::wrong_size; a service call that failed (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
inline void read_entries(const table &from, uint32_t index, word_buffer out,
                         caller who = caller::here()) {
  detail::check_at(detail::read_entries(from, index, out, who), "read_entries", from, index);
}

/**
 * Reads consecutive entries of a table: lib_mrv_asic_read_dhs. Makes one service call. It
 * sends the writes of an open batch first; the writes after it go in another call of the batch.
 *
 * @param from  the table; one whose entry size is known, by morvane::table::words
 * @param index the first entry, 0 to the last index of the table
 * @param count number of entries; of at most morvane::max_words in all
 * @param who   the caller
 * @return the words of the entries; 0 for words that the service does not return
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the register does not exist or is not a table, if its entry size is not known, for an index
 *         past the last one, or for too many words; morvane::errc::no_buffer; a service call that
 *         failed (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
[[nodiscard]] inline std::vector<uint32_t> read_entries(const table &from, uint32_t index,
                                                        std::size_t count,
                                                        caller who = caller::here()) {
  std::vector<uint32_t> words;
  detail::check_at(detail::read_entries(from, index, count, &words, who), "read_entries", from,
                   index);
  return words;
}

/**
 * Reads consecutive entries of a table as rows: lib_mrv_asic_read_dhs. Makes one service call.
 * It sends the writes of an open batch first; the writes after it go in another call of the batch.
 *
 * @param from  the table
 * @param index the first entry, 0 to the last index of the table
 * @param count number of entries; of at most morvane::max_words in all
 * @param who   the caller
 * @return one row per entry; 0 for words that the service does not return
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the register does not exist or is not a table, if its entry size is not known, for an index
 *         past the last one, or for too many words; morvane::errc::no_buffer; a service call that
 *         failed (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
template <auto Register, uint32_t Words>
[[nodiscard]] auto read_rows(const table_of<Register, Words> &from, uint32_t index,
                             std::size_t count, caller who = caller::here()) {
  std::vector<typename table_of<Register, Words>::row> rows;
  detail::check_at(detail::read_entries(from, index, count, &rows, who), "read_rows", from, index);
  return rows;
}

/**
 * Reads one entry of a table: lib_mrv_asic_read_dhs. Makes one service call. It
 * sends the writes of an open batch first; the writes after it go in another call of the batch.
 *
 * @param from  the table
 * @param index the entry, 0 to the last index of the table
 * @param who   the caller
 * @return its words; 0 for words that the service does not return
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the register does not exist or is not a table, if its entry size is not known, for an index
 *         past the last one, or for too many words; morvane::errc::no_buffer; a service call that
 *         failed (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
template <auto Register, uint32_t Words>
[[nodiscard]] auto read_row(const table_of<Register, Words> &from, uint32_t index,
                            caller who = caller::here()) {
  typename table_of<Register, Words>::row row = {};
  detail::check_at(detail::read_entries(from, index, row, who), "read_row", from, index);
  return row;
}

/**
 * Writes consecutive entries of a table: lib_mrv_asic_write_dhs. Makes one service call. While a
 * batch is open each word joins the batch, and a failure of a service call is not reported.
 *
 * @param to    the table
 * @param index the first entry, 0 to the last index of the table
 * @param in    words of complete entries, or rows of the table's size; up to morvane::max_words
 * words
 * @param who   the caller
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the register does not exist or is not a table, if its entry size is not known, for an index
 *         past the last one, or for too many words; morvane::errc::no_buffer;
 * morvane::errc::wrong_size; a service call that failed (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
inline void write_entries(const table &to, uint32_t index, word_view in,
                          caller who = caller::here()) {
  detail::check_at(detail::write_entries(to, index, in, who), "write_entries", to, index);
}
#endif

/**
 * @copydoc init(slot_num_t, caller)
 * @param ec receives the error; clear on success
 */
inline void init(slot_num_t slot, std::error_code &ec, caller who = caller::here()) noexcept {
  detail::report(detail::init(slot, who), ec);
}

/**
 * @copydoc read(const asic_reg &, caller)
 * @param ec receives the error; clear on success
 */
inline uint32_t read(const asic_reg &from, std::error_code &ec,
                     caller who = caller::here()) noexcept {
  uint32_t value = 0;
  detail::report(detail::read(from, &value, who), ec);
  return value;
}

/**
 * @copydoc write(const target &, uint32_t, caller)
 * @param ec receives the error; clear on success
 */
inline void write(const target &to, uint32_t value, std::error_code &ec,
                  caller who = caller::here()) noexcept {
  detail::report(detail::write(to, value, who), ec);
}

/**
 * @copydoc write_field(const target &, uint32_t, uint32_t, caller)
 * @param ec receives the error; clear on success
 */
inline void write_field(const target &to, uint32_t value, uint32_t mask, std::error_code &ec,
                        caller who = caller::here()) noexcept {
  detail::report(detail::write_field(to, value, mask, who), ec);
}

/**
 * @copydoc read_block(const asic_reg &, word_buffer, caller)
 * @param ec receives the error; clear on success
 */
inline void read_block(const asic_reg &from, word_buffer out, std::error_code &ec,
                       caller who = caller::here()) noexcept {
  detail::report(detail::read_block(from, out, who), ec);
}

/**
 * @copydoc read_block(const asic_reg &, std::size_t, caller)
 * @param ec receives the error; clear on success
 */
inline std::vector<uint32_t> read_block(const asic_reg &from, std::size_t count,
                                        std::error_code &ec, caller who = caller::here()) noexcept {
  std::vector<uint32_t> words;
  detail::report(detail::read_block(from, count, &words, who), ec);
  if (ec)
    words.clear();
  return words;
}

/**
 * @copydoc read_entries(const table &, uint32_t, word_buffer, caller)
 * @param ec receives the error; clear on success
 */
inline void read_entries(const table &from, uint32_t index, word_buffer out, std::error_code &ec,
                         caller who = caller::here()) noexcept {
  detail::report(detail::read_entries(from, index, out, who), ec);
}

/**
 * @copydoc read_entries(const table &, uint32_t, std::size_t, caller)
 * @param ec receives the error; clear on success
 */
inline std::vector<uint32_t> read_entries(const table &from, uint32_t index, std::size_t count,
                                          std::error_code &ec,
                                          caller who = caller::here()) noexcept {
  std::vector<uint32_t> words;
  detail::report(detail::read_entries(from, index, count, &words, who), ec);
  if (ec)
    words.clear();
  return words;
}

/**
 * @copydoc read_rows(const table_of<Register, Words> &, uint32_t, std::size_t, caller)
 * @param ec receives the error; clear on success
 */
template <auto Register, uint32_t Words>
auto read_rows(const table_of<Register, Words> &from, uint32_t index, std::size_t count,
               std::error_code &ec, caller who = caller::here()) noexcept {
  std::vector<typename table_of<Register, Words>::row> rows;
  detail::report(detail::read_entries(from, index, count, &rows, who), ec);
  if (ec)
    rows.clear();
  return rows;
}

/**
 * @copydoc read_row(const table_of<Register, Words> &, uint32_t, caller)
 * @param ec receives the error; clear on success
 */
template <auto Register, uint32_t Words>
auto read_row(const table_of<Register, Words> &from, uint32_t index, std::error_code &ec,
              caller who = caller::here()) noexcept {
  typename table_of<Register, Words>::row row = {};
  detail::report(detail::read_entries(from, index, row, who), ec);
  return row;
}

/**
 * @copydoc write_entries(const table &, uint32_t, word_view, caller)
 * @param ec receives the error; clear on success
 */
inline void write_entries(const table &to, uint32_t index, word_view in, std::error_code &ec,
                          caller who = caller::here()) noexcept {
  detail::report(detail::write_entries(to, index, in, who), ec);
}
/** @} */

/**
 * @defgroup cxx_batch C++: batches and programs
 * @{
 */

namespace detail {

/** A morvane::batch of this program is open. */
inline bool batch_open = false;

}  // namespace detail

/** Whether the service may reorder the writes of a batch. */
enum class reorder {
  forbidden, /**< as they were written */
  allowed    /**< in any order */
};

/**
 * A scope whose writes are sent together at its end, also if an exception ends it. Nothing is
 * rolled back, because the library cannot drop what was written. It is therefore called a batch,
 * not a transaction.
 *
 *     {
 *       morvane::batch port_2("port 2", morvane::reorder::allowed);
 *       morvane::write(morvane::at(HI_DHS_LVIF_OFFSET, 2), 1);
 *       morvane::write_entries(policers, 0, rows);
 *     }
 *
 * It is the open transaction of the library (mrv_asic_transaction_start). A read sends the writes
 * made before it, and the writes after the read go in another call. So does each 513th word. Both
 * happen without reordering. A commit cannot report failure: commit_and_verify() reads back.
 *
 * A program has one open batch at a time. In a program with threads, use a morvane::session::batch.
 */
class batch {
 public:
#ifdef __cpp_exceptions
  /**
   * Opens the batch.
   *
   * @param name  its name, which the service gets, up to 31 characters; not empty
   * @param order whether its writes may be reordered
   * @throws std::system_error morvane::errc::already_open, or ::SYSERR_KEL_ASIC_INVALID_ARG of a
   *         null or empty name
   */
  [[nodiscard]] explicit batch(const char *name, reorder order = reorder::forbidden) {
    detail::check(open(name, order), "batch", name);
  }
#endif
  /**
   * Opens the batch. If that fails, writes are sent immediately.
   *
   * @param name  its name, which the service gets, up to 31 characters; not empty
   * @param order whether its writes may be reordered
   * @param ec    receives morvane::errc::already_open, or ::SYSERR_KEL_ASIC_INVALID_ARG of a null
   * or empty name; clear on success
   */
  [[nodiscard]] batch(const char *name, reorder order, std::error_code &ec) noexcept {
    detail::report(open(name, order), ec);
  }

  batch(const batch &) = delete;
  batch &operator=(const batch &) = delete;

  ~batch() {
    commit();
  }

  /**
   * Sends the writes now and ends the batch: mrv_asic_transaction_commit. It cannot report failure.
   * If the batch is not open, it does nothing.
   */
  void commit() noexcept {
    if (!open_)
      return;
    mrv_asic_transaction_commit();
    detail::batch_open = open_ = false;
  }

#ifdef __cpp_exceptions
  /**
   * Sends the writes now, ends the batch, and reads a register back: lib_mrv_asic_read. Choose the
   * register that the batch wrote last: a batch of more than 512 words is sent in several calls, of
   * which only the last may be lost.
   *
   * @param at       the register
   * @param expected the value that it must have
   * @param who      the caller
   * @throws std::system_error morvane::errc::not_verified, or the code of the read
   */
  void commit_and_verify(const asic_reg &at, uint32_t expected,
                         const caller &who = caller::here()) {
    detail::check_at(verify(at, expected, who), "commit_and_verify", at);
  }

  /**
   * Sends the writes now, ends the batch, and reads an entry of a table back:
   * lib_mrv_asic_read_dhs. Choose the entry that the batch wrote last, as for a register.
   *
   * @param at    the table
   * @param index the entry
   * @param row   the words that the entry must have: as many as an entry of the table
   * @param who   the caller
   * @throws std::system_error morvane::errc::not_verified, also if the service returns fewer words;
   *         morvane::errc::wrong_size, or the code of the read
   */
  void commit_and_verify(const table &at, uint32_t index, const word_view &row,
                         const caller &who = caller::here()) {
    detail::check_at(verify(at, index, row, who), "commit_and_verify", at, index);
  }
#endif

  /**
   * @copydoc commit_and_verify(const asic_reg &, uint32_t, const caller &)
   * @param ec receives the error; clear on success
   */
  void commit_and_verify(const asic_reg &at, uint32_t expected, std::error_code &ec,
                         const caller &who = caller::here()) noexcept {
    detail::report(verify(at, expected, who), ec);
  }

  /**
   * @copydoc commit_and_verify(const table &, uint32_t, const word_view &, const caller &)
   * @param ec receives the error; clear on success
   */
  void commit_and_verify(const table &at, uint32_t index, const word_view &row, std::error_code &ec,
                         const caller &who = caller::here()) noexcept {
    detail::report(verify(at, index, row, who), ec);
  }

 private:
  syserr_t open(const char *name, reorder order) noexcept {
    if (name == nullptr || *name == '\0')
      return SYSERR_KEL_ASIC_INVALID_ARG;  // the library would open none
    if (detail::batch_open)
      return static_cast<syserr_t>(errc::already_open);
    mrv_asic_transaction_start(detail::text(name), order == reorder::allowed);
    detail::batch_open = open_ = true;
    return 0;
  }

  static syserr_t compared(syserr_t result, bool equal) noexcept {
    return result != 0 || equal ? result : static_cast<syserr_t>(errc::not_verified);
  }

  syserr_t verify(const asic_reg &at, uint32_t expected, const caller &who) noexcept {
    commit();
    uint32_t value = 0;
    const syserr_t result = detail::read(at, &value, who);
    return compared(result, value == expected);
  }

  syserr_t verify(const table &at, uint32_t index, const word_view &row,
                  const caller &who) noexcept {
    commit();
    std::array<uint32_t, 256> words;  // the longest entry
    if (row.count() > words.size() || (at.words() != 0 && row.count() != at.words()))
      return static_cast<syserr_t>(errc::wrong_size);
    // A word that the service does not return must not pass for one.
    const word_buffer out(words.data(), row.count());
    for (std::size_t i = 0; i < row.count(); ++i)
      words[i] = ~row.first()[i];
    const syserr_t result = detail::read_entries(at, index, out, who);
    return compared(result, std::memcmp(words.data(), row.first(), 4 * row.count()) == 0);
  }

  bool open_ = false;
};

/** The ASICs of a module that a program runs on: one, or all of a map. */
struct asic_set {
  asic selection; /**< module and selection as lib_mrv_asic_pgm takes them */

  /** @param one the ASIC */
  constexpr asic_set(asic one = {}) noexcept : selection(one) {}

  /**
   * @param bits   one bit per ASIC number, bits 0 to 30; those that do not exist are skipped
   * @param module module number
   * @return the ASICs of the map
   */
  [[nodiscard]] static constexpr asic_set map(uint32_t bits, int module = 0) noexcept {
    return asic_set({module, bits | UINT32_C(1) << 31});
  }
};

/**
 * A step of a register program.
 *
 * @param to    the register; the run of the program selects the ASICs
 * @param value its value, or the value of the field in its place
 * @param mask  bits to write (default: all)
 * @return the step, its magic filled in
 */
[[nodiscard]] constexpr kel_asic_pgm_t step(const reg &to, uint32_t value,
                                            uint32_t mask = UINT32_MAX) noexcept {
  return {KEL_ASIC_PGM_MAGIC, to.block(), to.instance(), to.vreg(), value, mask};
}

/**
 * Builds a register program. A constant program can be an array of steps:
 *
 *     constexpr std::array reset = {morvane::step(first, 0), morvane::step(second, 1, 0xFF)};
 *     morvane::run(reset);
 */
class program {
 public:
  /**
   * Adds a write of all bits of a register.
   *
   * @param to    the register
   * @param value its value
   * @return this program
   */
  program &write(const reg &to, uint32_t value) {
    steps_.push_back(step(to, value));
    return *this;
  }

  /**
   * Adds a write of the bits that a mask selects.
   *
   * @param to    the register
   * @param value value of the field, in its place
   * @param mask  bits to write; not 0
   * @return this program
   */
  program &write_field(const reg &to, uint32_t value, uint32_t mask) {
    steps_.push_back(step(to, value, mask));
    return *this;
  }

  /** @return the steps */
  [[nodiscard]] const kel_asic_pgm_t *data() const noexcept { return steps_.data(); }
  /** @return number of steps */
  [[nodiscard]] std::size_t size() const noexcept { return steps_.size(); }

 private:
  std::vector<kel_asic_pgm_t> steps_ = {};
};

namespace detail {

template <typename Program>
syserr_t run(const Program &steps, const asic &on, const caller &who) noexcept {
  static_assert(std::is_same_v<element_of<const Program>, const kel_asic_pgm_t>,
                "a program is made of steps: say step(register, value)");
  if (std::size(steps) > INT_MAX)
    return SYSERR_KEL_ASIC_INVALID_ARG;
  return lib_mrv_asic_pgm(on.module, on.number, const_cast<kel_asic_pgm_t *>(std::data(steps)),
                          static_cast<int>(std::size(steps)), who.context, text(who.file), who.line,
                          who.func);
}

}  // namespace detail

#ifdef __cpp_exceptions
/**
 * Runs a register program: lib_mrv_asic_pgm. Makes one service call for each step and ASIC. While a
 * batch is open its writes join the batch, and a failure of a service call is not reported.
 *
 * @param steps a morvane::program, or anything with data() and size() of steps; at least one
 * @param on    the ASICs; those that do not exist are skipped
 * @param who   the caller
 * @throws std::system_error the code of the first step that failed; the steps before it stay
 * written:
 *         ::SYSERR_KEL_ASIC_INVALID_ARG before init(), without a step, or if a module, the register
 * of a step, its magic or its mask is wrong; a service call that failed (KEL_ASIC_SYSERR_SERVICE
 * with its errno)
 */
template <typename Program>
void run(const Program &steps, asic_set on = {}, caller who = caller::here()) {
  const auto [module, number] = on.selection;
  detail::check(detail::run(steps, on.selection, who), "run", module, number, std::data(steps),
                std::size(steps));
}
#endif

/**
 * @copydoc run(const Program &, asic_set, caller)
 * @param ec receives the error; clear on success
 */
template <typename Program>
void run(const Program &steps, asic_set on, std::error_code &ec,
         caller who = caller::here()) noexcept {
  detail::report(detail::run(steps, on.selection, who), ec);
}
/** @} */

/**
 * @defgroup cxx_qos C++: QoS statistics
 * @{
 */

namespace detail {

/** Some arguments of the C interface are bytes: larger values are refused, not truncated. */
constexpr bool fits_in_byte(uint32_t number) noexcept {
  return number <= UINT8_MAX;
}

constexpr bool fits_in_byte(const asic &on) noexcept {
  return fits_in_byte(static_cast<uint32_t>(on.module)) && fits_in_byte(on.number);
}

template <typename Function, typename... Arguments>
syserr_t call_qos(Function function, const port &of, Arguments... arguments) noexcept {
  if (!fits_in_byte(of.on) || !fits_in_byte(of.number))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  return function(static_cast<uint8_t>(of.on.module), static_cast<uint8_t>(of.on.number), of.type,
                  static_cast<uint8_t>(of.number), arguments...);
}

inline syserr_t clear_all_qos_stats(const asic &on, uint32_t opts) noexcept {
  if (!fits_in_byte(on))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  return lib_mrv_asic_clear_all_qos_stats(static_cast<uint8_t>(on.module),
                                          static_cast<uint8_t>(on.number), opts);
}

}  // namespace detail

/**
 * The QoS statistics of a port, by value: the counters of a record are aligned to 4 bytes, so no
 * reference to one leaves. Counters by priority or class are arrays that a range-for goes over.
 */
class qos_stats {
 public:
  /** Eight counters, by priority or class. */
  using by_class = std::array<uint64_t, 8>;
  /** Six rows of eight drop counters; the service defines the rows. */
  using drops = std::array<by_class, 6>;

  /** Statistics that hold nothing yet; initialise them with {} to hold zeros. */
  // cppcheck-suppress uninitMemberVar  ; a kilobyte that the service fills
  qos_stats() = default;
  /** @param record statistics of the C interface */
  explicit qos_stats(const kel_asic_qos_stats_t &record) noexcept : record_(record) {}
  /** @return them as the C interface has them */
  [[nodiscard]] kel_asic_qos_stats_t record() const noexcept { return record_; }

  /** @return flow-control setting */
  [[nodiscard]] port_flow_ctrl_t flow_ctrl() const noexcept { return record_.pause.flow_ctrl; }
  /** @return XOFF pause frames received */
  [[nodiscard]] uint64_t rx_xoff() const noexcept { return record_.pause.rx_xoff_cnt; }
  /** @return XON pause frames received */
  [[nodiscard]] uint64_t rx_xon() const noexcept { return record_.pause.rx_xon_cnt; }
  /** @return XOFF pause frames sent */
  [[nodiscard]] uint64_t tx_xoff() const noexcept { return record_.pause.tx_xoff_cnt; }
  /** @return XON pause frames sent */
  [[nodiscard]] uint64_t tx_xon() const noexcept { return record_.pause.tx_xon_cnt; }
  /** @return PFC XOFF sent, by priority */
  [[nodiscard]] by_class tx_pfc_xoff() const noexcept {
    return copy<by_class>(&record_.pause.tx_pfc_xoff_cnt);
  }
  /** @return PFC XOFF received, by priority */
  [[nodiscard]] by_class rx_pfc_xoff() const noexcept {
    return copy<by_class>(&record_.pause.rx_pfc_xoff_cnt);
  }
  /** @return PFC frames sent */
  [[nodiscard]] uint64_t tx_pfc() const noexcept { return record_.pause.tx_pfc_cnt; }
  /** @return PFC frames received */
  [[nodiscard]] uint64_t rx_pfc() const noexcept { return record_.pause.rx_pfc_cnt; }
  /** @return whether the receive side is in XOFF state */
  [[nodiscard]] bool rx_in_xoff() const noexcept { return record_.pause.rx_xoff_status != 0; }
  /** @return whether the transmit side is in XOFF state */
  [[nodiscard]] bool tx_in_xoff() const noexcept { return record_.pause.tx_xoff_status != 0; }
  /** @return writes received, by class */
  [[nodiscard]] by_class writes_received() const noexcept {
    return copy<by_class>(&record_.ss_dhs.wr_rcvd_cnt);
  }
  /** @return writes discarded */
  [[nodiscard]] uint64_t writes_discarded() const noexcept { return record_.ss_dhs.wr_discard_cnt; }
  /** @return multicast writes discarded */
  [[nodiscard]] uint64_t multicast_writes_discarded() const noexcept {
    return record_.ss_dhs.wr_discard_mcast_cnt;
  }
  /** @return writes received with an error */
  [[nodiscard]] uint64_t write_errors() const noexcept { return record_.ss_dhs.wr_rcvd_err_cnt; }
  /** @return reads sent, by class */
  [[nodiscard]] by_class reads_sent() const noexcept {
    return copy<by_class>(&record_.ss_dhs.rd_sent_cnt);
  }
  /** @return queue flushes */
  [[nodiscard]] uint64_t queue_flushes() const noexcept { return record_.oq.flush_cnt; }
  /** @return queue timeouts */
  [[nodiscard]] uint64_t queue_timeouts() const noexcept { return record_.oq.tout_cnt; }
  /** @return drops in the n2h direction */
  [[nodiscard]] drops n2h_drops() const noexcept { return copy<drops>(&record_.drops.n2h_drops); }
  /** @return drops in the h2n direction */
  [[nodiscard]] drops h2n_drops() const noexcept { return copy<drops>(&record_.drops.h2n_drops); }

 private:
  friend qos_stats get_qos_stats(const port &of, uint32_t opts);
  friend qos_stats get_qos_stats(const port &of, std::error_code &ec, uint32_t opts) noexcept;

  template <typename Counters>
  static Counters copy(const void *from) noexcept {
    Counters counters = {};
    std::memcpy(&counters, from, sizeof counters);
    return counters;
  }

  kel_asic_qos_stats_t record_;
};

#ifdef __cpp_exceptions
/**
 * Reads the QoS statistics of a port: lib_mrv_asic_get_qos_stats. Makes one service call; an open
 * batch is unchanged.
 *
 * @param of   the port, its number below 256; the service checks type and number
 * @param opts options, any; passed through to the service
 * @return the statistics
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the module or ASIC does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE with
 * its errno)
 */
[[nodiscard]] inline qos_stats get_qos_stats(const port &of, uint32_t opts = 0) {
  qos_stats stats;
  detail::check_at(detail::call_qos(lib_mrv_asic_get_qos_stats, of, &stats.record_, opts),
                   "get_qos_stats", of);
  return stats;
}

/**
 * Clears the QoS statistics of a port: lib_mrv_asic_clear_qos_stats. Makes one service call; an
 * open batch is unchanged.
 *
 * @param of   the port, its number below 256; the service checks type and number
 * @param opts options, any; passed through to the service
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the module or ASIC does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE with
 * its errno)
 */
inline void clear_qos_stats(const port &of, uint32_t opts = 0) {
  detail::check_at(detail::call_qos(lib_mrv_asic_clear_qos_stats, of, opts), "clear_qos_stats", of);
}

/**
 * Clears the QoS statistics of every port of an ASIC: lib_mrv_asic_clear_all_qos_stats. Makes one
 * service call; an open batch is unchanged.
 *
 * @param on   the ASIC
 * @param opts options, any; passed through to the service
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the module or ASIC does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE with
 * its errno)
 */
inline void clear_all_qos_stats(asic on = {}, uint32_t opts = 0) {
  detail::check(detail::clear_all_qos_stats(on, opts), "clear_all_qos_stats", on.module, on.number);
}
#endif

/**
 * @copydoc get_qos_stats(const port &, uint32_t)
 * @param ec receives the error; clear on success
 */
inline qos_stats get_qos_stats(const port &of, std::error_code &ec, uint32_t opts = 0) noexcept {
  qos_stats stats;
  detail::report(detail::call_qos(lib_mrv_asic_get_qos_stats, of, &stats.record_, opts), ec);
  if (ec)
    stats = qos_stats{};
  return stats;
}

/**
 * @copydoc clear_qos_stats(const port &, uint32_t)
 * @param ec receives the error; clear on success
 */
inline void clear_qos_stats(const port &of, std::error_code &ec, uint32_t opts = 0) noexcept {
  detail::report(detail::call_qos(lib_mrv_asic_clear_qos_stats, of, opts), ec);
}

/**
 * @copydoc clear_all_qos_stats(asic, uint32_t)
 * @param ec receives the error; clear on success
 */
inline void clear_all_qos_stats(asic on, std::error_code &ec, uint32_t opts = 0) noexcept {
  detail::report(detail::clear_all_qos_stats(on, opts), ec);
}
/** @} */

/**
 * @defgroup cxx_port C++: ports and queues
 * @{
 */

namespace detail {

inline syserr_t link_pause_enable(const port &of) noexcept {
  return lib_mrv_asic_link_pause_enable(of.on.module, static_cast<int>(of.on.number), of.type,
                                        of.number);
}

inline syserr_t link_pause_disable(const port &of) noexcept {
  return lib_mrv_asic_link_pause_disable(of.on.module, static_cast<int>(of.on.number), of.type,
                                         of.number);
}

inline syserr_t set_nodrop_class_map(uint32_t map, const asic &on) noexcept {
  return lib_mrv_asic_set_nodrop_class_map(on.module, static_cast<int>(on.number), map);
}

inline syserr_t sfp_validation_failed(const port &of) noexcept {
  if (!fits_in_byte(of.type) || !fits_in_byte(of.number))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  return lib_mrv_asic_sfp_validation_failed(of.on.module, static_cast<int>(of.on.number), of.type,
                                            of.number);
}

inline syserr_t prog_sp_timer(uint16_t time, const asic &on) noexcept {
  if (!fits_in_byte(on))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  return lib_mrv_asic_prog_sp_timer(static_cast<uint8_t>(on.module),
                                    static_cast<uint8_t>(on.number), time);
}

}  // namespace detail

#ifdef __cpp_exceptions
/**
 * Enables link pause on a port: lib_mrv_asic_link_pause_enable. Makes one service call.
 * While a batch is open it joins the batch, and a failure of its service call is not reported.
 *
 * @param of the port, a host or network interface that the ASIC has
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the module or ASIC or port does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE
 * with its errno)
 */
inline void link_pause_enable(const port &of) {
  detail::check_at(detail::link_pause_enable(of), "link_pause_enable", of);
}

/**
 * Disables link pause on a port: lib_mrv_asic_link_pause_disable. Makes one service call.
 * While a batch is open it joins the batch, and a failure of its service call is not reported.
 *
 * @param of the port, a host or network interface that the ASIC has
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the module or ASIC or port does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE
 * with its errno)
 */
inline void link_pause_disable(const port &of) {
  detail::check_at(detail::link_pause_disable(of), "link_pause_disable", of);
}

/**
 * Sets the no-drop class-of-service map of an ASIC: lib_mrv_asic_set_nodrop_class_map. Makes one
 * service call. While a batch is open it joins the batch, and a failure of its service
 * call is not reported.
 *
 * @param map the map, one bit per class; only bits 0 to 7 are sent
 * @param on  the ASIC
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the module or ASIC does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE with
 * its errno)
 */
inline void set_nodrop_class_map(uint32_t map, asic on = {}) {
  detail::check(detail::set_nodrop_class_map(map, on), "set_nodrop_class_map", on.module,
                on.number);
}

/**
 * Reports that the SFP transceiver of a port failed its validation:
 * lib_mrv_asic_sfp_validation_failed. Makes one service call.
 * While a batch is open it joins the batch, and a failure of its service call is not reported.
 *
 * @param of the port; type and number below 256
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the module or ASIC does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE with
 * its errno)
 */
inline void sfp_validation_failed(const port &of) {
  detail::check_at(detail::sfp_validation_failed(of), "sfp_validation_failed", of);
}

/**
 * Programs the SP timer: lib_mrv_asic_prog_sp_timer. Makes one service call; an open batch is
 * unchanged.
 *
 * @param time time to program, in the service's unit
 * @param on   the ASIC
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); ::SYSERR_KEL_ASIC_INVALID_ARG
 * if the module or ASIC does not exist; a service call that failed (KEL_ASIC_SYSERR_SERVICE with
 * its errno)
 */
inline void prog_sp_timer(uint16_t time, asic on = {}) {
  detail::check(detail::prog_sp_timer(time, on), "prog_sp_timer", on.module, on.number);
}

/**
 * Clears all drop counters of module 0, ASIC 0: lib_mrv_asic_clear_all_drop_counters. Makes one
 * service call; an open batch is unchanged.
 *
 * @throws std::system_error ::SYSERR_KEL_ASIC_UNINIT before init(); a service call that failed
 *         (KEL_ASIC_SYSERR_SERVICE with its errno)
 */
inline void clear_all_drop_counters() {
  detail::check(lib_mrv_asic_clear_all_drop_counters(), "clear_all_drop_counters", 0, 0U);
}
#endif

/**
 * @copydoc link_pause_enable(const port &)
 * @param ec receives the error; clear on success
 */
inline void link_pause_enable(const port &of, std::error_code &ec) noexcept {
  detail::report(detail::link_pause_enable(of), ec);
}

/**
 * @copydoc link_pause_disable(const port &)
 * @param ec receives the error; clear on success
 */
inline void link_pause_disable(const port &of, std::error_code &ec) noexcept {
  detail::report(detail::link_pause_disable(of), ec);
}

/**
 * @copydoc set_nodrop_class_map(uint32_t, asic)
 * @param ec receives the error; clear on success
 */
inline void set_nodrop_class_map(uint32_t map, asic on, std::error_code &ec) noexcept {
  detail::report(detail::set_nodrop_class_map(map, on), ec);
}

/**
 * @copydoc sfp_validation_failed(const port &)
 * @param ec receives the error; clear on success
 */
inline void sfp_validation_failed(const port &of, std::error_code &ec) noexcept {
  detail::report(detail::sfp_validation_failed(of), ec);
}

/**
 * @copydoc prog_sp_timer(uint16_t, asic)
 * @param ec receives the error; clear on success
 */
inline void prog_sp_timer(uint16_t time, asic on, std::error_code &ec) noexcept {
  detail::report(detail::prog_sp_timer(time, on), ec);
}

/**
 * @copydoc clear_all_drop_counters()
 * @param ec receives the error; clear on success
 */
inline void clear_all_drop_counters(std::error_code &ec) noexcept {
  detail::report(lib_mrv_asic_clear_all_drop_counters(), ec);
}
/** @} */

/**
 * @defgroup cxx_session C++: threads
 * @{
 */

/**
 * The lock of a program with threads. It is callable with an operation, or with several that belong
 * together, and returns what they return:
 *
 *     morvane::session card;
 *     const uint32_t value = card([&] { return morvane::read(reg); });
 *     card([&] { morvane::write(counter, morvane::read(counter) + 1); });
 *
 * There is one lock in a program, as there is one library state: all sessions share it. Threads
 * that use the library without a session are not kept out. A session is also a lock of the standard
 * library, for std::lock_guard.
 *
 * The same thread may take the lock again. A thread that waits for another thread while it holds
 * the lock may wait forever. Not for signal handlers.
 *
 * caller::here() inside a lambda names the lambda: its function is "operator()". To name the
 * function around it, take the caller outside and pass it:
 *
 *     card([&, here = morvane::caller::here()] { return morvane::read(reg, here); });
 */
class session {
 public:
  class batch;

  /** Waits for the lock. */
  void lock() { mutex_.lock(); }
  /** @return whether the lock was free, and is now held */
  bool try_lock() { return mutex_.try_lock(); }
  /** Releases the lock. */
  void unlock() { mutex_.unlock(); }

  /**
   * Runs operations under the lock.
   *
   * @param operations anything callable without arguments; what it throws passes through
   * @return what it returns
   */
  template <typename Operations>
  decltype(auto) operator()(Operations &&operations) {
    const std::lock_guard held(*this);
    return std::forward<Operations>(operations)();
  }

 private:
  static std::recursive_mutex &of_the_program() noexcept {
    static std::recursive_mutex one;
    return one;
  }

  std::recursive_mutex &mutex_ = of_the_program();
};

/** A batch that holds the lock until its scope ends, also after commit(). */
class session::batch : std::lock_guard<session>, public morvane::batch {
 public:
#ifdef __cpp_exceptions
  /**
   * Waits for the lock and opens the batch.
   *
   * @param of    the session
   * @param name  its name, which the service gets, up to 31 characters; not empty
   * @param order whether its writes may be reordered
   * @throws std::system_error morvane::errc::already_open if this thread has a batch open, or
   *         ::SYSERR_KEL_ASIC_INVALID_ARG for a null or empty name
   */
  [[nodiscard]] batch(session &of, const char *name, reorder order = reorder::forbidden)
      : std::lock_guard<session>(of), morvane::batch(name, order) {
  }
#endif
  /**
   * Waits for the lock and opens the batch.
   *
   * @param of    the session
   * @param name  its name, which the service gets, up to 31 characters; not empty
   * @param order whether its writes may be reordered
   * @param ec    receives morvane::errc::already_open if this thread has a batch open, or
   *              ::SYSERR_KEL_ASIC_INVALID_ARG for a null or empty name; clear on success
   */
  [[nodiscard]] batch(session &of, const char *name, reorder order, std::error_code &ec) noexcept
      : std::lock_guard<session>(of), morvane::batch(name, order, ec) {
  }
};
/** @} */

}  // namespace morvane

#pragma GCC visibility pop

#endif
