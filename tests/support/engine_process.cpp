#include "support/engine_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

extern char** environ;

namespace quorl_test {

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point deadline_after(int ms) { return Clock::now() + std::chrono::milliseconds(ms < 0 ? 0 : ms); }

int ms_left(Clock::time_point deadline) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return left < 0 ? 0 : int(left);
}

void close_fd(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

std::string error_text(const char* what, int error) { return std::string(what) + ": " + std::strerror(error); }

}  // namespace

// No outside table, one processor.
EngineProcess::EngineProcess() : EngineProcess(QUORL_BINARY, {QUORL_BINARY, "0", "1"}) {}

EngineProcess::EngineProcess(const std::string& path, std::vector<std::string> argv) {
  // A child that dies while we write to it must fail a check, not end the
  // whole test run.
  std::signal(SIGPIPE, SIG_IGN);
  start(path, std::move(argv));
}

void EngineProcess::start(const std::string& path, std::vector<std::string> argv) {
  if (argv.empty()) argv.push_back(path);
  // Close-on-exec everywhere, so that no child holds the ends of another
  // child's pipes and every end of input is seen.
  int input[2], output[2];
  if (pipe2(input, O_CLOEXEC) != 0) {
    start_error_ = error_text("pipe2", errno);
    return;
  }
  if (pipe2(output, O_CLOEXEC) != 0) {
    start_error_ = error_text("pipe2", errno);
    close(input[0]), close(input[1]);
    return;
  }

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], 0);
  posix_spawn_file_actions_adddup2(&actions, output[1], 1);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);

  // The child gets default signal handling and an empty mask, whatever the
  // test process has set up (SIGPIPE is ignored here).
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t defaults, empty;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  sigemptyset(&empty);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setsigmask(&attributes, &empty);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

  std::vector<char*> pointers;
  for (auto& word : argv) pointers.push_back(word.data());
  pointers.push_back(nullptr);

  pid_t pid = -1;
  int error = posix_spawn(&pid, path.c_str(), &actions, &attributes, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  close(input[0]);
  close(output[1]);
  if (error != 0) {
    start_error_ = error_text(("posix_spawn " + path).c_str(), error);
    close(input[1]);
    close(output[0]);
    return;
  }
  pid_ = pid;
  to_child_ = input[1];
  from_child_ = output[0];
  fcntl(to_child_, F_SETFL, fcntl(to_child_, F_GETFL) | O_NONBLOCK);
  fcntl(from_child_, F_SETFL, fcntl(from_child_, F_GETFL) | O_NONBLOCK);
}

EngineProcess::~EngineProcess() {
  close_fd(to_child_);
  close_fd(from_child_);
  if (pid_ > 0 && !exit_status_) {
    kill(pid_, SIGKILL);
    reap(true);
  }
}

bool EngineProcess::send(std::string_view bytes, int timeout_ms) {
  if (to_child_ < 0) return false;
  auto deadline = deadline_after(timeout_ms);
  while (!bytes.empty()) {
    ssize_t wrote = write(to_child_, bytes.data(), bytes.size());
    if (wrote > 0) {
      bytes.remove_prefix(size_t(wrote));
      continue;
    }
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote < 0 && errno != EAGAIN && errno != EWOULDBLOCK) return false;  // EPIPE: reader gone
    int left = ms_left(deadline);
    if (left == 0) return false;
    pollfd descriptor{to_child_, POLLOUT, 0};
    if (poll(&descriptor, 1, left) < 0 && errno != EINTR) return false;
  }
  return true;
}

EngineProcess::Fill EngineProcess::fill(int timeout_ms) {
  if (output_ended_ || from_child_ < 0) return Fill::kEnd;
  auto deadline = deadline_after(timeout_ms);
  for (;;) {
    char buffer[4096];
    ssize_t got = read(from_child_, buffer, sizeof(buffer));
    if (got > 0) {
      pending_.append(buffer, size_t(got));
      return Fill::kData;
    }
    if (got == 0) {
      output_ended_ = true;
      return Fill::kEnd;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) {
      output_ended_ = true;
      return Fill::kEnd;
    }
    int left = ms_left(deadline);
    if (left == 0) return Fill::kTimeout;
    pollfd descriptor{from_child_, POLLIN, 0};
    if (poll(&descriptor, 1, left) == 0) return Fill::kTimeout;
  }
}

std::optional<std::string> EngineProcess::read_line(int timeout_ms) {
  auto deadline = deadline_after(timeout_ms);
  for (;;) {
    size_t end = pending_.find('\n');
    if (end != std::string::npos) {
      std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      return line;
    }
    if (output_ended_) {
      if (pending_.empty()) return std::nullopt;
      std::string rest;
      rest.swap(pending_);
      return rest;
    }
    if (fill(ms_left(deadline)) == Fill::kTimeout) return std::nullopt;
  }
}

bool EngineProcess::expect_silence(int ms) {
  if (!pending_.empty()) return false;
  return fill(ms) != Fill::kData;
}

void EngineProcess::close_input() { close_fd(to_child_); }

std::optional<int> EngineProcess::reap(bool block) {
  if (exit_status_) return exit_status_;
  if (pid_ <= 0) return std::nullopt;
  int status = 0;
  pid_t got;
  do got = waitpid(pid_, &status, block ? 0 : WNOHANG);
  while (got < 0 && errno == EINTR);
  if (got != pid_) return std::nullopt;
  exit_status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return exit_status_;
}

std::optional<int> EngineProcess::wait_exit(int timeout_ms) {
  if (pid_ <= 0) return std::nullopt;
  auto deadline = deadline_after(timeout_ms);
  for (;;) {
    if (auto status = reap(false)) return status;
    if (ms_left(deadline) == 0) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  kill(pid_, SIGKILL);
  reap(true);
  return std::nullopt;
}

}  // namespace quorl_test
