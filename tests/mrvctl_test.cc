// mrvctl from end to end: the built program on the virtual platform, run as a child process.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;

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
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string write_file(const std::string &name, const std::string &text) {
    std::string path = folder_ + "/" + name;
    std::ofstream(path) << text;
    return path;
  }

  // Runs a command of the shell from the root folder.
  Outcome shell(const std::string &command) {
    const std::string err_path = folder_ + "/err";
    const std::string line = "cd / && " + command + " 2>" + err_path;
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
  std::string input;  // the arguments, or the lines of a script
  int status;
  std::vector<std::string> out;
  std::vector<std::string> err;
};

void expect_case(const Outcome &result, const Case &expected) {
  SCOPED_TRACE(expected.input);
  EXPECT_EQ(result.status, expected.status) << result.out << result.err;
  for (const std::string &part : expected.out)
    expect_part(result.out, part);
  for (const std::string &part : expected.err)
    expect_part(result.err, part);
}

TEST_F(Mrvctl, CommandLines) {
  const std::string refused = "SYSERR_KEL_ASIC_INVALID_ARG (0x42230003)";
  const std::vector<Case> cases = {
      {"", 2, {"!Usage"}, {"Usage: mrvctl", "dhs-read", "expect-fail"}},
      {"--version", 0, {"mrvctl 1."}, {}},
      {"qos show --help", 0, {"TYPE PORT", "--watch SECONDS", "0 to 255"}, {}},
      {"--trace", 0, {"the trace is o", "/bootflash/kel_lib_debug"}, {}},
      {"info",
       0,
       {"Morvane (236)", "RSEDMA        364", "NI           1106            0          8"},
       {"!LIB debug disabled"}},
      {"regs rs_edma", 0, {"block RSEDMA: 364 registers"}, {}},
      {"regs RSEDMA", 0, {"none of them has a name"}, {}},
      {"regs HI", 0, {"1461  0x5b5  HI_DHS_LVIF_OFFSET", "1581 others", "!NUM_ENUM"}, {}},
      {"--calls info", 0, {}, {"!sse_call2"}},
      {"--calls regs QX", 2, {}, {"no block 'QX'", "nearest: QS", "!sse_call2"}},
      {"read hi.2 hi_dhs_lvif", 0, {"HI.2 HI_DHS_LVIF_OFFSET = 0x00000000 (0)\n"}, {}},
      {"read HI.0b10 HI_DHS_LVIF_OFFSET 0x0", 0, {"0 words"}, {}},
      {"read HI.2 HI_DHS_LVIX", 2, {}, {"nearest: HI_DHS_LVIF, HI_DHS_LVIF_TCAM"}},
      {"read HI.2 HF_DHS_POL", 2, {}, {"register HF_DHS_POL is one of block HF, not of HI"}},
      {"read NI.2 FOO", 2, {}, {"no register of block NI has a name"}},
      {"read HI 5", 2, {}, {"'HI' names no block instance"}},
      {"read HI.2x 5", 2, {}, {"'2x' is no number from 0 to 4294967295"}},
      {"read HI.2 4294967296", 2, {}, {"is no number from 0 to 4294967295"}},
      {"read HI.2 0x", 2, {}, {"'0x' is no number"}},
      {"read HI.2 5 1048577", 2, {}, {"COUNT", "0 to 1048576"}},
      {"read HI.2", 2, {}, {"REGISTER is required"}},
      {"read --raw 5", 2, {}, {"the library reads no raw address"}},
      {"read HI.32 5", 1, {}, {"read HI.32 5: " + refused + ": block HI has instances 0 to 31"}},
      {"read HI.0 1584", 1, {}, {refused, "registers 0 to 1583"}},
      {"read HR.0 26", 1, {}, {refused, "a hole"}},
      {"--asic 1 read HI.0 5", 1, {}, {refused, "ASIC numbers are 0 to 0"}},
      {"--module 4 info", 2, {}, {"--module", "0 to 3"}},
      {"--slot 256 info", 2, {}, {"--slot", "0 to 255"}},
      {"read NI.0 1100 50", 1, {}, {"service call failed: Bad address (0x8223000E)"}},
      {"write HI.2 5 -1", 2, {}, {"'-1' is no number"}},
      {"write HI.2 5", 2, {}, {"2 arguments given, where 3 are needed"}},
      {"write-field HI.2 5 1 0", 1, {}, {"a mask of 0"}},
      {"--calls write --raw 0xFFFFFFE4 0",
       0,
       {"(KEL_ASIC_CMD_CLEAR_DROP_COUNTERS)"},
       {"TYPE_WRITE"}},
      {"write-field --raw 1 2 3", 1, {}, {"service call failed: Bad address"}},
      {"raed HI.2 5", 2, {}, {"no command 'raed'; nearest: read"}},
      {"info a b", 2, {}, {"not expected: a b"}},
      {"--json", 2, {"{\"command\":null,\"file\":null,\"line\":null,"}, {"Usage: mrvctl"}},
      {"--json -f", 2, {"{\"command\":null,", "FILE missing"}, {}},
      {"--json qos show hif", 2, {"{\"command\":\"qos show\",", "PORT is required"}, {}},
      {"-f /dev/null info", 2, {}, {"either a command or a script"}},
      {"-f /no/such/file", 2, {}, {"/no/such/file: cannot open: No such file or directory"}},
      {"-f /tmp", 2, {}, {"Is a directory"}},
      {"dhs-read HI.2 5 0", 1, {}, {refused, "no table register"}},
      {"dhs-read HI.32 HI_DHS_LVIF 0", 1, {}, {refused, "instances 0 to 31"}},
      {"dhs-read HI.2 HI_DHS_LVIF 1024", 1, {}, {refused, "indices are 0 to 1023"}},
      {"dhs-read HF.0 HF_DHS_TCAM 0 65537", 2, {}, {"at most 65536"}},
      {"dhs-write HF.0 HF_DHS_POL 0 1 2", 2, {}, {"2 words, but an entry of this table has 8"}},
      {"dhs-write HF.0 HF_DHS_POL 0", 2, {}, {"either the words or --from"}},
      {"pgm /no/such/file", 2, {}, {"cannot open"}},
      {"pgm x --asics 0,31", 2, {}, {"0 to 30"}},
      {"qos show hif 40", 1, {}, {"No such device or address (0x82230006)"}},
      {"qos show fif 0", 2, {}, {"none of hif, nif, cif, bif"}},
      {"qos show hif 256", 2, {}, {"PORT", "0 to 255"}},
      {"qos show hif 0 --count 3", 2, {}, {"--count is for --watch"}},
      {"pause on hif 32", 1, {}, {refused, "hif 0 to 31 and nif 0 to 7"}},
      {"pause up hif 3", 2, {}, {"neither on nor off"}},
      {"--asic 1 pause on hif 1", 1, {}, {refused + ": ASIC numbers are 0 to 0\n"}},
      {"--asic 3 sp-timer 4", 1, {}, {"ASIC numbers are 0 to 0"}},
      {"nodrop 0x1FF", 2, {}, {"MAP", "0 to 255"}},
      {"sp-timer 65536", 2, {}, {"0 to 65535"}},
      {"--module 1 clear-drops", 2, {}, {"module 0, ASIC 0 only"}},
      {"traffic hif 3 --class 8 --frames 1", 2, {}, {"--class", "0 to 7"}},
      {"traffic hif 3 --class 1 --frames 1 --excess 2", 2, {}, {"more excess than frames"}},
      {"traffic nif 8 --class 1 --frames 1", 1, {}, {"no port nif 8"}},
      {"fail ENOSUCH", 2, {}, {"'ENOSUCH' is no number from 1 to 4095"}},
      {"card 65536", 2, {}, {"0 to 65535"}},
      {"begin x", 1, {"\"x\" is open"}, {"never committed: 0 writes lost"}},
      {"begin ''", 2, {}, {"empty name"}},
      {"commit", 0, {"no transaction is open"}, {}},
      {"expect-fail read HI.2 5", 1, {"HI.2 5 = "}, {"succeeded, where a failure was expected"}},
      {"--json expect-fail read HI.2 5", 1, {"{\"command\":\"expect-fail\"", "!words"}, {}},
      {"expect-fail --help", 0, {"[OPTIONS] COMMAND\n"}, {}},
      {"info >/dev/full", 1, {}, {"could not be written"}},
  };
  for (const Case &one : cases)
    expect_case(run(one.input), one);
}

