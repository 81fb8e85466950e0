#include "tablebase/index_family.h"

#include <algorithm>
#include <array>
#include <deque>
#include <utility>
#include <vector>

#include "board/attacks.h"

namespace {

// ---------------------------------------------------------------------------
// Shared constant tables, by square.

constexpr int file_of(int s) { return s & 7; }
constexpr int rank_of(int s) { return s >> 3; }

constexpr std::array<uint8_t, 64> by_square(uint8_t (*rule)(int)) {
  std::array<uint8_t, 64> t{};
  for (int s = 0; s < 64; ++s) t[s] = rule(s);
  return t;
}

// XORed into a square: brings the king of the side to move onto files a-d.
constexpr auto PAWN_FOLD = by_square([](int s) -> uint8_t { return file_of(s) < 4 ? 0 : 7; });
constexpr uint8_t FLIP_RANKS[2] = {0, 56};
// XORed into a square: brings it into the quadrant a1-d4.
constexpr auto PAWNLESS_FOLD = by_square(
    [](int s) -> uint8_t { return uint8_t((file_of(s) < 4 ? 0 : 7) | (rank_of(s) < 4 ? 0 : 56)); });
constexpr auto IN_TRIANGLE =
    by_square([](int s) -> uint8_t { return file_of(s) < 4 && rank_of(s) <= file_of(s); });
constexpr auto ON_OR_BELOW_DIAGONAL = by_square([](int s) -> uint8_t { return file_of(s) >= rank_of(s); });
constexpr auto OFF_DIAGONAL = by_square([](int s) -> uint8_t { return file_of(s) != rank_of(s); });
constexpr auto TRANSPOSE = by_square([](int s) -> uint8_t { return uint8_t(file_of(s) * 8 + rank_of(s)); });

// Slot types, in the order "pPNBRQ": a pawn that attacks nothing, a pawn
// that attacks up the board, knight, bishop, rook, queen.
constexpr int SLOT_TYPES = 6;
constexpr int SLOT_PASSIVE_PAWN = 0, SLOT_PAWN = 1, SLOT_KNIGHT = 2, SLOT_BISHOP = 3, SLOT_ROOK = 4, SLOT_QUEEN = 5;
constexpr uint8_t NO_SLOT = 255;

uint8_t SlotRank[SLOT_TYPES][64][64];  // [type][other king][square]
uint8_t SlotCount[SLOT_TYPES][64];
Bitboard SlotSquares[SLOT_TYPES][64];  // the open squares

// Squares from which a man of the type next to `king` would give a check that
// cannot stand with the checking side to move.
Bitboard contact_checks(int type, int king) {
  const Bitboard near = KING_ATTACKS[king];
  const Bitboard orthogonal = near & ROOK_RAYS[king];
  switch (type) {
    case SLOT_PAWN: return WHITE_PAWN_SOURCES[king];
    case SLOT_KNIGHT: return KNIGHT_ATTACKS[king];
    case SLOT_BISHOP: return near & ~orthogonal;
    case SLOT_ROOK: return orthogonal;
    case SLOT_QUEEN: return near;
    default: return 0;
  }
}

void build_slots() {
  for (int type = 0; type < SLOT_TYPES; ++type)
    for (int king = 0; king < 64; ++king) {
      const bool pawn = type <= SLOT_PAWN;
      const Bitboard closed = contact_checks(type, king) | bit(king);
      uint8_t next = 0;
      for (int s = 0; s < 64; ++s) {
        const bool open = !(closed & bit(s)) && (!pawn || (s >= 8 && s < 56));
        SlotRank[type][king][s] = open ? next++ : NO_SLOT;
        if (open) SlotSquares[type][king] |= bit(s);
      }
      SlotCount[type][king] = next;
    }
}

constexpr uint64_t choose(uint64_t n, int k) {
  uint64_t r = 1;
  for (int i = 0; i < k; ++i) r = r * (n - i) / (i + 1);
  return k < 0 || n < uint64_t(k) ? 0 : r;
}

// Number of a set of k distinct sorted ranks.
uint64_t combination(const int* ranks, int k) {
  uint64_t n = 0;
  for (int i = 0; i < k; ++i) n += choose(ranks[i], i + 1);
  return n;
}

// The inverse: ranks in rising order.
void uncombination(uint64_t n, int k, int* ranks) {
  for (int i = k; i >= 1; --i) {
    int r = i - 1;
    while (choose(r + 1, i) <= n) ++r;
    ranks[i - 1] = r;
    n -= choose(r, i);
  }
}

void sort_small(int* v, int n) {
  for (int i = 1; i < n; ++i)
    for (int j = i; j > 0 && v[j - 1] > v[j]; --j) std::swap(v[j - 1], v[j]);
}

// ---------------------------------------------------------------------------
// King pairs and the enumeration of the first men.

struct KingPair {
  uint8_t a, b;
};
std::vector<KingPair> pair_squares[2];  // [pawns]

int pair_count(bool pawns) { return int(pair_squares[pawns].size()); }
int16_t pair_number(bool pawns, int a, int b) { return pawns ? PAWN_KING_PAIRS[a][b] : PAWNLESS_KING_PAIRS[a][b]; }

// Open squares of one slot type beside the other king `b`, the king to move's
// square `a` left out.
int open_count(int type, int a, int b) { return SlotCount[type][b] - (SlotRank[type][b][a] != NO_SLOT); }

int slot_rank(int type, int a, int b, int s) {
  return SlotRank[type][b][s] - (s > a && SlotRank[type][b][a] != NO_SLOT);
}

// The square of the `rank`-th set bit.
int nth_square(Bitboard set, int rank) {
  for (; rank > 0 && set; --rank) set &= set - 1;
  return set ? lowest_square(set) : -1;
}

int slot_square(int type, int a, int b, int rank) { return nth_square(SlotSquares[type][b] & ~bit(a), rank); }

struct Enumeration {
  bool pawns;
  int type[2], count[2];  // second type count 0 when one group
  std::vector<uint64_t> offsets;  // by pair number, and the grand total last
};
std::deque<Enumeration> enumerations;  // plans point into it

uint64_t first_positions(const Enumeration& e, int a, int b, uint64_t* second) {
  *second = e.count[1] ? choose(open_count(e.type[1], a, b), e.count[1]) : 1;
  return choose(open_count(e.type[0], a, b), e.count[0]) * *second;
}

const Enumeration* enumeration(bool pawns, const int type[2], const int count[2]) {
  for (const Enumeration& e : enumerations)
    if (e.pawns == pawns && e.type[0] == type[0] && e.type[1] == type[1] && e.count[0] == count[0] &&
        e.count[1] == count[1])
      return &e;
  Enumeration e{pawns, {type[0], type[1]}, {count[0], count[1]}, {}};
  uint64_t total = 0, second;
  for (const KingPair& k : pair_squares[pawns]) {
    e.offsets.push_back(total);
    total += first_positions(e, k.a, k.b, &second);
  }
  e.offsets.push_back(total);
  enumerations.push_back(std::move(e));
  return &enumerations.back();
}

// ---------------------------------------------------------------------------
// Row plans.

struct Group {
  bool mover;  // a man of the side to move
  uint8_t kind, count;
  uint64_t radix;  // values of this group when placed after the first ones
};

struct Plan {
  bool pawns, enPassant;
  int groups, first;  // groups in placement order; how many the enumeration places
  Group group[2 * TB_KINDS];
  int epGroups;
  Group epGroup[2 * TB_KINDS];  // the men beside the en-passant pair
  const Enumeration* start;     // null: the king pair alone starts the index
  uint64_t rest, epRest, mainRange, epRange;
};

Plan plans[TB_ROWS][2];

// Knights to queens follow the pawns in the same order as the kinds.
int slot_type(const Group& g) { return g.kind == 0 ? (g.mover ? SLOT_PAWN : SLOT_PASSIVE_PAWN) : SLOT_PAWN + g.kind; }

// Radix of each group placed after `placed` men (kings included) of which
// `pawns` are pawns; returns the product.
uint64_t set_radices(Group* g, int n, int placed, int pawns) {
  uint64_t product = 1;
  for (int i = 0; i < n; ++i) {
    g[i].radix = g[i].kind == 0 ? choose(48 - pawns, g[i].count) : choose(64 - placed, g[i].count);
    if (g[i].kind == 0) pawns += g[i].count;
    placed += g[i].count;
    product *= g[i].radix;
  }
  return product;
}

// The side to move's men first, each side's in list order. The enumeration
// places the side to move's first two kinds; with none of its own men, a
// pawn row starts with the other side's pawns (as men that give no check)
// and a pawnless row with the king pair alone.
void build_plan(int row, int side) {
  Plan& p = plans[row][side];
  const TbRowMen& men = tb_row_men(row);
  p = Plan{};
  p.pawns = men.pawns;
  int moverGroups = 0;
  for (int who = 0; who < 2; ++who)
    for (int kind = 0; kind < TB_KINDS; ++kind) {
      const int count = men.count[who ? 1 - side : side][kind];
      if (!count) continue;
      p.group[p.groups++] = Group{who == 0, uint8_t(kind), uint8_t(count), 0};
      moverGroups += who == 0;
    }
  p.first = moverGroups ? std::min(moverGroups, 2) : p.pawns ? 1 : 0;
  int placed = 2, pawns = 0;
  for (int i = 0; i < p.first; ++i) {
    placed += p.group[i].count;
    if (p.group[i].kind == 0) pawns += p.group[i].count;
  }
  p.rest = set_radices(p.group + p.first, p.groups - p.first, placed, pawns);
  if (p.first) {
    int type[2] = {slot_type(p.group[0]), p.first > 1 ? slot_type(p.group[1]) : 0};
    int count[2] = {p.group[0].count, p.first > 1 ? p.group[1].count : 0};
    p.start = enumeration(p.pawns, type, count);
    p.mainRange = p.start->offsets.back() * p.rest;
  } else {
    p.mainRange = uint64_t(pair_count(p.pawns)) * p.rest;
  }
  p.enPassant = men.count[0][0] && men.count[1][0];
  if (p.enPassant) {
    // One pawn of each side makes the pattern; the others follow among the
    // squares that the pattern leaves (the two pawns and the two squares the
    // last one passed).
    for (int i = 0; i < p.groups; ++i) {
      Group g = p.group[i];
      if (g.kind == 0) --g.count;
      if (g.count) p.epGroup[p.epGroups++] = g;
    }
    p.epRest = set_radices(p.epGroup, p.epGroups, 6, 4);
    p.epRange = uint64_t(pair_count(true)) * 14 * p.epRest;
  }
}

// ---------------------------------------------------------------------------
// The rule.

// Squares of the men of a group, read from the mover's or the other list.
struct Men {
  int a, b;
  int squares[2 * TB_KINDS][3];
};

uint64_t place_group(const Group& g, const int* squares, Bitboard* taken, Bitboard* takenPawns) {
  int ranks[3];
  for (int i = 0; i < g.count; ++i) {
    const int s = squares[i];
    ranks[i] = g.kind == 0 ? s - 8 - popcount(*takenPawns & (bit(s) - 1)) : s - popcount(*taken & (bit(s) - 1));
  }
  for (int i = 0; i < g.count; ++i) {
    *taken |= bit(squares[i]);
    if (g.kind == 0) *takenPawns |= bit(squares[i]);
  }
  sort_small(ranks, g.count);
  return combination(ranks, g.count);
}

uint64_t first_value(const Plan& p, const Men& m, Bitboard* taken, Bitboard* takenPawns) {
  uint64_t local = 0;
  for (int i = 0; i < p.first; ++i) {
    const Group& g = p.group[i];
    const int type = slot_type(g);
    int ranks[3];
    for (int j = 0; j < g.count; ++j) ranks[j] = slot_rank(type, m.a, m.b, m.squares[i][j]);
    sort_small(ranks, g.count);
    local = local * choose(open_count(type, m.a, m.b), g.count) + combination(ranks, g.count);
    for (int j = 0; j < g.count; ++j) {
      *taken |= bit(m.squares[i][j]);
      if (g.kind == 0) *takenPawns |= bit(m.squares[i][j]);
    }
  }
  return p.start->offsets[pair_number(p.pawns, m.a, m.b)] + local;
}

// The en-passant form: the pawn that has just gone two squares stands on
// `passed`, a pawn of the side to move beside it. Which of two such pawns
// makes the pattern: the one on the lower file.
bool en_passant_value(const Plan& p, const Men& m, int passed, uint64_t* index) {
  int pawnGroup = -1, otherGroup = -1;
  for (int i = 0; i < p.groups; ++i)
    if (p.group[i].kind == 0) (p.group[i].mover ? pawnGroup : otherGroup) = i;
  int capturer = -1, moved = -1;
  for (int j = 0; j < p.group[otherGroup].count; ++j)
    if (m.squares[otherGroup][j] == passed) moved = j;
  for (int j = p.group[pawnGroup].count - 1; j >= 0; --j) {
    const int s = m.squares[pawnGroup][j];
    if (rank_of(s) == 4 && (s == passed - 1 || s == passed + 1) && (capturer < 0 || s < m.squares[pawnGroup][capturer]))
      capturer = j;
  }
  if (moved < 0 || capturer < 0) return false;
  const int c = m.squares[pawnGroup][capturer];
  const int code = c < passed ? file_of(passed) - 1 : file_of(passed) + 7;
  uint64_t v = uint64_t(pair_number(true, m.a, m.b)) * 14 + code;
  Bitboard takenPawns = bit(passed) | bit(c) | bit(passed + 8) | bit(passed + 16);
  Bitboard taken = takenPawns | bit(m.a) | bit(m.b);
  for (int i = 0, e = 0; i < p.groups; ++i) {
    int squares[3], n = 0;
    for (int j = 0; j < p.group[i].count; ++j)
      if (!(i == pawnGroup && j == capturer) && !(i == otherGroup && j == moved)) squares[n++] = m.squares[i][j];
    if (!n) continue;
    v = v * p.epGroup[e].radix + place_group(p.epGroup[e], squares, &taken, &takenPawns);
    ++e;
  }
  *index = p.mainRange + v;
  return true;
}

uint64_t index_by_plan(const Plan& p, int side, const uint32_t* strong, const uint32_t* weak, int ep, bool flip) {
  const uint32_t* mover = side ? weak : strong;
  const uint32_t* other = side ? strong : weak;
  Men m;
  int a = int(mover[MANLIST_KING]), b = int(other[MANLIST_KING]);
  int f;
  bool transpose = false;
  if (p.pawns) {
    f = PAWN_FOLD[a] ^ FLIP_RANKS[flip] ^ (side ? 56 : 0);
  } else {
    f = PAWNLESS_FOLD[a];
    transpose = tb_pawnless_transposed(a, b);
  }
  auto norm = [&](int s) { return transpose ? TRANSPOSE[s ^ f] : s ^ f; };
  m.a = norm(a);
  m.b = norm(b);
  for (int i = 0; i < p.groups; ++i) {
    const uint32_t* list = p.group[i].mover ? mover : other;
    for (int j = 0; j < p.group[i].count; ++j) m.squares[i][j] = norm(int(list[p.group[i].kind * 3 + j]));
  }
  uint64_t index;
  const int passed = (ep ^ f) - 8;
  if (p.enPassant && ep != TB_NO_EP && rank_of(passed) == 4 && en_passant_value(p, m, passed, &index)) return index;
  Bitboard taken = bit(m.a) | bit(m.b), takenPawns = 0;
  index = p.first ? first_value(p, m, &taken, &takenPawns) : uint64_t(pair_number(p.pawns, m.a, m.b));
  for (int i = p.first; i < p.groups; ++i)
    index = index * p.group[i].radix + place_group(p.group[i], m.squares[i], &taken, &takenPawns);
  return index;
}

template <int Member>
uint64_t index_member(const uint32_t* strong, const uint32_t* weak, int ep, bool flip) {
  return index_by_plan(plans[Member / 2][Member % 2], Member % 2, strong, weak, ep, flip);
}

template <size_t... Members>
constexpr std::array<TbIndexFunction, sizeof...(Members)> make_members(std::index_sequence<Members...>) {
  return {&index_member<int(Members)>...};
}

constexpr auto INDEX_MEMBERS = make_members(std::make_index_sequence<2 * TB_ROWS>());

// ---------------------------------------------------------------------------
// Decoding.

// The square of the `rank`-th square not in `taken`, pawns counting only 8-55.
int free_square(int rank, Bitboard taken, bool pawn) {
  return nth_square(~taken & (pawn ? 0x00ffffffffffff00ull : ~Bitboard(0)), rank);
}

bool unplace_group(const Group& g, uint64_t value, Bitboard* taken, Bitboard* takenPawns, int* squares) {
  int ranks[3];
  uncombination(value, g.count, ranks);
  for (int j = 0; j < g.count; ++j) {
    squares[j] = free_square(ranks[j], g.kind == 0 ? *takenPawns : *taken, g.kind == 0);
    if (squares[j] < 0) return false;
  }
  for (int j = 0; j < g.count; ++j) {
    *taken |= bit(squares[j]);
    if (g.kind == 0) *takenPawns |= bit(squares[j]);
  }
  return true;
}

// Whether the side to move attacks the other king; its pawns go up.
bool attacks_other_king(const Plan& p, const Men& m, Bitboard occupied) {
  for (int i = 0; i < p.groups; ++i) {
    if (!p.group[i].mover) continue;
    for (int j = 0; j < p.group[i].count; ++j) {
      const int s = m.squares[i][j];
      Bitboard attacks;
      switch (p.group[i].kind) {
        case 0: attacks = BLACK_PAWN_SOURCES[s]; break;
        case 1: attacks = KNIGHT_ATTACKS[s]; break;
        case 2: attacks = attack_build::bishop_slide(s, occupied); break;
        case 3: attacks = attack_build::rook_slide(s, occupied); break;
        default: attacks = attack_build::bishop_slide(s, occupied) | attack_build::rook_slide(s, occupied);
      }
      if (attacks & bit(m.b)) return true;
    }
  }
  return false;
}

bool decode_main(const Plan& p, uint64_t index, Men* m) {
  uint64_t digits[2 * TB_KINDS];
  for (int i = p.groups - 1; i >= p.first; --i) {
    digits[i] = index % p.group[i].radix;
    index /= p.group[i].radix;
  }
  Bitboard taken, takenPawns = 0;
  if (p.first) {
    const auto& offsets = p.start->offsets;
    const int pair = int(std::upper_bound(offsets.begin(), offsets.end(), index) - offsets.begin()) - 1;
    m->a = pair_squares[p.pawns][pair].a;
    m->b = pair_squares[p.pawns][pair].b;
    uint64_t local = index - offsets[pair], values[2];
    for (int i = p.first - 1; i >= 0; --i) {
      const uint64_t radix = choose(open_count(slot_type(p.group[i]), m->a, m->b), p.group[i].count);
      values[i] = local % radix;
      local /= radix;
    }
    taken = bit(m->a) | bit(m->b);
    for (int i = 0; i < p.first; ++i) {
      int ranks[3];
      uncombination(values[i], p.group[i].count, ranks);
      for (int j = 0; j < p.group[i].count; ++j) {
        const int s = slot_square(slot_type(p.group[i]), m->a, m->b, ranks[j]);
        m->squares[i][j] = s;
        taken |= bit(s);
        if (p.group[i].kind == 0) takenPawns |= bit(s);
      }
    }
  } else {
    m->a = pair_squares[p.pawns][index].a;
    m->b = pair_squares[p.pawns][index].b;
    taken = bit(m->a) | bit(m->b);
  }
  for (int i = p.first; i < p.groups; ++i)
    if (!unplace_group(p.group[i], digits[i], &taken, &takenPawns, m->squares[i])) return false;
  return true;
}

// Returns the passed pawn's square, or -1 when the value is no pattern.
int decode_en_passant(const Plan& p, uint64_t v, Men* m) {
  uint64_t digits[2 * TB_KINDS];
  for (int e = p.epGroups - 1; e >= 0; --e) {
    digits[e] = v % p.epGroup[e].radix;
    v /= p.epGroup[e].radix;
  }
  const int pair = int(v / 14), code = int(v % 14);
  m->a = pair_squares[true][pair].a;
  m->b = pair_squares[true][pair].b;
  const int passed = 32 + (code < 7 ? code + 1 : code - 7);
  const int capturer = code < 7 ? passed - 1 : passed + 1;
  Bitboard takenPawns = bit(passed) | bit(capturer) | bit(passed + 8) | bit(passed + 16);
  Bitboard taken = takenPawns | bit(m->a) | bit(m->b);
  for (int i = 0, e = 0; i < p.groups; ++i) {
    int* squares = m->squares[i];
    int n = 0;
    if (p.group[i].kind == 0) squares[n++] = p.group[i].mover ? capturer : passed;
    if (e < p.epGroups && p.epGroup[e].mover == p.group[i].mover && p.epGroup[e].kind == p.group[i].kind) {
      if (!unplace_group(p.epGroup[e], digits[e], &taken, &takenPawns, squares + n)) return -1;
      ++e;
    }
  }
  return passed;
}

}  // namespace

