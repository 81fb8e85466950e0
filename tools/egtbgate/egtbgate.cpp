// The probing library the engine binds at run time, over distance-to-mate
// tables of the kind Debian ships as gaviotatb. Its tables are found in the
// folders of QUORL_EGTB_PATH (separated by ':'), or in the default folder.
#include <dirent.h>
#include <gtb-probe.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr const char* DEFAULT_FOLDER = "/usr/share/gaviotatb/gtb3";
constexpr size_t CACHE_BYTES = 32u << 20;

const char** paths = nullptr;

std::string Folders() {
  const char* env = std::getenv("QUORL_EGTB_PATH");
  return env && *env ? env : DEFAULT_FOLDER;
}

// The files tell their compression by their suffix: ".gtb.cp4" and so on;
// plain ".gtb" when none is found.
int CompressionOf(const std::string& folders) {
  for (size_t start = 0; start <= folders.size();) {
    size_t end = folders.find(':', start);
    if (end == std::string::npos) end = folders.size();
    if (DIR* d = opendir(folders.substr(start, end - start).c_str())) {
      while (const dirent* e = readdir(d))
        if (const char* suffix = std::strstr(e->d_name, ".gtb.cp"); suffix && suffix[7] >= '1' && suffix[7] <= '4') {
          const int scheme = suffix[7] - '0';  // read before closedir frees the entry
          closedir(d);
          return scheme;
        }
      closedir(d);
    }
    start = end + 1;
  }
  return tb_UNCOMPRESSED;
}

}  // namespace

extern "C" {

void TBInit() {
  const std::string folders = Folders();
  paths = tbpaths_init();
  for (size_t start = 0; start <= folders.size();) {
    size_t end = folders.find(':', start);
    if (end == std::string::npos) end = folders.size();
    if (end > start) paths = tbpaths_add(paths, folders.substr(start, end - start).c_str());
    start = end + 1;
  }
  tb_init(0, CompressionOf(folders), paths);
  tbcache_init(CACHE_BYTES, 0);
}

void TBExit() {
  if (!paths) return;
  tbcache_done();
  tb_done();
  tbpaths_done(paths);
  paths = nullptr;
}

// Nothing of a game lives here.
void TBNewGame() {}

int32_t TBIsReady() { return paths && tb_is_initialized() && tb_availability() ? 1 : 0; }

// The largest man count of which some table is present.
int32_t TBMaxPiece() {
  const unsigned have = tb_availability();
  return have & 48 ? 5 : have & 12 ? 4 : have & 3 ? 3 : 0;
}

// Men by kind counts and fixed places (king at 0, then four places for each
// kind from pawns to queens); `epSquare` 0 is none. The result is in moves:
// a win in n moves is n, a loss in n moves -n, a draw 0. A side already
// mated has no such value and gets no answer.
int32_t TBProbeList(const uint32_t* counts, const uint32_t* whiteSquares, const uint32_t* blackSquares, int32_t side,
                    int32_t epSquare, int32_t* result) {
  unsigned squares[2][17];
  unsigned char pieces[2][17];
  const uint32_t* lists[2] = {whiteSquares, blackSquares};
  for (int colour = 0; colour < 2; ++colour) {
    int n = 0;
    squares[colour][n] = lists[colour][0];
    pieces[colour][n++] = tb_KING;
    for (int kind = 0; kind < 5; ++kind) {
      if (counts[colour * 5 + kind] > 4) return 0;
      for (uint32_t i = 0; i < counts[colour * 5 + kind]; ++i) {
        squares[colour][n] = lists[colour][4 + 4 * kind + i];
        pieces[colour][n++] = (unsigned char)(tb_PAWN + kind);
      }
    }
    squares[colour][n] = tb_NOSQUARE;
    pieces[colour][n] = tb_NOPIECE;
  }
  unsigned info = tb_UNKNOWN, plies = 0;
  if (!tb_probe_hard(unsigned(side), epSquare ? unsigned(epSquare) : unsigned(tb_NOSQUARE), tb_NOCASTLE, squares[0], squares[1],
                     pieces[0], pieces[1], &info, &plies))
    return 0;
  if (info == tb_DRAW) {
    *result = 0;
    return 1;
  }
  if (info != tb_WMATE && info != tb_BMATE) return 0;
  const bool won = info == (side ? tb_BMATE : tb_WMATE);
  if (!won && plies == 0) return 0;
  *result = won ? int32_t((plies + 1) / 2) : -int32_t(plies / 2);
  return 1;
}

}  // extern "C"
