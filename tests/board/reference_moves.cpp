#include "board/reference_moves.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "board/move.h"
#include "board/position.h"

namespace reference {
namespace {

// The 10x12 mailbox: two guard ranks above and below, one guard file at each
// side, so every step of a knight or a slider off the board lands on -1.
constexpr std::array<int, 120> make_mailbox120() {
  std::array<int, 120> t{};
  for (int i = 0; i < 120; ++i) {
    int row = i / 10, col = i % 10;
    t[i] = (row >= 2 && row <= 9 && col >= 1 && col <= 8) ? (row - 2) * 8 + (col - 1) : -1;
  }
  return t;
}
constexpr std::array<int, 64> make_mailbox64() {
  std::array<int, 64> t{};
  for (int sq = 0; sq < 64; ++sq) t[sq] = ((sq >> 3) + 2) * 10 + (sq & 7) + 1;
  return t;
}
constexpr std::array<int, 120> MAILBOX120 = make_mailbox120();
constexpr std::array<int, 64> MAILBOX64 = make_mailbox64();

constexpr int KNIGHT_STEPS[8] = {-21, -19, -12, -8, 8, 12, 19, 21};
constexpr int KING_STEPS[8] = {-11, -10, -9, -1, 1, 9, 10, 11};
constexpr int DIAGONAL_STEPS[4] = {-11, -9, 9, 11};
constexpr int STRAIGHT_STEPS[4] = {-10, -1, 1, 10};

constexpr int A1 = 0, E1 = 4, H1 = 7, A8 = 56, E8 = 60, H8 = 63;

constexpr int sign_of(int colour) { return colour == 0 ? 1 : -1; }

// Rights that survive a move touching this square.
int rights_kept(int square) {
  switch (square) {
    case A1: return ~2;
    case E1: return ~3;
    case H1: return ~1;
    case A8: return ~8;
    case E8: return ~12;
    case H8: return ~4;
    default: return ~0;
  }
}

char man_letter(int man) {
  static const char letters[] = " pnbrqk";
  char c = letters[std::abs(man)];
  return man > 0 ? char(c - 'a' + 'A') : c;
}

int man_of_letter(char c) {
  switch (c) {
    case 'P': return PAWN;   case 'p': return -PAWN;
    case 'N': return KNIGHT; case 'n': return -KNIGHT;
    case 'B': return BISHOP; case 'b': return -BISHOP;
    case 'R': return ROOK;   case 'r': return -ROOK;
    case 'Q': return QUEEN;  case 'q': return -QUEEN;
    case 'K': return KING;   case 'k': return -KING;
    default: return EMPTY;
  }
}

std::string square_text(int sq) {
  return std::string{char('a' + (sq & 7)), char('1' + (sq >> 3))};
}

}  // namespace

std::string MoveText(const RefMove& move) {
  std::string text = square_text(move.from) + square_text(move.to);
  if (move.promotion) text += man_letter(-move.promotion);
  return text;
}

Board::Board() { SetFen(START_FEN); }

void Board::Clear() {
  std::memset(squares_, 0, sizeof squares_);
  side_ = 0;
  castling_ = 0;
  ep_ = -1;
  halfmove_ = 0;
  fullmove_ = 1;
  king_[0] = king_[1] = -1;
}

bool Board::SetFen(const std::string& fen) {
  std::istringstream in(fen);
  std::string placement, side, rights = "-", ep = "-";
  int halfmove = 0, fullmove = 1;
  if (!(in >> placement >> side)) return false;
  in >> rights >> ep;
  if (!(in >> halfmove)) halfmove = 0;
  if (!(in >> fullmove)) fullmove = 1;

  Board b = *this;  // not a default construction: that parses the start FEN
  b.Clear();
  int rank = 7, file = 0;
  for (char c : placement) {
    if (c == '/') {
      if (file != 8 || rank == 0) return false;
      --rank;
      file = 0;
    } else if (c >= '1' && c <= '8') {
      file += c - '0';
      if (file > 8) return false;
    } else {
      int man = man_of_letter(c);
      if (man == EMPTY || file > 7) return false;
      b.squares_[rank * 8 + file] = int8_t(man);
      ++file;
    }
  }
  if (rank != 0 || file != 8) return false;

  if (side == "w") b.side_ = 0;
  else if (side == "b") b.side_ = 1;
  else return false;

  if (rights != "-") {
    for (char c : rights) {
      switch (c) {
        case 'K': b.castling_ |= 1; break;
        case 'Q': b.castling_ |= 2; break;
        case 'k': b.castling_ |= 4; break;
        case 'q': b.castling_ |= 8; break;
        default: return false;
      }
    }
  }

  for (int colour = 0; colour < 2; ++colour) {
    int kings = 0;
    for (int sq = 0; sq < 64; ++sq)
      if (b.squares_[sq] == sign_of(colour) * KING) {
        ++kings;
        b.king_[colour] = sq;
      }
    if (kings != 1) return false;
  }

  if (ep != "-") {
    if (ep.size() != 2 || ep[0] < 'a' || ep[0] > 'h' || ep[1] < '1' || ep[1] > '8') return false;
    int target = (ep[1] - '1') * 8 + (ep[0] - 'a');
    int s = sign_of(b.side_);
    int pushed = target - s * 8;  // where the pawn that moved two squares stands
    bool fits = (b.side_ == 0 ? (target >> 3) == 5 : (target >> 3) == 2) &&
                b.squares_[target] == EMPTY && b.squares_[target + s * 8] == EMPTY &&
                b.squares_[pushed] == -s * PAWN;
    bool takeable = ((pushed & 7) > 0 && b.squares_[pushed - 1] == s * PAWN) ||
                    ((pushed & 7) < 7 && b.squares_[pushed + 1] == s * PAWN);
    b.ep_ = fits && takeable ? target : -1;
  }
  b.halfmove_ = halfmove;
  b.fullmove_ = fullmove;
  *this = b;
  return true;
}

void Board::SetFromRecord(const Position& record, int side) {
  Clear();
  for (int sq = 0; sq < 64; ++sq) {
    int code = int(record.board[sq] & WORD_CODE);
    if (code < WHITE_PAWN) continue;
    int man = (code - 2) / 2 + 1;
    squares_[sq] = int8_t((code & 1) ? -man : man);
    if (man == KING) king_[code & 1] = sq;
  }
  side_ = side;
  castling_ = int(record.state.castling & 15);
  ep_ = record.state.epSquare ? int(record.state.epSquare) : -1;
}

std::string Board::Fen(bool counters) const {
  std::string out;
  for (int rank = 7; rank >= 0; --rank) {
    int empty = 0;
    for (int file = 0; file < 8; ++file) {
      int man = squares_[rank * 8 + file];
      if (man == EMPTY) {
        ++empty;
        continue;
      }
      if (empty) out += char('0' + empty);
      empty = 0;
      out += man_letter(man);
    }
    if (empty) out += char('0' + empty);
    if (rank) out += '/';
  }
  out += side_ ? " b " : " w ";
  if (!castling_) out += '-';
  if (castling_ & 1) out += 'K';
  if (castling_ & 2) out += 'Q';
  if (castling_ & 4) out += 'k';
  if (castling_ & 8) out += 'q';
  out += ' ';
  out += ep_ >= 0 ? square_text(ep_) : "-";
  if (counters) {
    out += ' ';
    out += std::to_string(halfmove_);
    out += ' ';
    out += std::to_string(fullmove_);
  }
  return out;
}

void Board::FillRecord(Position* record) const {
  std::memset(static_cast<void*>(record), 0, sizeof(Position));
  for (int sq = 0; sq < 64; ++sq) {
    int man = squares_[sq];
    if (man == EMPTY) continue;
    int colour = man < 0 ? 1 : 0;
    int code = 2 * std::abs(man) + colour;  // P 2/3, N 4/5, ... K 12/13
    record->board[sq] = PIECE_WORDS[code];
    record->pieceBits[code - 2] |= bit(sq);
    record->colourBits[colour] |= bit(sq);
    record->occupied |= bit(sq);
    if (std::abs(man) == KING) record->kingSquare[colour] = uint32_t(sq);
  }
  record->state.castling = uint32_t(castling_);
  record->state.epSquare = ep_ >= 0 ? uint32_t(ep_) : 0;
}

int Board::Count(int man) const {
  int n = 0;
  for (int sq = 0; sq < 64; ++sq) n += squares_[sq] == man;
  return n;
}

bool Board::IsAttacked(int square, int byColour) const {
  const int s = sign_of(byColour);
  const int at = MAILBOX64[square];
  // The man one step away (EMPTY off the board), and the first man along a line.
  auto stepped = [&](int step) { return MAILBOX120[at + step] >= 0 ? int(squares_[MAILBOX120[at + step]]) : 0; };
  auto slid = [&](int step) {
    for (int i = at + step; MAILBOX120[i] >= 0; i += step)
      if (squares_[MAILBOX120[i]] != EMPTY) return int(squares_[MAILBOX120[i]]);
    return 0;
  };
  // A white pawn attacks one rank up, so its attackers stand one rank down.
  for (int step : {-s * 9, -s * 11})
    if (stepped(step) == s * PAWN) return true;
  for (int k = 0; k < 8; ++k)
    if (stepped(KNIGHT_STEPS[k]) == s * KNIGHT || stepped(KING_STEPS[k]) == s * KING) return true;
  for (int k = 0; k < 4; ++k) {
    const int diagonal = slid(DIAGONAL_STEPS[k]), straight = slid(STRAIGHT_STEPS[k]);
    if (diagonal == s * BISHOP || straight == s * ROOK || diagonal == s * QUEEN || straight == s * QUEEN) return true;
  }
  return false;
}

bool Board::InCheck() const {
  return king_[side_] >= 0 && IsAttacked(king_[side_], side_ ^ 1);
}

int Board::GeneratePseudo(RefMove* out) const {
  int n = 0;
  const int s = sign_of(side_);
  const int them = side_ ^ 1;
  auto add = [&](int from, int to, int promotion, int flags) {
    out[n++] = RefMove{uint8_t(from), uint8_t(to), uint8_t(promotion), uint8_t(flags)};
  };
  auto add_pawn = [&](int from, int to, int flags) {
    int rank = to >> 3;
    if (rank == 7 || rank == 0) {
      for (int promotion : {QUEEN, ROOK, BISHOP, KNIGHT}) add(from, to, promotion, flags);
    } else {
      add(from, to, 0, flags);
    }
  };

  for (int from = 0; from < 64; ++from) {
    const int man = squares_[from] * s;  // positive for our men
    if (man <= 0) continue;
    const int at = MAILBOX64[from];
    switch (man) {
      case PAWN: {
        int one = MAILBOX120[at + s * 10];
        if (one >= 0 && squares_[one] == EMPTY) {
          add_pawn(from, one, 0);
          int startRank = side_ == 0 ? 1 : 6;
          int two = MAILBOX120[at + s * 20];
          if ((from >> 3) == startRank && squares_[two] == EMPTY)
            add(from, two, 0, MOVE_IS_DOUBLE_PUSH);
        }
        for (int offset : {9, 11}) {
          int to = MAILBOX120[at + s * offset];
          if (to < 0) continue;
          if (squares_[to] * s < 0) {
            add_pawn(from, to, 0);
          } else if (to == ep_ && squares_[to] == EMPTY && squares_[to - s * 8] == -s * PAWN) {
            add(from, to, 0, MOVE_IS_EN_PASSANT);
          }
        }
        break;
      }
      case KNIGHT:
      case KING: {
        const int* steps = man == KNIGHT ? KNIGHT_STEPS : KING_STEPS;
        for (int k = 0; k < 8; ++k) {
          int to = MAILBOX120[at + steps[k]];
          if (to >= 0 && squares_[to] * s <= 0) add(from, to, 0, 0);
        }
        break;
      }
      default: {  // sliders
        const bool diagonal = man == BISHOP || man == QUEEN;
        const bool straight = man == ROOK || man == QUEEN;
        for (int d = 0; d < 8; ++d) {
          int step = d < 4 ? DIAGONAL_STEPS[d] : STRAIGHT_STEPS[d - 4];
          if ((d < 4 && !diagonal) || (d >= 4 && !straight)) continue;
          for (int i = at + step; MAILBOX120[i] >= 0; i += step) {
            int to = MAILBOX120[i];
            if (squares_[to] * s > 0) break;
            add(from, to, 0, 0);
            if (squares_[to] != EMPTY) break;
          }
        }
      }
    }
  }

  // Castling: the right, the king and rook at home, the squares between them
  // empty, and the king neither in check nor passing or landing on an attacked
  // square.
  const int home = side_ == 0 ? 0 : 56;
  const int shortRight = side_ == 0 ? 1 : 4, longRight = side_ == 0 ? 2 : 8;
  if (squares_[home + 4] == s * KING) {
    if ((castling_ & shortRight) && squares_[home + 7] == s * ROOK &&
        squares_[home + 5] == EMPTY && squares_[home + 6] == EMPTY &&
        !IsAttacked(home + 4, them) && !IsAttacked(home + 5, them) &&
        !IsAttacked(home + 6, them))
      add(home + 4, home + 6, 0, MOVE_IS_CASTLE);
    if ((castling_ & longRight) && squares_[home] == s * ROOK && squares_[home + 1] == EMPTY &&
        squares_[home + 2] == EMPTY && squares_[home + 3] == EMPTY &&
        !IsAttacked(home + 4, them) && !IsAttacked(home + 3, them) &&
        !IsAttacked(home + 2, them))
      add(home + 4, home + 2, 0, MOVE_IS_CASTLE);
  }
  return n;
}

int Board::GenerateLegal(RefMove* out) const {
  int n = GeneratePseudo(out);
  int kept = 0;
  for (int i = 0; i < n; ++i) {
    Board next = *this;
    next.Play(out[i]);
    if (!next.IsAttacked(next.king_[side_], next.side_)) out[kept++] = out[i];
  }
  return kept;
}

void Board::Play(const RefMove& move) {
  const int s = sign_of(side_);
  const int from = move.from, to = move.to;
  const int man = squares_[from];
  const int kind = std::abs(man);
  const bool capture = squares_[to] != EMPTY;

  squares_[from] = EMPTY;
  squares_[to] = int8_t(move.promotion ? s * move.promotion : man);
  // A pawn moving diagonally onto an empty square takes en passant.
  if (kind == PAWN && ((from ^ to) & 7) && !capture) squares_[to - s * 8] = EMPTY;
  if (kind == KING) {
    king_[side_] = to;
    if (to - from == 2) std::swap(squares_[to + 1], squares_[to - 1]);  // h-rook to f
    if (from - to == 2) std::swap(squares_[to - 2], squares_[to + 1]);  // a-rook to d
  }
  castling_ &= rights_kept(from) & rights_kept(to);

  ep_ = -1;
  if (kind == PAWN && std::abs(to - from) == 16) {
    bool takeable = ((to & 7) > 0 && squares_[to - 1] == -s * PAWN) ||
                    ((to & 7) < 7 && squares_[to + 1] == -s * PAWN);
    if (takeable) ep_ = (from + to) / 2;
  }
  halfmove_ = (kind == PAWN || capture) ? 0 : halfmove_ + 1;
  if (side_ == 1) ++fullmove_;
  side_ ^= 1;
}

std::vector<RefMove> Board::LegalMoves() const {
  RefMove moves[256];
  int n = GenerateLegal(moves);
  return std::vector<RefMove>(moves, moves + n);
}

std::vector<std::string> Board::LegalMoveTexts() const {
  std::vector<std::string> texts;
  for (const RefMove& m : LegalMoves()) texts.push_back(MoveText(m));
  std::sort(texts.begin(), texts.end());
  return texts;
}

bool Board::PlayText(const std::string& text) {
  for (const RefMove& m : LegalMoves())
    if (MoveText(m) == text) {
      Play(m);
      return true;
    }
  return false;
}

bool Board::PlayRandom(std::mt19937_64& rng, std::string* text) {
  RefMove moves[256];
  int n = GenerateLegal(moves);
  if (n == 0) return false;
  const RefMove& m = moves[rng() % uint64_t(n)];
  if (text) *text = MoveText(m);
  Play(m);
  return true;
}

uint64_t Board::Perft(int depth) const {
  if (depth <= 0) return 1;
  RefMove moves[256];
  int n = GenerateLegal(moves);
  if (depth == 1) return uint64_t(n);
  uint64_t nodes = 0;
  for (int i = 0; i < n; ++i) {
    Board next = *this;
    next.Play(moves[i]);
    nodes += next.Perft(depth - 1);
  }
  return nodes;
}

std::vector<Move> EngineMoves(const Board& board) {
  std::vector<Move> words;
  if (!SetPositionFromFen(board.Fen(false).c_str())) return words;
  for (const std::string& text : board.LegalMoveTexts()) words.push_back(TextToMove(text.c_str(), true));
  return words;
}

}  // namespace reference
