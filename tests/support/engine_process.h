// A child engine process driven through pipes, for end-to-end tests.
//
// The child's standard input and output are pipes held by this object; its
// standard error goes to /dev/null. Every read and write takes a timeout, so
// an engine that hangs or stops reading fails a test instead of blocking it.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorl_test {

class EngineProcess {
 public:
  // Starts the engine built with the tests (QUORL_BINARY) as a pool of one
  // process, so that a test's search takes one core.
  EngineProcess();
  // Starts the executable at `path`. `argv` is the full argument vector,
  // argv[0] included; empty means just { path }.
  explicit EngineProcess(const std::string& path, std::vector<std::string> argv = {});
  // Kills and reaps a child that is still running.
  ~EngineProcess();

  EngineProcess(const EngineProcess&) = delete;
  EngineProcess& operator=(const EngineProcess&) = delete;

  // True when the child was started; otherwise start_error() says why.
  bool started() const { return pid_ > 0; }
  pid_t pid() const { return pid_; }
  const std::string& start_error() const { return start_error_; }

  // Writes the bytes as they are (no newline is added). False when they could
  // not all be written within `timeout_ms`, or the child closed its input.
  bool send(std::string_view bytes, int timeout_ms = 3000);

  // The next line of output without its line feed; nothing else is removed.
  // At the end of output a last unterminated piece is returned as a line.
  // Empty when no whole line arrived within `timeout_ms` or output has ended.
  std::optional<std::string> read_line(int timeout_ms);

  // True when no byte of output arrives within `ms` (output that ends counts
  // as silence and returns at once). Bytes already received but not read
  // count as output.
  bool expect_silence(int ms);

  // True once the child has closed its standard output (usually: exited).
  bool output_ended() const { return output_ended_; }

  // Closes the child's standard input: it sees the end of input.
  void close_input();

  // Waits for the child to exit. Gives its exit status, or 128 + the signal
  // number when a signal ended it. When it is still running after
  // `timeout_ms` it is killed and the result is empty.
  std::optional<int> wait_exit(int timeout_ms);

 private:
  enum class Fill { kData, kTimeout, kEnd };
  void start(const std::string& path, std::vector<std::string> argv);
  Fill fill(int timeout_ms);
  std::optional<int> reap(bool block);

  pid_t pid_ = -1;
  int to_child_ = -1;
  int from_child_ = -1;
  bool output_ended_ = false;
  std::optional<int> exit_status_;
  std::string pending_;
  std::string start_error_;
};

}  // namespace quorl_test
