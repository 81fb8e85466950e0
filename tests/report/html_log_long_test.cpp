// The html record in a real browser: headless Chromium loads the page that a
// configured session wrote, and its document holds the board and the rows.
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/log_session.h"

namespace {

using namespace quorl_test;
namespace fs = std::filesystem;

// The browser on the page with one more argument; its output to `out`.
int Browse(const std::string& dir, const std::string& argument, const std::string& page, const std::string& out) {
  const std::string command =
      "chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
      "--disable-component-update --disable-sync --window-size=900,1200 --user-data-dir='" + dir + "/profile' " +
      argument + " 'file://" + page + "' > '" + out + "' 2>/dev/null";
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(HtmlLogInBrowser, PageLoadsAndShowsBoardAndRows) {
  if (std::system("command -v chromium >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "chromium is not installed (apt-get install chromium)";
  LogSession session("Log Html: true\n");
  std::vector<std::string> out;
  ASSERT_EQ(session.Run("position startpos moves e2e4 e7e5 g1f3\ngo depth 10\n", "bestmove", &out), 0);
  std::string page;
  for (const fs::directory_entry& entry : fs::directory_iterator(session.dir()))
    if (entry.path().extension() == ".html") page = entry.path().string();
  ASSERT_FALSE(page.empty());

  ASSERT_EQ(Browse(session.dir(), "--dump-dom", page, session.dir() + "/dom.txt"), 0);
  const std::string document = session.Read("dom.txt");
  for (const char* shown : {"<title>Quorl", "{ABCDEFGH}", "<font style=\"width:35px\">", "</body></html>"})
    EXPECT_NE(document.find(shown), std::string::npos) << shown << "\n" << document;

}

}  // namespace