TEST_F(Mrvctl, Scripts) {
  const std::vector<Case> cases = {
      {"# nothing\n\n  # at all\n", 0, {}, {"!:"}},
      {"write HI.2 5 0b101 # five\r\nread 'HI.2' \"5\" --expect 5\n",
       0,
       {"HI.2 5 = 0x00000005 (5)"},
       {}},
      {"info\nread 'HI.2 5\ninfo\n",
       2,
       {"Morvane"},
       {"s.mrv:2: read 'HI.2 5: a quote (') is not closed"}},
      {"raed\nread HI.2 5\n", 2, {"!HI.2"}, {"s.mrv:1: raed: no command 'raed'"}},
      {"--json info\n", 2, {}, {"s.mrv:1: "}},
      {"read HI.2 5 --help\n", 2, {}, {"s.mrv:1: "}},
      {"fail etimedout\nread HI.2 5\nread HI.2 6\n",
       1,
       {"!HI.2 6"},
       {"s.mrv:2: read HI.2 5: service call failed: Connection timed out (0x8223006E)\n"}},
      {"fail 5\nexpect-fail write HI.2 5 1\nread HI.2 5\n",
       0,
       {"or a positive answer (0x82230005)", "HI.2 5 = 0x00000000"},
       {}},
      {"write HI.2 5 7\nread HI.2 5 --expect 8\n",
       1,
       {},
       {"word 0 is 0x00000007, expected 0x00000008"}},
      {"write HI.2 6 7\nread HI.2 5 2 --expect 0,7\nread HI.2 5 2 --expect 7\n",
       2,
       {"2 words"},
       {"s.mrv:3: ", "2 words to read, but 1 expected"}},
      {"write HI.2 5 0xFF\nwrite-field HI.2 5 0x3f 0x0f\nread HI.2 5 --expect 0xff\n",
       0,
       {"mask 0x0000000f: written"},
       {}},
      // Transactions.
      {"begin 'a b' --reorder\nwrite HI.2 5 1\ncommit\nread HI.2 5 --expect 1\n",
       0,
       {"\"a b\" is open, in any order", "queued", "\"a b\" is sent: 1 write\n"},
       {}},
      {"begin a\nwrite HI.2 5 1\nread HI.2 5 --expect 1\nwrite HI.2 5 2\nexpect-fail begin b\n",
       1,
       {"(transaction \"a\" was sent first: 1 write)"},
       {"\"<Interrupted>\" was never committed: 1 write lost"}},
      {"begin a\nwrite HI.2 5 1\nexpect-fail read HI.32 5\n",
       1,
       {},
       {"\"a\" was never committed: 1 write lost"}},
      {"begin a\nwrite HI.2 5 1\nfail EPERM\ncommit\n",
       1,
       {"!is sent"},
       {"s.mrv:4: commit: service call failed: Operation not permitted (0x82230001): transaction "
        "\"a\" failed: 1 write lost\n"}},
      {"begin a\nwrite HI.2 5 1\nfail EPERM\nexpect-fail read HI.2 5\nwrite HI.2 5 2\ncommit\n",
       0,
       {"\"a\" failed: 1 write lost", "\"<Interrupted>\" is sent: 1 write\n"},
       {}},
      {"begin a\nwrite HI.2 5 1\nraed\n", 2, {}, {"\"a\" was never committed: 1 write lost"}},
      {"begin a\ndhs-write HI.2 HI_DHS_LVIF 0 1 2 3\npause on hif 3\nnodrop 1\nsfp-failed hif "
       "3\nwrite --raw 0xFFFFFFE4 0\ncommit\ndhs-read HI.2 HI_DHS_LVIF 1 2\nstate\n",
       0,
       {"is sent: 7 writes", "    1  00000002\n      2  00000003", "no-drop class map         0x01",
        "last on hif 3"},
       {}},
      {"begin a\ndhs HI\ndhs-write HI.2 5 0 1\n",
       2,
       {"HI        1461      1  0 to 1023"},
       {"without a name cannot be asked for in a transaction"}},
      // Runs that the service answers in part.
      {"dhs-write HF.0 HF_DHS_POL 0 1 2 3 4 5 6 7 8\ncard 266\ndhs-read HF.0 HF_DHS_POL 0 "
       "--addresses\n",
       0,
       {"5 of 8 words answered", "0x1c", "00000004 00000005 -------- -------- --------\n"},
       {}},
      // Ports.
      {"pause on nif 7\ntraffic nif 7 --class 1 --frames 90 --excess 9\nqos show nif 7\nqos clear "
       "nif 7\nqos show nif 7\n",
       0,
       {"  writes received              0      90 ", "flow control 0x0001",
        "  writes received              0       0 "},
       {"!\033"}},
      {"traffic hif 3 --class 7 --frames 9 --excess 4 --direction H2N\nqos show hif "
       "3\nclear-drops\nqos clear-all\nsp-timer 65535\nstate\n",
       0,
       {"       0       4\n", "SP timer                  65535", "clears of drop counters   1"},
       {}},
  };
  for (const Case &one : cases)
    expect_case(run_script(one.input), one);
}

