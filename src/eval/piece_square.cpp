#include "eval/piece_square.h"

namespace {

struct Pair {
  int m;  // opening
  int e;  // endgame
};

// White half-rows, files a to d; e to h mirror them. Per man: rank 8 first,
// down to rank 1, as the rows read on a board seen from White. Order of men
// follows the bitboard index: pawn, knight, bishop, rook, queen, king.
// Pawn rows 1 and 8 are never read by a legal position.
constexpr Pair WHITE_HALF_ROWS[6][8][4] = {
    {  // pawn
     {{-10, -53}, {40, -65}, {49, -95}, {54, -121}},
     {{-50, -93}, {0, -105}, {9, -135}, {14, -161}},
     {{-48, -93}, {0, -105}, {9, -135}, {14, -161}},
     {{-66, -119}, {-20, -131}, {-11, -161}, {-6, -187}},
     {{-78, -140}, {-33, -152}, {-28, -182}, {-27, -208}},
     {{-88, -153}, {-45, -165}, {-45, -195}, {-49, -221}},
     {{-96, -162}, {-56, -174}, {-59, -204}, {-66, -230}},
     {{-147, -171}, {-97, -183}, {-88, -213}, {-83, -239}}},
    {  // knight
     {{-1307, -465}, {-605, -370}, {-469, -250}, {-414, -223}},
     {{-444, -328}, {-332, -233}, {-172, -101}, {-117, -74}},
     {{-311, -262}, {-175, -155}, {-15, -23}, {40, 4}},
     {{-311, -262}, {-175, -155}, {-15, -23}, {40, 4}},
     {{-339, -276}, {-203, -169}, {-43, -37}, {12, -10}},
     {{-440, -327}, {-304, -220}, {-144, -88}, {-89, -61}},
     {{-599, -405}, {-487, -310}, {-327, -178}, {-272, -151}},
     {{-782, -497}, {-670, -402}, {-534, -282}, {-479, -255}}},
    {  // bishop
     {{-274, -281}, {-304, -291}, {-223, -264}, {-220, -263}},
     {{-294, -291}, {-123, -234}, {-150, -243}, {-141, -240}},
     {{-201, -272}, {-138, -251}, {-39, -218}, {-75, -230}},
     {{-190, -263}, {-121, -240}, {-67, -222}, {8, -197}},
     {{-190, -263}, {-121, -240}, {-67, -222}, {8, -197}},
     {{-193, -264}, {-130, -243}, {-31, -210}, {-67, -222}},
     {{-274, -291}, {-103, -234}, {-130, -243}, {-121, -240}},
     {{-299, -281}, {-329, -291}, {-248, -264}, {-245, -263}}},
    {  // rook
     {{-290, -240}, {-250, -240}, {-210, -240}, {-170, -240}},
     {{-290, -240}, {-250, -240}, {-210, -240}, {-170, -240}},
     {{-270, -160}, {-230, -160}, {-190, -160}, {-150, -160}},
     {{-290, -240}, {-250, -240}, {-210, -240}, {-170, -240}},
     {{-290, -250}, {-250, -250}, {-210, -250}, {-170, -250}},
     {{-290, -250}, {-250, -250}, {-210, -250}, {-170, -250}},
     {{-290, -250}, {-250, -250}, {-210, -250}, {-170, -250}},
     {{-300, -250}, {-250, -250}, {-210, -250}, {-170, -250}}},
    {  // queen
     {{-360, -260}, {-310, -210}, {-280, -180}, {-260, -160}},
     {{-310, -210}, {-260, -160}, {-230, -130}, {-210, -110}},
     {{-280, -180}, {-230, -130}, {-200, -100}, {-180, -80}},
     {{-260, -160}, {-210, -110}, {-180, -80}, {-160, -60}},
     {{-260, -160}, {-210, -110}, {-180, -80}, {-160, -60}},
     {{-280, -180}, {-230, -130}, {-200, -100}, {-180, -80}},
     {{-310, -210}, {-260, -160}, {-230, -130}, {-210, -110}},
     {{-410, -260}, {-360, -210}, {-330, -180}, {-310, -160}}},
    {  // king
     {{230, -550}, {290, -320}, {10, -190}, {-150, -90}},
     {{260, -350}, {320, -120}, {40, 10}, {-120, 110}},
     {{270, -230}, {330, 0}, {50, 130}, {-110, 230}},
     {{310, -180}, {370, 50}, {90, 180}, {-70, 280}},
     {{340, -220}, {400, 10}, {120, 140}, {-40, 240}},
     {{360, -350}, {420, -120}, {140, 10}, {-20, 110}},
     {{410, -530}, {470, -300}, {190, -170}, {20, -70}},
     {{430, -760}, {490, -530}, {200, -400}, {-10, -300}}},
};

constexpr int PAWN_FILE_WEIGHT[8] = {1, 2, 3, 4, 4, 3, 2, 1};

// Packed pair of a white man, sign-extended so that a sum of entries keeps the
// count fields above bit 32 intact once the bias is added.
constexpr int64_t white_pair(int man, int square) {
  const int file = square & 7;
  const Pair p = WHITE_HALF_ROWS[man][7 - (square >> 3)][file < 4 ? file : 7 - file];
  return int64_t(p.m) * 65536 + p.e;
}

// A pawn's contribution to the weighted count of its colour and square colour.
constexpr int64_t pawn_count(int colour, int square) {
  const bool light = (LIGHT_SQUARES >> square) & 1;
  const int shift = colour == 0 ? (light ? PAWN_COUNT_WHITE_LIGHT_SHIFT : PAWN_COUNT_WHITE_DARK_SHIFT)
                                : (light ? PAWN_COUNT_BLACK_LIGHT_SHIFT : PAWN_COUNT_BLACK_DARK_SHIFT);
  return int64_t(PAWN_FILE_WEIGHT[square & 7]) << shift;
}

// Black's entry on a square is White's entry on the rotated square, negated,
// so that the table scores from White's view for both colours.
constexpr std::array<int64_t, 12 * 64> make_piece_square_values() {
  std::array<int64_t, 12 * 64> t{};
  for (int man = 0; man < 6; ++man) {
    for (int square = 0; square < 64; ++square) {
      int64_t white = white_pair(man, square);
      int64_t black = -white_pair(man, 63 - square);
      if (man == 0) {
        white += pawn_count(0, square);
        black += pawn_count(1, square);
      }
      t[(2 * man) * 64 + square] = white;
      t[(2 * man + 1) * 64 + square] = black;
    }
  }
  return t;
}

}  // namespace

constexpr std::array<int64_t, 12 * 64> PIECE_SQUARE_VALUES = make_piece_square_values();
