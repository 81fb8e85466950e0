#include "board/position.h"

#include <strings.h>

#include <cstring>

#include "board/attacks.h"
#include "board/keys.h"
#include "eval/piece_square.h"
#include "report/output.h"

Position position;
int sideToMove = WHITE;

namespace {

constexpr const char PIECE_LETTERS[] = "PpNnBbRrQqKk";

uint64_t piece_word_of_letter(char c) {
  const char* found = c ? std::strchr(PIECE_LETTERS, c) : nullptr;
  return found ? PIECE_WORDS[(found - PIECE_LETTERS) + 2] : 0;
}

bool is_fen_letter(char c) {
  switch (c | 0x20) {
    case 'a': case 'b': case 'c': case 'd': case 'e': case 'f': case 'g': case 'h':
    case 'k': case 'n': case 'p': case 'q': case 'r': case 'w':
      return true;
    default:
      return false;
  }
}

// Reads of squares next to a target may leave the board; they find nothing.
uint64_t word_on(const Position* record, int square) {
  return square >= 0 && square < 64 ? record->board[square] : 0;
}

int code_on(const Position* record, int square) { return int(word_on(record, square) & WORD_CODE); }

// Reads a checked FEN text: the 64 square words (a1 first) into `squares`,
// rights and en-passant square into the record's state, which is cleared
// first; returns the side to move.
int parse_fen(Position* record, uint64_t* squares, const char* text) {
  std::memset(record, 0, sizeof(Position));
  std::memset(squares, 0, 64 * sizeof(uint64_t));
  const char* p = text;
  for (int rank = 7; rank >= 0; --rank) {
    for (int file = 0; file < 8;) {
      char c = *p;
      if (c >= '1' && c <= '8') {
        file += c - '0';
      } else {
        squares[rank * 8 + file] = piece_word_of_letter(c);
        ++file;
      }
      if (c) ++p;
    }
    if (*p) ++p;  // the separator after eight files, whatever it is
  }
  int side = *p == 'b' ? BLACK : WHITE;
  for (int i = 0; i < 2 && *p; ++i) ++p;
  if (*p == '-') ++p;
  StateBlock& st = record->state;
  if (*p == 'K') { st.castling |= WHITE_SHORT; ++p; }
  if (*p == 'Q') { st.castling |= WHITE_LONG; ++p; }
  if (*p == 'k') { st.castling |= BLACK_SHORT; ++p; }
  if (*p == 'q') { st.castling |= BLACK_LONG; ++p; }
  if (*p) ++p;
  if (*p && *p != '-' && p[1]) {
    int file = p[0] - 'a', rank = p[1] - '1';
    if (file >= 0 && file < 8 && rank >= 0 && rank < 8) {
      // Kept only when a capture onto it is possible; the neighbour test is
      // plain index arithmetic, so on the a and h files it wraps a rank.
      auto code = [&](int square) {
        return square >= 0 && square < 64 ? int(squares[square] & WORD_CODE) : NO_PIECE;
      };
      int ep = rank * 8 + file, victim = ep ^ 8;
      int own_pawn = side == WHITE ? WHITE_PAWN : BLACK_PAWN;
      if (code(ep) == NO_PIECE && code(victim) == (own_pawn ^ 1) &&
          (code(victim - 1) == own_pawn || code(victim + 1) == own_pawn))
        st.epSquare = uint32_t(ep);
    }
  }
  return side;
}

// Whether a man of colour `by` attacks the square; for the whole-position
// test only, which runs once before a search.
bool attacked_by(const Position& p, int square, int by) {
  const Bitboard* men = p.pieceBits;
  Bitboard pawn_sources = by == WHITE ? WHITE_PAWN_SOURCES[square] : BLACK_PAWN_SOURCES[square];
  Bitboard diagonal = men[BISHOP_INDEX + by] | men[QUEEN_INDEX + by];
  Bitboard straight = men[ROOK_INDEX + by] | men[QUEEN_INDEX + by];
  return (pawn_sources & men[PAWN_INDEX + by]) || (KNIGHT_ATTACKS[square] & men[KNIGHT_INDEX + by]) ||
         (KING_ATTACKS[square] & men[KING_INDEX + by]) ||
         (BishopAttacks(square, p.occupied) & diagonal) || (RookAttacks(square, p.occupied) & straight);
}

}  // namespace

bool CheckFenText(const char* text) {
  int boundaries = 0, slashes = 0;
  bool error = false, in_blanks = false;
  for (const char* p = text; *p; ++p) {
    if (strncasecmp(p, "moves", 5) == 0) break;
    char c = *p;
    if (c == ' ') {
      if (!in_blanks) ++boundaries;
      in_blanks = true;
      continue;
    }
    in_blanks = false;
    if (boundaries == 1 && c != 'W' && c != 'w' && c != 'B' && c != 'b') error = true;
    if (c == '/') ++slashes;
    if (!is_fen_letter(c) && c != '\t' && c != '\n' && c != '\r' && c != '-' && c != '/' &&
        !(c >= '0' && c <= '9'))
      error = true;
  }
  if (!error && boundaries >= 3 && slashes == 7) return true;
  report_text("Invalid FEN string.");
  return false;
}

int SetPositionFromFen(const char* text) {
  if (!CheckFenText(text)) return 0;
  uint64_t squares[64];
  sideToMove = parse_fen(&position, squares, text);
  std::memcpy(position.board, squares, sizeof(squares));
  RebuildDerived(&position, sideToMove);
  return 1;
}

