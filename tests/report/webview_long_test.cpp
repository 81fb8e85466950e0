// The web view in a real browser: a recorded engine feed goes into the
// Visualizer, and headless Chromium's document of its page shows the board of
// the searched position and the last best line.
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

TEST(WebViewInBrowser, RecordedFeedShowsBoardAndBestLine) {
  const fs::path view = fs::path(QUORL_TEST_DATA) / "../../visualizer";
  if (!fs::exists(view / "node_modules/cm-chessboard"))
    GTEST_SKIP() << "the web view's packages are not installed (npm ci --prefix visualizer)";
  if (std::system("command -v node >/dev/null 2>&1 && command -v chromium >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "node or chromium is not installed (apt-get install nodejs chromium)";

  char pattern[] = "/tmp/quorl-webview-XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  const std::string dir = pattern;
  const std::string feed = ReadFile(fs::path(QUORL_TEST_DATA) / "webview_feed.txt");
  // Held open while the browser looks: the end of the feed ends the view.
  FILE* engine = popen(("'" + (view / "quorl-webview").string() + "'").c_str(), "w");
  ASSERT_NE(engine, nullptr);
  std::fprintf(engine, "port 0\nlogdir %s\nInit Complete\n%s", dir.c_str(), feed.c_str());
  std::fflush(engine);

  std::smatch address;
  const std::regex serving("serving on (http://[0-9.:]+/)");
  std::string log;
  for (int tries = 0; tries < 100 && !std::regex_search(log, address, serving); ++tries) {
    usleep(50000);
    log = ReadFile(fs::path(dir) / "quorl-webview.log");
  }
  ASSERT_FALSE(address.empty()) << log;

  const std::string command =
      "timeout 60 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
      "--disable-background-networking --disable-component-update --disable-sync --user-data-dir='" + dir +
      "/profile' --dump-dom " + address[1].str() + " > '" + dir + "/dom.html' 2>/dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0);
  pclose(engine);
  const std::string document = ReadFile(fs::path(dir) / "dom.html");
  fs::remove_all(dir);

  // The board holds the searched position, after 1.e4 e5 2.Nf3 Nc6 3.Bb5, man for man.
  std::set<std::string> expected, shown;
  const std::string placement = "r1bqkbnr/pppp1ppp/2n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R";
  int file = 0, rank = 7;
  for (char c : placement) {
    if (c == '/') file = 0, --rank;
    else if (std::isdigit(c)) file += c - '0';
    else expected.insert(std::string(std::isupper(c) ? "w" : "b") + char(std::tolower(c)) + char('a' + file++) +
                         char('1' + rank));
  }
  const std::regex piece("data-piece=\"([wb][pnbrqk])\" data-square=\"([a-h][1-8])\"");
  for (std::sregex_iterator it(document.begin(), document.end(), piece), end; it != end; ++it)
    shown.insert((*it)[1].str() + (*it)[2].str());
  EXPECT_EQ(shown, expected);
  // The best line is the feed's last one with a principal variation.
  const size_t pv = feed.rfind(" pv ") + 4;
  const std::string best = feed.substr(pv, feed.find('\n', pv) - pv);
  EXPECT_NE(document.find("<div id=\"pv\" class=\"line\">" + best + "</div>"), std::string::npos) << best;
  EXPECT_NE(document.find("<b id=\"depth\">14</b>"), std::string::npos);
  // Black moves at the root: the engine's "cp -5" is White's +0.05.
  EXPECT_NE(document.find("<b id=\"score\">+0.05</b>"), std::string::npos);
}

}  // namespace
