#include "support/fen_flip.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace {

char SwapCase(char c) {
  if (c >= 'a' && c <= 'z') return char(c - 'a' + 'A');
  if (c >= 'A' && c <= 'Z') return char(c - 'A' + 'a');
  return c;
}

}  // namespace

std::string FlipFen(const std::string& fen) {
  std::istringstream in(fen);
  std::string placement, side, castling = "-", ep = "-";
  in >> placement >> side >> castling >> ep;
  std::vector<std::string> ranks;
  std::stringstream rows(placement);
  for (std::string rank; std::getline(rows, rank, '/');) ranks.push_back(rank);
  std::reverse(ranks.begin(), ranks.end());
  std::string flipped;
  for (size_t i = 0; i < ranks.size(); ++i) {
    if (i) flipped += '/';
    for (char c : ranks[i]) flipped += SwapCase(c);
  }
  std::string rights;
  for (char c : std::string("KQkq"))
    if (castling.find(SwapCase(c)) != std::string::npos) rights += c;
  if (rights.empty()) rights.push_back('-');
  if (ep != "-") ep[1] = ep[1] == '3' ? '6' : '3';
  return flipped + (side == "w" ? " b " : " w ") + rights + " " + ep;
}

std::string PlacementFen(const char* squares) {
  std::string fen;
  for (int rank = 7; rank >= 0; --rank) {
    int run = 0;
    for (int file = 0; file < 8; ++file) {
      const char c = squares[rank * 8 + file];
      if (c == '.') {
        ++run;
        continue;
      }
      if (run) fen += char('0' + run);
      run = 0;
      fen += c;
    }
    if (run) fen += char('0' + run);
    if (rank) fen += '/';
  }
  return fen;
}