// The hash commands' scratch parser lays the squares from the start of the
// record, over the low margin, while the rebuild reads the board at its own
// place. The keys they use are those of that shifted board: squares 32-63 of
// the FEN stand on 0-31. The tables they address were filled the same way.
int SetRecordFromFen(Position* record, const char* text) {
  if (!CheckFenText(text)) return 0;
  uint64_t squares[64];
  int side = parse_fen(record, squares, text);
  std::memcpy(record->lowMargin, squares, sizeof(record->lowMargin));
  std::memcpy(record->board, squares + 32, sizeof(uint64_t) * 32);
  RebuildDerived(record, side);
  return 1;
}

void RebuildDerived(Position* record) { RebuildDerived(record, sideToMove); }

void RebuildDerived(Position* record, int side) {
  StateBlock& st = record->state;
  st.pstSum = PST_BIAS + castling_rights_value(st.castling) * 65536;
  std::memset(record->colourBits, 0, sizeof(record->colourBits));
  std::memset(record->pieceBits, 0, sizeof(record->pieceBits));
  record->occupied = 0;
  for (int square = 0; square < 64; ++square) {
    int code = code_on(record, square);
    if (code < WHITE_PAWN) continue;
    record->pieceBits[code - 2] |= bit(square);
    record->colourBits[code & 1] |= bit(square);
    record->occupied |= bit(square);
    st.pstSum += PIECE_SQUARE_VALUES[(code - 2) * 64 + square];
  }
  st.key = PositionKey(record, side);
  st.pawnKey = PawnKey(record);
  st.materialSignature = MaterialSignature(record);
  st.materialAdjust = 0;
  for (int colour = WHITE; colour <= BLACK; ++colour) {
    Bitboard kings = record->pieceBits[KING_INDEX + colour];
    record->kingSquare[colour] = kings ? uint32_t(lowest_square(kings)) : 0;
  }
}

int WriteFen(char* buffer) {
  char* out = buffer;
  for (int rank = 7; rank >= 0; --rank) {
    int empty = 0;
    for (int file = 0; file < 8; ++file) {
      int code = code_on(&position, rank * 8 + file);
      if (code < WHITE_PAWN) {
        ++empty;
        continue;
      }
      if (empty) *out++ = char('0' + empty);
      empty = 0;
      *out++ = PIECE_LETTERS[code - 2];
    }
    if (empty) *out++ = char('0' + empty);
    if (rank) *out++ = '/';
  }
  *out++ = ' ';
  *out++ = sideToMove == BLACK ? 'b' : 'w';
  *out++ = ' ';
  uint32_t rights = position.state.castling;
  if (!rights) *out++ = '-';
  if (rights & WHITE_SHORT) *out++ = 'K';
  if (rights & WHITE_LONG) *out++ = 'Q';
  if (rights & BLACK_SHORT) *out++ = 'k';
  if (rights & BLACK_LONG) *out++ = 'q';
  *out++ = ' ';
  uint32_t ep = position.state.epSquare;
  if (ep) {
    *out++ = char('a' + square_file(int(ep)));
    *out++ = char('1' + square_rank(int(ep)));
  } else {
    *out++ = '-';
  }
  *out = 0;
  return int(out - buffer);
}

bool IsPositionConsistent() {
  const Position& p = position;
  const StateBlock& st = p.state;
  if (sideToMove != WHITE && sideToMove != BLACK) return false;
  auto holds = [&](int square, int code) { return code_on(&p, square) == code; };
  if ((st.castling & (WHITE_SHORT | WHITE_LONG)) && !holds(4, WHITE_KING)) return false;
  if ((st.castling & WHITE_SHORT) && !holds(7, WHITE_ROOK)) return false;
  if ((st.castling & WHITE_LONG) && !holds(0, WHITE_ROOK)) return false;
  if ((st.castling & (BLACK_SHORT | BLACK_LONG)) && !holds(60, BLACK_KING)) return false;
  if ((st.castling & BLACK_SHORT) && !holds(63, BLACK_ROOK)) return false;
  if ((st.castling & BLACK_LONG) && !holds(56, BLACK_ROOK)) return false;
  if (st.epSquare) {
    int ep = int(st.epSquare);
    if (sideToMove == WHITE) {
      if ((ep & ~7) != 40 || !holds(ep - 8, BLACK_PAWN)) return false;
      if (!((square_file(ep) != 0 && holds(ep - 9, WHITE_PAWN)) ||
            (square_file(ep) != 7 && holds(ep - 7, WHITE_PAWN))))
        return false;
    } else {
      if ((ep & ~7) != 16 || !holds(ep + 8, WHITE_PAWN)) return false;
      if (!((square_file(ep) != 7 && holds(ep + 9, BLACK_PAWN)) ||
            (square_file(ep) != 0 && holds(ep + 7, BLACK_PAWN))))
        return false;
    }
  }
  if (st.fiftyCount > st.historyCount) return false;
  if (st.key != PositionKey(&p, sideToMove) || st.pawnKey != PawnKey(&p) ||
      st.materialSignature != MaterialSignature(&p))
    return false;
  if (popcount(p.pieceBits[KING_INDEX + WHITE]) != 1 ||
      popcount(p.pieceBits[KING_INDEX + BLACK]) != 1)
    return false;
  // A pawn on the first or last rank (set up so, or moved there by a move
  // word without its promotion letter) is no chess position, and the pawn
  // tables reach past the board from there.
  constexpr Bitboard BACK_RANKS = 0xff000000000000ffull;
  if ((p.pieceBits[PAWN_INDEX + WHITE] | p.pieceBits[PAWN_INDEX + BLACK]) & BACK_RANKS) return false;
  int them = sideToMove ^ 1;
  return !attacked_by(p, int(p.kingSquare[them]), sideToMove);
}
