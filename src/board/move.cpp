#include "board/move.h"

#include <cstring>

#include "board/position.h"

int MoveToText(Move move, char* buffer) {
  if (move == NULL_MOVE_WORD) {
    std::memcpy(buffer, "null", 5);
    return 4;
  }
  int from = move_from(move), to = move_to(move);
  buffer[0] = char('a' + square_file(from));
  buffer[1] = char('1' + square_rank(from));
  buffer[2] = char('a' + square_file(to));
  buffer[3] = char('1' + square_rank(to));
  int length = 4;
  if (is_promotion(move)) {
    char letter = 'q';
    if (move & (Move(1) << 47)) letter = 'n';
    else if (move & (Move(1) << 45)) letter = 'b';
    else if (move & (Move(1) << 46)) letter = 'r';
    buffer[length++] = letter;
  }
  buffer[length] = 0;
  return length;
}

size_t AppendMoveWord(Move move, char* buffer, size_t size, size_t used) {
  if (used + 7 > size) return used;
  buffer[used] = ' ';
  used += 1 + size_t(MoveToText(move, buffer + used + 1));
  buffer[used] = 0;
  return used;
}

const char* MoveToText(Move move) {
  static char buffer[8];
  MoveToText(move, buffer);
  return buffer;
}

const char* MoveToText2(Move move) {
  static char buffer[8];
  MoveToText(move, buffer);
  return buffer;
}

namespace {

// A file letter is one whose offset from 'A' has no bit in 0xd8: A-H or a-h.
bool is_file_char(char c) { return c >= 'A' && ((c - 'A') & 0xd8) == 0; }
bool is_rank_char(char c) { return c >= '1' && c <= '8'; }

// Upper-case file letters pass the letter test but count from 'a', which
// gives a square below a1; the board's low margin reads as empty there.
Move read_move(const char* text, bool complete, bool lenient) {
  if (std::strncmp(text, "0000", 4) == 0) return 0;
  if (!lenient && (text[0] == 'a' || text[0] == 'A') && std::strncmp(text + 1, "1a1", 3) == 0)
    return 0;
  if (!is_file_char(text[0]) || !is_rank_char(text[1]) || !is_file_char(text[2]) ||
      !is_rank_char(text[3]))
    return 0;
  int from = (text[1] - '1') * 8 + (text[0] - 'a');
  int to = (text[3] - '1') * 8 + (text[2] - 'a');
  Move move = Move(int64_t(from)) << MOVE_FROM_SHIFT | Move(int64_t(to));
  const uint64_t* words = position.board;
  uint64_t from_word = from >= 0 ? words[from] : 0;
  uint64_t to_word = to >= 0 ? words[to] : 0;
  if (complete)
    move |= (from_word & 0x7e001c0) ^ ((to_word ^ 0x20000) & 0xa952000038020000ull);
  switch (text[4]) {
    case 'b': move |= PROMOTE_BISHOP; break;
    case 'n': move |= PROMOTE_KNIGHT; break;
    case 'q': move |= PROMOTE_QUEEN; break;
    case 'r': move |= PROMOTE_ROOK; break;
    case 'B': if (lenient) move |= PROMOTE_BISHOP; break;
    case 'N': if (lenient) move |= PROMOTE_KNIGHT; break;
    case 'Q': if (lenient) move |= PROMOTE_QUEEN; break;
    case 'R': if (lenient) move |= PROMOTE_ROOK; break;
    default: break;
  }
  if (complete && !lenient) {
    uint64_t mover_class = (from_word & WORD_CLASS) >> WORD_CLASS_SHIFT;
    if (mover_class == CLASS_PAWN && position.state.epSquare != 0 &&
        to == int(position.state.epSquare))
      move |= MOVE_EN_PASSANT;
    if (mover_class == CLASS_KING) move |= Move(1) << 21;
  }
  return move;
}

}  // namespace

Move TextToMove(const char* text, bool complete) { return read_move(text, complete, false); }

Move TextToMoveLenient(const char* text, bool complete) { return read_move(text, complete, true); }
