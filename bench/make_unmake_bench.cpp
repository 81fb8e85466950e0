// Make and unmake per second over a fixed set of positions and all their
// legal moves. Each item is one make and its unmake.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstring>
#include <random>
#include <vector>

#include "board/make_move.h"
#include "board/move.h"
#include "board/position.h"
#include "board/reference_moves.h"
#include "clock/node_count.h"
#include "eval/node_record.h"

namespace {

// Board, bitboards and state: everything make reads, without the history.
constexpr size_t POSITION_HEAD = offsetof(Position, keyHistory);

struct BenchPosition {
  alignas(64) unsigned char head[POSITION_HEAD];
  int side;
  std::vector<Move> moves;  // ended by 0
};

// The classic test positions and, from each, the positions along a seeded
// random game, so that openings, middle games and endings all appear.
std::vector<BenchPosition> make_positions() {
  const char* starts[] = {
      START_FEN,
      "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
      "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
      "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
      "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -",
  };
  std::vector<BenchPosition> positions;
  std::mt19937_64 rng(20240601);
  for (const char* start : starts) {
    reference::Board board;
    board.SetFen(start);
    for (int ply = 0; ply < 120; ++ply) {
      if (ply % 6 == 0) {
        BenchPosition p;
        p.moves = reference::EngineMoves(board);  // sets the global position too
        if (p.moves.empty()) break;
        p.moves.push_back(0);
        p.side = board.Side();
        std::memcpy(p.head, &position, POSITION_HEAD);
        positions.push_back(std::move(p));
      }
      if (!board.PlayRandom(rng)) break;
    }
  }
  return positions;
}

template <int Us>
void make_unmake_all(const Move* moves) {
  SavedState saved;
  NodeRecord node{};
  for (const Move* m = moves; *m; ++m) {
    MakeMove<Us>(*m, &saved, &node);
    UnmakeMove<Us>(*m, &saved);
  }
  benchmark::DoNotOptimize(node.currentMove);
}

template <int Us>
void make_unmake_quiet_all(const Move* moves) {
  SavedState saved;
  NodeRecord node{};
  for (const Move* m = moves; *m; ++m) {
    if (is_castling(*m)) continue;
    MakeQuiet<Us>(*m, &saved, &node);
    UnmakeQuiet<Us>(*m, &saved);
  }
  benchmark::DoNotOptimize(node.currentMove);
}

void BM_MakeUnmake(benchmark::State& state) {
  static const std::vector<BenchPosition> positions = make_positions();
  size_t moves = 0;
  for (const BenchPosition& p : positions) moves += p.moves.size() - 1;
  // Far from a block end: the periodic check would read standard input.
  node_countdown = int64_t(1) << 60;
  for (auto _ : state) {
    for (const BenchPosition& p : positions) {
      std::memcpy(static_cast<void*>(&position), p.head, POSITION_HEAD);
      if (p.side == WHITE)
        make_unmake_all<WHITE>(p.moves.data());
      else
        make_unmake_all<BLACK>(p.moves.data());
    }
    benchmark::ClobberMemory();
  }
  reset_node_count();
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(moves));
  state.counters["positions"] = double(positions.size());
}
BENCHMARK(BM_MakeUnmake);

void BM_MakeUnmakeQuiet(benchmark::State& state) {
  static const std::vector<BenchPosition> positions = make_positions();
  size_t moves = 0;
  for (const BenchPosition& p : positions)
    for (Move m : p.moves) moves += m && !is_castling(m);
  node_countdown = int64_t(1) << 60;
  for (auto _ : state) {
    for (const BenchPosition& p : positions) {
      std::memcpy(static_cast<void*>(&position), p.head, POSITION_HEAD);
      if (p.side == WHITE)
        make_unmake_quiet_all<WHITE>(p.moves.data());
      else
        make_unmake_quiet_all<BLACK>(p.moves.data());
    }
    benchmark::ClobberMemory();
  }
  reset_node_count();
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(moves));
}
BENCHMARK(BM_MakeUnmakeQuiet);

// The null move and its four-assignment undo.
void BM_NullMove(benchmark::State& state) {
  SetPositionFromFen(START_FEN);
  NullRecord record;
  NodeRecord node{};
  for (auto _ : state) {
    MakeNull<WHITE>(&record, &node);
    benchmark::ClobberMemory();
    UndoNull(&record);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(int64_t(state.iterations()));
}
BENCHMARK(BM_NullMove);

}  // namespace
