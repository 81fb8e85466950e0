#include "support/log_session.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/engine_process.h"

namespace quorl_test {

namespace fs = std::filesystem;

LogSession::LogSession(const std::string& config) {
  std::string pattern = (fs::temp_directory_path() / "quorl-logs-XXXXXX").string();
  if (!mkdtemp(pattern.data())) return;
  dir_ = pattern;
  std::ofstream(fs::path(dir_) / "quorl.config") << config;
}

LogSession::~LogSession() {
  std::error_code ignored;
  if (!dir_.empty()) fs::remove_all(dir_, ignored);
}

int LogSession::Run(const std::string& input, const std::string& until, std::vector<std::string>* output) {
  // The engine reads its configuration from the working directory it starts in.
  const fs::path before = fs::current_path();
  fs::current_path(dir_);
  EngineProcess engine;
  fs::current_path(before);
  if (!engine.started()) return -1;
  // An engine that ends at start-up may be gone before its input arrives:
  // what it did shows in its exit status and its logs, not in this write.
  engine.send(input);
  while (std::optional<std::string> line = engine.read_line(30000)) {
    output->push_back(*line);
    if (line->rfind(until, 0) == 0) break;
  }
  engine.close_input();
  while (std::optional<std::string> line = engine.read_line(5000)) output->push_back(*line);
  return engine.wait_exit(5000).value_or(-1);
}

std::string LogSession::Read(const std::string& prefix) const {
  for (const fs::directory_entry& entry : fs::directory_iterator(dir_)) {
    if (entry.path().filename().string().rfind(prefix, 0) != 0) continue;
    std::ostringstream text;
    text << std::ifstream(entry.path()).rdbuf();
    return text.str();
  }
  return "";
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace quorl_test
