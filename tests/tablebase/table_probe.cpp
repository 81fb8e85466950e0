#include "tablebase/table_probe.h"

#include <cstdlib>

#include "tablebase/registry.h"

namespace table_probe {

int16_t Moves(int32_t v) {
  if (v == TB_NO_VALUE) return NO_RESULT;
  if (v > 0) return int16_t(v == 32640 ? 127 : 127 - (v - 32640));
  if (v < 0) return int16_t(-(v == -32640 ? 126 : v + 32640 + 126) - 1);
  return 0;
}

int16_t Probe(const std::vector<Man>& men, int side, int ep) {
  int counts[10] = {};
  uint32_t lists[2][MANLIST_PLACES] = {};
  int placed[2][5] = {};
  for (const Man& m : men) {
    if (m.kind == 5) {
      lists[m.colour][MANLIST_KING] = uint32_t(m.square);
      continue;
    }
    ++counts[m.colour * 5 + m.kind];
    lists[m.colour][m.kind * 3 + placed[m.colour][m.kind]++] = uint32_t(m.square);
  }
  if (men.size() == 2) return 0;
  const int leaf = tb_find_row(counts);
  if (!leaf) return NO_RESULT;
  const bool flip = leaf < 0;
  const int row = flip ? -leaf : leaf, tableSide = flip ? 1 - side : side;
  const TbDescriptor& d = tb_descriptors[row];
  const uint64_t index = (tableSide ? d.indexBlack : d.indexWhite)(lists[flip], lists[!flip], ep, flip);
  return Moves(ReadTableValue(row, tableSide, index));
}

namespace {

std::vector<Man> MenOf(const reference::Board& b) {
  std::vector<Man> men;
  for (int s = 0; s < 64; ++s)
    if (int m = b.ManAt(s)) men.push_back({m < 0, std::abs(m) - 1, s});
  return men;
}

int16_t ProbeBoard(const reference::Board& b) {
  return Probe(MenOf(b), b.Side(), b.EpSquare() < 0 ? TB_NO_EP : b.EpSquare());
}

int Rank(int16_t v) { return v > 0 ? 2000 - v : v == 0 ? 0 : -2000 - v; }

// The value one ply of the reference generator gives: the best child, a win
// one move longer than the loss it leads to; mate and stalemate by rule.
int16_t ValueByChildren(const reference::Board& b) {
  const std::vector<reference::RefMove> moves = b.LegalMoves();
  if (moves.empty()) return b.InCheck() ? -1 : 0;
  int16_t best = NO_RESULT;
  for (const reference::RefMove& m : moves) {
    reference::Board child = b;
    child.Play(m);
    const int16_t c = ProbeBoard(child);
    if (c == NO_RESULT) return NO_RESULT;
    const int16_t v = c > 0 ? int16_t(-c - 1) : c < 0 ? int16_t(-c) : 0;
    if (best == NO_RESULT || Rank(v) > Rank(best)) best = v;
  }
  return best;
}

}  // namespace

int16_t ProbeFen(const std::string& fen) {
  reference::Board board;
  if (!board.SetFen(fen)) return NO_RESULT;
  return ProbeBoard(board);
}

std::string ScoreText(int16_t moves) {
  return moves ? "mate " + std::to_string(moves > 0 ? moves : moves + 1) : "cp 0";
}

std::string Fen(const std::vector<Man>& men, int side, int ep) {
  std::string fen;
  for (int rank = 7; rank >= 0; --rank) {
    int empty = 0;
    for (int file = 0; file < 8; ++file) {
      char c = 0;
      for (const Man& m : men)
        if (m.square == rank * 8 + file) c = "pnbrqk"[m.kind] - (m.colour ? 0 : 32);
      if (!c) {
        ++empty;
        continue;
      }
      if (empty) fen += char('0' + empty), empty = 0;
      fen += c;
    }
    if (empty) fen += char('0' + empty);
    if (rank) fen += '/';
  }
  fen += side ? " b - " : " w - ";
  if (ep == TB_NO_EP) return fen + "- 0 1";
  fen += char('a' + (ep & 7));
  fen += char('1' + (ep >> 3));
  return fen + " 0 1";
}

std::string CheckOnePly(int row, int side, uint64_t index) {
  TbPlacement p;
  if (!tb_decode(row, side, index, &p)) return "";
  std::vector<Man> men;
  for (int colour = 0; colour < 2; ++colour) {
    men.push_back({colour, 5, int(p.men[colour][MANLIST_KING])});
    for (int kind = 0; kind < 5; ++kind)
      for (int i = 0; i < tb_row_men(row).count[colour][kind]; ++i)
        men.push_back({colour, kind, int(p.men[colour][kind * 3 + i])});
  }
  reference::Board board;
  const std::string fen = Fen(men, side, p.ep);
  if (!board.SetFen(fen)) return "bad FEN " + fen;
  return Probe(men, side, p.ep) == ValueByChildren(board) ? "" : fen;
}

}  // namespace table_probe