TEST_F(Mrvctl, KeepGoingReportsEveryFailureAndTheFirstStatus) {
  const Outcome result =
      run_script("read HI.32 5\nraed\nwrite HI.2 5 9\nread HI.2 5\n", "--keep-going");
  expect_case(result, {"", 1, {"HI.2 5 = 0x00000009"}, {"s.mrv:1: ", "s.mrv:2: "}});
  EXPECT_EQ(run("--keep-going -f - <" + write_file("t", "raed\nread HI.32 5")).status, 2);
}

TEST_F(Mrvctl, DataFiles) {
  write_file("two.dhs", "# TCAM results\n0x1 a  # first\n\nB 2\n");
  write_file("two.CSV", "1, a\nB,0x2\n");
  write_file("ragged.dhs", "1 2\n1 2 3\n");
  write_file("gap.csv", "1,2\n1,\n");
  write_file("long.dhs", "1 2\n123456789 2\n");
  write_file("empty.dhs", "# none\n");
  write_file("good.pgm", "HI 2 5 0xff\nhf 0 HF_DHS_POL_00 3 0x1 # field\n");
  write_file("block.pgm", "HI 2 5 1\nHX 2 5 1\n");
  write_file("short.pgm", "HI 2 5\n");
  write_file("hole.pgm", "HI 2 5 1\nHR 0 26 1\nHI 2 6 1\n");
  const std::string reg = "NF.0 NF_DHS_RESULT 1022";
  const std::vector<Case> cases = {
      {"dhs-write " + reg + " --from two.dhs\ndhs-read " + reg + " --expect-from two.CSV\n",
       0,
       {"2 entries of 2 words, as expected"},
       {"num=4, words=[00000001 0000000a 0000000b 00000002]"}},
      {"dhs-write " + reg + " 1 10\ndhs-read " + reg + " --expect-from two.dhs\n",
       1,
       {},
       {"word 0 of entry 1 is 0x00000000, expected 0x0000000b"}},
      {"dhs-write " + reg + " --from ragged.dhs\n",
       2,
       {},
       {"ragged.dhs:2: 3 words, but an entry of this table has 2", "!sse_call2"}},
      {"dhs-write " + reg + " --from gap.csv\n", 2, {}, {"gap.csv:2: ''", "!sse_call2"}},
      {"dhs-write " + reg + " --from long.dhs\n", 2, {}, {"long.dhs:2: '123456789'", "!sse_call2"}},
      {"dhs-write " + reg + " --from empty.dhs\n", 2, {}, {"empty.dhs has no entry"}},
      {"dhs-read " + reg + " 3 --expect-from two.dhs\n",
       2,
       {},
       {"3 entries to read, but the file has 2"}},
      {"pgm good.pgm\nread HI.2 5 --expect 0xff\nread HF.0 117 --expect 1\n",
       0,
       {"2 steps for ASIC 0: written"},
       {"TYPE_WRITE_FIELD"}},
      {"pgm good.pgm --asics 0,1,0\npgm good.pgm --asic 1\n",
       0,
       {"for ASIC 0: written; there is no ASIC 1", "steps: nothing written"},
       {}},
      {"begin a\npgm good.pgm --asics 0,3\ncommit\n", 0, {"is sent: 2 writes"}, {"num=2"}},
      {"pgm block.pgm\n", 2, {}, {"block.pgm:2: no block 'HX'", "!sse_call2"}},
      {"pgm short.pgm\n", 2, {}, {"short.pgm:1: a step is"}},
      {"pgm hole.pgm\n", 1, {}, {"SYSERR_KEL_ASIC_INVALID_ARG", "the steps before"}},
      {"begin a\npgm hole.pgm\n", 1, {}, {"at least 0 writes lost"}},
  };
  for (const Case &one : cases)
    expect_case(run_script(one.input, "--calls"), one);
}

