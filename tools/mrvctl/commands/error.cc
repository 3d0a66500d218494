// error: what a result means.
#include "commands/commands.h"
#include "output/listing.h"
#include "text/text.h"

namespace mrvctl {
namespace {

std::vector<syserr_t> all_results() {
  std::vector<syserr_t> codes = named_results();
  for (const std::string &name : errno_names())
    codes.push_back(parse_result(name));
  return codes;
}

void run_error(Session &session, const std::optional<syserr_t> &wanted) {
  Listing results({{"code", ""}, {"name", ""}, {"meaning", nullptr}});
  for (const syserr_t code : wanted ? std::vector{*wanted} : all_results()) {
    const std::string name = result_name(code), meaning = result_meaning(code);
    results.add(
        {{format("0x%08X", code), code}, {join({name, meaning}, ": "), name}, Json(meaning)});
  }
  const Json object = wanted ? results.json_of(0) : Json({{"results", results.json()}});
  session.report.result(object, results.text());
}

void describe_error(Arguments &arguments, std::optional<syserr_t> &wanted) {
  arguments.parsed("[CODE]", wanted, parse_result,
                   "Number, name, or name of an error number, like 0x42230003 or ETIMEDOUT");
}

}  // namespace

void add_result_commands(Parser &parser) {
  parser.add<std::optional<syserr_t>>({"error", "Look",
                                       "Explain a result code\n"
                                       "Without CODE, all results are listed.",
                                       "mrvctl error ETIMEDOUT\n"
                                       "mrvctl error 0x42230003",
                                       Requires::kNone},
                                      describe_error, run_error);
}

}  // namespace mrvctl
