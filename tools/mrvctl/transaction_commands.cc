// begin and commit.
#include "commands.h"
#include "text.h"

namespace mrvctl {
namespace {

struct BeginArgs {
  std::string name;
  bool reorder = false;
};

void run_begin(Session &session, const BeginArgs &args) {
  if (args.name.empty())
    throw UsageError("an empty name opens no transaction");
  if (session.transaction.open())
    throw OperationFailed("transaction \"" + session.transaction.name() + "\" is open with " +
                          session.transaction.pending_text() + "; commit it first");
  if (session.in_script)
    session.tables.named(session);  // cannot be asked for once the transaction is open
  std::string name = args.name;
  mrv_asic_transaction_start(name.data(), args.reorder ? 1 : 0);
  session.transaction.start(name);
  session.report.result(
      {{"command", "begin"}, {"name", session.transaction.name()}, {"reorder", args.reorder}},
      "transaction \"" + session.transaction.name() + "\" is open" +
          (args.reorder ? ", in any order\n" : "\n"));
}

void run_commit(Session &session, const NoArgs &) {
  const Transaction sent = session.transaction;
  mrv_asic_transaction_commit();
  session.transaction.close();
  check_sent();
  const std::string text =
      sent.open() ? "transaction \"" + sent.name() + "\" is sent: " + sent.pending_text() + "\n"
                  : "no transaction is open: nothing is sent\n";
  session.report.result({{"command", "commit"},
                         {"name", sent.open() ? Json(sent.name()) : Json()},
                         {"writes", sent.pending()}},
                        text);
}

}  // namespace

void add_transaction_commands(CLI::App &app, Command &chosen) {
  auto args = std::make_shared<BeginArgs>();
  CLI::App *begin =
      add_command(app, chosen, "begin",
                  "Open a write transaction\n"
                  "Writes are queued from now on and sent by the commit, or by 512 at a time. A\n"
                  "read sends them too, and leaves the transaction open under the name\n"
                  "\"<Interrupted>\".",
                  args, run_begin);
  add_word(begin, "NAME", args->name, "Name of the transaction, 31 characters of it")->required();
  begin->add_flag("--reorder", args->reorder, "Let the service reorder the writes");
  add_command(
      app, chosen, "commit",
      "Send the open transaction\n"
      "The library reports no failure of a commit. On the virtual platform the tool does, as\n"
      "for a read or write that sends a transaction; on another the trace shows it.",
      std::make_shared<NoArgs>(), run_commit);
}

}  // namespace mrvctl
