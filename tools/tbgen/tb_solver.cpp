#include "tb_solver.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <unordered_map>

#include "board/attacks.h"
#include "tablebase/index_family.h"
#include "tablebase/tb_rows.h"

namespace tbgen {
namespace {

constexpr int KING = 5, MAX_MEN = 4;
constexpr int16_t NO_EXIT = -0x7fff;
// Values are kept in a byte: -126 (a loss in 125 moves) to 126 (a win in as
// many), more than any ending of four men needs.
constexpr int MAX_LEVEL = 126;
constexpr size_t BATCH = 256;
constexpr int8_t BYTE_UNDECIDED = 127, BYTE_ILLEGAL = -128;

struct Man {
  int colour, kind;
};

// The men of a row in the solver's order: the white king, the black king,
// then White's men and Black's by kind. White is the table's strong side.
struct Shape {
  int n = 2;
  Man men[MAX_MEN];
  bool pawns = false;
  bool enPassant = false;  // pawns on both sides
  uint64_t space = 0;  // positions of one side to move
};

Shape shape_of(int row) {
  const TbRowMen& m = tb_row_men(row);
  Shape s;
  s.men[0] = {0, KING};
  s.men[1] = {1, KING};
  for (int colour = 0; colour < 2; ++colour)
    for (int kind = 0; kind < TB_KINDS; ++kind)
      for (int i = 0; i < m.count[colour][kind]; ++i) s.men[s.n++] = {colour, kind};
  s.pawns = m.pawns;
  s.enPassant = m.count[0][0] && m.count[1][0];
  s.space = s.pawns ? 32 : 16;
  for (int i = 1; i < s.n; ++i) s.space *= 64;
  return s;
}

// A position: squares by man (-1: taken), side to move, en-passant square.
struct Pos {
  int sq[MAX_MEN];
  int side;
  int ep;
};

// The white king is brought to files a-d, and without pawns also to ranks
// 1-4, by mirroring. Without pawns a white king above the a1-h8 diagonal is
// then mirrored across it too; a position with the king on the diagonal
// keeps a node of its own beside its mirror image, so that the moves of such
// positions need the care taken in `predecessors`.
int fold_of(const Shape& s, int whiteKing) {
  return ((whiteKing & 7) >= 4 ? 7 : 0) | (!s.pawns && whiteKing >= 32 ? 56 : 0);
}

int transposed(int square) { return (square & 7) * 8 + (square >> 3); }
bool above_diagonal(int square) { return (square >> 3) > (square & 7); }
bool on_diagonal(int square) { return (square >> 3) == (square & 7); }

uint64_t full_index(const Shape& s, const int* sq) {
  const int f = fold_of(s, sq[0]);
  const bool t = !s.pawns && above_diagonal(sq[0] ^ f);
  const auto square = [&](int i) { return t ? transposed(sq[i] ^ f) : sq[i] ^ f; };
  const int wk = square(0);
  uint64_t index = uint64_t((wk >> 3) * 4 + (wk & 7));
  for (int i = 1; i < s.n; ++i) index = index * 64 + uint64_t(square(i));
  return index;
}

void squares_of(const Shape& s, uint64_t index, int* sq) {
  for (int i = s.n - 1; i >= 1; --i) {
    sq[i] = int(index & 63);
    index >>= 6;
  }
  sq[0] = int(index >> 2) * 8 + int(index & 3);
}

Bitboard occupancy(const Shape& s, const int* sq, int colour = -1) {
  Bitboard b = 0;
  for (int i = 0; i < s.n; ++i)
    if (sq[i] >= 0 && (colour < 0 || s.men[i].colour == colour)) b |= bit(sq[i]);
  return b;
}

Bitboard man_attacks(const Man& m, int square, Bitboard occupied) {
  switch (m.kind) {
    case 0: return m.colour == 0 ? BLACK_PAWN_SOURCES[square] : WHITE_PAWN_SOURCES[square];
    case 1: return KNIGHT_ATTACKS[square];
    case 2: return BishopAttacks(square, occupied);
    case 3: return RookAttacks(square, occupied);
    case 4: return QueenAttacks(square, occupied);
    default: return KING_ATTACKS[square];
  }
}

// Whether a man on `from` attacks `target`: a slider only when the two
// squares share a line with nothing between them.
bool attacks(const Man& m, int from, int target, Bitboard occupied) {
  const Bitboard to = bit(target);
  const auto open = [&] { return !((LINE_PAIR[from * 64 + target].between ^ to) & occupied); };
  switch (m.kind) {
    case 0: return (m.colour == 0 ? BLACK_PAWN_SOURCES[from] : WHITE_PAWN_SOURCES[from]) & to;
    case 1: return KNIGHT_ATTACKS[from] & to;
    case 2: return (BISHOP_RAYS[from] & to) && open();
    case 3: return (ROOK_RAYS[from] & to) && open();
    case 4: return ((BISHOP_RAYS[from] | ROOK_RAYS[from]) & to) && open();
    default: return KING_ATTACKS[from] & to;
  }
}

bool attacked_by(const Shape& s, const int* sq, int target, int colour, Bitboard occupied) {
  for (int i = 0; i < s.n; ++i)
    if (sq[i] >= 0 && s.men[i].colour == colour && attacks(s.men[i], sq[i], target, occupied)) return true;
  return false;
}

bool attacked_by(const Shape& s, const int* sq, int target, int colour) {
  return attacked_by(s, sq, target, colour, occupancy(s, sq));
}

bool legal(const Shape& s, const Pos& p) {
  if (popcount(occupancy(s, p.sq)) != s.n) return false;
  for (int i = 0; i < s.n; ++i)
    if (s.men[i].kind == 0 && (p.sq[i] < 8 || p.sq[i] >= 56)) return false;
  return !attacked_by(s, p.sq, p.sq[1 - p.side], p.side);
}

// The en-passant square a pawn of `mover` could take on after the other
// side's double step to `square`, or -1: the pawn stands on its fourth rank,
// the two squares it passed are empty and a pawn of the mover stands beside.
int en_passant_square(const Shape& s, const int* sq, int mover, int man) {
  const Man& m = s.men[man];
  const int square = sq[man];
  if (m.kind != 0 || m.colour == mover || (square >> 3) != (m.colour == 0 ? 3 : 4)) return -1;
  const int back = m.colour == 0 ? -8 : 8;
  const Bitboard occupied = occupancy(s, sq);
  if (occupied & (bit(square + back) | bit(square + 2 * back))) return -1;
  for (int i = 0; i < s.n; ++i) {
    const int files = (sq[i] & 7) - (square & 7);
    if (s.men[i].kind == 0 && s.men[i].colour == mover && (sq[i] >> 3) == (square >> 3) && (files == 1 || files == -1))
      return square + back;
  }
  return -1;
}

// Values: > 0 win in n moves, < 0 loss in -v - 1 moves, 0 draw.
int16_t negate(int16_t v) { return v > 0 ? int16_t(-v - 1) : v < 0 ? int16_t(-v) : 0; }
int rank_of_value(int16_t v) { return v > 0 ? 2000 - v : v == 0 ? 0 : -2000 - v; }

// Every solved table keeps its values by the solver's own position number,
// one byte each, so that a capture or a promotion into it is read without
// the files' index rule.
struct Native {
  Shape shape;
  std::vector<int8_t> values;
};

std::map<int, std::unique_ptr<Table>> solved;
std::map<int, Native> natives;

struct RowKey {
  int row;
  bool swapped;
};

RowKey search_row(const int counts[2][TB_KINDS]) {
  for (int row = 1; row < TB_ROWS; ++row) {
    const TbRowMen& m = tb_row_men(row);
    bool same = true, swapped = true;
    for (int kind = 0; kind < TB_KINDS; ++kind) {
      same = same && m.count[0][kind] == counts[0][kind] && m.count[1][kind] == counts[1][kind];
      swapped = swapped && m.count[0][kind] == counts[1][kind] && m.count[1][kind] == counts[0][kind];
    }
    if (same) return {row, false};
    if (swapped) return {row, true};
  }
  return {0, false};
}

// The row of a material balance, either way round.
RowKey find_row(const int counts[2][TB_KINDS]) {
  static std::unordered_map<uint32_t, RowKey> known;
  uint32_t key = 0;
  for (int c = 0; c < 2; ++c)
    for (int k = 0; k < TB_KINDS; ++k) key = key * 5 + uint32_t(counts[c][k]);
  const auto it = known.find(key);
  if (it != known.end()) return it->second;
  return known[key] = search_row(counts);
}

bool bare_kings(const int counts[2][TB_KINDS]) {
  for (int c = 0; c < 2; ++c)
    for (int k = 0; k < TB_KINDS; ++k)
      if (counts[c][k]) return false;
  return true;
}

// Where a capture or a promotion leads: the other table (none for bare
// kings, a draw) and, for each of its men, the man of ours standing there.
// With the colours exchanged the board is read upside down.
struct Exit {
  bool ready = false;
  const Native* table = nullptr;
  bool swapped = false;
  int from[MAX_MEN];
};

// The value of the position a move out of the table leads to, from the view
// of `side`, the side to move there.
int16_t exit_value(const Exit& e, const int* sq, int side) {
  if (!e.table) return 0;
  const Shape& t = e.table->shape;
  const int flip = e.swapped ? 56 : 0;
  int there[MAX_MEN];
  for (int j = 0; j < t.n; ++j) there[j] = sq[e.from[j]] ^ flip;
  return e.table->values[uint64_t(e.swapped ? 1 - side : side) * t.space + full_index(t, there)];
}

class Solver {
 public:
  explicit Solver(int row) : row_(row), s_(shape_of(row)) {
    for (int i = s_.n - 1, stride = 1; i >= 1; --i, stride *= 64) stride_[i] = uint32_t(stride);
  }
  void Run(Table* out, Native* native);

