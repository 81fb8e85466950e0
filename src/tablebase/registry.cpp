#include "tablebase/registry.h"

#include <sys/stat.h>

#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "pool/children.h"
#include "report/output.h"
#include "shell/options.h"
#include "tablebase/block_cache.h"
#include "tablebase/tablebase_settings.h"

TbDescriptor tb_descriptors[TB_ROWS];
DecodeBlock* tb_decode_block = nullptr;

namespace {

constexpr const char DEFAULT_TABLEBASE_PATH[] = "C:\\autoTB\\TB4;C:\\autoTB\\TB5;C:\\autoTB\\TB6";

uint64_t allocated_bytes = 0;
bool compressed_seen = false;

// CountTree: one level per count, in the order white pawns, knights,
// bishops, rooks, queens, then black's; a level allows what the levels above
// leave of four men. An inner entry is the offset of its child level, a leaf
// the row (negative: colours exchanged).
std::vector<int32_t> count_tree;

constexpr int COUNT_LEVELS = 10;
constexpr int MAX_MEN = 4;

int32_t build_level(int level, int left) {
  const int32_t at = int32_t(count_tree.size());
  count_tree.resize(count_tree.size() + left + 1, 0);
  if (level + 1 < COUNT_LEVELS)
    for (int n = 0; n <= left; ++n) {
      const int32_t child = build_level(level + 1, left - n);
      count_tree[at + n] = child;
    }
  return at;
}

// The leaf of a set of counts, or null when a count is past its level's bound.
int32_t* count_leaf(const int counts[COUNT_LEVELS]) {
  if (count_tree.empty()) return nullptr;
  int32_t at = 0;
  int left = MAX_MEN;
  for (int level = 0; level < COUNT_LEVELS; ++level) {
    if (counts[level] < 0 || counts[level] > left) return nullptr;
    left -= counts[level];
    if (level + 1 == COUNT_LEVELS) return &count_tree[at + counts[level]];
    at = count_tree[at + counts[level]];
  }
  return nullptr;
}

void clear_leaves(int32_t at, int level, int left) {
  for (int n = 0; n <= left; ++n) {
    if (level + 1 == COUNT_LEVELS) count_tree[at + n] = 0;
    else clear_leaves(count_tree[at + n], level + 1, left - n);
  }
}

bool enter_row(int row) {
  const TbRowMen& men = tb_row_men(row);
  int counts[COUNT_LEVELS];
  for (int side = 0; side < 2; ++side)
    for (int kind = 0; kind < TB_KINDS; ++kind) counts[side * 5 + kind] = men.count[side][kind];
  int32_t* leaf = count_leaf(counts);
  if (!leaf) return false;
  *leaf = row;
  if (tb_row_flags(row) & TB_SYMMETRIC) return true;
  for (int kind = 0; kind < TB_KINDS; ++kind) std::swap(counts[kind], counts[5 + kind]);
  leaf = count_leaf(counts);
  if (!leaf) return false;
  *leaf = -row;
  return true;
}

void build_descriptors() {
  for (int row = 0; row < TB_ROWS; ++row) {
    TbDescriptor& d = tb_descriptors[row];
    d.id = uint32_t(row);
    d.flags = tb_row_flags(row);
    std::snprintf(d.name, sizeof(d.name), "%s", tb_row_name(row));
    d.size[0] = TB_ROW_SIZES[row][0];
    d.size[1] = TB_ROW_SIZES[row][1];
    if (row) {
      d.indexWhite = tb_index_function(row, 0);
      d.indexBlack = tb_index_function(row, 1);
    }
  }
}

int part_count(int row, int side) {
  const TbDescriptor& d = tb_descriptors[row];
  if (!(d.flags & TB_SPLIT)) return 1;
  const uint64_t bytes = d.size[side] << ((d.flags & TB_WIDE) ? 1 : 0);
  const int parts = int(bytes >> 31) + 1;
  return parts < TB_MAX_PARTS ? parts : TB_MAX_PARTS;
}

uint64_t file_length(FILE* file) {
  struct stat st;
  return fstat(fileno(file), &st) ? 0 : uint64_t(st.st_size);
}

// The byte count of a part is checked where it is small enough to say.
void check_length(const TbDescriptor& d, int side, const char* path, uint64_t length) {
  if ((d.flags & TB_WIDE) || d.size[side] >= TB_PART_BYTES) return;
  const uint64_t size = d.size[side];
  const bool fits = length == size || ((d.flags & TB_SPLIT) && (length == TB_PART_BYTES || length == size % TB_PART_BYTES));
  if (!fits)
    fatal_exit("EGTB - %s corrupted %" PRIu64 " %" PRIu64 " %" PRIu64, path, length, size, TB_PART_BYTES);
}

// The names under which a compressed file of the part may be found.
std::vector<std::string> compressed_names(const std::string& plain, size_t nameStart, int row, bool split) {
  std::vector<std::string> names{plain + ".emd"};
  if (split) return names;
  std::string name = plain + ".emd";
  const size_t first = name.find('.', nameStart);
  name[first] = '_';
  names.push_back(name);  // kqkr_nbw.emd
  std::string both = name;
  both[both.find('.', nameStart)] = '_';
  names.push_back(both);  // kqkr_nbw_emd
  if (row <= 145) names.push_back(plain.substr(0, first) + plain.substr(first + 1) + ".emd");  // kqkrnbw.emd
  return names;
}

// Ends with true when the part has a file; fatal when the file is wrong.
bool RegisterFile(const char* folder, int row, int side, int part) {
  TbDescriptor& d = tb_descriptors[row];
  if (d.paths[side][part] || d.memoryTable[side]) return true;
  std::string path = folder;
  if (!path.empty() && path.back() != '/') path += '/';
  const size_t nameStart = path.size();
  path += d.name;
  const bool split = d.flags & TB_SPLIT;
  if (split) {
    path += '.';
    path += char(part < 10 ? '0' + part : 'a' + part - 10);
  }
  path += side ? ".nbb" : ".nbw";
  FILE* file = std::fopen(path.c_str(), "rb");
  if (file) {
    check_length(d, side, path.c_str(), file_length(file));
  } else {
    for (const std::string& name : compressed_names(path, nameStart, row, split)) {
      file = std::fopen(name.c_str(), "rb");
      if (!file) continue;
      path = name;
      CompressedIndex* index = nullptr;
      const int error = ReadCompressedHeader(file, &index);
      switch (error & 255) {
        case 0: break;
        case TB_READ_ERROR: fatal_exit("EGTB - unable to read %s - read error", path.c_str());
        case TB_OUT_OF_MEMORY: fatal_exit("EGTB - unable to read %s - out of memory", path.c_str());
        case TB_FILE_BROKEN: fatal_exit("EGTB - unable to read %s - file broken", path.c_str());
        default: fatal_exit("EGTB - unable to read %s - error %d", path.c_str(), error);
      }
      if (index->blockSize != TB_BLOCK_BYTES)
        fatal_exit("EGTB - %s: unsupported block size %d", path.c_str(), int(index->blockSize));
      check_length(d, side, path.c_str(), uint64_t(index->blocks - 1) * index->blockSize + index->lastBlockSize);
      d.decoders[side][part] = index;
      compressed_seen = true;
      break;
    }
    if (!file) return false;
  }
  std::fclose(file);
  if (!enter_row(row)) fatal_exit("EGTB - unable to register %s", path.c_str());
  d.paths[side][part] = static_cast<char*>(tb_allocate(path.size() + 1));
  std::memcpy(d.paths[side][part], path.c_str(), path.size() + 1);
  if (!d.bucketHeads[side]) {
    d.bucketHeads[side] = static_cast<CacheSlot**>(tb_allocate(TB_BUCKETS * sizeof(CacheSlot*)));
    std::memset(d.bucketHeads[side], 0, TB_BUCKETS * sizeof(CacheSlot*));
  }
  return true;
}

void forget_files() {
  tb_close_files();
  for (TbDescriptor& d : tb_descriptors)
    for (int side = 0; side < 2; ++side)
      for (int part = 0; part < TB_MAX_PARTS; ++part) {
        std::free(d.paths[side][part]);
        d.paths[side][part] = nullptr;
        FreeCompressedIndex(d.decoders[side][part]);
        d.decoders[side][part] = nullptr;
      }
  std::free(tb_decode_block);
  tb_decode_block = nullptr;
  compressed_seen = false;
}

}  // namespace

