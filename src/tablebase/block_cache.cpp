#include "tablebase/block_cache.h"

#include <cstdlib>
#include <cstring>

#include "tablebase/registry.h"

struct CacheSlot {
  int32_t table;
  int32_t side;
  uint32_t block;
  CacheSlot* lruNext;
  CacheSlot* lruPrev;
  CacheSlot* bucketNext;
  CacheSlot* bucketPrev;
  uint8_t* data;
};
static_assert(sizeof(CacheSlot) + TB_SLOT_DATA_BYTES == TB_SLOT_BYTES);

namespace {

uint8_t* cache_memory = nullptr;
bool cache_made = false;
CacheSlot* slots = nullptr;
int slot_count = 0;
CacheSlot* lru_head = nullptr;  // most recent
CacheSlot* lru_tail = nullptr;
CacheSlot* free_list = nullptr;  // linked by lruNext

// A kppkp position with Black to move that the files hold wrongly: the
// value is built in here so that no file is read for it.
constexpr uint64_t KPPKP_FIXED[] = {56802428, 56811076, 56849992, 56858640, 59592489, 67775659, 71071628};
constexpr int KPPKP_ROW = 36;

CacheSlot** bucket_of(const CacheSlot* s) {
  return &tb_descriptors[s->table].bucketHeads[s->side][s->block & (TB_BUCKETS - 1)];
}

void unlink(CacheSlot* s) {
  (s->lruPrev ? s->lruPrev->lruNext : lru_head) = s->lruNext;
  (s->lruNext ? s->lruNext->lruPrev : lru_tail) = s->lruPrev;
  CacheSlot** bucket = bucket_of(s);
  if (s->bucketPrev) s->bucketPrev->bucketNext = s->bucketNext;
  else *bucket = s->bucketNext;
  if (s->bucketNext) s->bucketNext->bucketPrev = s->bucketPrev;
}

void link_at_heads(CacheSlot* s) {
  s->lruPrev = nullptr;
  s->lruNext = lru_head;
  (lru_head ? lru_head->lruPrev : lru_tail) = s;
  lru_head = s;
  CacheSlot** bucket = bucket_of(s);
  s->bucketPrev = nullptr;
  s->bucketNext = *bucket;
  if (*bucket) (*bucket)->bucketPrev = s;
  *bucket = s;
}

FILE* part_file(TbDescriptor& d, int side, int part) {
  FILE*& file = d.files[side][part];
  if (file) return file;
  file = std::fopen(d.paths[side][part], "rb");
  if (!file) {
    // Out of handles, perhaps: give them all back and try once more.
    tb_close_files();
    file = std::fopen(d.paths[side][part], "rb");
  }
  return file;
}

bool read_plain(FILE* file, uint32_t block, uint8_t* data) {
  // Seeks in steps of 2^30 past 2^31 bytes, as a 32-bit seek cannot say more.
  const uint64_t at = uint64_t(block) << TB_BLOCK_LOG2;
  if (at < TB_PART_BYTES) {
    if (std::fseek(file, long(at), SEEK_SET)) return false;
  } else {
    if (std::fseek(file, 0, SEEK_SET)) return false;
    for (uint64_t left = at; left; left -= left < 0x40000000 ? left : 0x40000000)
      if (std::fseek(file, long(left < 0x40000000 ? left : 0x40000000), SEEK_CUR)) return false;
  }
  const size_t got = std::fread(data, 1, TB_BLOCK_BYTES, file);
  return got == TB_BLOCK_BYTES || (got > 0 && std::feof(file));
}

bool read_compressed(FILE* file, const CompressedIndex* index, uint32_t block, uint8_t* data) {
  DecodeBlock* d = tb_decode_block;
  if (!d || block >= index->blocks) return false;
  const uint64_t at = BlockOffset(index, block);
  const uint32_t stored = uint32_t(BlockOffset(index, block + 1) - at), size = BlockSize(index, block);
  if (stored > TB_BLOCK_BYTES || std::fseek(file, long(at), SEEK_SET) || std::fread(d->input, 1, stored, file) != stored)
    return false;
  if (stored == size) {
    std::memcpy(data, d->input, size);
    return true;
  }
  d->pendingLength = 0;
  d->inputLength = stored;
  d->output = d->outputStart = data;
  BitStart(&d->bits, d->input, stored);
  return DecodeBytes(index, d, data + size);
}

}  // namespace

