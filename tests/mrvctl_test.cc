// mrvctl from end to end: the built program on the virtual platform, run as a child process.
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
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "virtual_platform.h"

namespace {

using Json = nlohmann::json;

constexpr int kFirstNote = 16384;  // of a recording

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

size_t count(const std::string &text, const std::string &part) {
  size_t found = 0;
  for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
    ++found;
  return found;
}

std::vector<Json> json_lines(const std::string &text) {
  std::vector<Json> objects;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    objects.push_back(Json::parse(line));
  return objects;
}

class Mrvctl : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/mrvctl_test_XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder_ = name;
    setenv("PLATFORMS", MRVCTL_PLATFORMS, 1);
    setenv("MRVCTL", MRVCTL_PATH, 1);
    setenv("AS_PRINTED", AS_PRINTED, 1);
    setenv("FOLDER", name, 1);
    setenv("TZ", "TST-5:30", 1);
    setenv("LC_ALL", "C", 1);  // the order of sort
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string write_file(const std::string &name, const std::string &text) {
    std::string path = folder_ + "/" + name;
    std::ofstream(path) << text;
    return path;
  }

  // Runs a command of the shell from the root folder. One that morvaned serves is put back first:
  // each run begins with an empty switch.
  Outcome shell(const std::string &command) {
    EXPECT_EQ(vp_reset(), 0);
    const std::string err_path = folder_ + "/err";
    const std::string line = "cd / && { " + command + "\n} 2>" + err_path;
    std::FILE *pipe = popen(line.c_str(), "r");  // NOLINT(cert-env33-c): our own command
    if (pipe == nullptr)
      return {-1, "", "popen failed"};
    std::string out;
    char part[4096];
    for (size_t length; (length = std::fread(part, 1, sizeof part, pipe)) > 0;)
      out.append(part, length);
    const int status = pclose(pipe);
    std::ifstream err(err_path);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            out,
            {std::istreambuf_iterator<char>(err), {}}};
  }

  Outcome run(const std::string &arguments) { return shell(MRVCTL_PATH " " + arguments); }

  Outcome run_script(const std::string &lines, const std::string &options = "") {
    return run(options + " -f " + write_file("s.mrv", lines));
  }

  // The tool, recorded into the folder of the test.
  std::string recorder() {
    return "LD_PRELOAD=" RECORDER_PATH " MORVANE_RECORD_SIZE=65536 MORVANE_RECORD=" + folder_ +
           " " MRVCTL_PATH;
  }
  void recorded(const std::string &lines) {
    const Outcome result = shell(recorder() + " -f " + write_file("s.mrv", lines));
    ASSERT_EQ(result.status, 0) << result.err;
  }

  std::string folder_;
};

// A part of the output that begins with ! must not be there.
void expect_part(const std::string &text, const std::string &part) {
  if (part[0] == '!')
    EXPECT_EQ(text.find(part.substr(1)), std::string::npos) << part << " is in: " << text;
  else
    EXPECT_NE(text.find(part), std::string::npos) << part << " is not in: " << text;
}

struct Case {
  int status;
  std::string input;               // the arguments, or the lines of a script
  std::vector<std::string> parts;  // of what is printed
};

void expect_case(const Outcome &result, const Case &expected) {
  SCOPED_TRACE(expected.input);
  EXPECT_EQ(result.status, expected.status) << result.out << result.err;
  for (const std::string &part : expected.parts)
    expect_part(result.out + result.err, part);
}

std::string unescaped(std::string text) {
  const std::pair<const char *, const char *> escapes[] = {
      {"\\n", "\n"}, {"\\r", "\r"}, {"\\e", "\033"}};
  for (const auto &[name, character] : escapes) {
    for (size_t at; (at = text.find(name)) != std::string::npos;)
      text.replace(at, 2, character);
  }
  return text;
}

// A line of the file of cases.
Case parse_case(const std::string &line) {
  std::vector<std::string> fields;
  const std::string separator = " | ";
  for (size_t at = 0, end; at <= line.size(); at = end + separator.size()) {
    end = std::min(line.find(separator, at), line.size());
    fields.push_back(unescaped(line.substr(at, end - at)));
  }
  return {std::stoi(fields.at(0)), fields.at(1), {fields.begin() + 2, fields.end()}};
}

constexpr const char *kSections[] = {"command", "script"};

class MrvctlCases : public Mrvctl, public testing::WithParamInterface<const char *> {};