void* tb_allocate(size_t bytes) {
  void* p = std::malloc(bytes);
  if (!p) fatal_exit("EGTB - cannot allocate %d bytes of memory", int(bytes));
  allocated_bytes += bytes;
  return p;
}

void tb_close_files() {
  for (TbDescriptor& d : tb_descriptors)
    for (int side = 0; side < 2; ++side)
      for (FILE*& file : d.files[side]) {
        if (file) std::fclose(file);
        file = nullptr;
      }
}

int tb_find_row(const int counts[10]) {
  const int32_t* leaf = count_leaf(counts);
  return leaf ? *leaf : 0;
}

int RegisterTablebases(const char* pathList) {
  forget_files();
  if (count_tree.empty()) {
    InitIndexFamily();
    build_descriptors();
    build_level(0, MAX_MEN);
  }
  clear_leaves(0, 0, MAX_MEN);
  int largestRow = 0;
  std::string list = pathList ? pathList : "";
  for (size_t start = 0; start <= list.size();) {
    size_t end = list.find_first_of(",;", start);
    if (end == std::string::npos) end = list.size();
    const std::string folder = list.substr(start, end - start);
    start = end + 1;
    if (folder.empty()) continue;
    for (int side = 0; side < 2; ++side)
      for (int row = 1; row < TB_ROWS; ++row) {
        if (side && (tb_descriptors[row].flags & TB_SYMMETRIC)) continue;
        const int parts = part_count(row, side);
        for (int part = 0; part < parts && RegisterFile(folder.c_str(), row, side, part); ++part)
          if (row > largestRow) largestRow = row;
      }
  }
  if (compressed_seen) {
    tb_decode_block = static_cast<DecodeBlock*>(std::malloc(sizeof(DecodeBlock)));
    if (!tb_decode_block) fatal_exit("EGTB - cannot allocate decode block: error code %d", errno);
    allocated_bytes += sizeof(DecodeBlock);
    tb_decode_block->magic = TB_DECODE_MAGIC;
  }
  ResetCache();
  const int men = largestRow ? tb_row_men(largestRow).men : 0;
  return men;
}

