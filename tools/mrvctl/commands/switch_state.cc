// switch save, switch restore and switch set: the state of the switch as a file, and by its fields.
#include <cerrno>
#include <iterator>

#include "commands/switch.h"
#include "text/lines.h"
#include "text/text.h"

namespace mrvctl {
namespace {

std::string read_all(const std::string &path) {
  TextFile file(path);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  if (file.bad())
    throw UsageError(path + " cannot be read");
  return text;
}

struct FileArgs {
  std::string file;
};

void run_save(Session &session, const FileArgs &args) {
  const char *text = nullptr;
  uint32_t length = 0;
  check_control(control<decltype(vp_save)>("vp_save")(&text, &length));
  write_atomically(session.resolve(args.file), std::string(text, length));
  session.report.result({{"file", args.file}, {"bytes", length}},
                        format("%s: %u bytes\n", args.file.c_str(), length));
}

void run_restore(Session &session, const FileArgs &args) {
  const std::string text = read_all(session.resolve(args.file));
  uint32_t line = 0;
  const int error = control<decltype(vp_restore)>("vp_restore")(
      text.data(), static_cast<uint32_t>(text.size()), &line);
  if (line != 0)
    throw OperationFailed(
        format("%s:%u: not a line of a saved state; nothing is changed", args.file.c_str(), line));
  check_control(error, EMSGSIZE, args.file + " is longer than the service accepts");
  session.report.result({{"file", args.file}},
                        "the switch has the state of " + args.file + private_hint(session) + "\n");
}

struct FieldArgs {
  std::string target;
  std::string field;
  uint64_t value = 0;
  Port port = {CARDCFG_PORT_TYPE_MAX, 0};
};

void check_field(FieldArgs &args) {
  if (args.target != "asic")
    args.port = parse_port(args.target, UINT8_MAX);
}

void run_set(Session &session, const FieldArgs &args) {
  const int error = control<decltype(vp_set_field)>("vp_set_field")(
      session.module, session.asic, static_cast<cardcfg_port_type_t>(args.port.type),
      args.port.number, args.field.c_str(), args.value);
  check_control(error, EINVAL, args.target + " has no field " + args.field);
  session.report.result({{"target", args.target}, {"field", args.field}, {"value", args.value}},
                        args.target + " " + args.field +
                            format(" is %llu", static_cast<unsigned long long>(args.value)) +
                            private_hint(session) + "\n");
}

void describe_file(Arguments &arguments, FileArgs &args) {
  arguments.word("FILE", args.file, "The file with the state");
}

void describe_field(Arguments &arguments, FieldArgs &args) {
  arguments.word("TARGET", args.target, "A port, like hif:3, or asic");
  arguments.word("FIELD", args.field,
                 "Its name in the JSON of qos show, like n2h_drops[0][3], or switch");
  arguments.number<uint64_t>("VALUE", args.value, "Value");
}

}  // namespace

void add_switch_state_commands(Parser &parser) {
  parser.add<FileArgs>({"switch save", "Virtual switch",
                        "Save the state of the switch to a file\n"
                        "The file is a script: registers, tables, settings and counters that an "
                        "empty switch does not have. Faults and steady traffic are not part of it.",
                        "mrvctl switch save monday.mrv", Requires::kPlatform},
                       describe_file, run_save);
  parser.add<FileArgs>(
      {"switch restore", "Virtual switch",
       "Replace the state of the switch by a saved one\n"
       "Faults and steady traffic end. If a line is wrong, nothing changes.",
       "mrvctl switch save monday.mrv && mrvctl switch restore monday.mrv", Requires::kPlatform},
      describe_file, run_restore);
  parser.add<FieldArgs>({"switch set", "Virtual switch", "Set a counter or a setting",
                         "mrvctl switch set hif:3 n2h_drops[0][3] 25", Requires::kPlatform},
                        describe_field, check_field, run_set);
}

}  // namespace mrvctl
