// An engine run in a directory of its own with a quorl.config, so that its
// logs land there and can be read back once it has gone.
#pragma once

#include <string>
#include <vector>

namespace quorl_test {

class LogSession {
 public:
  // A fresh directory holding `config` as quorl.config.
  explicit LogSession(const std::string& config);
  ~LogSession();
  LogSession(const LogSession&) = delete;
  LogSession& operator=(const LogSession&) = delete;

  const std::string& dir() const { return dir_; }
  // Starts the engine there, writes `input`, reads until a line beginning
  // with `until` (or its end), then closes its input: the engine leaves as it
  // does on a broken pipe. Gives its exit status (-1 when it did not end) and
  // what it printed.
  int Run(const std::string& input, const std::string& until, std::vector<std::string>* output);
  // The whole text of the one file whose name begins with `prefix`; empty
  // when there is no such file.
  std::string Read(const std::string& prefix) const;

 private:
  std::string dir_;
};

std::vector<std::string> Lines(const std::string& text);

}  // namespace quorl_test
