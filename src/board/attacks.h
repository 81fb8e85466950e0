// Attack tables: every attack computation of the board core, the evaluator and
// the exchange test is a lookup here. Sliders use one multiply, one shift and
// one load per square (fancy magic); everything else is a per-square bitboard.
// All tables are constants: the small ones are built by the compiler below, the
// two large sliding-attack arrays and their slice pointers are written at build
// time by tools/gen_attacks.cpp, which includes this header for the masks,
// multipliers and shifts, so those numbers live here only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "types.h"  // relative, so the build-time generator finds it without include paths

// ---------------------------------------------------------------------------
// Compile-time builders. Plain geometry on an 8x8 board; nothing here runs in
// the program, only in the compiler and the generator.
namespace attack_build {

constexpr bool on_board(int file, int rank) { return file >= 0 && file < 8 && rank >= 0 && rank < 8; }

// Squares from `square` in direction (df, dr), up to and including the first
// occupied one or the edge.
constexpr Bitboard slide(int square, int df, int dr, Bitboard occupancy) {
  Bitboard set = 0;
  int file = square_file(square) + df, rank = square_rank(square) + dr;
  while (on_board(file, rank)) {
    const int to = rank * 8 + file;
    set |= bit(to);
    if (occupancy & bit(to)) break;
    file += df;
    rank += dr;
  }
  return set;
}

// The same ray without its last square: the squares whose occupancy can
// change what lies beyond them.
constexpr Bitboard inner_ray(int square, int df, int dr) {
  Bitboard set = 0;
  int file = square_file(square) + df, rank = square_rank(square) + dr;
  while (on_board(file + df, rank + dr)) {
    set |= bit(rank * 8 + file);
    file += df;
    rank += dr;
  }
  return set;
}

constexpr int ROOK_DIRS[4][2] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
constexpr int BISHOP_DIRS[4][2] = {{1, 1}, {-1, 1}, {1, -1}, {-1, -1}};
constexpr int KNIGHT_STEPS[8][2] = {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};
constexpr int KING_STEPS[8][2] = {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};

constexpr Bitboard rook_slide(int square, Bitboard occupancy) {
  Bitboard set = 0;
  for (const auto& d : ROOK_DIRS) set |= slide(square, d[0], d[1], occupancy);
  return set;
}

constexpr Bitboard bishop_slide(int square, Bitboard occupancy) {
  Bitboard set = 0;
  for (const auto& d : BISHOP_DIRS) set |= slide(square, d[0], d[1], occupancy);
  return set;
}

template <size_t N>
constexpr Bitboard steps_from(int square, const int (&steps)[N][2]) {
  Bitboard set = 0;
  for (const auto& s : steps) {
    const int file = square_file(square) + s[0], rank = square_rank(square) + s[1];
    if (on_board(file, rank)) set |= bit(rank * 8 + file);
  }
  return set;
}

template <typename F>
constexpr std::array<Bitboard, 64> per_square(F f) {
  std::array<Bitboard, 64> t{};
  for (int s = 0; s < 64; ++s) t[s] = f(s);
  return t;
}

// Square plus or minus one file on the rank `dr` away, if on the board.
constexpr Bitboard diagonal_pair(int square, int dr) {
  Bitboard set = 0;
  for (int df : {-1, 1})
    if (on_board(square_file(square) + df, square_rank(square) + dr)) set |= bit(square + dr * 8 + df);
  return set;
}

template <typename T>
constexpr size_t entries_for(const T& shifts) {
  size_t n = 0;
  for (auto s : shifts) n += size_t(1) << (64 - s);
  return n;
}

}  // namespace attack_build

// ---------------------------------------------------------------------------
// Sliding attacks. Lookup for a rook on s against occupancy occ:
//   ROOK_SLICE[s][((occ & ROOK_MASK[s]) * ROOK_MAGIC[s]) >> ROOK_SHIFT[s]]
// The per-square parameters are separate arrays so a loop over sliders touches
// three small hot arrays and one slice.

inline constexpr std::array<Bitboard, 64> ROOK_MASK = attack_build::per_square([](int s) {
  Bitboard m = 0;
  for (const auto& d : attack_build::ROOK_DIRS) m |= attack_build::inner_ray(s, d[0], d[1]);
  return m;
});

inline constexpr std::array<Bitboard, 64> BISHOP_MASK = attack_build::per_square([](int s) {
  Bitboard m = 0;
  for (const auto& d : attack_build::BISHOP_DIRS) m |= attack_build::inner_ray(s, d[0], d[1]);
  return m;
});

