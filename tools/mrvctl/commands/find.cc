// find: registers by a part of their name, by their address, and the address of a register.
#include "asic/address_index.h"
#include "commands/commands.h"
#include "commands/reads.h"
#include "output/listing.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct FindArgs {
  std::string text;
  std::optional<uint32_t> address;
  std::optional<RegisterReference> reference;
};

void check_find(FindArgs &args) {
  if (begins_as_number(args.text))
    args.address = parse_number(args.text);
  else if (args.text.find(':') != std::string::npos)
    args.reference = parse_register_reference(args.text);
}

void show_address(Session &session, uint32_t address, const std::string &name) {
  session.report.result({{"register", name}, {"address", address}},
                        format("0x%08x  ", address) + name + "\n");
}

void find_address(Session &session, uint32_t address) {
  const char *command = kel_asic_command_name(address);
  const std::string name =
      command == nullptr ? AddressIndex(session.map()).name(address) : std::string(command);
  if (name.empty())
    throw OperationFailed(format("no register has the address 0x%08x", address));
  show_address(session, address, name);
}

void find_entries(Session &session, const RegisterReference &reference, const Register &reg) {
  const Table table = table_of(session, reg);
  const Range &entries = *reference.entries;
  const uint32_t word = reference.word.value_or(0);
  if (entries.last > table.highest_index)
    throw UsageError(format("indices are 0 to %u", table.highest_index));
  if (word >= table.entry_size)
    throw OperationFailed(format("words are 0 to %u", table.entry_size - 1));
  for (uint64_t i = 0; i < entries.count(); ++i) {
    const auto entry = static_cast<uint32_t>(entries.first + i);
    show_address(session, session.map().address(reg) + 4 * (entry * table.entry_size + word),
                 location_text({reg, entry, word}));
  }
}

void find_registers(Session &session, const RegisterReference &reference) {
  require_registers(reference);
  for_each_instance(session, reference, [&](Register reg) {
    if (reference.entries)
      return find_entries(session, reference, reg);
    for (; reg.vreg <= reference.registers->last; ++reg.vreg) {
      const std::string missing = session.map().missing(reg);
      if (!missing.empty())
        throw OperationFailed(SYSERR_KEL_ASIC_INVALID_ARG, missing);
      show_address(session, session.map().address(reg), register_text(reg));
    }
  });
}

// The address of the register in each instance of its block.
std::vector<uint32_t> addresses_of(const RegisterMap &map, const RegisterName &named) {
  std::vector<uint32_t> addresses;
  for (uint32_t instance = 0; instance < map.instances(named.block); ++instance) {
    const Register reg = {named.block, instance, named.vreg};
    if (map.missing(reg).empty())
      addresses.push_back(map.address(reg));
  }
  return addresses;
}

std::vector<RegisterName> registers_with(const std::string &part) {
  std::vector<RegisterName> found;
  for (const RegisterName &named : kel_asic_register_names) {
    if (std::string(named.name).find(part) != std::string::npos)
      found.push_back(named);
  }
  return found;
}

std::string addresses_text(const std::vector<uint32_t> &addresses) {
  if (addresses.empty())
    return "";
  const std::string first = format("0x%08x", addresses.front());
  return addresses.size() == 1
             ? first
             : first + format(" to 0x%08x, in %zu instances", addresses.back(), addresses.size());
}

// Every instance, if one register is found.
std::string instance_lines(const RegisterName &named, const std::vector<uint32_t> &addresses) {
  std::string text;
  for (uint32_t instance = 0; instance < addresses.size(); ++instance)
    text += format("  0x%08x  ", addresses[instance]) +
            register_text({named.block, instance, named.vreg}) + "\n";
  return text;
}

void find_name(Session &session, const std::string &part) {
  const std::vector<RegisterName> found = registers_with(register_word(part));
  if (found.empty())
    throw OperationFailed("no name of a register has '" + part + "' in it");
  Listing registers(
      {{"number", "number", Align::kRight}, {"register", "register"}, {"addresses", "address"}});
  std::string instances;
  for (const RegisterName &named : found) {
    const std::vector<uint32_t> addresses = addresses_of(session.map(), named);
    registers.add({named.vreg,
                   every_register_text(named.block, named.vreg),
                   {addresses_text(addresses), addresses}});
    if (found.size() == 1 && addresses.size() > 1)
      instances = instance_lines(named, addresses);
  }
  session.report.result({{"registers", registers.json()}}, registers.text() + instances);
}

void run_find(Session &session, const FindArgs &args) {
  if (args.address)
    find_address(session, *args.address);
  else if (args.reference)
    find_registers(session, *args.reference);
  else
    find_name(session, args.text);
}

void describe_find(Arguments &arguments, FindArgs &args) {
  const auto parse_text = [](const std::string &text) { return text; };
  arguments.reference(
      "TEXT", args.text, parse_text, is_block_instance,
      "Part of a name, in any case; an address; or a register, like HI.2:HI_DHS_LVIF[5]");
}

}  // namespace

void add_find_command(Parser &parser) {
  parser.add<FindArgs>({"find", "Look",
                        "Search registers by name, or look up an address\n"
                        "For a register, its address is shown. No register is read.",
                        "mrvctl find LVIF\n"
                        "mrvctl find HI.2:HI_DHS_LVIF[5]",
                        Requires::kRegisterMap},
                       describe_find, check_find, run_find);
}

}  // namespace mrvctl