void UseTablebaseCache(uint64_t bytes) {
  std::free(cache_memory);
  cache_memory = nullptr;
  cache_made = false;
  slot_count = 0;
  if (bytes >= 56) {
    cache_memory = static_cast<uint8_t*>(std::malloc(bytes));
    cache_made = cache_memory != nullptr;
    if (cache_made) slot_count = int(bytes / TB_SLOT_BYTES);
  }
  slots = reinterpret_cast<CacheSlot*>(cache_memory);
  for (int i = 0; i < slot_count; ++i)
    slots[i].data = cache_memory + sizeof(CacheSlot) * slot_count + uint64_t(i) * TB_SLOT_DATA_BYTES;
  ResetCache();
}

void UseTablebaseCacheMb(int32_t megabytes) { UseTablebaseCache(megabytes > 0 ? uint64_t(megabytes) << 20 : 0); }

bool tb_cache_exists() { return cache_made; }
int tb_cache_slots() { return slot_count; }

void ResetCache() {
  tb_close_files();
  for (TbDescriptor& d : tb_descriptors)
    for (int side = 0; side < 2; ++side)
      if (d.bucketHeads[side]) std::memset(d.bucketHeads[side], 0, TB_BUCKETS * sizeof(CacheSlot*));
  lru_head = lru_tail = nullptr;
  free_list = nullptr;
  for (int i = slot_count - 1; i >= 0; --i) {
    slots[i].lruNext = free_list;
    free_list = &slots[i];
  }
}

int32_t ReadBlock(int row, int side, uint32_t block, uint32_t offset) {
  TbDescriptor& d = tb_descriptors[row];
  for (CacheSlot* s = d.bucketHeads[side][block & (TB_BUCKETS - 1)]; s; s = s->bucketNext)
    if (s->block == block) {
      if (s != lru_head || s != d.bucketHeads[side][block & (TB_BUCKETS - 1)]) {
        unlink(s);
        link_at_heads(s);
      }
      return int8_t(s->data[offset]);
    }
  CacheSlot* s = free_list;
  if (s) {
    free_list = s->lruNext;
  } else {
    s = lru_tail;
    if (!s) return TB_NO_VALUE;
    unlink(s);
  }
  s->table = row;
  s->side = side;
  s->block = block;
  const int part = (d.flags & TB_SPLIT) ? int(block >> 18) : 0;
  const uint32_t inFile = (d.flags & TB_SPLIT) ? block & 0x3ffff : block;
  FILE* file = part < TB_MAX_PARTS && d.paths[side][part] ? part_file(d, side, part) : nullptr;
  const bool ok = file && (d.decoders[side][part] ? read_compressed(file, d.decoders[side][part], inFile, s->data)
                                                  : read_plain(file, inFile, s->data));
  if (!ok) {
    // The part is dropped for the rest of the run.
    if (part < TB_MAX_PARTS) {
      std::free(d.paths[side][part]);
      d.paths[side][part] = nullptr;
    }
    s->lruNext = free_list;
    free_list = s;
    return TB_NO_VALUE;
  }
  link_at_heads(s);
  return int8_t(s->data[offset]);
}

int32_t ReadTableValue(int row, int side, uint64_t index) {
  TbDescriptor& d = tb_descriptors[row];
  if (d.flags & TB_SYMMETRIC) side = 0;
  // The files of a row may end before its last index (kppkp).
  if (index >= d.size[side]) return TB_NO_VALUE;
  int32_t b;
  if (d.memoryTable[side]) {
    b = d.memoryTable[side][index];
  } else if (cache_made && d.bucketHeads[side]) {
    if (d.flags & TB_WIDE) {
      const uint32_t block = uint32_t(index >> 12), offset = uint32_t(index & 0xfff) * 2;
      const int32_t low = ReadBlock(row, side, block, offset), high = ReadBlock(row, side, block, offset + 1);
      if (low == TB_NO_VALUE || high == TB_NO_VALUE) return TB_NO_VALUE;
      return high * 256 + (low & 255);
    }
    if (row == KPPKP_ROW && side == 1)
      for (uint64_t fixed : KPPKP_FIXED)
        if (index == fixed) return -32639;
    b = ReadBlock(row, side, uint32_t(index >> 13), uint32_t(index & 0x1fff));
    if (b == TB_NO_VALUE) return TB_NO_VALUE;
  } else {
    return TB_NO_VALUE;
  }
  if (b == 0) return 0;
  if (b == 127) return TB_NO_VALUE;
  if (b == -127) return -32640;
  if (b == -128) return 32640;
  return b > 0 ? b + 32640 : b - 32640;
}
