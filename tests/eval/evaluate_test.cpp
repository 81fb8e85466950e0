// The evaluator as a whole and the attack map writers: the settings that act
// on the score, the colour flip over random positions, and the maps against a
// slow square-by-square walk over the reference board, which shares no tables
// with the engine.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "board/position.h"
#include "board/reference_moves.h"
#include "support/fen_flip.h"
#include "eval/attack_maps.h"
#include "eval/eval_settings.h"
#include "eval/evaluate.h"
#include "eval/pawn_cache.h"

namespace {

using reference::Board;

// Restores the option values after every test that changes them.
class EvaluateTest : public ::testing::Test {
 protected:
  void SetUp() override {
    savedSettings_ = eval_settings;
    savedSign_ = play_mode_sign;
    eval_settings = EvalSettings{};
    play_mode_sign = 1;
  }
  void TearDown() override {
    eval_settings = savedSettings_;
    play_mode_sign = savedSign_;
  }

 private:
  EvalSettings savedSettings_;
  int32_t savedSign_ = 1;
};

using EvaluateSettings = EvaluateTest;
using EvaluateSymmetry = EvaluateTest;
using AttackMapsTest = EvaluateTest;

// A record with the side fields as the root driver writes them and the
// written fields filled with junk, so that a field left alone shows.
NodeRecord RecordFor(int side) {
  NodeRecord node;
  std::memset(&node, 0xa5, sizeof node);
  node.sideIndex = side;
  node.sideSign = side == WHITE ? 1 : -1;
  node.otherSign = -node.sideSign;
  node.approximate = 1;
  return node;
}

int32_t EvaluateFen(const std::string& fen, NodeRecord* out = nullptr) {
  EXPECT_EQ(SetPositionFromFen(fen.c_str()), 1) << fen;
  NodeRecord node = RecordFor(sideToMove);
  const int32_t score = Evaluate(&node);
  if (out) *out = node;
  return score;
}

// Positions reached by random playouts from the start, of varied length.
std::vector<Board> RandomPositions(int count, uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::vector<Board> boards;
  while (int(boards.size()) < count) {
    Board board;
    const int plies = int(rng() % 140);
    for (int i = 0; i < plies; ++i)
      if (!board.PlayRandom(rng)) break;
    boards.push_back(board);
  }
  return boards;
}

// Men scattered at random, crowded with sliders so that batteries of every
// kind turn up; not reachable positions, but the maps do not care.
std::vector<Board> RandomPlacements(int count, uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::vector<Board> boards;
  while (int(boards.size()) < count) {
    char squares[64];
    std::memset(squares, '.', sizeof squares);
    const int whiteKing = int(rng() % 64);
    int blackKing;
    do blackKing = int(rng() % 64);
    while (std::abs(square_file(blackKing) - square_file(whiteKing)) <= 1 &&
           std::abs(square_rank(blackKing) - square_rank(whiteKing)) <= 1);
    squares[whiteKing] = 'K';
    squares[blackKing] = 'k';
    const int men = 6 + int(rng() % 18);
    for (int i = 0; i < men; ++i) {
      const int sq = int(rng() % 64);
      if (squares[sq] != '.') continue;
      const char man = "PNBRQQRBpnbrqqrb"[rng() % 16];
      if ((man == 'P' || man == 'p') && (square_rank(sq) == 0 || square_rank(sq) == 7)) continue;
      squares[sq] = man;
    }
    std::string fen = PlacementFen(squares);
    fen += rng() % 2 ? " w - -" : " b - -";
    Board board;
    if (board.SetFen(fen)) boards.push_back(board);
  }
  return boards;
}

// --- Colour flip ---------------------------------------------------------------

// Whether the material fields read the same rows for both colours: the queen
// digit exists only for White, and counts past a digit's range run into the
// next digit, so only normal counts and queens on both sides or neither.
bool MaterialIsSymmetric(const Board& b) {
  using namespace reference;
  const int wq = b.Count(QUEEN), bq = b.Count(-QUEEN);
  if (wq > 1 || bq > 1 || (wq > 0) != (bq > 0)) return false;
  for (int man : {KNIGHT, BISHOP, ROOK})
    if (b.Count(man) > 2 || b.Count(-man) > 2) return false;
  int bishopsOn[2][2] = {};
  for (int sq = 0; sq < 64; ++sq) {
    const int man = b.ManAt(sq);
    if (std::abs(man) == BISHOP) ++bishopsOn[man > 0 ? 0 : 1][(square_file(sq) + square_rank(sq)) & 1];
  }
  for (auto& colour : bishopsOn)
    for (int n : colour)
      if (n > 1) return false;
  return true;
}

// --- Reference attack maps -------------------------------------------------------

struct RefMaps {
  Bitboard byKind[2][7] = {};  // by colour and reference man kind
  Bitboard all[2] = {};
};

// Walks every man's moves on the reference board. With `xray`, bishops and
// rooks pass over their own queens and a queen over her own rooks on ranks
// and files.
RefMaps ReferenceMaps(const Board& board, bool xray) {
  using namespace reference;
  RefMaps maps;
  auto onBoard = [](int f, int r) { return f >= 0 && f < 8 && r >= 0 && r < 8; };
  for (int sq = 0; sq < 64; ++sq) {
    const int man = board.ManAt(sq);
    if (man == EMPTY) continue;
    const int colour = man > 0 ? 0 : 1, kind = std::abs(man);
    const int f0 = square_file(sq), r0 = square_rank(sq);
    Bitboard set = 0;
    auto step = [&](int df, int dr) {
      if (onBoard(f0 + df, r0 + dr)) set |= bit((r0 + dr) * 8 + f0 + df);
    };
    auto ray = [&](int df, int dr, int seeThrough) {
      for (int f = f0 + df, r = r0 + dr; onBoard(f, r); f += df, r += dr) {
        set |= bit(r * 8 + f);
        const int there = board.ManAt(r * 8 + f);
        if (there == EMPTY) continue;
        const bool own = (there > 0) == (colour == 0);
        if (!(xray && own && std::abs(there) == seeThrough)) break;
      }
    };
    const int forward = colour == 0 ? 1 : -1;
    switch (kind) {
      case PAWN:
        step(-1, forward);
        step(1, forward);
        break;
      case KNIGHT:
        for (auto [df, dr] : {std::pair{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}})
          step(df, dr);
        break;
      case KING:
        for (int df = -1; df <= 1; ++df)
          for (int dr = -1; dr <= 1; ++dr)
            if (df || dr) step(df, dr);
        break;
      default:
        if (kind == BISHOP || kind == QUEEN)
          for (auto [df, dr] : {std::pair{1, 1}, {1, -1}, {-1, 1}, {-1, -1}})
            ray(df, dr, kind == BISHOP ? QUEEN : EMPTY);
        if (kind == ROOK || kind == QUEEN)
          for (auto [df, dr] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) ray(df, dr, kind == ROOK ? QUEEN : ROOK);
        break;
    }
    maps.byKind[colour][kind] |= set;
    maps.all[colour] |= set;
  }
  return maps;
}

// Men of `colour`, the king among them, that are attacked and undefended, or
// attacked by a cheaper man: N, B, R, Q by a pawn; R, Q by a knight or
// bishop; Q by a rook.
Bitboard ReferenceThreatened(const Board& board, const RefMaps& maps, int colour) {
  using namespace reference;
  const int enemy = 1 - colour;
  Bitboard set = 0;
  for (int sq = 0; sq < 64; ++sq) {
    const int man = board.ManAt(sq);
    if (man == EMPTY || (man > 0) != (colour == 0)) continue;
    const int kind = std::abs(man);
    const Bitboard b = bit(sq);
    const bool attacked = maps.all[enemy] & b, defended = maps.all[colour] & b;
    bool cheaper = false;
    if (kind != PAWN && kind != KING && (maps.byKind[enemy][PAWN] & b)) cheaper = true;
    if ((kind == ROOK || kind == QUEEN) && ((maps.byKind[enemy][KNIGHT] | maps.byKind[enemy][BISHOP]) & b))
      cheaper = true;
    if (kind == QUEEN && (maps.byKind[enemy][ROOK] & b)) cheaper = true;
    if ((attacked && !defended) || cheaper) set |= b;
  }
  return set;
}

// ================================================================================

// --- Settings --------------------------------------------------------------------

TEST_F(EvaluateSettings, NoiseStaysWithinTwoAndDependsOnKeyAndSetting) {
  std::mt19937_64 rng(11);
  std::set<int32_t> seen;
  for (const Board& board : RandomPositions(150, 13)) {
    ASSERT_EQ(SetPositionFromFen(board.Fen(false).c_str()), 1);
    NodeRecord node = RecordFor(board.Side());
    eval_settings.randomValue = 0;
    const int32_t quiet = Evaluate(&node);
    eval_settings.randomValue = int32_t(1 + rng() % 4095);
    const int32_t noisy = Evaluate(&node);
    EXPECT_EQ(Evaluate(&node), noisy) << "the same position and setting give the same noise";
    const int32_t noise = noisy - quiet;
    EXPECT_LE(std::abs(noise), 2);
    seen.insert(noise);
  }
  EXPECT_EQ(seen.size(), 5u) << "every noise value should turn up over many positions";
}

// The rules of the rook-ending and opposite-bishop corrections are the
// material tests'; here their order behind the noise and the engine's side.
TEST_F(EvaluateSettings, NoiseComesBeforeTheCorrectionsThatSpeakForTheEngineSide) {
  const char* fen = "4k3/3r4/8/8/8/8/3R4/4K3 w - -";  // one rook each, nothing else
  ASSERT_EQ(SetPositionFromFen(fen), 1);
  NodeRecord node = RecordFor(WHITE);
  const uint64_t key = position.state.key;
  int32_t random = 1;
  while (((uint64_t(random) ^ key) & 0xfff) % 5 == 2) ++random;  // a non-zero noise
  eval_settings.randomValue = random;
  eval_settings.rookEndgameScaling = 0;
  EXPECT_EQ(Evaluate(&node), 0) << "a scaling of 0 wipes out the noise too";
  eval_settings.rookEndgamePenalty = 500;
  EXPECT_EQ(Evaluate(&node), -50) << "the penalty is still added after the scaling";
  play_mode_sign = -1;
  EXPECT_EQ(Evaluate(&node), 50);

  // White bishop on c4 (light), Black bishop on c5 (dark), pawns only beside them.
  ASSERT_EQ(SetPositionFromFen("4k3/pp6/8/2b5/2B5/8/PP6/4K3 w - -"), 1);
  eval_settings = EvalSettings{};
  play_mode_sign = 1;
  const int32_t plain = Evaluate(&node);
  eval_settings.oppositeBishopsPenalty = 1000;
  eval_settings.oppositeBishopsEndgamePenalty = 500;
  EXPECT_EQ(Evaluate(&node), plain - 150);
  play_mode_sign = -1;
  EXPECT_EQ(Evaluate(&node), plain + 150);
}

// --- Symmetry --------------------------------------------------------------------

// Playouts, and crowded random placements that reach terms the playouts
// seldom do: batteries, forks, rooks on the seventh, far passed pawns, races.
TEST_F(EvaluateSymmetry, ColourFlipNegatesTheScoreAndSwapsTheMaps) {
  std::vector<Board> boards = RandomPositions(600, 3);
  const std::vector<Board> crowded = RandomPlacements(12000, 21);
  boards.insert(boards.end(), crowded.begin(), crowded.end());
  int checked = 0;
  for (const Board& board : boards) {
    if (!MaterialIsSymmetric(board)) continue;
    const std::string fen = board.Fen(false);
    NodeRecord a, b;
    const int32_t score = EvaluateFen(fen, &a);
    const int32_t flipped = EvaluateFen(FlipFen(fen), &b);
    ASSERT_EQ(flipped, -score) << fen;
    ASSERT_EQ(b.positionalScore, -a.positionalScore) << fen;
    ASSERT_EQ(b.whiteAttacks, __builtin_bswap64(a.blackAttacks)) << fen;
    ASSERT_EQ(b.blackAttacks, __builtin_bswap64(a.whiteAttacks)) << fen;
    ASSERT_EQ(b.whiteThreatened, __builtin_bswap64(a.blackThreatened)) << fen;
    ASSERT_EQ(b.blackThreatened, __builtin_bswap64(a.whiteThreatened)) << fen;
    ++checked;
  }
  EXPECT_GE(checked, 600);
}

// --- Attack maps -----------------------------------------------------------------

// The evaluation's maps see through own batteries; the writers' maps and the
// plain lookup of White's attacks do not.
TEST_F(AttackMapsTest, EvaluateAndWritersMatchTheReferenceWalks) {
  std::vector<Board> boards = RandomPositions(400, 5);
  const std::vector<Board> crowded = RandomPlacements(400, 6);
  boards.insert(boards.end(), crowded.begin(), crowded.end());
  for (const Board& board : boards) {
    ASSERT_EQ(SetPositionFromFen(board.Fen(false).c_str()), 1);
    const std::string fen = board.Fen(false);
    NodeRecord evaluated = RecordFor(board.Side()), mapped = RecordFor(board.Side());
    Evaluate(&evaluated);
    AttackMaps(&mapped);
    const RefMaps xray = ReferenceMaps(board, true), plain = ReferenceMaps(board, false);
    for (const auto& [node, maps] : {std::pair{&evaluated, &xray}, std::pair{&mapped, &plain}}) {
      EXPECT_EQ(node->whiteAttacks, maps->all[WHITE]) << fen;
      EXPECT_EQ(node->blackAttacks, maps->all[BLACK]) << fen;
      EXPECT_EQ(node->blackThreatened, ReferenceThreatened(board, *maps, BLACK)) << fen;
      EXPECT_EQ(node->whiteThreatened, ReferenceThreatened(board, *maps, WHITE)) << fen;
    }
    NodeRecord white = RecordFor(board.Side());
    AttackedByWhite(&white);
    EXPECT_EQ(white.whiteAttacks, plain.all[WHITE]) << fen;
    EXPECT_EQ(white.blackAttacks, RecordFor(board.Side()).blackAttacks) << "only the white word is written";
  }
}

}  // namespace