TEST_F(Mrvctl, LongLoadGoesInPartsAndSaysHowFarItCame) {
  std::string entries;
  for (int i = 0; i < 600; ++i)
    entries += std::to_string(i) + "\n";
  write_file("load.dhs", entries);
  const Outcome good = run_script(
      "dhs-write HI.0 HI_DHS_LVIF 424 --from load.dhs\n"
      "dhs-read HI.0 HI_DHS_LVIF 424 --expect-from load.dhs\n",
      "--calls");
  EXPECT_EQ(good.status, 0) << good.err;
  EXPECT_EQ(count(good.err, "TYPE_WRITE_DHS"), 3U);
  const Outcome transaction = run_script(
      "begin load\nfail EPERM\nexpect-fail dhs-write HI.0 HI_DHS_LVIF 0 --from load.dhs\ncommit\n",
      "--calls");
  expect_case(transaction,
              {"",
               0,
               {"\"load\" failed: 512 writes lost", "\"Contd XN..\" is sent: 88 writes"},
               {"num=512", "num=88"}});
  const Outcome beyond = run_script("dhs-write HI.0 HI_DHS_LVIF 700 --from load.dhs\n");
  expect_case(beyond, {"", 1, {}, {"Bad address", "(256 entries before it are written)"}});
}

TEST_F(Mrvctl, EntrySizesAreTheLibrarysAndTouchNothing) {
  const Outcome result = run("--calls --json dhs");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  const Json tables = Json::parse(result.out)["tables"];
  EXPECT_EQ(tables.size(), 137U);
  const auto has = [&](const char *name, unsigned size, unsigned highest) {
    return std::any_of(tables.begin(), tables.end(), [&](const Json &table) {
      return table["register"] == name && table["entry_size"] == size &&
             table["highest_index"] == highest;
    });
  };
  EXPECT_TRUE(has("HF_DHS_TCAM_OFFSET", 16, 2047));
  EXPECT_TRUE(has("HF_DHS_POL_OFFSET", 8, 63));
  EXPECT_TRUE(has("SS_DHS_ARB9_HI_OFFSET", 2, 1023));
  EXPECT_TRUE(has("QS_DHS_ARB_CI_OFFSET", 1, 31));
  EXPECT_TRUE(has("HF_DHS_RESULT_00_OFFSET", 4, 1023));  // the register map's to tell
  EXPECT_EQ(result.out.find("SS_DHS_STATS_RAM"), std::string::npos);
}