// The sections of the file that one word names.
TEST_P(MrvctlCases, Cases) {
  std::filesystem::copy(EXAMPLES_DIR "/recordings", folder_);
  // The same recording with its first note of a kind that nobody knows.
  std::filesystem::copy(EXAMPLES_DIR "/recordings/bringup.mrec", folder_ + "/kinds.mrec");
  std::fstream(folder_ + "/kinds.mrec", std::ios::in | std::ios::out | std::ios::binary)
      .seekp(kFirstNote + 8)
      .put(9);
  // One whose process died in its first call, that of the other: of the note what the header keeps.
  std::ifstream refusals(EXAMPLES_DIR "/recordings/refusals.mrec", std::ios::binary);
  std::string died(std::istreambuf_iterator<char>(refusals), {});
  // Two whose calls come first by their own clock: of the same boot, where a clock was set in
  // between, and of another boot. And three with the same times.
  std::string boot = died;
  ++boot[61];
  write_file("set_clock.mrec", boot);
  write_file("boot.mrec", boot.replace(80, 1, "X"));
  for (const char *const name : {"twin1.mrec", "twin2.mrec", "twin3.mrec"})
    write_file(name, died);
  constexpr size_t kBegun = 272, kHead = 32;
  const std::string note = died.substr(kFirstNote, 96 + 196);
  died.replace(kBegun, 48, note.substr(16, 24) + note.substr(48, 12) + note.substr(68, 12));
  died.replace(kBegun + 48, 196, note.substr(96)).replace(kHead, 8, 8, '\0');
  write_file("died.mrec", died);
  std::ifstream file(MRVCTL_CASES);
  const bool served = getenv("MORVANE_SWITCH") != nullptr;
  const std::string script = "script";
  bool in_process_only = false;
  std::string mode;
  size_t cases = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#')
      continue;
    if (line.rfind("== ", 0) == 0) {
      const std::string prefix = "== unserved ";
      in_process_only = line.rfind(prefix, 0) == 0;
      mode = line.substr(in_process_only ? prefix.size() : 3);
      EXPECT_TRUE(std::any_of(std::begin(kSections), std::end(kSections), [&](const char *section) {
        return mode.rfind(section, 0) == 0;
      })) << line;
      continue;
    }
    if (mode.rfind(GetParam(), 0) != 0)
      continue;
    const Case one = parse_case(line);
    const std::string words = mode + " " + one.input;
    const bool elsewhere = in_process_only || one.status == 2 || count(words, "--platform") > 0 ||
                           count(words, "check --") > 0;
    if (served && elsewhere)
      continue;
    if (mode.rfind(script, 0) == 0)
      expect_case(run_script(one.input, mode.substr(script.size())), one);
    else
      expect_case(run(one.input), one);
    ++cases;
  }
  EXPECT_GT(cases, 0U);
}

INSTANTIATE_TEST_SUITE_P(Sections, MrvctlCases, testing::ValuesIn(kSections),
                         [](const auto &kind) { return std::string(kind.param); });

TEST_F(Mrvctl, AddressesOfCallsLeadBackToTheirRegisters) {
  std::string script;
  std::vector<std::string> names;
  const std::vector<Json> map = json_lines(run("--json info").out + run("--json dhs").out);
  for (const Json &block : map.at(0)["blocks"]) {
    names.push_back(block["block"].get<std::string>() + "." +
                    std::to_string(block["instances"].get<int>() - 1) + ":" +
                    std::to_string(block["registers"].get<int>() - 2));
    script += "read " + names.back() + "\n";
  }
  for (const Json &table : map.at(1)["tables"]) {
    std::string name = table["register"];
    names.push_back(name.replace(name.find('*'), 1, "0") + "[" +
                    std::to_string(table["highest_index"].get<int>()) + "]");
    script += "dhs-read " + names.back() + "\n";
  }
  ASSERT_GT(names.size(), 70U);
  // A request of which words are left out.
  std::string entries;
  for (int i = 0; i < 256; ++i)
    entries += "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n";
  write_file("load.dhs", entries);
  recorded(script +
           "dhs-read NF.0:NF_DHS_TCAM 0 256\ndhs-write NF.0:NF_DHS_TCAM 0 --from load.dhs\n");
  names.insert(names.end(), 2, "NF.0:NF_DHS_TCAM[0]");
  const std::vector<Json> calls = json_lines(run("--json calls " + folder_ + "/*.mrec").out);
  std::vector<std::string> shown(calls.size());
  std::transform(calls.begin(), calls.end(), shown.begin(),
                 [](const Json &call) { return call["register"].get<std::string>(); });
  EXPECT_EQ(shown, names);
  EXPECT_EQ(calls[calls.size() - 2]["cut"], true);
  EXPECT_EQ(calls.back()["operation"], "write-run");
  EXPECT_EQ(calls.back()["num"], 4096);
  EXPECT_EQ(calls.back()["words"].size(), 2048U);
  EXPECT_EQ(calls.back()["cut"], true);
  expect_case(run("replay --check " + folder_ + "/*.mrec"),
              {0, "", {"0 differences; 1 skipped whose record is not whole"}});
}

TEST_F(Mrvctl, CallsAreFollowedWhileTheyAreMade) {
  const Outcome result = shell(
      "cd " + folder_ + " && { " + recorder() +
      " qos show hif:1 --watch 0.2 --count 4 >/dev/null & until ls *.mrec; do sleep 0.1; done;"
      " env --default-signal=INT " MRVCTL_PATH
      " calls --follow *.mrec >shown & shown=$!; until [ $(grep -c qos-get shown) = 4 ];"
      " do sleep 0.1; done; kill -INT $shown; wait $shown; } 2>/dev/null");
  EXPECT_EQ(result.status, 0) << result.out;
}