// Index width 64 - shift equals the mask's bit count, except on a8, b8, c8
// and h8, whose multipliers fold the mask into one bit fewer by constructive
// collisions (the generator proves every occupancy still lands right).
inline constexpr uint32_t ROOK_SHIFT[64] = {
    52, 53, 53, 53, 53, 53, 53, 52,  // rank 1
    53, 54, 54, 54, 54, 54, 54, 53,  // rank 2
    53, 54, 54, 54, 54, 54, 54, 53,  // rank 3
    53, 54, 54, 54, 54, 54, 54, 53,  // rank 4
    53, 54, 54, 54, 54, 54, 54, 53,  // rank 5
    53, 54, 54, 54, 54, 54, 54, 53,  // rank 6
    53, 54, 54, 54, 54, 54, 54, 53,  // rank 7
    53, 54, 54, 53, 53, 53, 53, 53,  // rank 8
};

inline constexpr uint32_t BISHOP_SHIFT[64] = {
    58, 59, 59, 59, 59, 59, 59, 58,  // rank 1
    59, 59, 59, 59, 59, 59, 59, 59,  // rank 2
    59, 59, 57, 57, 57, 57, 59, 59,  // rank 3
    59, 59, 57, 55, 55, 57, 59, 59,  // rank 4
    59, 59, 57, 55, 55, 57, 59, 59,  // rank 5
    59, 59, 57, 57, 57, 57, 59, 59,  // rank 6
    59, 59, 59, 59, 59, 59, 59, 59,  // rank 7
    58, 59, 59, 59, 59, 59, 59, 58,  // rank 8
};

inline constexpr uint64_t ROOK_MAGIC[64] = {
    0x80001020400080ull, 0x40001000200040ull, 0x80081000200080ull, 0x80040800100080ull,
    0x80020400080080ull, 0x80010200040080ull, 0x80008001000200ull, 0x80002040800100ull,
    0x800020400080ull,   0x400020005000ull,   0x801000200080ull,   0x800800100080ull,
    0x800400080080ull,   0x800200040080ull,   0x800100020080ull,   0x800040800100ull,
    0x208000400080ull,   0x404000201000ull,   0x808010002000ull,   0x808008001000ull,
    0x808004000800ull,   0x808002000400ull,   0x10100020004ull,    0x20000408104ull,
    0x208080004000ull,   0x200040005000ull,   0x100080200080ull,   0x80080100080ull,
    0x40080080080ull,    0x20080040080ull,    0x10080800200ull,    0x800080004100ull,
    0x204000800080ull,   0x200040401000ull,   0x100080802000ull,   0x80080801000ull,
    0x40080800800ull,    0x20080800400ull,    0x20001010004ull,    0x800040800100ull,
    0x204000808000ull,   0x200040008080ull,   0x100020008080ull,   0x80010008080ull,
    0x40008008080ull,    0x20004008080ull,    0x10002008080ull,    0x4081020004ull,
    0x204000800080ull,   0x200040008080ull,   0x100020008080ull,   0x80010008080ull,
    0x40008008080ull,    0x20004008080ull,    0x800100020080ull,   0x800041000080ull,
    0xfffcddfced714aull, 0x7ffcddfced714aull, 0x3fffcdffd88096ull, 0x40810002101ull,
    0x1000204080011ull,  0x1000204000801ull,  0x1000082000401ull,  0x1fffaabfad1a2ull,
};

inline constexpr uint64_t BISHOP_MAGIC[64] = {
    0x2020202020200ull, 0x2020202020000ull, 0x4010202000000ull, 0x4040080000000ull,
    0x1104000000000ull, 0x821040000000ull,  0x410410400000ull,  0x104104104000ull,
    0x40404040400ull,   0x20202020200ull,   0x40102020000ull,   0x40400800000ull,
    0x11040000000ull,   0x8210400000ull,    0x4104104000ull,    0x2082082000ull,
    0x4000808080800ull, 0x2000404040400ull, 0x1000202020200ull, 0x800802004000ull,
    0x800400a00000ull,  0x200100884000ull,  0x400082082000ull,  0x200041041000ull,
    0x2080010101000ull, 0x1040008080800ull, 0x208004010400ull,  0x404004010200ull,
    0x840000802000ull,  0x404002011000ull,  0x808001041000ull,  0x404000820800ull,
    0x1041000202000ull, 0x820800101000ull,  0x104400080800ull,  0x20080080080ull,
    0x404040040100ull,  0x808100020100ull,  0x1010100020800ull, 0x808080010400ull,
    0x820820004000ull,  0x410410002000ull,  0x82088001000ull,   0x2011000800ull,
    0x80100400400ull,   0x1010101000200ull, 0x2020202000400ull, 0x1010101000200ull,
    0x410410400000ull,  0x208208200000ull,  0x2084100000ull,    0x20880000ull,
    0x1002020000ull,    0x40408020000ull,   0x4040404040000ull, 0x2020202020000ull,
    0x104104104000ull,  0x2082082000ull,    0x20841000ull,      0x208800ull,
    0x10020200ull,      0x404080200ull,     0x40404040400ull,   0x2020202020200ull,
};

