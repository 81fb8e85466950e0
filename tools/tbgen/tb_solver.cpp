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
constexpr int16_t UNDECIDED = 0x7ffe;
constexpr int16_t NO_EXIT = -0x7fff;
constexpr int MAX_LEVEL = 256;

struct Man {
  int colour, kind;
};

// The men of a row in the solver's order: the white king, the black king,
// then White's men and Black's by kind. White is the table's strong side.
struct Shape {
  int n = 2;
  Man men[MAX_MEN];
  bool pawns = false;
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
// 1-4, by mirroring; no position is its own mirror image then, so every
// move of a position matches one move back into it.
int fold_of(const Shape& s, int whiteKing) {
  return ((whiteKing & 7) >= 4 ? 7 : 0) | (!s.pawns && whiteKing >= 32 ? 56 : 0);
}

uint64_t full_index(const Shape& s, const int* sq) {
  const int f = fold_of(s, sq[0]);
  const int wk = sq[0] ^ f;
  uint64_t index = uint64_t((wk >> 3) * 4 + (wk & 7));
  for (int i = 1; i < s.n; ++i) index = index * 64 + uint64_t(sq[i] ^ f);
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

bool attacked_by(const Shape& s, const int* sq, int target, int colour, Bitboard occupied) {
  for (int i = 0; i < s.n; ++i)
    if (sq[i] >= 0 && s.men[i].colour == colour && (man_attacks(s.men[i], sq[i], occupied) & bit(target))) return true;
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

struct Move {
  Pos child;
  int man;        // the man that moved
  int captured;   // man index, or -1
  int promotion;  // kind, or -1
};

// Every legal move of the position.
int generate(const Shape& s, const Pos& p, Move* out) {
  int n = 0;
  const Bitboard occupied = occupancy(s, p.sq), own = occupancy(s, p.sq, p.side);
  const int up = p.side == 0 ? 8 : -8;
  // Only a king move, a move in check, an en-passant capture or a move of a
  // man on a line from its king can leave the king attacked.
  const int king = p.sq[p.side];
  const bool inCheck = attacked_by(s, p.sq, king, 1 - p.side, occupied);
  const Bitboard lines = QueenAttacks(king, 0);
  auto add = [&](int man, int to, int promotion, int epCaptured) {
    Move& m = out[n];
    m.child = p;
    m.child.side = 1 - p.side;
    m.child.ep = -1;
    m.man = man;
    m.captured = -1;
    for (int i = 0; i < s.n; ++i)
      if (p.sq[i] == (epCaptured >= 0 ? epCaptured : to) && s.men[i].colour != p.side) m.captured = i;
    if (m.captured >= 0) m.child.sq[m.captured] = -1;
    m.child.sq[man] = to;
    m.promotion = promotion;
    // Only the other side's men can attack the king, so a promotion needs
    // no change of kind here.
    const bool safe = !inCheck && epCaptured < 0 && s.men[man].kind != KING && !(lines & bit(p.sq[man]));
    if (!safe && attacked_by(s, m.child.sq, m.child.sq[p.side], 1 - p.side, occupancy(s, m.child.sq))) return;
    if (s.men[man].kind == 0 && (to - p.sq[man] == 2 * up)) m.child.ep = en_passant_square(s, m.child.sq, 1 - p.side, man);
    ++n;
  };
  for (int man = 0; man < s.n; ++man) {
    if (s.men[man].colour != p.side) continue;
    const int from = p.sq[man];
    if (s.men[man].kind != 0) {
      for (Bitboard t = man_attacks(s.men[man], from, occupied) & ~own; t; t &= t - 1) add(man, lowest_square(t), -1, -1);
      continue;
    }
    const int last = p.side == 0 ? 7 : 0;
    auto pawn_to = [&](int to) {
      if ((to >> 3) == last)
        for (int kind = 1; kind <= 4; ++kind) add(man, to, kind, -1);
      else
        add(man, to, -1, -1);
    };
    if (!(occupied & bit(from + up))) {
      pawn_to(from + up);
      if ((from >> 3) == (p.side == 0 ? 1 : 6) && !(occupied & bit(from + 2 * up))) add(man, from + 2 * up, -1, -1);
    }
    const Bitboard takes = man_attacks(s.men[man], from, occupied);
    for (Bitboard t = takes & occupancy(s, p.sq, 1 - p.side); t; t &= t - 1) pawn_to(lowest_square(t));
    if (p.ep >= 0 && (takes & bit(p.ep))) add(man, p.ep, -1, p.ep - up);
  }
  return n;
}

// Values: > 0 win in n moves, < 0 loss in -v - 1 moves, 0 draw.
int16_t negate(int16_t v) { return v > 0 ? int16_t(-v - 1) : v < 0 ? int16_t(-v) : 0; }
int rank_of_value(int16_t v) { return v > 0 ? 2000 - v : v == 0 ? 0 : -2000 - v; }

std::map<int, std::unique_ptr<Table>> solved;

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

// The row of a material balance, either way round; remembered, since every
// capture asks.
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

// The value of a position of another table, from its side to move's view.
int16_t probe_other(const Shape& s, const Move& m) {
  int counts[2][TB_KINDS] = {};
  uint32_t lists[2][MANLIST_PLACES] = {};
  int placed[2][TB_KINDS] = {};
  for (int i = 0; i < s.n; ++i) {
    if (m.child.sq[i] < 0) continue;
    const int colour = s.men[i].colour;
    const int k = i == m.man && m.promotion >= 0 ? m.promotion : s.men[i].kind;
    if (k == KING) {
      lists[colour][MANLIST_KING] = uint32_t(m.child.sq[i]);
      continue;
    }
    ++counts[colour][k];
    lists[colour][k * 3 + placed[colour][k]++] = uint32_t(m.child.sq[i]);
  }
  if (bare_kings(counts)) return 0;
  const RowKey key = find_row(counts);
  const Table& t = Solve(key.row);
  const int side = key.swapped ? 1 - m.child.side : m.child.side;
  const uint32_t* strong = key.swapped ? lists[1] : lists[0];
  const uint32_t* weak = key.swapped ? lists[0] : lists[1];
  const uint64_t index = tb_index_function(key.row, side)(strong, weak, TB_NO_EP, key.swapped);
  return t.values[side][index];
}

class Solver {
 public:
  explicit Solver(int row) : row_(row), s_(shape_of(row)) {}
  void Run(Table* out);

 private:
  uint32_t node_of(const Pos& p) {
    const uint64_t full = full_index(s_, p.sq);
    const uint32_t normal = uint32_t(uint64_t(p.side) * s_.space + full);
    if (p.ep < 0) return normal;
    const auto it = ep_nodes_.find(ep_key(p));
    return it == ep_nodes_.end() ? normal : it->second;
  }
  uint64_t ep_key(const Pos& p) const {
    return (full_index(s_, p.sq) * 2 + uint64_t(p.side)) * 64 + uint64_t(p.ep ^ fold_of(s_, p.sq[0]));
  }
  Pos pos_of(uint32_t node) const {
    if (node >= 2 * s_.space) return ep_pos_[node - 2 * s_.space];
    Pos p;
    p.side = int(node / s_.space);
    p.ep = -1;
    squares_of(s_, node % s_.space, p.sq);
    return p;
  }
  void init_node(uint32_t node, const Pos& p);
  template <typename F>
  void predecessors(uint32_t node, F visit);
  // The predecessors of every node of the list; each node's are fetched
  // into the cache while the previous node's are worked on.
  template <typename F>
  void visit_predecessors(const std::vector<uint32_t>& list, F work) {
    std::vector<uint32_t> ready, next;
    for (size_t i = 0; i <= list.size(); ++i) {
      next.clear();
      if (i < list.size())
        predecessors(list[i], [&](uint32_t q) {
          __builtin_prefetch(&nodes_[q], 1);
          next.push_back(q);
        });
      for (uint32_t q : ready) work(q);
      std::swap(ready, next);
    }
  }
  void decide(uint32_t node, int16_t v, std::vector<uint32_t>* bucket) {
    nodes_[node].value = v;
    bucket->push_back(node);
  }

  // What the solver keeps of a position, together so that one visit is one
  // cache line.
  struct Node {
    int16_t value;    // UNDECIDED until known
    int16_t exit;     // the best move out of the table, or NO_EXIT
    uint8_t count;    // moves inside the table not yet known to lose
    uint8_t longest;  // the longest win among those that do
  } __attribute__((packed));

  int row_;
  Shape s_;
  std::vector<Node> nodes_;
  std::unordered_map<uint64_t, uint32_t> ep_nodes_;
  std::vector<Pos> ep_pos_;
  std::vector<uint32_t> loss_at_[MAX_LEVEL + 1], win_at_[MAX_LEVEL + 1], win_by_exit_[MAX_LEVEL + 1];
};

void Solver::init_node(uint32_t node, const Pos& p) {
  if (!legal(s_, p)) {
    nodes_[node].value = ILLEGAL;
    return;
  }
  Move moves[256];
  const int n = generate(s_, p, moves);
  int16_t best = NO_EXIT;
  int inside = 0;
  for (int i = 0; i < n; ++i) {
    if (moves[i].captured < 0 && moves[i].promotion < 0) {
      ++inside;
      continue;
    }
    const int16_t v = negate(probe_other(s_, moves[i]));
    if (best == NO_EXIT || rank_of_value(v) > rank_of_value(best)) best = v;
  }
  nodes_[node].exit = best;
  nodes_[node].count = uint8_t(inside);
  if (inside == 0) {
    const int16_t v = n ? best : attacked_by(s_, p.sq, p.sq[p.side], 1 - p.side) ? int16_t(-1) : int16_t(0);
    if (v > 0) decide(node, v, &win_at_[v]);
    else if (v < 0) decide(node, v, &loss_at_[-v - 1]);
    else nodes_[node].value = 0;
  } else if (best != NO_EXIT && best > 0) {
    win_by_exit_[best].push_back(node);
  }
}

// Every position with a move into `node`: men of the side that has just
// moved go back, pawns by one or two squares; captures and promotions come
// from other tables. A position from which the move leads here through an
// en-passant square of its own counts too.
template <typename F>
void Solver::predecessors(uint32_t node, F visit) {
  const Pos p = pos_of(node);
  const int mover = 1 - p.side;
  const Bitboard occupied = occupancy(s_, p.sq);
  auto offer = [&](Pos q) {
    q.side = mover;
    q.ep = -1;
    if (!legal(s_, q)) return;
    visit(node_of(q));
    // The same men with the other side's pawn just gone two squares.
    for (int i = 0; s_.pawns && i < s_.n; ++i) {
      q.ep = en_passant_square(s_, q.sq, mover, i);
      if (q.ep >= 0) {
        const auto it = ep_nodes_.find(ep_key(q));
        if (it != ep_nodes_.end()) visit(it->second);
      }
    }
  };
  for (int man = 0; man < s_.n; ++man) {
    if (s_.men[man].colour != mover) continue;
    const int at = p.sq[man];
    Pos q = p;
    if (s_.men[man].kind != 0) {
      if (p.ep >= 0) continue;
      for (Bitboard t = man_attacks(s_.men[man], at, occupied) & ~occupied; t; t &= t - 1) {
        q.sq[man] = lowest_square(t);
        offer(q);
      }
      continue;
    }
    const int back = mover == 0 ? -8 : 8;
    const int from = at + back;
    if (p.ep < 0 && from >= 8 && from < 56 && !(occupied & bit(from))) {
      q.sq[man] = from;
      offer(q);
    }
    // A double step, which leads here only when it leaves no en-passant
    // square, and into an en-passant position only by that pawn.
    const bool onFourth = (at >> 3) == (mover == 0 ? 3 : 4);
    if (onFourth && !(occupied & (bit(from) | bit(from + back)))) {
      const int epHere = en_passant_square(s_, p.sq, p.side, man);
      if ((p.ep < 0 && epHere < 0) || (p.ep >= 0 && p.ep == epHere)) {
        q.sq[man] = from + back;
        offer(q);
      }
    }
  }
}

void Solver::Run(Table* out) {
  const uint64_t normal = 2 * s_.space;

  // En-passant positions get nodes of their own past the others.
  for (uint32_t node = 0; node < normal; ++node) {
    Pos p = pos_of(node);
    if (!s_.pawns || !legal(s_, p)) continue;
    for (int i = 0; i < s_.n; ++i) {
      p.ep = en_passant_square(s_, p.sq, p.side, i);
      if (p.ep < 0 || ep_nodes_.count(ep_key(p))) continue;
      ep_nodes_[ep_key(p)] = uint32_t(normal + ep_pos_.size());
      ep_pos_.push_back(p);
    }
  }
  const size_t total = normal + ep_pos_.size();
  nodes_.assign(total, Node{UNDECIDED, NO_EXIT, 0, 0});
  for (uint32_t node = 0; node < total; ++node) init_node(node, pos_of(node));
  for (int level = 0; level < MAX_LEVEL; ++level) {
    const int16_t win = int16_t(level + 1);
    visit_predecessors(loss_at_[level], [&](uint32_t q) {
      if (nodes_[q].value == UNDECIDED) decide(q, win, &win_at_[win]);
    });
    for (uint32_t q : win_by_exit_[win])
      if (nodes_[q].value == UNDECIDED) decide(q, win, &win_at_[win]);
    visit_predecessors(win_at_[win], [&](uint32_t q) {
      Node& n = nodes_[q];
      if (n.value != UNDECIDED) return;
      n.longest = std::max<uint8_t>(n.longest, uint8_t(win));
      if (--n.count) return;
      const int16_t e = n.exit;
      if (e != NO_EXIT && e >= 0) return;  // a draw or a win by leaving the table
      const int loss = std::max<int>(n.longest, e == NO_EXIT ? 0 : -e - 1);
      decide(q, int16_t(-loss - 1), &loss_at_[loss]);
    });
  }
  // Every position of the solver's space gives the value of its table index.
  out->row = row_;
  for (int side = 0; side < 2; ++side) out->values[side].assign(TB_ROW_SIZES[row_][side], ILLEGAL);
  for (uint32_t node = 0; node < total; ++node) {
    const int16_t v = nodes_[node].value;
    if (v == ILLEGAL) continue;
    const Pos p = pos_of(node);
    uint32_t lists[2][MANLIST_PLACES] = {};
    int next[2][TB_KINDS] = {};
    for (int i = 0; i < s_.n; ++i) {
      const Man& m = s_.men[i];
      lists[m.colour][m.kind == KING ? MANLIST_KING : m.kind * 3 + next[m.colour][m.kind]++] = uint32_t(p.sq[i]);
    }
    const uint64_t index = tb_index_function(row_, p.side)(lists[0], lists[1], p.ep < 0 ? TB_NO_EP : p.ep, false);
    out->values[p.side][index] = v == UNDECIDED ? 0 : v;
  }
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
  Solver(row).Run(table.get());
  return *(solved[row] = std::move(table));
}

void ForgetSolved() { solved.clear(); }

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