 private:
  uint32_t normal_node(int side, const int* sq) const { return uint32_t(uint64_t(side) * s_.space + full_index(s_, sq)); }
  uint64_t ep_key(const Pos& p) const {
    return (full_index(s_, p.sq) * 2 + uint64_t(p.side)) * 64 + uint64_t(p.ep ^ fold_of(s_, p.sq[0]));
  }
  // Positions come out with the white king in its folded place.
  // Written in place: a copy of a position just written word by word
  // would wait for the writes.
  void load(uint32_t node, Pos* p) const {
    if (node >= 2 * s_.space) {
      *p = ep_pos_[node - 2 * s_.space];
      return;
    }
    // The space of one side is a power of two.
    p->side = int(node >> spaceBits_);
    p->ep = -1;
    squares_of(s_, node & (s_.space - 1), p->sq);
  }
  int man_on(const Pos& p, int square) const {
    for (int i = 0; i < s_.n; ++i)
      if (p.sq[i] == square) return i;
    return -1;
  }
  const Exit& exit_for(int captured, int promoted, int kind);
  void init_node(uint32_t node);
  template <typename F>
  void predecessors(uint32_t node, F visit);
  // The predecessors of every node of the list, a batch at a time: one
  // batch is fetched into the cache while the one before is worked on.
  template <bool Counting, typename F>
  void visit_predecessors(const std::vector<uint32_t>& list, F work) {
    std::vector<uint32_t> ready, next;
    for (size_t i = 0; i < list.size() || !ready.empty();) {
      next.clear();
      for (; i < list.size() && next.size() < BATCH; ++i)
        predecessors(list[i], [&](uint32_t q) {
          __builtin_prefetch(&value_[q], 1);
          if (Counting) __builtin_prefetch(&count_[q], 1);
          next.push_back(q);
        });
      for (uint32_t q : ready) work(q);
      std::swap(ready, next);
    }
  }
  void decide(uint32_t node, int16_t v, std::vector<uint32_t>* bucket) {
    if (v < -MAX_LEVEL || v > MAX_LEVEL) {
      std::fprintf(stderr, "quorl-tbgen: %s holds a distance past one byte\n", tb_row_name(row_));
      std::abort();
    }
    value_[node] = int8_t(v);
    bucket->push_back(node);
  }

