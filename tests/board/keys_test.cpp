// Position keys and the material signature: the from-scratch words against
// independent counts on reference positions. The steps a make adds are held
// to these words by the make tests.
#include "board/keys.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>

#include "board/position.h"
#include "board/reference_moves.h"

namespace {

using reference::Board;

std::unique_ptr<Position> RecordOf(const Board& b) {
  auto record = std::make_unique<Position>();
  b.FillRecord(record.get());
  return record;
}

// Positions from random games of the reference generator.
std::vector<Board> Playouts(uint64_t seed, int games, int plies) {
  std::mt19937_64 rng(seed);
  std::vector<Board> out;
  for (int g = 0; g < games; ++g) {
    Board b;
    out.push_back(b);
    for (int ply = 0; ply < plies && b.PlayRandom(rng); ++ply) out.push_back(b);
  }
  return out;
}

bool IsDarkSquare(int sq) { return ((sq & 7) + (sq >> 3)) % 2 == 0; }  // a1 is dark

// The signature written field by field from plain counts of the board.
uint64_t SignatureFromCounts(const Board& b) {
  using namespace reference;
  int wP = b.Count(PAWN), bP = b.Count(-PAWN), wN = b.Count(KNIGHT), bN = b.Count(-KNIGHT);
  int wR = b.Count(ROOK), bR = b.Count(-ROOK), wQ = b.Count(QUEEN), bQ = b.Count(-QUEEN);
  int wBl = 0, wBd = 0, bBl = 0, bBd = 0, men = 0;
  for (int sq = 0; sq < 64; ++sq) {
    int man = b.ManAt(sq);
    men += man != EMPTY;
    if (man == BISHOP) (IsDarkSquare(sq) ? wBd : wBl)++;
    if (man == -BISHOP) (IsDarkSquare(sq) ? bBd : bBl)++;
  }
  int wB = wBl + wBd, bB = bBl + bBd;
  int64_t index = wQ * 1 + wN * 2 + bN * 6 + wB * 18 + bB * 54 + wR * 162 + bR * 486 +
                  wP * 1458 + bP * 13122;
  int64_t balance = (wP - bP) + 3 * (wN - bN) + 3 * (wB - bB) + 5 * (wR - bR) + 10 * (wQ - bQ);
  int64_t phase = 4 * (wN + bN) + 8 * (wB + bB) + 24 * (wR + bR) + 56 * (wQ + bQ);
  auto at = [](int64_t value, int shift) { return uint64_t(value) << shift; };
  return at(index, 0) + at(balance + 128, 17) + at(phase, 25) + at(wBl, 34) + at(wBd, 35) +
         at(bBl, 36) + at(bBd, 37) + at(wQ, 38) + at(bQ, 39) + at(wN, 40) + at(bN, 42) +
         at(wR, 44) + at(bR, 46) + at(wB, 48) + at(bB, 50) + at(men, 56);
}

// What the pawn key stands for: pawns, kings, rights, and which square
// colours each side's bishops hold (by parity, as their terms cancel in pairs).
std::string PawnStructure(const Board& b) {
  using namespace reference;
  std::string s;
  int bishops[2][2] = {};
  for (int sq = 0; sq < 64; ++sq) {
    int man = b.ManAt(sq);
    s += (std::abs(man) == PAWN || std::abs(man) == KING) ? char('a' + man + 6) : '.';
    if (std::abs(man) == BISHOP) bishops[man < 0][IsDarkSquare(sq)] ^= 1;
  }
  s += '/';
  s += std::to_string(b.Castling());
  s += '/';
  for (auto& colour : bishops)
    for (int parity : colour) s += char('0' + parity);
  return s;
}

// --- Position key ------------------------------------------------------------

TEST(KeyPosition, SideKeyOnlyForWhiteToMove) {
  auto start = RecordOf(Board());
  EXPECT_EQ(PositionKey(start.get(), WHITE) ^ PositionKey(start.get(), BLACK), SIDE_KEY);
  // An empty board with no rights and no en passant: only the side term.
  Position empty{};
  EXPECT_EQ(PositionKey(&empty, BLACK), 0u);
  EXPECT_EQ(PositionKey(&empty, WHITE), SIDE_KEY);
}

// --- Pawn key ------------------------------------------------------------------

TEST(KeyPawn, SharedExactlyByEqualPawnStructures) {
  std::map<uint64_t, std::string> byKey;
  std::map<std::string, uint64_t> byStructure;
  for (const Board& b : Playouts(11, 30, 200)) {
    auto record = RecordOf(b);
    uint64_t key = PawnKey(record.get());
    std::string structure = PawnStructure(b);
    auto [k, newKey] = byKey.emplace(key, structure);
    if (!newKey) {
      EXPECT_EQ(k->second, structure) << b.Fen();
    }
    auto [s, newStructure] = byStructure.emplace(structure, key);
    if (!newStructure) {
      EXPECT_EQ(s->second, key) << b.Fen();
    }
  }
  EXPECT_GT(byStructure.size(), 1000u);
}

// --- Material signature ----------------------------------------------------------

TEST(KeySignature, MatchesFieldCountsOnRandomPositions) {
  int checked = 0;
  for (const Board& b : Playouts(3, 40, 300)) {
    auto record = RecordOf(b);
    ASSERT_EQ(MaterialSignature(record.get()), SignatureFromCounts(b)) << b.Fen();
    ++checked;
  }
  EXPECT_GT(checked, 5000);
}

}  // namespace
