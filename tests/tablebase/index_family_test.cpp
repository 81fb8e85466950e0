// The index functions of all 440 rows on random legal positions: the index
// lies below the row's size, the value decodes back to a position with that
// index, and the images of the position under the board's symmetries (and
// the same position seen with colours exchanged) have the same index.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "board/reference_moves.h"
#include "tablebase/index_family.h"
#include "tablebase/table_probe.h"

namespace {

struct Placed {
  uint32_t men[2][MANLIST_PLACES];
};

Placed Transform(const Placed& p, int x) {
  Placed t = p;
  for (auto& list : t.men)
    for (uint32_t& s : list) s ^= uint32_t(x);
  return t;
}

// Colours exchanged and the board turned over.
Placed Exchange(const Placed& p) {
  Placed t;
  for (int c = 0; c < 2; ++c)
    for (int i = 0; i < MANLIST_PLACES; ++i) t.men[c][i] = p.men[1 - c][i] ^ 56;
  return t;
}

// A random legal position of the row with the side to move; false when the
// draw failed.
bool RandomPosition(int row, int side, std::mt19937& random, Placed* p) {
  const TbRowMen& m = tb_row_men(row);
  uint64_t taken = 0;
  std::vector<table_probe::Man> men;
  auto put = [&](int colour, int kind, uint32_t* place) {
    int s;
    do s = int(random() % 64);
    while ((taken >> s & 1) || (kind == 0 && (s < 8 || s >= 56)));
    taken |= 1ull << s;
    *place = uint32_t(s);
    men.push_back({colour, kind, s});
  };
  for (int c = 0; c < 2; ++c) {
    put(c, 5, &p->men[c][MANLIST_KING]);
    for (int kind = 0; kind < 5; ++kind)
      for (int i = 0; i < m.count[c][kind]; ++i) put(c, kind, &p->men[c][kind * 3 + i]);
  }
  reference::Board board;
  return board.SetFen(table_probe::Fen(men, side)) && !board.IsAttacked(board.KingSquare(1 - side), side);
}

TEST(IndexFamily, EveryRowIsDenseAndSymmetric) {
  InitIndexFamily();
  std::mt19937 random(2024);
  for (int row = 1; row < TB_ROWS; ++row)
    for (int side = 0; side < 2; ++side) {
      const TbIndexFunction index = tb_index_function(row, side);
      const bool pawns = tb_row_men(row).pawns;
      for (int tries = 0, done = 0; done < 40 && tries < 4000; ++tries) {
        Placed p;
        if (!RandomPosition(row, side, random, &p)) continue;
        ++done;
        const uint64_t i = index(p.men[0], p.men[1], TB_NO_EP, false);
        ASSERT_LT(i, TB_ROW_SIZES[row][side]) << tb_row_name(row) << " side " << side;
        TbPlacement back;
        ASSERT_TRUE(tb_decode(row, side, i, &back)) << tb_row_name(row) << " side " << side;
        for (int x : pawns ? std::vector<int>{7} : std::vector<int>{7, 56, 63})
          EXPECT_EQ(index(Transform(p, x).men[0], Transform(p, x).men[1], TB_NO_EP, false), i) << tb_row_name(row);
        const Placed e = Exchange(p);
        EXPECT_EQ(index(e.men[1], e.men[0], TB_NO_EP, true), i) << tb_row_name(row);
      }
    }
}

// kpkp numbers its en-passant positions past the others: a white pawn beside
// a black one that has just gone two squares.
TEST(IndexFamily, EnPassantHasValuesOfItsOwn) {
  InitIndexFamily();
  const int row = tb_row_by_name("kpkp");
  const TbIndexFunction white = tb_index_function(row, 0);
  uint32_t strong[MANLIST_PLACES] = {}, weak[MANLIST_PLACES] = {};
  strong[MANLIST_KING] = 1, weak[MANLIST_KING] = 62;     // b1, g8
  strong[0] = 36, weak[0] = 35;                           // e5, d5: d7-d5 has just been played
  const uint64_t plain = white(strong, weak, TB_NO_EP, false), withEp = white(strong, weak, 43, false);
  EXPECT_LT(plain, 3838208u);  // 81664 first-pawn places times 47
  EXPECT_GE(withEp, 3838208u);
  EXPECT_LT(withEp, TB_ROW_SIZES[row][0]);
  TbPlacement back;
  ASSERT_TRUE(tb_decode(row, 0, withEp, &back));
  EXPECT_EQ(back.ep, 43);
}

}  // namespace
