// qos top.
#include <algorithm>
#include <iterator>
#include <optional>

#include "commands/commands.h"
#include "commands/port_readings.h"
#include "output/qos_tables.h"
#include "output/signals.h"
#include "text/text.h"
#include "text/times.h"
#include "view/terminal.h"
#include "view/top_view.h"

namespace mrvctl {
namespace {

constexpr size_t kPlainWidth = 80;

struct TopArgs {
  SortKey sort_key = SortKey::kDrops;
  double interval = 1;
  bool once = false;
  uint32_t opts = 0;
};

// The ports between two paints: what was read of each, and what a person has chosen.
class Top {
 public:
  Top(Session &session, const TopArgs &args)
      : session_(session),
        opts_(args.opts),
        view_({session.module, session.asic, args.interval, args.sort_key, {}, 0, false}) {
    for (const PortReading &reading : read_ports(session, {}, args.opts)) {
      view_.rows.push_back({{reading.port, 0, {}}, {}, 0, {}});
      note(view_.rows.back(), reading);
    }
    sort();
  }

  const TopView &view() const { return view_; }

  // Reads every port once more, or as many as there is time for before ^C.
  void read() {
    for (PortRow &row : view_.rows) {
      if (interrupted != 0)
        break;
      note(row, read_port(session_, row.reading.port, opts_));
    }
    sort();
  }

  void sort_by(SortKey key) {
    view_.sort_key = key;
    sort();
  }

  // Moves the choice by so many rows; from the first row it no longer follows the order.
  void move(std::ptrdiff_t rows) {
    const auto last = static_cast<std::ptrdiff_t>(view_.rows.size()) - 1;
    const auto wanted = static_cast<std::ptrdiff_t>(view_.chosen) + rows;
    view_.chosen = static_cast<size_t>(
        std::clamp<std::ptrdiff_t>(wanted, 0, std::max<std::ptrdiff_t>(last, 0)));
    follows_first_ = false;
  }

  void show_keys(bool shows) { view_.shows_keys = shows; }

  void follow_first() {
    view_.chosen = 0;
    follows_first_ = true;
  }

 private:
  // A port that fails keeps what was last read of it, for the rates when it answers again.
  static void note(PortRow &row, const PortReading &now) {
    row.reading.result = now.result;
    if (now.result != 0)
      return;
    row.seconds = row.read_at ? now.at - *row.read_at : 0;
    row.delta = row.read_at ? qos_delta(row.reading.stats, now.stats) : now.stats;
    row.reading = now;
    row.read_at = now.at;
  }

  // The chosen port stays chosen, wherever it goes.
  void sort() {
    const std::optional<Port> chosen =
        view_.rows.empty() ? std::nullopt : std::optional(view_.rows[view_.chosen].reading.port);
    sort_rows(view_.rows, view_.sort_key);
    if (follows_first_ || !chosen)
      return;
    const auto place = std::find_if(view_.rows.begin(), view_.rows.end(), [&](const PortRow &row) {
      return row.reading.port == *chosen;
    });
    view_.chosen = static_cast<size_t>(place - view_.rows.begin());
  }

  Session &session_;
  uint32_t opts_;
  TopView view_;
  bool follows_first_ = true;  // the chosen row is the first, whichever port that is
};

// How many rows a key moves the choice by.
struct Move {
  int key;
  std::ptrdiff_t rows;
};
constexpr std::ptrdiff_t kPage = 10, kAllRows = 1 << 16;
constexpr Move kMoves[] = {{'k', -1},         {kUp, -1},          {'j', 1},         {kDown, 1},
                           {kPageUp, -kPage}, {kPageDown, kPage}, {kLast, kAllRows}};

// False if the key quits. The first letter of a sort key sorts by it.
bool press(Top &top, int key) {
  if (key == 'q' || key == kEnd)
    return false;
  if (key != kRepaint)
    top.show_keys(key == '?' && !top.view().shows_keys);
  if (key == kFirst)
    top.follow_first();
  for (size_t i = 0; i < std::size(kSortKeys); ++i) {
    if (key == kSortKeys[i][0])
      top.sort_by(static_cast<SortKey>(i));
  }
  for (const Move &move : kMoves) {
    if (key == move.key)
      top.move(move.rows);
  }
  return true;
}

void run_on_screen(Session &session, const TopArgs &args, Top &top) {
  const bool colours = session.report.colours();
  Terminal terminal;
  while (true) {
    const double began = monotonic_seconds();
    int key = kRepaint;
    while (key != kNoKey) {
      if (!press(top, key))
        return;
      const Terminal::Size size = terminal.size();
      terminal.paint(top_lines(top.view(), size.width, size.height, colours));
      key = terminal.wait_key(began + args.interval - monotonic_seconds());
    }
    top.read();
  }
}

void print_view(Session &session, const Top &top) {
  const std::vector<std::string> lines =
      top_lines(top.view(), kPlainWidth, 0, session.report.colours());
  session.report.result(top_json(top.view()), StyledText{join(lines, "\n") + "\n\n"});
}

void run_in_lines(Session &session, const TopArgs &args, Top &top) {
  if (!args.once)
    print_view(session, top);
  do {
    interruptible_sleep(args.interval);
    if (interrupted == 0)
      top.read();
    if (interrupted == 0)
      print_view(session, top);
  } while (interrupted == 0 && !args.once);
}

void run_top(Session &session, const TopArgs &args) {
  const Interrupt ends_view({SIGINT});
  Top top(session, args);
  const Report &report = session.report;
  if (!args.once && !report.json && report.on_terminal() && Terminal::available())
    run_on_screen(session, args, top);
  else
    run_in_lines(session, args, top);
}

void describe_top(Arguments &arguments, TopArgs &args) {
  arguments.choice("--sort", args.sort_key, kSortKeys, "Sort key (default: drops)");
  describe_interval(arguments, "--interval", args.interval,
                    "Time between two refreshes (default: 1)");
  arguments.flag("--once", args.once, "Print the rates of one interval and exit");
  arguments.number("--opts N", args.opts, "Options that are passed to the service");
}

}  // namespace

void add_qos_top_command(Parser &parser) {
  parser.add<TopArgs>(
      {"qos top", "Ports",
       "Live counters of all ports, most drops first\n"
       "Keys: d, p and w sort by drops, pause and writes. The arrows choose the port whose classes "
       "are shown. ? explains all keys. q or ^C ends the view. The output is plain lines if it is "
       "not a terminal.",
       "mrvctl qos top --once"},
      describe_top, run_top);
}

}  // namespace mrvctl
