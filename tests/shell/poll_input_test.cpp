// The poll inside the search: everything that waits is consumed, nothing
// that does not wait blocks it.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "shell/dialogue.h"

namespace {

// Puts pipes in place of standard input and output for the test's length.
class RedirectedInput : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(pipe(input_), 0);
    ASSERT_EQ(pipe(output_), 0);
    saved_in_ = dup(0);
    saved_out_ = dup(1);
    dup2(input_[0], 0);
    dup2(output_[1], 1);
    fcntl(output_[0], F_SETFL, O_NONBLOCK);
  }
  void TearDown() override {
    dup2(saved_in_, 0);
    dup2(saved_out_, 1);
    for (int fd : {input_[0], input_[1], output_[0], output_[1], saved_in_, saved_out_}) close(fd);
  }
  void send(const std::string& text) {
    ASSERT_EQ(write(input_[1], text.data(), text.size()), ssize_t(text.size()));
  }
  std::string output() {
    std::string text;
    char buffer[4096];
    for (ssize_t got; (got = read(output_[0], buffer, sizeof(buffer))) > 0;) text.append(buffer, size_t(got));
    return text;
  }
  int input_[2], output_[2], saved_in_ = -1, saved_out_ = -1;
};

TEST_F(RedirectedInput, TwoLinesInOneWriteAreBothConsumedByOnePoll) {
  send("isready\nisready\n");
  EXPECT_TRUE(poll_input());
  EXPECT_EQ(output(), "readyok\nreadyok\n");
  EXPECT_FALSE(poll_input());
}

TEST_F(RedirectedInput, LinesAlreadyBufferedAreSeenWithoutTheDescriptor) {
  // One read takes both lines into our buffer; the descriptor then reports
  // nothing, and the poll must still find the second line.
  send("isready\nisready\n");
  read_and_dispatch_line();
  pollfd descriptor{0, POLLIN, 0};
  EXPECT_EQ(poll(&descriptor, 1, 0), 0);
  EXPECT_TRUE(poll_input());
  EXPECT_EQ(output(), "readyok\nreadyok\n");
}

}  // namespace