// Sum over squares of 1 << (64 - shift): 812032 bytes of sliding attacks.
constexpr size_t ROOK_ATTACK_ENTRIES = attack_build::entries_for(ROOK_SHIFT);
constexpr size_t BISHOP_ATTACK_ENTRIES = attack_build::entries_for(BISHOP_SHIFT);
static_assert(ROOK_ATTACK_ENTRIES == 96256 && BISHOP_ATTACK_ENTRIES == 5248, "slice sizes");

// Shared attack arrays, square slices back to back in square order, and the
// start of each square's slice. Written by the build-time generator.
extern const Bitboard ROOK_ATTACK_STORE[ROOK_ATTACK_ENTRIES];
extern const Bitboard BISHOP_ATTACK_STORE[BISHOP_ATTACK_ENTRIES];
extern const Bitboard* const ROOK_SLICE[64];
extern const Bitboard* const BISHOP_SLICE[64];

// Attack set against `occupancy`: every square up to and including the first
// occupied one on each ray, whatever its colour.
[[gnu::always_inline]] inline Bitboard RookAttacks(int square, Bitboard occupancy) {
  return ROOK_SLICE[square][((occupancy & ROOK_MASK[square]) * ROOK_MAGIC[square]) >> ROOK_SHIFT[square]];
}

[[gnu::always_inline]] inline Bitboard BishopAttacks(int square, Bitboard occupancy) {
  return BISHOP_SLICE[square][((occupancy & BISHOP_MASK[square]) * BISHOP_MAGIC[square]) >> BISHOP_SHIFT[square]];
}

[[gnu::always_inline]] inline Bitboard QueenAttacks(int square, Bitboard occupancy) {
  return RookAttacks(square, occupancy) | BishopAttacks(square, occupancy);
}

// ---------------------------------------------------------------------------
// Step and ray tables, indexed by square.

inline constexpr std::array<Bitboard, 64> KNIGHT_ATTACKS =
    attack_build::per_square([](int s) { return attack_build::steps_from(s, attack_build::KNIGHT_STEPS); });

inline constexpr std::array<Bitboard, 64> KING_ATTACKS =
    attack_build::per_square([](int s) { return attack_build::steps_from(s, attack_build::KING_STEPS); });

// The two squares diagonally below: where a white pawn attacking the square
// stands, and equally what a black pawn on the square attacks.
inline constexpr std::array<Bitboard, 64> WHITE_PAWN_SOURCES =
    attack_build::per_square([](int s) { return attack_build::diagonal_pair(s, -1); });

// The two squares diagonally above: where a black pawn attacking the square
// stands, and what a white pawn on the square attacks.
inline constexpr std::array<Bitboard, 64> BLACK_PAWN_SOURCES =
    attack_build::per_square([](int s) { return attack_build::diagonal_pair(s, 1); });

// One bit at square + 7; 0 on file a and on rank 8.
inline constexpr std::array<Bitboard, 64> PAWN_LEFT_STEP = attack_build::per_square(
    [](int s) { return (square_file(s) == 0 || square_rank(s) == 7) ? Bitboard(0) : bit(s + 7); });

// One bit at square + 9; 0 on file h and on rank 8.
inline constexpr std::array<Bitboard, 64> PAWN_RIGHT_STEP = attack_build::per_square(
    [](int s) { return (square_file(s) == 7 || square_rank(s) == 7) ? Bitboard(0) : bit(s + 9); });

// Neighbours on the same rank, for ranks 4 and 5 only: where a pawn that has
// just made a double step can be taken en passant from.
inline constexpr std::array<Bitboard, 64> EP_NEIGHBOURS = attack_build::per_square([](int s) {
  if (square_rank(s) != 3 && square_rank(s) != 4) return Bitboard(0);
  Bitboard set = 0;
  if (square_file(s) > 0) set |= bit(s - 1);
  if (square_file(s) < 7) set |= bit(s + 1);
  return set;
});

