// begin and commit.
#include "commands/commands.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct BeginArgs {
  std::string name;
  bool reorder = false;
};

void check_begin(const BeginArgs &args) {
  if (args.name.empty())
    throw UsageError("an empty name opens no transaction");
}

void run_begin(Session &session, const BeginArgs &args) {
  if (session.transaction.open())
    throw OperationFailed("transaction \"" + session.transaction.name() + "\" is open with " +
                          session.transaction.pending_text() + "; commit it first");
  std::string name = args.name;
  mrv_asic_transaction_start(name.data(), args.reorder ? 1 : 0);
  session.transaction.start(name);
  session.report.result({{"name", session.transaction.name()}, {"reorder", args.reorder}},
                        "transaction \"" + session.transaction.name() + "\" is open" +
                            (args.reorder ? ", in any order\n" : "\n"));
}

std::string commit_text(const Transaction &sent) {
  if (!sent.open())
    return "no transaction is open: nothing is sent\n";
  if (sent.interrupted() && sent.pending() == 0)
    return "nothing is left to send: a read has sent the transaction\n";
  return "transaction \"" + sent.name() + "\" is sent: " + sent.pending_text() + "\n";
}

void run_commit(Session &session) {
  const Transaction sent = session.transaction;
  mrv_asic_transaction_commit();
  session.transaction.close();
  throw_if_lost();
  session.report.result(
      {{"name", sent.open() ? Json(sent.name()) : Json()}, {"writes", sent.pending()}},
      commit_text(sent));
}

void describe_begin(Arguments &arguments, BeginArgs &args) {
  arguments.word("NAME", args.name, "Name of the transaction; 31 characters are kept");
  arguments.flag("--reorder", args.reorder, "Let the service reorder the writes");
}

}  // namespace

void add_transaction_commands(Parser &parser) {
  parser.add<BeginArgs>(
      {"begin", "Transactions",
       "Open a write transaction\n"
       "Writes are queued until commit, or sent in groups of 512. A read sends them too, and "
       "leaves the transaction open under the name \"<Interrupted>\".",
       "printf 'begin setup\\nwrite HI.2:40 5\\ncommit\\n' | mrvctl -f -"},
      describe_begin, check_begin, run_begin);
  parser.add({"commit", "Transactions",
              "Send the open transaction\n"
              "The library does not report a failed commit; mrvctl does, also if a read or write "
              "sends the transaction.",
              "printf 'begin setup\\nwrite HI.2:40 5\\ncommit\\n' | mrvctl -f -"},
             run_commit);
}

}  // namespace mrvctl
