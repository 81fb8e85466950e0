// A slow, plain move generator written from the rules of chess, used as the
// yardstick for the engine's producers and make/unmake. It keeps its own
// mailbox and shares no tables or code with the engine's board core; only the
// conversion to engine move words and to a Position record touch engine code.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "board/types.h"

struct Position;

namespace reference {

// Men on the reference board: 0 empty, +1..+6 white, -1..-6 black.
enum Man : int { EMPTY = 0, PAWN = 1, KNIGHT = 2, BISHOP = 3, ROOK = 4, QUEEN = 5, KING = 6 };

struct RefMove {
  uint8_t from;
  uint8_t to;
  uint8_t promotion;  // 0, or KNIGHT..QUEEN
  uint8_t flags;      // CASTLE, EN_PASSANT, DOUBLE_PUSH
};
constexpr uint8_t MOVE_IS_CASTLE = 1, MOVE_IS_EN_PASSANT = 2, MOVE_IS_DOUBLE_PUSH = 4;

// Long algebraic text: "e2e4", "e7e8q".
std::string MoveText(const RefMove& move);

class Board {
 public:
  Board();  // the start position

  // Reads the four or six fields of a FEN; false (board unchanged) when the
  // text does not describe a board with one king of each colour.
  bool SetFen(const std::string& fen);
  // Reads the men from a Position's board words, castling and en passant from
  // its state; the side is given.
  void SetFromRecord(const Position& record, int side);
  // Writes the board as FEN; with counters, six fields, otherwise four.
  std::string Fen(bool counters = true) const;

  // Fills the placement part of a Position: board words, colourBits,
  // pieceBits, occupied, kingSquare, castling and epSquare. Everything else
  // (keys, sums, counters) is zero.
  void FillRecord(Position* record) const;

  int Side() const { return side_; }   // 0 white, 1 black
  int Castling() const { return castling_; }  // 1 K, 2 Q, 4 k, 8 q
  // En-passant target square, or -1. It is kept only while a pawn of the
  // side to move stands beside the pawn that has just moved two squares, the
  // rule the engine's make uses for its key.
  int EpSquare() const { return ep_; }
  int HalfmoveClock() const { return halfmove_; }
  int ManAt(int square) const { return squares_[square]; }
  int KingSquare(int colour) const { return king_[colour]; }
  // Men of one kind and colour (man > 0 white, < 0 black).
  int Count(int man) const;

  bool InCheck() const;
  bool IsAttacked(int square, int byColour) const;

  std::vector<RefMove> LegalMoves() const;
  std::vector<std::string> LegalMoveTexts() const;  // sorted
  // Plays a move known to be legal here.
  void Play(const RefMove& move);
  // Plays the legal move with this text; false when there is none.
  bool PlayText(const std::string& text);
  // Plays a random legal move; false (board unchanged) when there is none.
  // The text of the move played goes to `text` when given.
  bool PlayRandom(std::mt19937_64& rng, std::string* text = nullptr);

  uint64_t Perft(int depth) const;

 private:
  int GenerateLegal(RefMove* out) const;
  int GeneratePseudo(RefMove* out) const;
  void Clear();

  int8_t squares_[64];
  int side_;
  int castling_;
  int ep_;
  int halfmove_;
  int fullmove_;
  int king_[2];
};

// The legal moves of the board as engine move words: the global position is
// set from the board's FEN and each text is read with TextToMove(text, true).
std::vector<Move> EngineMoves(const Board& board);

}  // namespace reference
