#include "shell/bench.h"

#include <fcntl.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "board/move.h"
#include "board/position.h"
#include "board/types.h"
#include "clock/go_command.h"
#include "clock/node_count.h"
#include "hash/table.h"
#include "platform/clock.h"
#include "report/output.h"
#include "report/search_lines.h"
#include "search/root_driver.h"
#include "search/root_list.h"
#include "shell/dialogue.h"

namespace {

constexpr int32_t DEFAULT_DEPTH = 11;
constexpr int32_t MAX_DEPTH = 60;
constexpr uint32_t HASH_MEGABYTES = 16;

struct BenchPosition {
  const char* kind;
  const char* fen;
};

// Every side to move has more than one legal move: the root driver gives a
// single reply a 50 ms budget, which would make the count depend on time.
constexpr BenchPosition POSITIONS[] = {
    // Openings.
    {"opening", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"},
    {"opening", "r1bqkbnr/1ppp1ppp/p1n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R w KQkq -"},
    {"opening", "rnbqkb1r/1p2pppp/p2p1n2/8/3NP3/2N5/PPP2PPP/R1BQKB1R w KQkq -"},
    {"opening", "rnbqkb1r/ppp2ppp/4pn2/3p4/2PP4/2N5/PP2PPPP/R1BQKBNR w KQkq -"},
    {"opening", "rnbq1rk1/ppp1ppbp/3p1np1/8/2PPP3/2N2N2/PP2BPPP/R1BQK2R b KQ -"},
    {"opening", "rnbqk1nr/ppp2ppp/4p3/3pP3/1b1P4/2N5/PPP2PPP/R1BQKBNR b KQkq -"},
    {"opening", "r1bq1rk1/pppp1ppp/2n2n2/2b1p3/2B1P3/2PP1N2/PP3PPP/RNBQ1RK1 b - -"},
    // Sharp middlegames: men en prise, promotions, attacks on both wings.
    {"sharp", "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -"},
    {"sharp", "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -"},
    {"sharp", "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -"},
    {"sharp", "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - -"},
    {"sharp", "r2q1rk1/pp1bppbp/2np1np1/8/2BNP3/2N1BP2/PPPQ2PP/2KR3R b - -"},
    {"sharp", "r1bq1rk1/4bppp/p1p5/1p1nR3/8/1BP5/PP1P1PPP/RNBQ2K1 w - -"},
    // Quiet middlegames.
    {"quiet", "r1bq1rk1/pp2bppp/2n1pn2/2pp4/2PP4/2N1PN2/PP2BPPP/R1BQ1RK1 w - -"},
    {"quiet", "r2q1rk1/pp2bppp/2n1bn2/3p4/3P4/2NB1N2/PP3PPP/R1BQR1K1 w - -"},
    {"quiet", "r1bq1rk1/1pp1bppp/p1np1n2/4p3/B3P3/2P2N1P/PP1P1PP1/RNBQR1K1 b - -"},
    {"quiet", "rn1q1rk1/pbp1bppp/1p2pn2/3p4/2PP4/5NP1/PP2PPBP/RNBQ1RK1 w - -"},
    {"quiet", "r1bk1b1r/ppp2ppp/2p5/4Pn2/8/5N2/PPP2PPP/RNB2RK1 w - -"},
    {"quiet", "2rr2k1/pp3ppp/1q2pn2/8/3P4/P4N2/1P2QPPP/2RR2K1 w - -"},
    // Tactics: mates in one and two, a sacrifice on h7, a knight check that
    // opens the bishop's diagonal.
    {"tactic", "r1bqkb1r/pppp1ppp/2n2n2/4p2Q/2B1P3/8/PPPP1PPP/RNB1K1NR w KQkq -"},
    {"tactic", "6k1/5ppp/8/8/8/2q5/5PPP/3R2K1 w - -"},
    {"tactic", "rn1qkbnr/ppp2p1p/3p2p1/4N3/2B1P3/2N5/PPPP1PPP/R1BbK2R w KQkq -"},
    {"tactic", "rnbq1rk1/pppn1ppp/4p3/3pP3/1b1P4/2NB1N2/PPP2PPP/R1BQK2R w KQ -"},
    {"tactic", "r2qkb1r/pp2nppp/3p4/2pNN1B1/2BnP3/3P4/PPP2PPP/R2bK2R w KQkq -"},
    // Endgames with pawns: kings and pawns, minor pieces, queens.
    {"ending", "8/k7/3p4/p2P1p2/P2P1P2/8/8/K7 w - -"},
    {"ending", "8/8/8/4k3/8/8/4P3/4K3 w - -"},
    {"ending", "8/5pk1/6p1/7p/P7/1P6/6K1/8 w - -"},
    {"ending", "8/8/1p3k2/p1p5/P1P2N2/1P3K2/8/8 w - -"},
    {"ending", "8/5k2/1b3p2/1p3P2/1P2B3/6K1/8/8 w - -"},
    {"ending", "8/2b2pk1/4p1p1/3pP1P1/3P1P2/2N2K2/8/8 w - -"},
    {"ending", "8/6pk/8/5q2/8/6QP/5PK1/8 w - -"},
    // Rook endings.
    {"rook", "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -"},
    {"rook", "1K1k4/1P6/8/8/8/8/r7/2R5 w - -"},
    {"rook", "8/1R4pk/7p/8/P7/r7/6PK/8 w - -"},
    {"rook", "6k1/5pp1/7p/8/2r5/2P2KP1/R4P1P/8 w - -"},
};
constexpr int32_t POSITION_COUNT = int32_t(sizeof(POSITIONS) / sizeof(POSITIONS[0]));

// The search reads standard input every few thousand nodes and treats its
// end as a lost front end. A pipe whose write end we hold never ends and
// never has anything to read.
bool quiet_input() {
  int fd[2];
  if (pipe(fd) != 0) return false;
  // With standard input closed the read end already is descriptor 0.
  if (fd[0] != 0) {
    if (dup2(fd[0], 0) < 0) return false;
    close(fd[0]);
  }
  return true;  // fd[1] stays open for the life of the process
}

uint64_t per_second(uint64_t nodes, uint64_t ms) { return nodes * 1000 / (ms ? ms : 1); }

}  // namespace

int run_bench(int argc, char** argv) {
  int32_t depth = DEFAULT_DEPTH;
  if (argc > 2) {
    char* end = nullptr;
    const long value = std::strtol(argv[2], &end, 10);
    if (!end || *end || value < 1 || value > MAX_DEPTH) {
      std::fprintf(stderr, "usage: %s bench [depth 1-%d]\n", argv[0], int(MAX_DEPTH));
      return 2;
    }
    depth = int32_t(value);
  }

  if (!quiet_input()) {
    std::perror("pipe");
    return 1;
  }
  std::setvbuf(stdout, nullptr, _IOLBF, 0);

  std::snprintf(position_line, sizeof(position_line), "%s", START_FEN);
  SetPositionFromFen(START_FEN);
  is_searching = false;
  const HashBuildReport hash = BuildHashTable(HASH_MEGABYTES, false);
  if (!hash.ok) {
    std::fprintf(stderr, "hash table: %s\n", hash.error);
    return 1;
  }

  std::printf("Search bench: %d positions, depth %d, hash %u MB\n", int(POSITION_COUNT), int(depth),
              unsigned(HASH_MEGABYTES));
  std::printf("%3s %-8s %12s %8s %10s %-6s %s\n", "#", "kind", "nodes", "ms", "nps", "best", "score");

  uint64_t total_nodes = 0, total_ms = 0;
  int32_t failures = 0;
  for (int32_t i = 0; i < POSITION_COUNT; ++i) {
    const BenchPosition& entry = POSITIONS[i];
    new_game_reset();
    std::snprintf(position_line, sizeof(position_line), "position fen %s", entry.fen);
    // A FEN that fails the check would leave the start position in place.
    const bool readable = CheckFenText(entry.fen);
    parse_position_line(position_line);
    if (!readable || !IsPositionConsistent()) {
      std::printf("%3d %-8s  position rejected: %s\n", int(i + 1), entry.kind, entry.fen);
      ++failures;
      continue;
    }

    // The limits of a plain go to this depth: no clocks, no node limits.
    char go[32];
    std::snprintf(go, sizeof(go), "go depth %d", int(depth));
    read_go_line(go);
    // The engine's own info lines go to /dev/null, out of the table; the
    // search itself runs exactly as in a game.
    std::fflush(stdout);
    const int table = dup(1);
    const int sink = open("/dev/null", O_WRONLY);
    dup2(sink, 1);
    close(sink);
    prepare_search();
    const uint64_t start = tick_ms();
    if (sideToMove == WHITE) RootDriver<WHITE>();
    else RootDriver<BLACK>();
    const uint64_t ms = tick_ms() - start;
    const uint64_t nodes = counted_nodes();
    is_searching = false;
    dup2(table, 1);
    close(table);

    char best[8] = "-", score[24] = "-";
    if (root_list[0].move) MoveToText(root_list[0].move, best);
    if (root_list[0].move && root_list[0].depth > 0) ScoreText(root_list[0].score, score, sizeof(score));
    std::printf("%3d %-8s %12" PRIu64 " %8" PRIu64 " %10" PRIu64 " %-6s %s\n", int(i + 1), entry.kind, nodes, ms,
                per_second(nodes, ms), best, score);

    total_nodes += nodes;
    total_ms += ms;
  }

  // The node total is the build's signature: it changes only with the search.
  std::printf("Nodes searched: %" PRIu64 "\n", total_nodes);
  std::printf("Nodes/second: %" PRIu64 "\n", per_second(total_nodes, total_ms));
  ReleaseHashTable();
  return failures ? 1 : 0;
}