TEST_F(Mrvctl, OddEntrySizesOverrunNothing) {
  const std::string read = "dhs-read HF.0 HF_DHS_RESULT_00 ";
  const std::string write = "begin a\ndhs-write HF.0 HF_DHS_RESULT_00 4 1 2 3 4\ncommit\n";
  const std::string no_table = "no table register with entries of up to 256 words";
  const std::string unequal = "entry 4 has 99999 words and entry 0 has 4";
  struct Hook {
    const char *words;
    const char *behind;
    Case of;
  };
  const std::vector<Hook> hooks = {
      {"4", "4", {write + read + "4\n", 0, {"00000001 00000002 00000003 00000004"}, {}}},
      {"256", "256", {read + "3\n", 0, {"1 entry of 256 words"}, {}}},
      {"257", "257", {read + "3\n", 1, {}, {no_table}}},
      {"1000000", "1", {write, 1, {}, {no_table}}},
      {"0", "4", {write, 1, {}, {no_table}}},
      {"4", "99999", {read + "3\n" + write, 1, {"1 entry of 4 words"}, {unequal}}},
      {"4", "99999", {read + "4\n", 1, {}, {unequal}}},
  };
  for (const Hook &hook : hooks) {
    std::string command = "HOOK_WORDS=";
    command.append(hook.words).append(" HOOK_WORDS_BEHIND=").append(hook.behind);
    command.append(" " MRVCTL_ODD_HOOK_PATH " -f ").append(write_file("s.mrv", hook.of.input));
    expect_case(shell(command), hook.of);
  }
}

TEST_F(Mrvctl, CallsAreDecoded) {
  const Outcome result = run_script(
      "begin boot --reorder\nwrite HI.2 5 7\npause on hif 3\ncommit\nread HI.2 5 2\n"
      "fail EPERM\nexpect-fail qos clear nif 3\ntraffic nif 3 --class 0 --frames 5\n"
      "qos show nif 3 --opts 9\nsp-timer 77\n",
      "--calls --module 2");
  ASSERT_EQ(result.status, 0) << result.err;
  for (const char *part :
       {"sse_call2(SYSSRV_MEM_WRITE_CASE, 236, 10280, {name=\"boot\", reorder=1, num=2, [{2, 0x0, ",
        "0x7, 0xffffffff}, {2, 0x303, KEL_ASIC_CMD_LINK_PAUSE_ENABLE, 0x0, 0xffffffff}]}) = 0\n",
        "sse_call2(SYSSRV_REG_READ_CASE, 236, 204, {TYPE_READ_DHS, module=2, asic=0x0, addr=0x10",
        "num=2, context=5, read ", "s.mrv:5}) = 0 {num=2, words=[00000007 00000000]}\n",
        "{QOS_STATS_CLEAR, module=2, asic=0, port_type=nif, port=3, opts=0x0}) = -1 EPERM (Op",
        "opts=0x9}) = 0 {writes=5, reads=5, n2h_drops=0, h2n_drops=0}\n",
        "sse_call2(SYSSRV_SP_TIME_CONFIGURE, 236, 196, {module=2, asic=0, time=77}) = 0\n"})
    expect_part(result.err, part);
}

