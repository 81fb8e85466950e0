// One session with both logs on, fixed by a configuration file: what the
// front end sees, the uci log's head and diagram, the html record, and the
// way out when the input breaks.
#include <unistd.h>

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/log_session.h"
#include "support/uci_session.h"

namespace {

using namespace quorl_test;

const char CONFIG[] =
    "Log Uci: true\n"
    "Log Html: true\n"
    "Hash Size (Mb): 100\n"
    "Max CPUs: 1\n";

std::string DataFile(const std::string& name) {
  std::ostringstream text;
  text << std::ifstream(std::string(QUORL_TEST_DATA) + "/" + name).rdbuf();
  return text.str();
}

// The lines of `lines` from the first that holds `first` through the first
// after it that holds `last`.
std::vector<std::string> Block(const std::vector<std::string>& lines, const std::string& first,
                               const std::string& last) {
  std::vector<std::string> block;
  for (const std::string& line : lines) {
    if (block.empty() && line.find(first) == std::string::npos) continue;
    block.push_back(line);
    if (block.size() > 1 && line.find(last) != std::string::npos) break;
  }
  return block;
}

// A log line without its seconds column.
std::string Text(const std::string& line) { return line.size() > 8 ? line.substr(8) : ""; }

TEST(Logs, ConfiguredSessionWritesBothLogsAndLeavesOnBrokenInput) {
  LogSession session(CONFIG);
  std::vector<std::string> out;
  const int status = session.Run(
      "uci\n"
      "setoption name Hash value 64\n"
      "setoption name Max CPUs value 2\n"
      "setoption name xLog value true\n"
      "position startpos moves e2e4 d7d5 e4d5\n"
      "go depth 9 wtime 65000 btime 3700000 searchmoves d8d5 g8f6\n",
      "bestmove", &out);
  EXPECT_EQ(status, 0);

  // The fixed options are left out of the list, but for Max CPUs, and their
  // setoptions are refused in the configuration's name.
  std::vector<std::string> options, replies;
  for (const std::string& line : out) {
    if (StartsWith(line, "option name ")) options.push_back(line.substr(12, line.find(" type ") - 12));
    if (StartsWith(line, "info string ")) replies.push_back(line.substr(12));
  }
  for (const char* gone : {"Hash", "Log", "xLog"})
    EXPECT_EQ(std::count(options.begin(), options.end(), gone), 0) << gone;
  EXPECT_EQ(std::count(options.begin(), options.end(), "Max CPUs"), 1);
  const std::vector<std::string> expected = {"Hash size already permanently set to 100 Mb in quorl.config.",
                                             "Max CPUs already set to 1 in quorl.config.",
                                             "Html logging already enabled in quorl.config."};
  EXPECT_EQ(std::vector<std::string>(replies.begin(), replies.begin() + std::min<size_t>(3, replies.size())),
            expected);

  const std::vector<std::string> log = Lines(session.Read("uci log "));
  ASSERT_FALSE(log.empty());
  EXPECT_EQ(log[0].substr(0, 8), "     0  ");
  // The head: the machine's fields in their order, colons under each other.
  const char* const fields[] = {"Quorl Path", "Quorl Name", "# of Processors", "Processor Name",
                                "Processor Architecture", "Processor Clock Speed", "Processor Identifier",
                                "Processor Vendor Identifier", "Processor Level", "Processor Revision", "Total RAM",
                                "Available RAM", "RAM Page Size", "Operating System", "Process Priority"};
  size_t at = 0;
  for (const char* field : fields) {
    const std::string label = std::string(field) + " : ";
    while (at < log.size() && Text(log[at]).find(label) == std::string::npos) ++at;
    ASSERT_LT(at, log.size()) << field;
    EXPECT_EQ(Text(log[at]).find(label) + label.size(), 56u) << log[at];
  }
  std::string processors = "# of Processors : " + std::to_string(sysconf(_SC_NPROCESSORS_ONLN));
  EXPECT_TRUE(std::any_of(log.begin(), log.end(), [&](const std::string& l) { return l.find(processors) != l.npos; }));

  // The settings report, as the site would copy it into the file.
  std::vector<std::string> texts;
  for (const std::string& line : log) texts.push_back(Text(line));
  const auto title = std::find_if(texts.begin(), texts.end(),
                                  [](const std::string& l) { return l.find("\\       Output ") != l.npos; });
  ASSERT_GE(title - texts.begin(), 3);
  const auto end = std::find_if(title, texts.end(),
                                [](const std::string& l) { return l.find("Visualizer 8 Init :") != l.npos; });
  ASSERT_NE(end, texts.end());
  const std::vector<std::string> report(title - 3, end + 1);
  EXPECT_EQ(report, Lines(DataFile("settings_report.txt")));

  // The diagram at go: clocks of a minute and of an hour, the last move a
  // capture, White a pawn up, Black to move.
  EXPECT_EQ(Block(log, "rnbqkbnr/ppp1pppp/8/3P4/8/8/PPPP1PPP/RNBQKBNR b KQkq -", "  a         b  "),
            Lines(DataFile("diagram_after_exd5.txt")));

  // The html record: its board with the moves that the search moves leave
  // out, a row of analysis, and the end tags written on the way out.
  const std::string html = session.Read("log.");
  const std::vector<std::string> page = Lines(html);
  ASSERT_FALSE(page.empty());
  EXPECT_TRUE(StartsWith(page[0], "<HTML><HEAD><TITLE>Quorl")) << page[0];
  EXPECT_EQ(Block(page, "[zzzzzzzz]", "{ABCDEFGH}"), Lines(DataFile("html_board_after_exd5.txt")));
  const std::regex row(
      "<font style=\"width:35px\">[0-9]*</font><font style=\"width:76px\">[-+][0-9]+\\.[0-9]{2}</font>"
      "<font style=\"width:76px\">[0-9]+:[0-9]{2}</font>(Mxd5|[IKJLMN]?[a-h]?[1-8]?x?[a-h][1-8]) .*<br>");
  EXPECT_TRUE(std::any_of(page.begin(), page.end(), [&](const std::string& l) { return std::regex_match(l, row); }))
      << html;
  EXPECT_TRUE(html.size() > 16 && html.substr(html.size() - 16) == "\n</BODY></HTML>\n");
  ASSERT_FALSE(log.empty());
  EXPECT_EQ(Text(log.back()), "Exiting Quorl, reason : Input pipe corrupted or cut off.");
}

}  // namespace