void TablebaseSummary() {
  int men = RegisterTablebases(nalimov_path);
  if (men && !tb_cache_exists()) {
    log_note("Nalimov cache not allocated, cannot open tablebases.");
    men = 0;
  } else {
    ResetCache();
  }
  tablebase_pieces = men;
  const char* word = men >= 7 ? "7-man" : men == 6 ? "6-man" : men == 5 ? "5-man" : men == 4 ? "4-man" : "no";
  log_note("Tablebases initialized, %s tablebases in use.", word);
}

void tablebase_start(bool mainProcess) {
  if (configured.nalimov_cache) send_to_children("setoption name NalimovCache value %d", nalimov_cache_mb);
  if (configured.nalimov_cache || configured.nalimov_path) {
    UseTablebaseCacheMb(nalimov_cache_mb);
    if (configured.nalimov_path) {
      send_to_children("setoption name NalimovPath value %s", nalimov_path);
      TablebaseSummary();
    }
  }
  if (configured.nalimov_probe_frequency)
    send_to_children("setoption name NalimovProbeFrequency value %d", nalimov_probe_frequency);
  if (!configured.nalimov_cache && !configured.nalimov_path) UseTablebaseCache(0x100000);
  if (configured.nalimov_path) return;
  nalimov_path[0] = 0;
  if (!mainProcess) return;
  if (!configured.nalimov_cache) {
    nalimov_cache_mb = 8;
    UseTablebaseCache(0x800000);
  }
  // The built-in folders: a machine without them runs without tables.
  std::snprintf(nalimov_path, sizeof(nalimov_path), "%s", DEFAULT_TABLEBASE_PATH);
  TablebaseSummary();
}