TEST_F(Mrvctl, JsonIsOneObjectACommand) {
  const Outcome result = run_script(
      "write HI.2 HI_DHS_LVIF 5\nread HI.2 5 3\ndhs-read HF.0 HF_DHS_POL 2 1 --addresses\n"
      "traffic hif 1 --class 2 --frames 18446744073709551615\nqos show hif 1\nfail ETIMEDOUT\n"
      "read HI.2 5\nread HI.2 5x\nsfp-failed nif 3\nstate\n",
      "--json --keep-going");
  EXPECT_EQ(result.status, 1);
  const std::vector<Json> objects = json_lines(result.out);
  ASSERT_EQ(objects.size(), 10U);
  EXPECT_EQ(objects[0], Json::parse(R"json({"command":"write","block":"HI","instance":2,
      "register":"HI_DHS_LVIF_OFFSET","vreg":1461,"data":5,"queued":false})json"));
  EXPECT_EQ(objects[1]["words"], Json({0, 0, 0}));
  EXPECT_EQ(objects[1]["register"], nullptr);
  EXPECT_EQ(objects[2]["entries"][0]["words"].size(), 8U);
  EXPECT_EQ(objects[2]["entries"][0]["address"].get<unsigned>() % 0x100, 2 * 8 * 4U);
  EXPECT_EQ(objects[4]["stats"]["ss_dhs"]["wr_rcvd_cnt"][2], UINT64_MAX);
  EXPECT_EQ(objects[4]["stats"]["drops"]["n2h_drops"].size(), 6U);
  EXPECT_EQ(objects[4]["stats"]["pause"]["flow_ctrl"], 0);
  EXPECT_EQ(objects[6], Json::parse(R"json({"command":"read","error":{"code":2183331950,
      "name":"ETIMEDOUT","text":"service call failed: Connection timed out (0x8223006E)"
},"line":7,"file":")json" + folder_ +
                                    "/s.mrv\"}"));
  EXPECT_EQ(objects[7]["error"]["code"], nullptr);
  EXPECT_EQ(objects[7]["error"]["name"], "USAGE");
  EXPECT_EQ(objects[9]["last_sfp_port_type"], "nif");
}

TEST_F(Mrvctl, LiveViewShowsRatesAndEnds) {
  const Outcome result = run_script(
      "traffic hif 1 --class 2 --frames 1000 --steady\nqos show hif 1 --watch 0.2 --count 3\n",
      "--json");
  const std::vector<Json> objects = json_lines(result.out);
  ASSERT_EQ(objects.size(), 4U) << result.err;
  EXPECT_FALSE(objects[1].contains("rates"));
  EXPECT_EQ(objects[3]["stats"]["ss_dhs"]["wr_rcvd_cnt"][2], 1400);
  const double rate = objects[3]["rates"]["ss_dhs"]["wr_rcvd_cnt"][2];
  EXPECT_NEAR(rate, 200 / objects[3]["seconds"].get<double>(), 1e-6);
  EXPECT_GT(rate, 0);
  const Outcome ended =
      shell("timeout --preserve-status -s INT 1 " MRVCTL_PATH " qos show hif 1 --watch 30");
  expect_case(ended, {"^C ends the view", 0, {"hif 1, module 0"}, {}});
}

TEST_F(Mrvctl, ExamplesRunFromAnywhere) {
  for (const char *name : {"session", "bringup", "ports"}) {
    for (const char *options : {"", "--json "}) {
      std::string arguments = options;
      arguments.append("-f " EXAMPLES_DIR "/").append(name).append(".mrv");
      const Outcome result = run(arguments);
      EXPECT_EQ(result.status, 0) << result.out;
      EXPECT_EQ(result.err, "");
      EXPECT_GE(count(result.out, "\n"), 10U);
    }
  }
}

}  // namespace
