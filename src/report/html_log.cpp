#include "report/html_log.h"

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <ctime>

#include "board/attacks.h"
#include "board/position.h"
#include "clock/budget.h"
#include "platform/machine.h"
#include "platform/system.h"
#include "report/diagram.h"
#include "report/output.h"
#include "search/root_list.h"
#include "shell/dialogue.h"

namespace {

// Figurines of the chess font, pawn to king; Black's are the capitals.
constexpr const char FIGURINES[] = "ikjlmn";
constexpr int PAWN = 0, KNIGHT = 1, BISHOP = 2, ROOK = 3, QUEEN = 4, KING = 5;

int kind_of(int code) { return (code - 2) / 2; }

Bitboard pieces_of(const NotationBoard& board, int kind, int colour) {
  Bitboard set = 0;
  for (int square = 0; square < 64; ++square)
    if (board.code[square] == 2 + 2 * kind + colour) set |= bit(square);
  return set;
}

Bitboard occupancy(const NotationBoard& board) {
  Bitboard set = 0;
  for (int square = 0; square < 64; ++square)
    if (board.code[square]) set |= bit(square);
  return set;
}

// The men of `colour` and `kind` that attack `target` over `occupied`.
Bitboard attackers(const NotationBoard& board, int kind, int colour, int target, Bitboard occupied) {
  const Bitboard own = pieces_of(board, kind, colour);
  switch (kind) {
    case PAWN: return own & (colour == WHITE ? WHITE_PAWN_SOURCES[target] : BLACK_PAWN_SOURCES[target]);
    case KNIGHT: return own & KNIGHT_ATTACKS[target];
    case BISHOP: return own & BishopAttacks(target, occupied);
    case ROOK: return own & RookAttacks(target, occupied);
    case QUEEN: return own & QueenAttacks(target, occupied);
    default: return own & KING_ATTACKS[target];
  }
}

bool king_attacked(const NotationBoard& board, int colour) {
  const Bitboard king = pieces_of(board, KING, colour);
  if (!king) return false;
  const int square = lowest_square(king);
  const Bitboard occupied = occupancy(board);
  for (int kind = PAWN; kind <= KING; ++kind)
    if (attackers(board, kind, colour ^ 1, square, occupied)) return true;
  return false;
}

// A man that cannot leave its square without opening a line from its own
// king to an enemy slider.
bool pinned(const NotationBoard& board, int square, int colour) {
  const Bitboard king = pieces_of(board, KING, colour);
  if (!king) return false;
  const int king_square = lowest_square(king);
  const Bitboard occupied = occupancy(board) & ~bit(square);
  const Bitboard queens = pieces_of(board, QUEEN, colour ^ 1);
  return (RookAttacks(king_square, occupied) & (pieces_of(board, ROOK, colour ^ 1) | queens)) ||
         (BishopAttacks(king_square, occupied) & (pieces_of(board, BISHOP, colour ^ 1) | queens));
}

void append(char* text, size_t size, const char* format, const char* piece) {
  const size_t used = std::strlen(text);
  if (used < size) std::snprintf(text + used, size - used, format, piece);
}

// Notation lines of the last four full moves, and the board they are read on.
constexpr int NOTATION_LINES = 4;
char notation_line[NOTATION_LINES][512];
NotationBoard notation_board;

struct RowState {
  char pending[4096];
  char alternatives[8192];  // notes of the search not yet written
  char fail_low[4096];
  Move fail_low_move;
  int32_t fail_low_depth;
  int32_t deepest_shown;
  NotationBoard root;
  bool active;
};
RowState rows;

// The score column, from White's side.
void score_column(int32_t score, char* text, size_t size) {
  char pawns[32];
  pawn_score_text(sideToMove == BLACK ? -score : score, pawns, sizeof(pawns));
  std::snprintf(text, size, "<font style=\"width:76px\">%s</font>", pawns);
}

void time_column(uint64_t ms, char* text, size_t size) {
  const int seconds = int(ms / 1000);
  if (seconds >= 3600)
    std::snprintf(text, size, "<font style=\"width:76px\">%d:%02d:%02d</font>", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
  else
    std::snprintf(text, size, "<font style=\"width:76px\">%d:%02d</font>", seconds / 60, seconds % 60);
}

void depth_column(int32_t depth, char* text, size_t size) {
  if (depth > rows.deepest_shown) {
    std::snprintf(text, size, "<font style=\"width:35px\">%d</font>", depth / 2);
    rows.deepest_shown = depth;
  } else {
    std::snprintf(text, size, "<font style=\"width:35px\"></font>");
  }
}

// The principal line in figurines, read on the root board.
void notated_line(const char* pv, char* text, size_t size) {
  NotationBoard board = rows.root;
  text[0] = 0;
  notate_line(&board, pv, text, size);
}

void build_row(const RootRecord& row, const char* score, char* text, size_t size) {
  char depth[64], time[64], line[2048];
  depth_column(row.depth, depth, sizeof(depth));
  time_column(row.time, time, sizeof(time));
  notated_line(row.pv, line, sizeof(line));
  std::snprintf(text, size, "%s%s%s%s<br>\n", depth, score, time, line);
}

void write_row(char* text) {
  if (html_log && text[0]) {
    std::fputs(rows.alternatives, html_log);
    rows.alternatives[0] = 0;
    std::fputs(text, html_log);
    std::fflush(html_log);
  }
  text[0] = 0;
}

void material_figurines(char* text, size_t size) {
  static const char WHITE_FIGURES[] = "ikjlm", BLACK_FIGURES[] = "IKJLM";
  text[0] = 0;
  for (int side = WHITE; side <= BLACK; ++side) {
    if (side == BLACK) append(text, size, "%s", "`:`");
    for (int kind = QUEEN; kind >= PAWN; --kind) {
      const int surplus = popcount(position.pieceBits[2 * kind + side]) - popcount(position.pieceBits[2 * kind + (side ^ 1)]);
      const char figure[2] = {side == WHITE ? WHITE_FIGURES[kind] : BLACK_FIGURES[kind], 0};
      for (int i = 0; i < surplus; ++i) append(text, size, "%s", figure);
    }
  }
}

}  // namespace

int square_named(const char* text) {
  const int file = text[0] - 'a', rank = text[0] ? text[1] - '1' : -1;
  return file >= 0 && file < 8 && rank >= 0 && rank < 8 ? rank * 8 + file : -1;
}

void write_html_head() {
  if (!html_log) return;
  MachineDescription machine;
  describe_machine(&machine);
  // The name text: the command line up to its first dot, begun again at each
  // folder separator or product word, without blanks.
  char command_line[4096], name[512] = "";
  command_line_text(command_line, sizeof(command_line));
  size_t length = 0;
  for (const char* p = command_line; *p && *p != '.';) {
    if (strncasecmp(p, "vemta", 5) == 0) {
      length = 0;
      p += 5;
      continue;
    }
    if (*p == '/' || *p == '\\') length = 0;
    else if (*p != ' ' && length + 1 < sizeof(name)) name[length++] = *p;
    name[length] = 0;
    ++p;
  }
  const time_t now = time(nullptr);
  char date[64];
  ctime_r(&now, date);
  date[std::strcspn(date, "\n")] = 0;
  std::fprintf(html_log, "<HTML><HEAD><TITLE>%s%s, %s</TITLE>\n", "Quorl", name, date);
  std::fputs("</HEAD>\n", html_log);
  std::fputs("<BODY style=\"font-family:Chess Alpha 2;font-size:18px\">\n", html_log);
  std::fputs("<BODY>\n", html_log);
  std::fputs("<font style=\"font-family:Times New Roman;font-size:14px\">-- Make sure that Alpha2 chess font is "
             "installed: <a href=\"https://www.google.com/search?q=Chess+Alpha+2+font\">search for it</a>"
             "</font><br>\n",
             html_log);
  std::fprintf(html_log,
               "<font style=\"font-family:Times New Roman;font-size:18px\">%d processors, %s, %s, %d MHz, %lld mb "
               "RAM</font><br><br>\n",
               machine.processors, machine.architecture, machine.processor_name, int(machine.mhz),
               static_cast<long long>(machine.total_ram_mb));
  std::fflush(html_log);
}

void write_html_tail() {
  if (!html_log) return;
  std::fputs("\n</BODY></HTML>\n", html_log);
  std::fflush(html_log);
}

void load_notation_board(NotationBoard* board) {
  for (int square = 0; square < 64; ++square) board->code[square] = uint8_t(piece_code_at(square));
  board->side = sideToMove;
  board->letters = false;
}

namespace {

// The sign of a man: a figurine (Black's are the capitals), or a capital
// letter with a pawn's capture named by its `from` file; none for a pawn's
// step (`from` -1).
const char* man_text(const NotationBoard& board, int kind, int colour, int from) {
  static char text[2];
  text[0] = from < 0                            ? char(0)
            : !board.letters                    ? char(FIGURINES[kind] - (colour == BLACK ? 'a' - 'A' : 0))
            : kind == PAWN                      ? char('a' + (from & 7))
                                                : "PNBRQK"[kind];
  text[1] = 0;
  return text;
}

}  // namespace

int pawn_score_text(int32_t v, char* text, size_t size) {
  if (v > 8000 || v < -8000) return std::snprintf(text, size, "#%d", v > 0 ? (8160 - v) / 2 : (-8160 - v) / 2);
  const int32_t a = v < 0 ? -v : v;
  return std::snprintf(text, size, "%s%d.%02d", v < 0 ? "-" : "+", a / 100, a % 100);
}

bool notate_move(NotationBoard* board, const char* word, char* text, size_t size) {
  const int from = square_named(word);
  const int to = std::strlen(word) >= 4 ? square_named(word + 2) : -1;
  if (from < 0 || to < 0) return false;
  const int code = board->code[from];
  if (!code || (code & 1) != board->side) return false;
  const int colour = board->side, kind = kind_of(code);
  // The moves of a position line are trusted, not checked: only a pawn's
  // step to a neighbouring file one rank ahead takes en passant, and only a
  // king's two steps from its own start square castle.
  const int ahead = colour == WHITE ? 8 : -8;
  const int files_apart = (from & 7) - (to & 7);
  const bool en_passant = kind == PAWN && (to & ~7) - (from & ~7) == ahead &&
                          (files_apart == 1 || files_apart == -1) && !board->code[to];
  const bool capture = board->code[to] || en_passant;
  const bool castling =
      kind == KING && from == (colour == WHITE ? 4 : 60) && (from - to == 2 || to - from == 2);

  // Rivals of the same kind that could go there too, less the pinned ones.
  // A pawn's capture in letters names its file, which tells it apart.
  Bitboard rivals = 0;
  if (kind != KING && (kind != PAWN || (capture && !board->letters)))
    rivals = attackers(*board, kind, colour, to, occupancy(*board)) & ~bit(from);
  for (Bitboard r = rivals; r; r &= r - 1)
    if (pinned(*board, lowest_square(r), colour)) rivals &= ~bit(lowest_square(r));

  // Play it, then see whether it gives check.
  NotationBoard after = *board;
  after.code[from] = 0;
  after.code[to] = uint8_t(code);
  if (en_passant) after.code[(from & ~7) | (to & 7)] = 0;
  if (castling) {
    const int rook_from = to > from ? from + 3 : from - 4, rook_to = to > from ? from + 1 : from - 1;
    after.code[rook_to] = after.code[rook_from];
    after.code[rook_from] = 0;
  }
  static const char PROMOTIONS[] = "nbrq";
  if (const char* promoted = word[4] ? std::strchr(PROMOTIONS, word[4]) : nullptr)
    after.code[to] = uint8_t(2 + 2 * (promoted - PROMOTIONS + 1) + colour);
  after.side = colour ^ 1;
  const char* check = king_attacked(after, colour ^ 1) ? "+" : "";
  *board = after;

  if (castling) {
    // Zeros in the chess font, as its games are set; letters elsewhere.
    const char* sign = board->letters ? "O-O" : "0-0";
    append(text, size, "%s", sign);
    if (to < from) append(text, size, "-%s", sign + 2);
    append(text, size, "%s", check);
    return true;
  }
  append(text, size, "%s", man_text(*board, kind, colour, kind == PAWN && !capture ? -1 : from));
  const char from_file[2] = {char('a' + (from & 7)), 0}, from_rank[2] = {char('1' + (from >> 3)), 0};
  if (popcount(rivals) >= 2) {
    append(text, size, "%s", from_file);
    append(text, size, "%s", from_rank);
  } else if (rivals) {
    append(text, size, "%s", ((lowest_square(rivals) ^ from) & 7) ? from_file : from_rank);
  }
  const char target[4] = {capture ? 'x' : char(0), 0, 0, 0};
  append(text, size, "%s", target);
  const char to_name[3] = {char('a' + (to & 7)), char('1' + (to >> 3)), 0};
  append(text, size, "%s", to_name);
  if (after.code[to] != code) {
    append(text, size, "%s", board->letters ? "=" : "");
    append(text, size, "%s", man_text(*board, kind_of(after.code[to]), colour, 0));
  }
  append(text, size, "%s", check);
  return true;
}

void notate_line(NotationBoard* board, const char* words, char* text, size_t size) {
  char word[8];
  for (const char* p = words; std::sscanf(p, "%7s", word) == 1;) {
    const size_t used = std::strlen(text);
    if (used && used + 1 < size) std::strcat(text, " ");
    if (!notate_move(board, word, text, size)) break;
    p = std::strstr(p, word) + std::strlen(word);
  }
}

void reset_notation_lines() {
  for (char* line : notation_line) line[0] = 0;
  load_notation_board(&notation_board);
}

void note_position_move(const char* word, size_t remaining, int index) {
  // A word that reads as no move passes the turn on the Position; the side
  // board follows, so that the moves behind it are still notated.
  notation_board.side = sideToMove;
  const int mover = notation_board.side;
  const int line = 3 - (int(remaining) + (mover == WHITE ? -4 : 1)) / 10;
  char figurine[32] = "";
  if (!notate_move(&notation_board, word, figurine, sizeof(figurine))) return;
  if (line < 0 || line >= NOTATION_LINES) return;
  char* text = notation_line[line];
  const size_t size = sizeof(notation_line[line]);
  if (!text[0]) {
    // The number of the full move: the list may begin with Black's move.
    const int first_black = (mover == BLACK) == (index % 2 == 0);
    std::snprintf(text, size, "<font style=\"width:40px\">%d.</font>", (index + first_black) / 2 + 1);
    if (mover == BLACK) append(text, size, "%s", "<font style=\"width:66px\">></font>");
  }
  if (mover == WHITE) {
    const size_t used = std::strlen(text);
    std::snprintf(text + used, size - used, "<font style=\"width:66px\">%s</font>", figurine);
  } else {
    append(text, size, "%s", figurine);
  }
}

namespace {
char kept_moves[4096], left_moves[4096];
}

void clear_html_root_moves() { kept_moves[0] = left_moves[0] = 0; }

void note_html_root_move(const char* word, bool kept) {
  if (!html_log) return;
  char* text = kept ? kept_moves : left_moves;
  if (!text[0]) append(text, sizeof(kept_moves), "<font style=\"color:%s\">", kept ? "green" : "red");
  NotationBoard board;
  load_notation_board(&board);
  notate_move(&board, word, text, sizeof(kept_moves));
  append(text, sizeof(kept_moves), "%s", " ");
}

const char* html_root_moves_text() {
  for (char* text : {kept_moves, left_moves})
    if (text[0]) append(text, sizeof(kept_moves), "%s", "</font>");
  return std::strlen(left_moves) > std::strlen(kept_moves) ? left_moves : kept_moves;
}

void write_html_diagram(const char* root_text) {
  if (!html_log) return;
  char fen[128], material[64];
  WriteFen(fen);
  material_figurines(material, sizeof(material));
  static const char WHITE_CELLS[] = "DNBRQK", BLACK_CELLS[] = "pnbrqk";
  std::fputs("\n[zzzzzzzz]<br>\n", html_log);
  for (int rank = 7; rank >= 0; --rank) {
    std::fputc('1' + rank, html_log);
    for (int file = 0; file < 8; ++file) {
      const int code = piece_code_at(rank * 8 + file);
      std::fputc(!code ? ' ' : code & 1 ? BLACK_CELLS[kind_of(code)] : WHITE_CELLS[kind_of(code)], html_log);
    }
    const int mover_rank = sideToMove == WHITE ? 1 : 6;
    std::fputs(rank == mover_rank ? "~'" : "'", html_log);
    if (rank == 7)
      std::fprintf(html_log, "<font style=\"font-family:Times New Roman;font-size:15px\">%s</font>", fen);
    else if (rank == 6)
      std::fprintf(html_log, "<font style=\"font-size:16px\">%s</font>", material);
    else if (rank == 5 && root_text)
      std::fputs(root_text, html_log);
    else if (rank <= 3) {
      const char* line = notation_line[3 - rank];
      const bool waits = rank == 0 && wait_for_gui && target_time < NO_BUDGET;
      if (line[0] || waits) std::fprintf(html_log, "<font style=\"font-size:16px\">%s%s</font>", line, waits ? "`!?" : "");
    }
    std::fputs("<br>\n", html_log);
  }
  std::fputs("{ABCDEFGH}<br><br>\n", html_log);
  std::fputs("<font style=\"font-size:16px\">\n", html_log);
  std::fflush(html_log);
}

void begin_html_rows() {
  rows.pending[0] = rows.fail_low[0] = rows.alternatives[0] = 0;
  rows.fail_low_move = 0;
  rows.deepest_shown = 0;
  rows.active = html_log != nullptr;
  if (rows.active) load_notation_board(&rows.root);
}

void html_root_report(const RootRecord& row, bool first_row) {
  if (!rows.active || !html_log) return;
  // The first move failing low deep enough is kept until another move
  // takes over.
  if (row.upper && first_row && row.depth >= 8) {
    const int32_t v = sideToMove == BLACK ? -row.score : row.score, a = v < 0 ? -v : v;
    char score[96];
    std::snprintf(score, sizeof(score), "<font style=\"width:76px\">%s%d.%d--</font>", v < 0 ? "-" : "+", a / 100,
                  a % 100 / 10);
    // Its depth counts as shown only once the row is written.
    const int32_t deepest = rows.deepest_shown;
    build_row(row, score, rows.fail_low, sizeof(rows.fail_low));
    rows.deepest_shown = deepest;
    rows.fail_low_move = row.move;
    rows.fail_low_depth = row.depth;
    return;
  }
  if (row.depth <= 12 || row.lower || row.upper) return;
  if (rows.pending[0] && row.time >= 200) write_row(rows.pending);
  if (rows.fail_low[0] && row.move != rows.fail_low_move) {
    write_row(rows.fail_low);
    if (rows.fail_low_depth > rows.deepest_shown) rows.deepest_shown = rows.fail_low_depth;
  }
  char score[96], text[4096];
  score_column(row.score, score, sizeof(score));
  build_row(row, score, text, sizeof(text));
  if (row.time >= 200) write_row(text);
  else if (first_row) std::snprintf(rows.pending, sizeof(rows.pending), "%s", text);
}

void end_html_rows() {
  if (!rows.active) return;
  rows.active = false;
  if (!html_log) return;
  write_row(rows.pending);
  std::fputs(rows.alternatives, html_log);
  rows.alternatives[0] = 0;
  std::fputs("</font>\n", html_log);
  std::fflush(html_log);
}

void note_html_alternative(const char* text) {
  // A note cut short would leave its tags open: one that does not fit is
  // dropped.
  const size_t used = std::strlen(rows.alternatives);
  if (rows.active && used + std::strlen(text) < sizeof(rows.alternatives)) std::strcpy(rows.alternatives + used, text);
}