void InitIndexFamily() {
  static bool built = false;
  if (built) return;
  built = true;
  build_slots();
  for (int pawns = 0; pawns < 2; ++pawns)
    for (int a = 0; a < 64; ++a)
      for (int b = 0; b < 64; ++b) {
        const int n = pair_number(pawns, a, b);
        if (n == TB_ILLEGAL_PAIR) continue;
        if (int(pair_squares[pawns].size()) <= n) pair_squares[pawns].resize(n + 1);
        pair_squares[pawns][n] = KingPair{uint8_t(a), uint8_t(b)};
      }
  for (int row = 1; row < TB_ROWS; ++row)
    for (int side = 0; side < 2; ++side) build_plan(row, side);
}

bool tb_pawnless_transposed(int a, int b) {
  const int f = PAWNLESS_FOLD[a];
  return !(IN_TRIANGLE[a ^ f] & (ON_OR_BELOW_DIAGONAL[b ^ f] | OFF_DIAGONAL[a ^ f]));
}

TbIndexFunction tb_index_function(int row, int side) { return INDEX_MEMBERS[row * 2 + side]; }

uint64_t tb_index_range(int row, int side) { return plans[row][side].mainRange + plans[row][side].epRange; }

bool tb_decode(int row, int side, uint64_t index, TbPlacement* out) {
  const Plan& p = plans[row][side];
  Men m;
  int passed = -1;
  if (index < p.mainRange) {
    if (!decode_main(p, index, &m)) return false;
  } else if (index < p.mainRange + p.epRange) {
    passed = decode_en_passant(p, index - p.mainRange, &m);
    if (passed < 0) return false;
  } else {
    return false;
  }
  Bitboard occupied = bit(m.a) | bit(m.b);
  int men = 2;
  for (int i = 0; i < p.groups; ++i)
    for (int j = 0; j < p.group[i].count; ++j, ++men) occupied |= bit(m.squares[i][j]);
  if (popcount(occupied) != men || attacks_other_king(p, m, occupied)) return false;
  if (passed >= 0 && (occupied & (bit(passed + 8) | bit(passed + 16)))) return false;
  // Back to the table's own view: the strong side moves up.
  const int f = p.pawns && side ? 56 : 0;
  *out = TbPlacement{};
  uint32_t* mover = out->men[side];
  uint32_t* other = out->men[1 - side];
  mover[MANLIST_KING] = m.a ^ f;
  other[MANLIST_KING] = m.b ^ f;
  for (int i = 0; i < p.groups; ++i)
    for (int j = 0; j < p.group[i].count; ++j)
      (p.group[i].mover ? mover : other)[p.group[i].kind * 3 + j] = m.squares[i][j] ^ f;
  out->ep = passed >= 0 ? (passed + 8) ^ f : TB_NO_EP;
  // Of two values that stand for one position only the one the rule gives
  // is a position of the table.
  return index_by_plan(p, side, out->men[0], out->men[1], out->ep, false) == index;
}
