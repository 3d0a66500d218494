#include "snapshot.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <vector>

#include "kel_asic_reference_text.h"
#include "register_layout.h"

namespace virtual_asic {
namespace {

// A field of a record, or an array of them.
struct Field {
  const char *name;
  std::size_t offset;
  std::size_t size;  // of one element: 1, 2, 4 or 8 bytes
  uint32_t rows = 1;
  uint32_t columns = 1;
};

constexpr Field kPortFields[] = {
    {"flow_ctrl", offsetof(kel_asic_qos_stats_t, pause.flow_ctrl), 2},
    {"rx_xoff_cnt", offsetof(kel_asic_qos_stats_t, pause.rx_xoff_cnt), 8},
    {"rx_xon_cnt", offsetof(kel_asic_qos_stats_t, pause.rx_xon_cnt), 8},
    {"tx_xoff_cnt", offsetof(kel_asic_qos_stats_t, pause.tx_xoff_cnt), 8},
    {"tx_xon_cnt", offsetof(kel_asic_qos_stats_t, pause.tx_xon_cnt), 8},
    {"tx_pfc_xoff_cnt", offsetof(kel_asic_qos_stats_t, pause.tx_pfc_xoff_cnt), 8, 1, 8},
    {"rx_pfc_xoff_cnt", offsetof(kel_asic_qos_stats_t, pause.rx_pfc_xoff_cnt), 8, 1, 8},
    {"tx_pfc_cnt", offsetof(kel_asic_qos_stats_t, pause.tx_pfc_cnt), 8},
    {"rx_pfc_cnt", offsetof(kel_asic_qos_stats_t, pause.rx_pfc_cnt), 8},
    {"rx_xoff_status", offsetof(kel_asic_qos_stats_t, pause.rx_xoff_status), 1},
    {"tx_xoff_status", offsetof(kel_asic_qos_stats_t, pause.tx_xoff_status), 1},
    {"wr_rcvd_cnt", offsetof(kel_asic_qos_stats_t, ss_dhs.wr_rcvd_cnt), 8, 1, 8},
    {"wr_discard_cnt", offsetof(kel_asic_qos_stats_t, ss_dhs.wr_discard_cnt), 8},
    {"wr_discard_mcast_cnt", offsetof(kel_asic_qos_stats_t, ss_dhs.wr_discard_mcast_cnt), 8},
    {"wr_rcvd_err_cnt", offsetof(kel_asic_qos_stats_t, ss_dhs.wr_rcvd_err_cnt), 8},
    {"rd_sent_cnt", offsetof(kel_asic_qos_stats_t, ss_dhs.rd_sent_cnt), 8, 1, 8},
    {"flush_cnt", offsetof(kel_asic_qos_stats_t, oq.flush_cnt), 8},
    {"tout_cnt", offsetof(kel_asic_qos_stats_t, oq.tout_cnt), 8},
    {"n2h_drops", offsetof(kel_asic_qos_stats_t, drops.n2h_drops), 8, 6, 8},
    {"h2n_drops", offsetof(kel_asic_qos_stats_t, drops.h2n_drops), 8, 6, 8},
};

constexpr Field kAsicFields[] = {
    {"nodrop_class_map", offsetof(vp_asic_state, nodrop_class_map), 1},
    {"sp_timer", offsetof(vp_asic_state, sp_timer), 2},
    {"drop_clears", offsetof(vp_asic_state, drop_clears), 4},
    {"sfp_failures", offsetof(vp_asic_state, sfp_failures), 4},
    {"last_sfp_port_type", offsetof(vp_asic_state, last_sfp_port_type), 4},
    {"last_sfp_port", offsetof(vp_asic_state, last_sfp_port), 4},
};

template <std::size_t kCount>
constexpr std::size_t total_size(const Field (&fields)[kCount]) {
  std::size_t total = 0;
  for (const Field &field : fields)
    total += field.size * field.rows * field.columns;
  return total;
}

// Every field is saved: the rest of the records is padding.
static_assert(total_size(kPortFields) + 4 == sizeof(kel_asic_qos_stats_t));
static_assert(total_size(kAsicFields) + 1 == sizeof(vp_asic_state));

uint64_t get(const void *record, const Field &field, uint32_t element) {
  uint64_t value = 0;  // little-endian
  std::memcpy(&value, static_cast<const char *>(record) + field.offset + element * field.size,
              field.size);
  return value;
}

// 0, or ERANGE if the field has no room for the value.
int set(void *record, const Field &field, uint32_t element, uint64_t value) {
  if (field.size < sizeof value && value >> (8 * field.size) != 0)
    return ERANGE;
  std::memcpy(static_cast<char *>(record) + field.offset + element * field.size, &value,
              field.size);
  return 0;
}

struct PortType {
  cardcfg_port_type_t type;
  const char *name;
};
constexpr PortType kPortTypes[] = {{CARDCFG_PORT_TYPE_HIF, "hif"}, {CARDCFG_PORT_TYPE_NIF, "nif"}};

// ---- writing

void append_number(std::string &text, uint64_t number) {
  char digits[20];
  text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void append_index(std::string &text, uint32_t index) {
  append_number(text += '[', index);
  text += ']';
}

void append_word(std::string &text, uint32_t word) {
  constexpr char kDigits[] = "0123456789abcdef";
  char digits[] = " 0x00000000";
  for (std::size_t i = sizeof digits - 2; word != 0; --i, word >>= 4)
    digits[i] = kDigits[word & 0xF];
  text.append(digits, sizeof digits - 1);
}

// "HI.2:41", "HI.2:HI_DHS_LVIF"
std::string reference_text(const Location &location) {
  std::string text = kel_asic_blocks[location.block].name;
  text += '.';
  append_number(text, location.instance);
  text += ':';
  const char *const name = kel_asic_register_name(location.block, location.vreg);
  if (name != nullptr)
    text += name;
  else
    append_number(text, location.vreg);
  return text;
}

template <std::size_t kCount>
void append_fields(std::string &text, const std::string &target, const void *record,
                   const Field (&fields)[kCount]) {
  for (const Field &field : fields) {
    for (uint32_t element = 0; element < field.rows * field.columns; ++element) {
      const uint64_t value = get(record, field, element);
      if (value == 0)
        continue;
      text.append("switch set ").append(target).append(" ").append(field.name);
      if (field.rows > 1)
        append_index(text, element / field.columns);
      if (field.columns > 1)
        append_index(text, element % field.columns);
      append_number(text += ' ', value);
      text += '\n';
    }
  }
}

bool is_same_register(const Location &one, const Location &other) {
  return one.block == other.block && one.instance == other.instance && one.vreg == other.vreg;
}

// An entry of a table is one line, however many of its words are 0.
void append_words(std::string &text, const WordStore &words) {
  uint32_t written_to = 0;  // address after the entry that was written last
  Location table = {};      // of that entry, and its reference: the next one is likely of the same
  std::string reference;
  words.for_each([&](uint32_t address, uint32_t word) {
    if (address < written_to)
      return;
    const Location location = location_of(address);
    if (reference.empty() || !is_same_register(location, table)) {
      reference = reference_text(location);
      table = location;
    }
    text += location.entry_words == 0 ? "write " : "dhs-write ";
    text += reference;
    if (location.entry_words == 0) {
      append_word(text, word);
    } else {
      append_index(text, location.index);
      const uint32_t first = address - 4 * location.word;
      written_to = first + 4 * location.entry_words;
      for (uint32_t at = first; at != written_to; at += 4)
        append_word(text, words.read(at));
    }
    text += '\n';
  });
}

void append_asic(std::string &text, VirtualAsic &asic) {
  const auto &[words, commands, ports] = asic;  // all that an ASIC has
  append_fields(text, "asic", &commands, kAsicFields);
  for (const PortType &type : kPortTypes) {
    for (uint32_t port = 0; port < port_count(type.type); ++port)
      append_fields(text, std::string(type.name) + ":" + std::to_string(port),
                    asic.find_port(type.type, port), kPortFields);
  }
  append_words(text, words);
}

// ---- reading

using Words = std::vector<std::string_view>;

Words split(std::string_view line, const char *blanks) {
  Words words;
  while (!line.empty()) {
    const std::size_t begin = line.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
      break;
    const std::size_t end = std::min(line.find_first_of(blanks, begin), line.size());
    words.push_back(line.substr(begin, end - begin));
    line.remove_prefix(end);
  }
  return words;
}

template <typename Number>
bool parse(std::string_view text, Number &number) {
  const bool is_hexadecimal = text.substr(0, 2) == "0x";
  text.remove_prefix(is_hexadecimal ? 2 : 0);
  const char *const end = text.data() + text.size();
  const auto [parsed, error] = std::from_chars(text.data(), end, number, is_hexadecimal ? 16 : 10);
  return error == std::errc() && parsed == end && !text.empty();
}

// Removes "[N]" from the end of a text.
bool take_index(std::string_view &text, uint32_t &index) {
  const std::size_t open = text.rfind('[');
  if (open == std::string_view::npos || text.back() != ']' ||
      !parse(text.substr(open + 1, text.size() - open - 2), index))
    return false;
  text = text.substr(0, open);
  return true;
}

bool parse_register(kel_asic_blk_t block, std::string_view text, kel_asic_reg_t &vreg) {
  for (const kel_asic_register_name_t &named : kel_asic_register_names) {
    if (named.block == block && text == named.name) {
      vreg = named.vreg;
      return true;
    }
  }
  return parse(text, vreg);
}

// The address of "HI.2:41" or "HI.2:HI_DHS_LVIF[5]"; 0 if there is none.
uint32_t parse_reference(std::string_view text) {
  uint32_t index = 0, instance = 0;
  kel_asic_reg_t vreg = 0;
  const bool has_index = take_index(text, index);
  const std::size_t dot = text.find('.'), colon = text.find(':');
  if (dot == std::string_view::npos || colon == std::string_view::npos || colon < dot ||
      !parse(text.substr(dot + 1, colon - dot - 1), instance))
    return 0;
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    if (text.substr(0, dot) != info.name)
      continue;
    if (!parse_register(info.block, text.substr(colon + 1), vreg))
      return 0;
    const uint32_t address = address_of(info.block, instance, vreg, index);
    return address != 0 && has_index == (location_of(address).entry_words != 0) ? address : 0;
  }
  return 0;
}

bool parse_target(std::string_view text, PortPlace &place) {
  if (text == "asic") {
    place.port_type = CARDCFG_PORT_TYPE_MAX;
    return true;
  }
  const std::size_t colon = text.find(':');
  for (const PortType &type : kPortTypes) {
    if (text.substr(0, colon) != type.name)
      continue;
    place.port_type = type.type;
    return colon != std::string_view::npos && parse(text.substr(colon + 1), place.port);
  }
  return false;
}

class Reader {
 public:
  Reader(DriverService &driver, remote::Card &card) : driver_(driver), card_(card) {}