// Reads a terminal until a part comes, or nothing more.
std::string read_until(int terminal, const std::string &part) {
  constexpr int kPatience = 10000;  // milliseconds
  std::string text;
  char next = 0;
  pollfd readable = {terminal, POLLIN, 0};
  while (text.find(part) == std::string::npos && poll(&readable, 1, kPatience) == 1 &&
         read(terminal, &next, 1) == 1)
    text += next;
  EXPECT_NE(text.find(part), std::string::npos) << part << " is not in: " << text;
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

constexpr const char *kFirstScreen =
    R"(  hif:30    111k    156k   16.2k   1672k   2852k   22.1k    5236  rx   ####100%

nif:2, class          0       1       2       3       4       5       6       7
  writes          24.1k   25.1k   26.1k   27.1k   28.2k   29.2k   30.2k   31.2k
  reads           35.3k   36.4k   37.4k   38.4k   39.4k   40.5k   41.5k   42.5k
  drops n2h        396k    403k    409k    415k    421k    427k    433k    439k
  drops h2n        691k    697k    704k    710k    716k    722k    728k    734k
  XOFF received   13.3k   14.3k   15.4k   16.4k   17.4k   18.4k   19.5k   20.5k
  XOFF sent        5122    6146    7170    8194    9218   10.2k   11.3k   12.3k
d drops  p pause  w writes  arrows choose  home follows the first  q quits)";

// The first row of a screen, as it comes behind the headings.
std::string first_row(const std::string &begin) {
  return "DROPPED\033[0m\033[K\r\r\n" + begin;
}

bool press_keys(int terminal, const char *keys) {
  return write(terminal, keys, std::strlen(keys)) > 0;
}

// What each key makes of the view, and a wider terminal.
void use_every_key(int ours) {
  const auto press = [ours](const char *keys) { return press_keys(ours, keys); };
  EXPECT_TRUE(press("\033[F"));
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
  const winsize wide = {50, 160, 0, 0};
  ioctl(ours, TIOCSWINSZ, &wide);
  read_until(ours, "TIMEOUT");
  expect_part(screen(ours),
              "> nif:5     221k    311k   32.3k   3342k   5702k   44.1k   10.3k"
              "   34.3k   33.3k   43.5k   44.6k  rx tx" +
                  std::string(24, '#') + "100%\n");
  EXPECT_TRUE(press("d"));  // what was chosen stays chosen
  read_until(ours, "by drops");
  read_until(ours, "> nif:5 ");
}

TEST_F(Mrvctl, TopGivesTheTerminalBackHoweverItEnds) {
  const std::string script =
      write_file("top.mrv", "begin x\nwrite HI.2:5 1\nqos top --interval 3600\n");
  for (const int ending : {0, SIGINT, SIGTERM, SIGHUP, SIGSEGV, SIGABRT}) {
    SCOPED_TRACE(ending);
    int ours = -1, theirs = -1;
    winsize size = {24, 80, 0, 0};
    ASSERT_EQ(openpty(&ours, &theirs, nullptr, nullptr, &size), 0);
    termios before = {}, during = {}, after = {};
    tcgetattr(theirs, &before);
    const pid_t child = fork();
    if (child == 0) {
      login_tty(theirs);
      setenv("TERM", "xterm", 1);
      unsetenv("NO_COLOR");
      execl(MRVCTL_PATH, "mrvctl", "--platform", MRVCTL_PLATFORMS "/librefusing_platform.so", "-f",
            script.c_str(), nullptr);
      _exit(127);
    }
    const auto press = [ours](const char *keys) { return press_keys(ours, keys); };
    read_until(ours, first_row("\033[7m> "));  // the first row is chosen
    expect_part(screen(ours), kFirstScreen);
    EXPECT_EQ(read_until(ours, "\033[J"), "\033[K\033[J");  // nothing older stays below
    tcgetattr(theirs, &during);
    EXPECT_EQ(during.c_lflag & (ICANON | ECHO), 0U);
    if (ending == 0)
      use_every_key(ours);
    EXPECT_TRUE(press("\032"));  // ^Z, where nobody could continue it
    EXPECT_NE(read_until(ours, "\033[?1049h").find("\033[?1049l"), std::string::npos);
    if (ending == 0 || ending == SIGINT)
      EXPECT_TRUE(press(ending == 0 ? "q" : "\003"));
    else
      kill(child, ending);
    const std::string rest = read_until(ours, "1 write lost");
    EXPECT_LT(rest.find("\033[?1049l"), rest.find("1 write lost"));
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WIFSIGNALED(status) ? WTERMSIG(status) : 0, ending == SIGINT ? 0 : ending);
    tcgetattr(theirs, &after);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    close(ours);
    close(theirs);
  }
}

}  // namespace
