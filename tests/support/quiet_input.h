// In-process searches poll standard input and end the process at its end.
#pragma once

namespace quorl_test {

// Replaces standard input by an empty pipe whose write end stays open, so
// that a search in this process polls and finds nothing, however long it runs.
void KeepInputOpenAndEmpty();

}  // namespace quorl_test