  bool read(std::string_view line) {
    const Words words = split(line.substr(0, line.find('#')), " \t\r");
    if (words.empty())
      return true;
    if (words[0] == "module")
      return words.size() == 2 && parse(words[1], place_.module) &&
             driver_.find_asic(place_.module, 0) != nullptr;
    if (words[0] == "write" || words[0] == "dhs-write")
      return write(words);
    return words.size() > 2 && words[0] == "switch" &&
           (words[1] == "card" ? set_card(words) : words[1] == "set" && set_field(words));
  }

 private:
  bool write(const Words &line) {
    const uint32_t address = line.size() < 3 ? 0 : parse_reference(line[1]);
    const uint32_t entry_words = address == 0 ? 0 : location_of(address).entry_words;
    if (address == 0 || (entry_words != 0) != (line[0] == "dhs-write") ||
        line.size() - 2 != std::max(entry_words, 1U))
      return false;
    WordStore &words = driver_.find_asic(place_.module, 0)->words;
    for (uint32_t i = 0; i < line.size() - 2; ++i) {
      uint32_t word = 0;
      if (!parse(line[i + 2], word))
        return false;
      if (word != words.read(address + 4 * i))  // a page of zeros takes no memory
        words.at(address + 4 * i) = word;
    }
    return true;
  }

