#include "tablebase/probe.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>

#include "board/types.h"
#include "tablebase/block_cache.h"
#include "tablebase/registry.h"

uint64_t tbhits = 0;
int32_t tb_library_ready = 0;

namespace {

using LibraryCall = void (*)();
using LibraryQuery = int32_t (*)();
using LibraryProbe = int32_t (*)(const uint32_t* counts, const uint32_t* whiteSquares, const uint32_t* blackSquares,
                                 int32_t side, int32_t epSquare, int32_t* result);

struct ProbeLibrary {
  void* handle = nullptr;
  LibraryQuery maxPiece = nullptr;
  LibraryQuery isReady = nullptr;
  LibraryProbe probeList = nullptr;
  LibraryCall newGame = nullptr;
  LibraryCall init = nullptr;
  LibraryCall exit = nullptr;
};
ProbeLibrary library;

constexpr const char* LIBRARY_NAME = "libegtbgate.so";

// Men of each kind in list order (pawns to queens), White's then Black's.
void CountMen(int counts[10]) {
  for (int colour = 0; colour < 2; ++colour)
    for (int kind = 0; kind < 5; ++kind) counts[colour * 5 + kind] = popcount(position.pieceBits[2 * kind + colour]);
}

bool ProbeLibraryTables(int32_t* result, int side) {
  uint32_t counts[10], squares[2][24] = {};
  for (int colour = 0; colour < 2; ++colour) {
    squares[colour][0] = position.kingSquare[colour];
    for (int kind = 0; kind < 5; ++kind) {
      Bitboard men = position.pieceBits[2 * kind + colour];
      counts[colour * 5 + kind] = uint32_t(popcount(men));
      // The list has four places a kind: a fifth man cannot be told.
      if (counts[colour * 5 + kind] > 4) return false;
      for (int place = 4 + 4 * kind; men; men &= men - 1) squares[colour][place++] = uint32_t(__builtin_ctzll(men));
    }
  }
  int32_t r = 0;
  if (!library.probeList(counts, squares[0], squares[1], side, int32_t(position.state.epSquare), &r)) return false;
  ++tbhits;
  *result = r ? ((r > 0 ? 4080 : -4080) - r) * 2 : 0;
  return true;
}

bool ProbeTableFiles(int32_t* result, int side) {
  int counts[10];
  CountMen(counts);
  const int leaf = tb_find_row(counts);
  if (!leaf) return false;
  uint32_t lists[2][MANLIST_PLACES] = {};
  for (int colour = 0; colour < 2; ++colour) {
    for (int kind = 0; kind < 5; ++kind) {
      Bitboard men = position.pieceBits[2 * kind + colour];
      for (int place = 3 * kind; men && place < 3 * kind + 3; men &= men - 1)
        lists[colour][place++] = uint32_t(__builtin_ctzll(men));
    }
    lists[colour][MANLIST_KING] = position.kingSquare[colour];
  }
  // The table has White as the strong side; a negative row is the same
  // table with colours exchanged.
  const bool flip = leaf < 0;
  const int row = flip ? -leaf : leaf, tableSide = flip ? !side : side;
  const TbDescriptor& d = tb_descriptors[row];
  // A symmetric row has only the file of its first side; of a split row any
  // part still there may hold the position.
  const int fileSide = (d.flags & TB_SYMMETRIC) ? 0 : tableSide;
  bool registered = d.memoryTable[fileSide] != nullptr;
  for (int part = 0; part < ((d.flags & TB_SPLIT) ? TB_MAX_PARTS : 1); ++part)
    registered = registered || d.paths[fileSide][part];
  if (!registered) return false;
  const int ep = position.state.epSquare ? int(position.state.epSquare) : TB_NO_EP;
  const uint64_t index = (tableSide ? d.indexBlack : d.indexWhite)(lists[flip], lists[!flip], ep, flip);
  const int32_t v = ReadTableValue(row, tableSide, index);
  if (v == TB_NO_VALUE) return false;
  ++tbhits;
  *result = v > 0 ? 2 * v - 57374 : v < 0 ? 2 * v + 57372 : 0;
  return true;
}

template <typename T>
bool Bind(void* handle, const char* name, T* entry) {
  *entry = reinterpret_cast<T>(dlsym(handle, name));
  return *entry != nullptr;
}

}  // namespace

bool ProbeTablebase(int32_t* result, int side) {
  if (library.handle) {
    if (!tb_library_ready) {
      if (!library.isReady()) return false;
      tablebase_pieces = tb_library_ready = library.maxPiece() & 0xff;
    }
    if (tb_library_ready) return ProbeLibraryTables(result, side);
  }
  return ProbeTableFiles(result, side);
}

std::string FindEgtbGate() {
  char self[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof(self) - 1);
  if (n <= 0) return "";
  std::string path(self, size_t(n));
  path = path.substr(0, path.rfind('/') + 1) + LIBRARY_NAME;
  if (access(path.c_str(), F_OK)) return "";
  void* test = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!test) return "";
  dlclose(test);
  return path;
}

bool BindEgtbGate(const char* path) {
  UnbindEgtbGate();
  tb_library_ready = 0;
  // An empty name would open the engine itself.
  if (!path || !*path) return false;
  ProbeLibrary bound;
  bound.handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!bound.handle) return false;
  if (!Bind(bound.handle, "TBMaxPiece", &bound.maxPiece) || !Bind(bound.handle, "TBIsReady", &bound.isReady) ||
      !Bind(bound.handle, "TBProbeList", &bound.probeList) || !Bind(bound.handle, "TBNewGame", &bound.newGame) ||
      !Bind(bound.handle, "TBInit", &bound.init) || !Bind(bound.handle, "TBExit", &bound.exit)) {
    dlclose(bound.handle);
    return false;
  }
  library = bound;
  library.init();
  return true;
}

void UnbindEgtbGate() {
  if (!library.handle) return;
  library.exit();
  dlclose(library.handle);
  library = ProbeLibrary();
  tb_library_ready = 0;
}