  int row_;
  Shape s_;
  int spaceBits_ = __builtin_ctzll(s_.space);
  uint32_t stride_[MAX_MEN] = {};  // of each man's square in a position number
  Exit exits_[MAX_MEN + 1][MAX_MEN + 1][TB_KINDS + 1];  // [captured + 1][promoted + 1][kind + 1]
  // By node, each apart so that a visit touches only what it needs.
  std::vector<int8_t> value_;
  std::vector<uint8_t> count_;  // moves inside the table not yet known to lose
  std::vector<int16_t> exit_;   // the best move out of the table, or NO_EXIT
  std::unordered_map<uint64_t, uint32_t> ep_nodes_;
  std::vector<Pos> ep_pos_;
  std::vector<uint32_t> loss_at_[MAX_LEVEL + 1], win_at_[MAX_LEVEL + 1], win_by_exit_[MAX_LEVEL + 1];
};

const Exit& Solver::exit_for(int captured, int promoted, int kind) {
  Exit& e = exits_[captured + 1][promoted + 1][kind + 1];
  if (e.ready) return e;
  e.ready = true;
  int kinds[MAX_MEN], counts[2][TB_KINDS] = {};
  for (int i = 0; i < s_.n; ++i) {
    kinds[i] = i == promoted ? kind : s_.men[i].kind;
    if (i != captured && kinds[i] != KING) ++counts[s_.men[i].colour][kinds[i]];
  }
  if (bare_kings(counts)) return e;
  const RowKey key = find_row(counts);
  Solve(key.row);
  e.table = &natives.at(key.row);
  e.swapped = key.swapped;
  bool used[MAX_MEN] = {};
  for (int j = 0; j < e.table->shape.n; ++j) {
    const Man& want = e.table->shape.men[j];
    for (int i = 0; i < s_.n; ++i)
      if (i != captured && !used[i] && (s_.men[i].colour ^ int(key.swapped)) == want.colour && kinds[i] == want.kind) {
        e.from[j] = i;
        used[i] = true;
        break;
      }
  }
  return e;
}

// Counts the moves that stay in the table and finds the best move out of
// it. Only a king move, a move in check, an en-passant capture or a move of a
// man on a line from its king can leave the king attacked, so the other
// moves are counted by the set.
void Solver::init_node(uint32_t node) {
  Pos p;
  load(node, &p);
  if (!s_.pawns && above_diagonal(p.sq[0])) {  // no node of its own
    value_[node] = BYTE_ILLEGAL;
    return;
  }
  const int side = p.side, them = 1 - side, king = p.sq[side];
  Bitboard own = 0, enemy = 0, pawns = 0;
  for (int i = 0; i < s_.n; ++i) {
    (s_.men[i].colour == side ? own : enemy) |= bit(p.sq[i]);
    if (s_.men[i].kind == 0) pawns |= bit(p.sq[i]);
  }
  const Bitboard occupied = own | enemy;
  if (popcount(occupied) != s_.n || (pawns & 0xff000000000000ffull) ||
      attacked_by(s_, p.sq, p.sq[them], side, occupied)) {
    value_[node] = BYTE_ILLEGAL;
    return;
  }
  Bitboard enemyAttacks = 0;  // through our king, which cannot step back along a line
  for (int i = 0; i < s_.n; ++i)
    if (s_.men[i].colour == them) enemyAttacks |= man_attacks(s_.men[i], p.sq[i], occupied ^ bit(king));
  const bool inCheck = enemyAttacks & bit(king);
  // Out of check, a man alone between its king and a slider may only move
  // along that line; in check every move is tried.
  Bitboard allowed[MAX_MEN] = {~Bitboard(0), ~Bitboard(0), ~Bitboard(0), ~Bitboard(0)};
  for (int i = 2; i < s_.n; ++i) {
    const int kind = s_.men[i].kind;
    if (s_.men[i].colour != them || kind < 2) continue;
    const Bitboard rays = (kind != 3 ? BISHOP_RAYS[king] : 0) | (kind != 2 ? ROOK_RAYS[king] : 0);
    if (!(rays & bit(p.sq[i]))) continue;
    const Bitboard line = LINE_PAIR[king * 64 + p.sq[i]].between, inner = line & occupied & ~bit(p.sq[i]);
    if (popcount(inner) == 1 && (inner & own)) allowed[man_on(p, lowest_square(inner))] = line;
  }
  int inside = popcount(KING_ATTACKS[king] & ~occupied & ~enemyAttacks), exits = 0;
  int16_t best = NO_EXIT;
  // A move of `man` to `to`, `captured` (a man or -1) taken on its square.
  auto safe_after = [&](int man, int to, int captured, Pos* child, bool known) {
    *child = p;
    if (captured >= 0) child->sq[captured] = -1;
    child->sq[man] = to;
    return known || !attacked_by(s_, child->sq, child->sq[side], them, occupancy(s_, child->sq));
  };
  auto leave = [&](int man, int to, int captured, int kind, bool known) {
    Pos child;
    if (!safe_after(man, to, captured, &child, known)) return;
    const int16_t v = negate(exit_value(exit_for(captured, kind < 0 ? -1 : man, kind), child.sq, them));
    if (best == NO_EXIT || rank_of_value(v) > rank_of_value(best)) best = v;
    ++exits;
  };
  for (Bitboard t = KING_ATTACKS[king] & enemy & ~enemyAttacks; t; t &= t - 1)
    leave(side, lowest_square(t), man_on(p, lowest_square(t)), -1, true);
  for (int man = 2; man < s_.n; ++man) {
    const Man& m = s_.men[man];
    if (m.colour != side) continue;
    const int from = p.sq[man];
    auto stay = [&](Bitboard targets) {
      if (!inCheck) {
        inside += popcount(targets & allowed[man]);
        return;
      }
      Pos child;
      for (; targets; targets &= targets - 1) inside += safe_after(man, lowest_square(targets), -1, &child, false);
    };
    // Whether a move to `to` is known to be legal without trying it.
    auto known = [&](int to) { return !inCheck && (allowed[man] & bit(to)); };
    const Bitboard takes = man_attacks(m, from, occupied);
    if (m.kind != 0) {
      stay(takes & ~occupied);
      for (Bitboard t = takes & enemy; t; t &= t - 1) {
        const int to = lowest_square(t);
        leave(man, to, man_on(p, to), -1, known(to));
      }
      continue;
    }
    const int up = side == 0 ? 8 : -8;
    const bool promoting = ((from + up) >> 3) == (side == 0 ? 7 : 0);
    for (Bitboard t = takes & enemy; t; t &= t - 1) {
      const int to = lowest_square(t), captured = man_on(p, to);
      if (!promoting) leave(man, to, captured, -1, known(to));
      for (int kind = 1; promoting && kind <= 4; ++kind) leave(man, to, captured, kind, known(to));
    }
    // Taking en passant empties two squares of a line: always tried.
    if (p.ep >= 0 && (takes & bit(p.ep))) leave(man, p.ep, man_on(p, p.ep - up), -1, false);
    if (occupied & bit(from + up)) continue;
    if (promoting) {
      for (int kind = 1; kind <= 4; ++kind) leave(man, from + up, -1, kind, known(from + up));
      continue;
    }
    Bitboard steps = bit(from + up);
    if ((from >> 3) == (side == 0 ? 1 : 6) && !(occupied & bit(from + 2 * up))) steps |= bit(from + 2 * up);
    stay(steps);
  }
  count_[node] = uint8_t(inside);
  exit_[node] = best;
  if (inside == 0) {
    const int16_t v = exits ? best : inCheck ? int16_t(-1) : int16_t(0);
    if (v > 0) decide(node, v, &win_at_[v]);
    else if (v < 0) decide(node, v, &loss_at_[-v - 1]);
    else value_[node] = 0;
  } else if (best != NO_EXIT && best > 0) {
    win_by_exit_[best].push_back(node);
  }
}

// Every position with a move into `node`: men of the side that has just
// moved go back, pawns by one or two squares; captures and promotions come
// from other tables. A position from which the move leads here through an
// en-passant square of its own counts too.
//
// Without pawns, the white king's step back needs care, so that a node is
// reached as often as its moves lead into this node's positions. Below the
// diagonal, this node stands for itself and its mirror image: a predecessor
// with the king on the diagonal has a mirror image with a node of its own,
// which moves into that image, and is offered too. On the diagonal, this
// node stands for itself alone, and a predecessor with the king above the
// diagonal moves into the mirror image's node: it is left out.
template <typename F>
void Solver::predecessors(uint32_t node, F visit) {
  Pos p, q;
  load(node, &p);
  load(node, &q);
  const int mover = 1 - p.side;
  const Bitboard occupied = occupancy(s_, p.sq);
  const uint32_t here = normal_node(mover, p.sq);
  q.side = mover;
  // An illegal predecessor is offered too: its node says so.
  const bool kingOnDiagonal = !s_.pawns && on_diagonal(p.sq[0]);
  auto offer = [&](int man, int from) {
    q.sq[man] = from;
    // Only the white king's move can change the fold.
    if (man == 0 && !s_.pawns) {
      const int f = fold_of(s_, from);
      if (kingOnDiagonal && above_diagonal(from ^ f)) {
        q.sq[0] = p.sq[0];
        return;
      }
      if (!kingOnDiagonal && on_diagonal(from ^ f)) {
        int image[MAX_MEN];
        for (int i = 0; i < s_.n; ++i) image[i] = transposed(q.sq[i] ^ f);
        visit(normal_node(mover, image));
      }
    }
    visit(man == 0 ? normal_node(mover, q.sq) : here + uint32_t(from - p.sq[man]) * stride_[man]);
    // The same men with the other side's pawn just gone two squares.
    for (int i = 0; s_.enPassant && i < s_.n; ++i) {
      q.ep = en_passant_square(s_, q.sq, mover, i);
      if (q.ep >= 0) {
        const auto it = ep_nodes_.find(ep_key(q));
        if (it != ep_nodes_.end()) visit(it->second);
      }
    }
    q.sq[man] = p.sq[man];
  };
  for (int man = 0; man < s_.n; ++man) {
    const Man& m = s_.men[man];
    if (m.colour != mover) continue;
    const int at = p.sq[man];
    if (m.kind != 0) {
      if (p.ep >= 0) continue;
      for (Bitboard t = man_attacks(m, at, occupied) & ~occupied; t; t &= t - 1) offer(man, lowest_square(t));
      continue;
    }
    const int back = mover == 0 ? -8 : 8;
    const int from = at + back;
    if (p.ep < 0 && from >= 8 && from < 56 && !(occupied & bit(from))) offer(man, from);
    // A double step, which leads here only when it leaves no en-passant
    // square, and into an en-passant position only by that pawn.
    const bool onFourth = (at >> 3) == (mover == 0 ? 3 : 4);
    if (onFourth && !(occupied & (bit(from) | bit(from + back)))) {
      const int epHere = en_passant_square(s_, p.sq, p.side, man);
      if ((p.ep < 0 && epHere < 0) || (p.ep >= 0 && p.ep == epHere)) offer(man, from + back);
    }
  }
}

void Solver::Run(Table* out, Native* native) {
  const uint64_t normal = 2 * s_.space;

  // En-passant positions get nodes of their own past the others.
  for (uint32_t node = 0; s_.enPassant && node < normal; ++node) {
    Pos p;
    load(node, &p);
    bool legalHere = false;  // tried only where a pattern stands
    for (int i = 0; i < s_.n; ++i) {
      p.ep = en_passant_square(s_, p.sq, p.side, i);
      if (p.ep < 0 || ep_nodes_.count(ep_key(p))) continue;
      if (!legalHere && !(legalHere = legal(s_, p))) break;
      ep_nodes_[ep_key(p)] = uint32_t(normal + ep_pos_.size());
      ep_pos_.push_back(p);
    }
  }
  const size_t total = normal + ep_pos_.size();
  value_.assign(total, BYTE_UNDECIDED);
  count_.assign(total, 0);
  exit_.assign(total, NO_EXIT);
  for (uint32_t node = 0; node < total; ++node) init_node(node);
  for (int level = 0; level < MAX_LEVEL; ++level) {
    const int16_t win = int16_t(level + 1);
    visit_predecessors<false>(loss_at_[level], [&](uint32_t q) {
      if (value_[q] == BYTE_UNDECIDED) decide(q, win, &win_at_[win]);
    });
    for (uint32_t q : win_by_exit_[win])
      if (value_[q] == BYTE_UNDECIDED) decide(q, win, &win_at_[win]);
    // Wins are taken in rising order, so the move whose win ends the count
    // is the longest one inside the table.
    visit_predecessors<true>(win_at_[win], [&](uint32_t q) {
      if (value_[q] != BYTE_UNDECIDED || --count_[q]) return;
      const int16_t e = exit_[q];
      if (e != NO_EXIT && e >= 0) return;  // a draw or a win by leaving the table
      const int loss = std::max<int>(win, e == NO_EXIT ? 0 : -e - 1);
      decide(q, int16_t(-loss - 1), &loss_at_[loss]);
    });
  }
  // Every position of the solver's space gives the value of its table index.
  // Of two positions that read as one index, the one read in its mirror
  // image or with two like men the other way round is left out.
  out->row = row_;
  for (int side = 0; side < 2; ++side) out->values[side].assign(TB_ROW_SIZES[row_][side], ILLEGAL);
  // Each man's place in its side's list; the places not in use are never read.
  uint32_t lists[2][MANLIST_PLACES] = {};
  int place[MAX_MEN], next[2][TB_KINDS] = {};
  for (int i = 0; i < s_.n; ++i) {
    const Man& m = s_.men[i];
    place[i] = m.kind == KING ? MANLIST_KING : m.kind * 3 + next[m.colour][m.kind]++;
  }
  for (uint32_t node = 0; node < total; ++node) {
    int8_t& v = value_[node];
    if (v == BYTE_UNDECIDED) v = 0;
    if (v == BYTE_ILLEGAL) continue;
    Pos p;
    load(node, &p);
    bool twin = false;
    for (int i = 2; i + 1 < s_.n; ++i)
      twin |= s_.men[i].colour == s_.men[i + 1].colour && s_.men[i].kind == s_.men[i + 1].kind && p.sq[i] > p.sq[i + 1];
    if (twin) continue;
    const auto write = [&](const int* sq) {
      for (int i = 0; i < s_.n; ++i) lists[s_.men[i].colour][place[i]] = uint32_t(sq[i]);
      const uint64_t index = tb_index_function(row_, p.side)(lists[0], lists[1], p.ep < 0 ? TB_NO_EP : p.ep, false);
      // A table may end before its last index, as real kppkp files do.
      if (index < out->values[p.side].size()) out->values[p.side][index] = v;
    };
    if (s_.pawns) {
      write(p.sq);
      continue;
    }
    // The mirror image across the diagonal: a node of its own when the white
    // king stands on it, and otherwise read as the same index unless both
    // kings stand on the diagonal once the side to move's king is folded.
    int image[MAX_MEN];
    for (int i = 0; i < s_.n; ++i) image[i] = transposed(p.sq[i]);
    const int a = p.side, b = 1 - p.side;
    const bool read = tb_pawnless_transposed(p.sq[a], p.sq[b]), imageRead = tb_pawnless_transposed(image[a], image[b]);
    if (!(read && on_diagonal(p.sq[0]))) write(p.sq);
    if (!read && !imageRead && !on_diagonal(p.sq[0])) write(image);
  }
  native->shape = s_;
  value_.resize(normal);
  native->values = std::move(value_);
}

}  // namespace

const Table& Solve(int row) {
  auto it = solved.find(row);
  if (it != solved.end()) return *it->second;
  InitIndexFamily();
  // The tables a capture or a promotion leads into come first.
  const TbRowMen& men = tb_row_men(row);
  for (int colour = 0; colour < 2; ++colour)
    for (int kind = 0; kind < TB_KINDS; ++kind) {
      if (!men.count[colour][kind]) continue;
      int counts[2][TB_KINDS];
      std::copy(&men.count[0][0], &men.count[0][0] + 2 * TB_KINDS, &counts[0][0]);
      --counts[colour][kind];
      if (!bare_kings(counts)) Solve(find_row(counts).row);
      if (kind != 0) continue;
      for (int promotion = 1; promotion < TB_KINDS; ++promotion) {
        ++counts[colour][promotion];
        Solve(find_row(counts).row);
        --counts[colour][promotion];
      }
    }
  auto table = std::make_unique<Table>();
  Solver(row).Run(table.get(), &natives[row]);
  return *(solved[row] = std::move(table));
}

void ForgetSolved() {
  solved.clear();
  natives.clear();
}

std::vector<int> SolvedRows() {
  std::vector<int> rows;
  for (const auto& entry : solved) rows.push_back(entry.first);
  return rows;
}

int8_t StoredByte(int16_t v) {
  if (v == ILLEGAL) return 127;
  if (v > 0) return v >= 127 ? int8_t(-128) : int8_t(127 - v);
  if (v < 0) return -v - 1 >= 126 ? int8_t(-127) : int8_t(-v - 1 - 126);
  return 0;
}

}  // namespace tbgen