  bool set_card(const Words &line) {
    return line.size() <= 4 && parse(line[2], card_.sw_card_id) && card_.sw_card_id <= UINT16_MAX &&
           (line.size() == 3 || parse(line[3], card_.device_type));
  }

  bool set_field(const Words &line) {
    uint64_t value = 0;
    return line.size() == 5 && parse_target(line[2], place_) && parse(line[4], value) &&
           virtual_asic::set_field(driver_, place_, line[3], value) == 0;
  }

  DriverService &driver_;
  remote::Card &card_;
  PortPlace place_ = {};
};

}  // namespace

std::string write_snapshot(DriverService &driver, const remote::Card &card) {
  std::string text = "# The state of a virtual Morvane, for mrvctl switch restore\nswitch card ";
  append_number(text, card.sw_card_id);
  if (card.device_type != CARDCFG_DEV_TYPE_MORVANE)
    append_number(text += ' ', card.device_type);
  text += '\n';
  for (uint32_t module = 0; module < kModules; ++module) {
    append_number(text += "module ", module);
    text += '\n';
    append_asic(text, *driver.find_asic(module, 0));
  }
  return text;
}

uint32_t read_snapshot(std::string_view text, DriverService &driver, remote::Card &card) {
  Reader reader(driver, card);
  for (uint32_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (!reader.read(text.substr(0, end)))
      return number;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return 0;
}

int set_field(DriverService &driver, const PortPlace &place, std::string_view name,
              uint64_t value) {
  VirtualAsic *const asic = driver.find_asic(place.module, place.asic);
  const bool of_asic = place.port_type == CARDCFG_PORT_TYPE_MAX;
  if (asic == nullptr || (!of_asic && !driver.has_port(place)))
    return ENXIO;
  void *const record =
      of_asic ? static_cast<void *>(&asic->commands) : asic->find_port(place.port_type, place.port);
  uint32_t row = 0, column = 0;
  const bool has_column = take_index(name, column);
  const bool has_row = has_column && take_index(name, row);
  const Field *field = of_asic ? std::begin(kAsicFields) : std::begin(kPortFields);
  const Field *const end = of_asic ? std::end(kAsicFields) : std::end(kPortFields);
  field = std::find_if(field, end, [name](const Field &known) { return name == known.name; });
  if (field == end || has_column != (field->columns > 1) || has_row != (field->rows > 1) ||
      column >= field->columns || row >= field->rows)
    return EINVAL;
  return set(record, *field, row * field->columns + column, value);
}

}  // namespace virtual_asic
