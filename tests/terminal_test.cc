// mrvctl at a terminal: qos top, its keys, its signals and the terminal it leaves; and the shell.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace {

void expect_part(const std::string &text, const std::string &part) {
  EXPECT_NE(text.find(part), std::string::npos) << part << " is not in: " << text;
}

// Reads a terminal until a part comes, or nothing more.
std::string read_until(int terminal, const std::string &part) {
  constexpr int kPatience = 60000;  // milliseconds
  std::string text;
  char next = 0;
  pollfd readable = {terminal, POLLIN, 0};
  while (text.find(part) == std::string::npos && poll(&readable, 1, kPatience) == 1 &&
         read(terminal, &next, 1) == 1)
    text += next;
  expect_part(text, part);
  return text;
}

// The rest of a screen, as a person sees it: without colours and movements.
std::string screen(int terminal) {
  const std::string text = read_until(terminal, "q quits");
  std::string seen;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\033')
      i = std::min(text.find_first_of("mKJHhl", i), text.size() - 1);
    else if (text[i] != '\r')
      seen += text[i];
  }
  return seen;
}

// The last row of the first screen with the classes below it, and the last line.
constexpr const char *kLastRow =
    "  hif:30    111k    156k   16.2k   1672k   2852k   22.1k    5236  rx   ####100%\n\n"
    "nif:2, class          0       1       2       3       4       5       6       7\n";
constexpr const char *kKeys =
    "12.3k\nd drops  p pause  w writes  arrows choose  home first  ? explains keys  q quits";

// The first row of a screen, as it follows the headings.
std::string first_row(const std::string &begin) {
  return "DROPPED\033[0m\033[K\r\r\n" + begin;
}

bool press_keys(int terminal, const char *keys) {
  return write(terminal, keys, std::strlen(keys)) > 0;
}

// mrvctl on a terminal of 80 columns and 24 rows.
struct Tool {
  int ours = -1;
  int theirs = -1;
  pid_t child = -1;
};

void start(Tool &tool, std::vector<const char *> arguments) {
  winsize size = {24, 80, 0, 0};
  ASSERT_EQ(openpty(&tool.ours, &tool.theirs, nullptr, nullptr, &size), 0);
  arguments.insert(arguments.begin(), "mrvctl");
  arguments.push_back(nullptr);
  tool.child = fork();
  if (tool.child != 0)
    return;
  login_tty(tool.theirs);
  signal(SIGINT, SIG_DFL);  // a shell's & ignores it
  setenv("TERM", "xterm", 1);
  setenv("MORVANE_SWITCH", "none", 1);
  unsetenv("NO_COLOR");
  execv(MRVCTL_PATH, const_cast<char **>(arguments.data()));
  _exit(127);
}

