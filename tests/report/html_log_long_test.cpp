// The html record in a real browser: headless Chromium loads the page a
// configured session wrote, and its document holds the board and the rows.
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/log_session.h"

namespace {

using namespace quorl_test;
namespace fs = std::filesystem;

std::string Chromium() {
  for (const char* name : {"chromium", "chromium-browser"})
    for (const char* dir : {"/usr/bin", "/usr/local/bin", "/snap/bin"})
      if (access((std::string(dir) + "/" + name).c_str(), X_OK) == 0) return std::string(dir) + "/" + name;
  return "";
}

// Runs the browser on a page with one extra argument; its output goes to
// `out`. Gives the exit status.
int Browse(const std::string& browser, const std::string& profile, const std::string& argument,
           const std::string& page, const std::string& out) {
  const std::string command = "'" + browser +
                              "' --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
                              "--disable-background-networking --disable-component-update --disable-sync "
                              "--window-size=900,1200 --user-data-dir='" + profile + "' " + argument + " 'file://" +
                              page + "' > '" + out + "' 2>/dev/null";
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(HtmlLogInBrowser, PageLoadsAndShowsBoardAndRows) {
  const std::string browser = Chromium();
  if (browser.empty()) GTEST_SKIP() << "chromium is not installed: apt-get install chromium";
  LogSession session("Log Html: true\n");
  std::vector<std::string> out;
  ASSERT_EQ(session.Run("position startpos moves e2e4 e7e5 g1f3\ngo depth 10\n", "bestmove", &out), 0);
  std::string page;
  for (const fs::directory_entry& entry : fs::directory_iterator(session.dir()))
    if (entry.path().extension() == ".html") page = entry.path().string();
  ASSERT_FALSE(page.empty());

  const std::string profile = session.dir() + "/profile", dom = session.dir() + "/dom.txt";
  ASSERT_EQ(Browse(browser, profile, "--dump-dom", page, dom), 0);
  std::ostringstream text;
  text << std::ifstream(dom).rdbuf();
  const std::string document = text.str();
  EXPECT_NE(document.find("<title>Quorl"), std::string::npos) << document;
  EXPECT_NE(document.find("{ABCDEFGH}"), std::string::npos) << document;
  EXPECT_NE(document.find("<font style=\"width:35px\">"), std::string::npos) << document;
  EXPECT_NE(document.find("</body></html>"), std::string::npos) << document;

  // A picture of the page, for a person to look at when the test is kept.
  const std::string shot = session.dir() + "/page.png";
  const char* keep = std::getenv("QUORL_KEEP_SCREENSHOT");
  ASSERT_EQ(Browse(browser, profile, "--screenshot='" + shot + "'", page, session.dir() + "/shot.txt"), 0);
  ASSERT_TRUE(fs::exists(shot));
  EXPECT_GT(fs::file_size(shot), 1000u);
  if (keep) fs::copy_file(shot, keep, fs::copy_options::overwrite_existing);
}

}  // namespace