// Empty-board rays, the square itself excluded.
inline constexpr std::array<Bitboard, 64> BISHOP_RAYS =
    attack_build::per_square([](int s) { return attack_build::bishop_slide(s, 0); });

inline constexpr std::array<Bitboard, 64> ROOK_RAYS =
    attack_build::per_square([](int s) { return attack_build::rook_slide(s, 0); });

// Where enemy pieces must stand to reach a square next to a king on this
// square: the evasion producer looks for attackers only through these.
inline constexpr std::array<Bitboard, 64> KING_ZONE_KNIGHTS = attack_build::per_square([](int s) {
  Bitboard set = KNIGHT_ATTACKS[s];
  for (Bitboard n = KING_ATTACKS[s]; n; n &= n - 1) set |= KNIGHT_ATTACKS[__builtin_ctzll(n)];
  return set;
});

inline constexpr std::array<Bitboard, 64> KING_ZONE_BISHOPS = attack_build::per_square([](int s) {
  Bitboard set = BISHOP_RAYS[s];
  for (Bitboard n = KING_ATTACKS[s]; n; n &= n - 1) set |= BISHOP_RAYS[__builtin_ctzll(n)];
  return set;
});

// Only the neighbours' rays, and never the king's own square.
inline constexpr std::array<Bitboard, 64> KING_ZONE_ROOKS = attack_build::per_square([](int s) {
  Bitboard set = 0;
  for (Bitboard n = KING_ATTACKS[s]; n; n &= n - 1) set |= ROOK_RAYS[__builtin_ctzll(n)];
  return set & ~bit(s);
});

// ---------------------------------------------------------------------------
// Pairs of squares, indexed [a * 64 + b].
//   between: a and b on one rank, file or diagonal: from next to a up to and
//            including b. a == b or a knight step apart: b alone. So
//            between ^ bit(b) is the set strictly between (the pin test), and
//            between[king][checker] is the block-or-capture set for any single
//            checker, whatever its type.
//   ray:     a and b on one line: from next to a through b to the edge; where
//            an absolutely pinned piece on b may still go.
// Every other pair holds 0 in both words; no reader may rely on that.
struct LinePair {
  Bitboard between;
  Bitboard ray;
};

namespace attack_build {

constexpr LinePair line_pair(int a, int b) {
  if (a == b) return {bit(b), 0};
  const int df = square_file(b) - square_file(a), dr = square_rank(b) - square_rank(a);
  const int adf = df < 0 ? -df : df, adr = dr < 0 ? -dr : dr;
  if (df == 0 || dr == 0 || adf == adr) {
    const int sf = (df > 0) - (df < 0), sr = (dr > 0) - (dr < 0);
    // Walking towards b with b as the only blocker stops on b; without a
    // blocker it runs to the edge.
    return {slide(a, sf, sr, bit(b)), slide(a, sf, sr, 0)};
  }
  if (adf * adr == 2) return {bit(b), 0};
  return {0, 0};
}

constexpr std::array<LinePair, 64 * 64> line_pairs() {
  std::array<LinePair, 64 * 64> t{};
  for (int a = 0; a < 64; ++a)
    for (int b = 0; b < 64; ++b) t[a * 64 + b] = line_pair(a, b);
  return t;
}

}  // namespace attack_build

inline constexpr std::array<LinePair, 64 * 64> LINE_PAIR = attack_build::line_pairs();

// ---------------------------------------------------------------------------
// Whole-board pawn attacks, both capture directions with one shift.

// All squares attacked by the white pawns: a-file pawns are cleared for the
// left capture; h-file pawns for the right one only up to rank 6, because
// from ranks 7 and 8 the shift carries them off the word anyway.
constexpr Bitboard WhitePawnAttacks(Bitboard pawns) {
  return ((pawns & ~0x808080808080ull) * 4 | (pawns & 0xfefefefefefefeull)) << 7;
}

// All squares attacked by the black pawns: the mask of the first term is laid
// on the pawns already moved two squares down, so it clears file g of the rank
// below (the a-file pawns) and everything that would fall below a1.
constexpr Bitboard BlackPawnAttacks(Bitboard pawns) {
  return ((pawns >> 2 & 0x3fbfbfbfbfbfbf80ull) | (pawns & 0x7f7f7f7f7f7f7f00ull)) >> 7;
}
