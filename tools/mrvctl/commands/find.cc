// find: registers by a part of their name, and what stands at an address.
#include "asic/address_index.h"
#include "commands/commands.h"
#include "output/listing.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct FindArgs {
  std::string text;
  std::optional<uint32_t> address;
};

void check_find(FindArgs &args) {
  if (!args.text.empty() && args.text[0] >= '0' && args.text[0] <= '9')
    args.address = parse_number(args.text);
}

void find_address(Session &session, uint32_t address) {
  if (const char *command = command_name(address); command != nullptr)
    return session.report.result({{"command", "find"}, {"address", address}, {"name", command}},
                                 format("0x%08x  %s\n", address, command));
  const std::optional<Location> found = AddressIndex(session.map()).find(address);
  if (!found)
    throw OperationFailed(format("no register has the address 0x%08x", address));
  Json object = register_json("find", found->reg);
  object["address"] = address;
  object["entry"] = found->entry ? Json(*found->entry) : Json();
  object["word"] = found->word;
  session.report.result(object, format("0x%08x  ", address) + location_text(*found) + "\n");
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
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    for (const RegisterName &named : named_registers(static_cast<kel_asic_blk_t>(block))) {
      if (std::string(named.name).find(part) != std::string::npos)
        found.push_back(named);
    }
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

// Of a register that is found alone, every instance.
std::string instance_lines(const RegisterName &named, const std::vector<uint32_t> &addresses) {
  std::string text;
  for (uint32_t instance = 0; instance < addresses.size(); ++instance)
    text += format("  0x%08x  ", addresses[instance]) +
            register_text({named.block, instance, named.vreg}) + "\n";
  return text;
}

void find_name(Session &session, const std::string &part) {
  const std::vector<RegisterName> found = registers_with(upper_case(part));
  if (found.empty())
    throw OperationFailed("no name of a register has '" + part + "' in it");
  Listing registers({{"block", "block "},
                     {"vreg", "number", Align::kRight},
                     {"register", "register"},
                     {"addresses", "address"}});
  std::string instances;
  for (const RegisterName &named : found) {
    const std::vector<uint32_t> addresses = addresses_of(session.map(), named);
    registers.add({kel_asic_blk_names[named.block],
                   named.vreg,
                   named.name,
                   {addresses_text(addresses), addresses}});
    if (found.size() == 1 && addresses.size() > 1)
      instances = instance_lines(named, addresses);
  }
  session.report.result({{"command", "find"}, {"registers", registers.json()}},
                        registers.text() + instances);
}

void run_find(Session &session, const FindArgs &args) {
  if (args.address)
    find_address(session, *args.address);
  else
    find_name(session, args.text);
}

void describe_find(Arguments &arguments, FindArgs &args) {
  arguments.word("TEXT|ADDRESS", args.text, "Part of a name, in any case; or an address")
      .required();
}

}  // namespace

void add_find_command(Parser &parser) {
  parser.add<FindArgs>(
      {"find", "Registers",
       "Find registers of all blocks by a part of their name, or what an address is\n"
       "A name tells the addresses; an address tells the register, or the entry of\n"
       "a table and its word. No register is touched.",
       Requires::kRegisterMap},
      describe_find, check_find, run_find);
}

}  // namespace mrvctl
