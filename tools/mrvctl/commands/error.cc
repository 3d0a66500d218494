// error: what a result means.
#include "commands/commands.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct ErrorArgs {
  std::optional<syserr_t> code;
};

Json result_json(syserr_t code) {
  return {{"code", code}, {"name", result_name(code)}, {"meaning", result_meaning(code)}};
}

std::string result_line(syserr_t code) {
  return format("0x%08X  ", code) + result_name(code) + ": " + result_meaning(code) + "\n";
}

std::vector<syserr_t> all_results() {
  std::vector<syserr_t> codes = named_results();
  for (const std::string &name : errno_names())
    codes.push_back(parse_result(name));
  return codes;
}

void run_error(Session &session, const ErrorArgs &args) {
  if (args.code) {
    Json object = result_json(*args.code);
    object["command"] = "error";
    return session.report.result(object, result_line(*args.code));
  }
  Json list = Json::array();
  std::string text;
  for (const syserr_t code : all_results()) {
    list.push_back(result_json(code));
    text += result_line(code);
  }
  session.report.result({{"command", "error"}, {"results", list}}, text);
}

void describe_error(Arguments &arguments, ErrorArgs &args) {
  arguments.parsed("CODE", args.code, parse_result,
                   "Number, name, or name of an error number, like 0x42230003 or ETIMEDOUT");
}

}  // namespace

void add_result_commands(Parser &parser) {
  parser.add<ErrorArgs>({"error", "Registers",
                         "Tell what a result means\n"
                         "Without a CODE, all results and what they mean.",
                         Requires::kNone},
                        describe_error, run_error);
}

}  // namespace mrvctl