// Its exit status, or the number of the signal that ended it.
int wait_for(const Tool &tool) {
  int status = 0;
  waitpid(tool.child, &status, 0);
  close(tool.ours);
  close(tool.theirs);
  return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

// What each key makes of the view, and a wider terminal.
void use_every_key(int ours) {
  const auto press = [ours](const char *keys) { return press_keys(ours, keys); };
  EXPECT_TRUE(press("?"));
  read_until(ours, "q, ^C               end the view");
  EXPECT_TRUE(press("\033[F"));
  read_until(ours, "ports 28-40 of 40 by drops");
  read_until(ours, "> hif:5 ");  // the last
  EXPECT_TRUE(press("\033[Hp"));
  read_until(ours, "by pause");
  read_until(ours, first_row("\033[7m> nif:4 "));
  EXPECT_TRUE(press("d"));
  read_until(ours, "by drops");
  read_until(ours, first_row("\033[7m> nif:2 "));
  EXPECT_TRUE(press("\033[6~"));
  read_until(ours, "> hif:24 ");  // ten rows on
  EXPECT_TRUE(press("\033[Hw\033[Bj"));
  read_until(ours, "by writes");
  read_until(ours, first_row("  nif:7 "));  // which is chosen no longer
  const winsize wide = {60, 160, 0, 0};
  ioctl(ours, TIOCSWINSZ, &wide);
  read_until(ours, "TIMEOUT");
  const std::string seen = screen(ours);
  EXPECT_EQ(std::count(seen.begin(), seen.end(), '\n'), 58);  // the keys are the last line
  expect_part(seen,
              "> nif:5     221k    311k   32.3k   3342k   5702k   44.1k   10.3k"
              "   34.3k   33.3k   43.5k   44.6k  rx tx" +
                  std::string(24, '#') + "100%\n");
  const winsize low = {15, 80, 0, 0};  // the fewest rows with classes
  ioctl(ours, TIOCSWINSZ, &low);
  read_until(ours, "nif:5, class ");
  EXPECT_TRUE(press("d"));  // what was chosen stays chosen
  read_until(ours, "by drops");
  read_until(ours, "> nif:5 ");
}

// The switch is the process's own; a transaction is open that the end of the process loses.
TEST(TopView, gives_the_terminal_back_however_it_ends) {
  const std::string script = testing::TempDir() + "terminal_test." + std::to_string(getpid());
  std::ofstream(script)
      << "begin x\nwrite HI.2:5 1\nqos top --interval 3600\nqos top --interval 3600\n";
  for (const int ending : {0, SIGINT, SIGTERM, SIGHUP, SIGSEGV, SIGABRT}) {
    SCOPED_TRACE(ending);
    Tool tool;
    start(tool, {"--platform", NUMBERING_PLATFORM, "-f", script.c_str()});
    const int ours = tool.ours, theirs = tool.theirs;
    termios during = {}, after = {};
    const auto press = [ours](const char *keys) { return press_keys(ours, keys); };
    read_until(ours, first_row("\033[7m> "));  // the first row is chosen
    const std::string first_screen = screen(ours);
    expect_part(first_screen, kLastRow);
    expect_part(first_screen, kKeys);
    EXPECT_EQ(read_until(ours, "\033[J"), "\033[K\033[J");  // nothing older stays below
    tcgetattr(theirs, &during);
    EXPECT_EQ(during.c_lflag & (ICANON | ECHO), 0U);
    if (ending == 0)
      use_every_key(ours);
    EXPECT_TRUE(press("\032"));  // ^Z, if no shell could continue it
    EXPECT_NE(read_until(ours, "\033[?1049h").find("\033[?1049l"), std::string::npos);
    if (ending == 0 || ending == SIGINT) {
      EXPECT_TRUE(press(ending == 0 ? "q" : "\003"));
      read_until(ours, "\033[?1049h");  // the second view
      EXPECT_TRUE(press("q"));
    } else {
      kill(tool.child, ending);
    }
    const std::string rest = read_until(ours, "1 write lost");
    EXPECT_LT(rest.find("\033[?1049l"), rest.find("1 write lost"));
    tcgetattr(theirs, &after);
    EXPECT_EQ(wait_for(tool), ending == 0 || ending == SIGINT ? 1 : ending);
    EXPECT_EQ(after.c_lflag & (ICANON | ECHO), ICANON | ECHO);
  }
  unlink(script.c_str());
}

// Types each line once the text before it is on the terminal.
void talk(const Tool &tool, const std::vector<std::pair<const char *, const char *>> &lines) {
  for (const auto &[awaited, typed] : lines) {
    read_until(tool.ours, awaited);
    EXPECT_TRUE(*typed == '\0' || press_keys(tool.ours, typed));
  }
}

TEST(Shell, survives_interrupts_and_asks_about_an_open_transaction) {
  Tool tool;
  start(tool, {"shell", "--plain"});
  talk(tool, {{"private switch", ""},
              {"mrv> ", "write HI.2:5\003"},
              {"^C\r\nmrv> ", "switch fault add --delay 50ms --forever\n"},
              {"mrv> ", "read HI.*:5\n"},
              {"HI.0:5 = ", "\003"},
              {"interrupted", ""},
              {"mrv> ", "qos show hif:3 --watch 30\n"},
              {"drops h2n", "\003\003"},
              {"mrv> ", "begin 'port 2'\n"},
              {"mrv [port 2: 0 writes]> ", "write HI.2:5 7\n"},
              {"mrv [port 2: 1 write]> ", "raed\n"},
              {"raed: unknown command 'raed'", "help\n"},
              {"module expect-fail shell quit", "\004"},
              {"transaction \"port 2\" is open with 1 write. Commit it? ", "cancel\n"},
              {"mrv [port 2: 1 write]> ", "exit\n"},
              {"Commit it? ", "\003"},
              {"Commit it? ", "yes\n"},
              {"transaction \"port 2\" is sent: 1 write", ""}});
  EXPECT_EQ(wait_for(tool), 1);  // of the read
  for (const char *const answer : {"no\n", "\004"}) {
    start(tool, {"-f", "-"});
    talk(tool, {{"mrv> ", "begin x\nwrite HI.2:5 7\nquit\n"},
                {"Commit it? ", answer},
                {"\r\n\033[31mend: transaction \"x\" was never committed: 1 write lost", ""}});
    EXPECT_EQ(wait_for(tool), 1);
  }
}

TEST(Shell, has_history_and_completion_with_rlwrap) {
  if (access("/usr/bin/rlwrap", X_OK) != 0)
    GTEST_SKIP() << "rlwrap is not installed";
  const std::string state = testing::TempDir() + "shell_test." + std::to_string(getpid());
  setenv("XDG_STATE_HOME", state.c_str(), 1);
  Tool tool;
  start(tool, {"shell"});
  talk(tool, {{"mrv> ", "rea\tHI.2:5\n"},
              {"HI.2:5 = ", ""},
              {"mrv> ", "\033[A\n"},
              {"HI.2:5 = ", ""},
              {"mrv> ", "find hi.2:hi_dhs_lvif_t\t\n"},
              {"0x", ""},
              {"mrv> ", "quit\n"}});
  EXPECT_EQ(wait_for(tool), 0);
  std::ifstream history(state + "/mrvctl/history");
  std::string line;
  EXPECT_TRUE(std::getline(history, line));
  EXPECT_EQ(line, "read HI.2:5");
  std::filesystem::remove_all(state);
}

}  // namespace
