#include "tablebase/compressed.h"

#include <cstdlib>
#include <cstring>

namespace {

uint32_t big_endian32(const uint8_t* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }

const uint32_t* crc_table() {
  static uint32_t table[256];
  static bool built = false;
  if (!built) {
    for (uint32_t i = 0; i < 256; ++i) {
      uint32_t c = i;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? c >> 1 : (c >> 1) ^ 0xedb88320u;
      table[i] = c;
    }
    built = true;
  }
  return table;
}

// One symbol of a table; -1 for a code that leads nowhere.
int decode_symbol(const DecodeTable* t, BitReader* r) {
  const int16_t e = t->entries[r->buffer >> (32 - t->bits)];
  if (e >= 0) {
    if ((e & 31) == 0) return -1;
    BitRead(r, e & 31);
    return e >> 5;
  }
  BitRead(r, t->bits);
  int16_t node = e;
  while (node < 0) node = t->tree[(-node - 1) * 2 + BitRead(r, 1)];
  return node >> 5;
}

// A bit count of up to 32, read 16 at a time.
uint32_t read_long(BitReader* r, int n) {
  uint32_t v = 0;
  while (n > 0) {
    const int step = n > 16 ? 16 : n;
    v = (v << step) | BitRead(r, step);
    n -= step;
  }
  return v;
}

}  // namespace

uint32_t TbCrc(const uint8_t* data, size_t length, uint32_t crc) {
  const uint32_t* table = crc_table();
  for (size_t i = 0; i < length; ++i) crc = table[data[i] ^ (crc & 255)] ^ (crc >> 8);
  return crc;
}

void BitStart(BitReader* r, const uint8_t* data, size_t length) {
  *r = BitReader{data, length, 0, 0, 0, 0};
  for (int i = 0; i < 2; ++i) {
    const uint32_t hi = r->position < length ? data[r->position] : 0;
    const uint32_t lo = r->position + 1 < length ? data[r->position + 1] : 0;
    r->buffer = (r->buffer << 16) | hi << 8 | lo;
    r->position += 2;
  }
  r->valid = 32;
}

uint32_t BitRead(BitReader* r, int n) {
  if (n == 0) return 0;
  const uint32_t v = r->buffer >> (32 - n);
  r->buffer = n == 32 ? 0 : r->buffer << n;
  r->valid -= n;
  r->consumed_bits += n;
  if (r->valid <= 16) {
    const uint32_t hi = r->position < r->length ? r->data[r->position] : 0;
    const uint32_t lo = r->position + 1 < r->length ? r->data[r->position + 1] : 0;
    r->buffer |= (hi << 8 | lo) << (16 - r->valid);
    r->valid += 16;
    r->position += 2;
  }
  return v;
}

size_t BitBytesUsed(const BitReader* r) { return (size_t(r->consumed_bits) + 7) / 8; }

bool CanonicalCodes(const uint8_t* lengths, int count, uint32_t* codes) {
  int perLength[32] = {0};
  int used = 0;
  for (int s = 0; s < count; ++s) {
    if (lengths[s] > 31) return false;
    if (lengths[s]) ++perLength[lengths[s]], ++used;
  }
  uint64_t room = 1ull << 31, taken = 0;
  for (int len = 1; len < 32; ++len) taken += uint64_t(perLength[len]) * (room >> (len - 1));
  const bool single = used == 1 && perLength[1] == 1;
  if (used && taken != 2 * room && !single) return false;
  uint32_t next[32], code = 0;
  for (int len = 1; len < 32; ++len) {
    code = (code + perLength[len - 1]) << 1;
    next[len] = code;
  }
  for (int s = 0; s < count; ++s) codes[s] = lengths[s] ? next[lengths[s]]++ : 0;
  return true;
}

int BuildDecodeTable(DecodeTable* table, const uint8_t* lengths, int count, int bits) {
  uint32_t codes[TB_SYMBOLS];
  table->bits = bits;
  std::memset(table->entries, 0, sizeof(int16_t) << bits);
  if (!CanonicalCodes(lengths, count, codes)) return TB_BAD_CODE;
  // A code of one symbol names it whatever its one bit says.
  int used = 0, only = 0;
  for (int s = 0; s < count; ++s)
    if (lengths[s]) ++used, only = s;
  if (used == 1) {
    for (int i = 0; i < (1 << bits); ++i) table->entries[i] = int16_t(only << 5 | 1);
    return 0;
  }
  static bool filled[1 << TB_DECODE_BITS];
  std::memset(filled, 0, size_t(1) << bits);
  int nodes = 0;
  for (int s = 0; s < count; ++s) {
    const int len = lengths[s];
    if (!len) continue;
    if (len <= bits) {
      const uint32_t first = codes[s] << (bits - len);
      for (uint32_t i = 0; i < (1u << (bits - len)); ++i) {
        table->entries[first + i] = int16_t(s << 5 | len);
        filled[first + i] = true;
      }
      continue;
    }
    // A long code: the table entry of its first bits links to a tree walked
    // one bit at a time.
    const uint32_t top = codes[s] >> (len - bits);
    if (!filled[top]) {
      filled[top] = true;
      table->tree[2 * nodes] = table->tree[2 * nodes + 1] = 0;
      table->entries[top] = int16_t(-(++nodes));
    }
    int16_t node = table->entries[top];
    for (int i = len - bits - 1; i >= 0; --i) {
      int16_t& slot = table->tree[(-node - 1) * 2 + ((codes[s] >> i) & 1)];
      if (i == 0) {
        slot = int16_t(s << 5);
      } else {
        if (slot >= 0) {
          if (nodes >= TB_SYMBOLS) return TB_BAD_CODE;
          table->tree[2 * nodes] = table->tree[2 * nodes + 1] = 0;
          slot = int16_t(-(++nodes));
        }
        node = slot;
      }
    }
  }
  return 0;
}

int ReadCodeLengths(BitReader* r, uint8_t* lengths, int count) {
  std::memset(lengths, 0, size_t(count));
  if (BitRead(r, 1)) return 0;
  if (count <= 128) {
    const int width = int(BitRead(r, 5));
    for (int i = 0; i < count;) {
      const int len = int(BitRead(r, width));
      lengths[i++] = uint8_t(len);
      if (len == 0)
        for (int zeros = int(BitRead(r, 4)); zeros > 0 && i < count; --zeros) lengths[i++] = 0;
    }
    return 0;
  }
  // Long lists are themselves coded: lengths and repeats by two small codes.
  uint8_t small[128];
  ReadCodeLengths(r, small, 128);
  static DecodeTable symbols, runs;
  if (BuildDecodeTable(&symbols, small, 64, 8) || BuildDecodeTable(&runs, small + 64, 64, 8)) return TB_BAD_CODE;
  for (int i = 0; i < count;) {
    const int symbol = decode_symbol(&symbols, r);
    if (symbol < 0) return TB_BAD_CODE;
    if (symbol < 32) {
      lengths[i++] = uint8_t(symbol);
      continue;
    }
    const int code = decode_symbol(&runs, r);
    if (code < 0) return TB_BAD_CODE;
    uint32_t repeat = code < 32 ? code + 2 : ((1u << (code - 32)) | read_long(r, code - 32)) + 31 + 2;
    for (; repeat > 0 && i < count; --repeat) lengths[i++] = uint8_t(symbol & 31);
  }
  return 0;
}

uint64_t BlockOffset(const CompressedIndex* index, uint32_t block) {
  if (block >= index->blocks) return index->groupOffsets[(index->blocks + 15) / 16];
  const uint32_t group = block >> 4;
  // Distances of the upper half count back from the next group, less one,
  // so that eight full blocks still fit in 16 bits.
  return (block & 8) ? index->groupOffsets[group + 1] - index->blockDistances[block] - 1
                     : index->groupOffsets[group] + index->blockDistances[block];
}

uint32_t BlockSize(const CompressedIndex* index, uint32_t block) {
  return block + 1 == index->blocks ? index->lastBlockSize : index->blockSize;
}

void FreeCompressedIndex(CompressedIndex* index) {
  if (!index) return;
  std::free(index->groupOffsets);
  std::free(index->blockDistances);
  std::free(index);
}

int ReadCompressedHeader(FILE* file, CompressedIndex** out) {
  *out = nullptr;
  uint8_t head[80];
  // A file too short for the fixed fields is no table of this format.
  if (std::fseek(file, 0, SEEK_SET) || std::fread(head, 1, 80, file) != 80) return TB_FILE_BROKEN;
  const uint32_t headerLength = big_endian32(head + 64), log2 = head[70], blocks = big_endian32(head + 72);
  if (std::memcmp(head, TB_BANNER_WORDS, sizeof(TB_BANNER_WORDS) - 1) || log2 > 16 || headerLength < 84 ||
      head[71] != TB_DISTANCES || big_endian32(head + 76) != TB_FORMAT_MARK || blocks == 0 ||
      80 + 8ull * blocks > headerLength - 4)
    return TB_FILE_BROKEN;
  uint8_t* header = static_cast<uint8_t*>(std::malloc(headerLength));
  CompressedIndex* index = static_cast<CompressedIndex*>(std::calloc(1, sizeof(CompressedIndex)));
  const uint32_t groups = (blocks + 15) / 16;
  if (index) {
    index->groupOffsets = static_cast<uint32_t*>(std::malloc(sizeof(uint32_t) * (groups + 1)));
    index->blockDistances = static_cast<uint16_t*>(std::malloc(sizeof(uint16_t) * blocks));
  }
  uint32_t* sizes = static_cast<uint32_t*>(std::malloc(sizeof(uint32_t) * blocks));
  int error = 0;
  if (!header || !index || !index->groupOffsets || !index->blockDistances || !sizes) {
    error = TB_OUT_OF_MEMORY;
  } else {
    std::memcpy(header, head, 80);
    if (std::fread(header + 80, 1, headerLength - 80, file) != headerLength - 80) error = TB_READ_ERROR;
    else if (TbCrc(header, headerLength - 4) != big_endian32(header + headerLength - 4)) error = TB_FILE_BROKEN;
  }
  if (!error) {
    const uint32_t full = 1u << log2;
    BitReader r;
    const size_t start = 80 + 8ull * blocks;
    BitStart(&r, header + start, headerLength - 4 - start);
    for (uint32_t b = 0; b < blocks; ++b) {
      const uint32_t v = BitRead(&r, int(log2));
      sizes[b] = v ? v : full;
      if (sizes[b] > index->maxCompressed) index->maxCompressed = sizes[b];
    }
    index->maxCompressed += 32;  // the work buffer keeps 32 bytes to spare
    const uint32_t last = BitRead(&r, int(log2));
    index->blocks = blocks;
    index->blockSize = full;
    index->lastBlockSize = last ? last : full;
    for (int d = 0; d < TB_DISTANCES; ++d) index->distances[d] = -int32_t(BitRead(&r, int(log2)));
    const size_t lengthsStart = start + BitBytesUsed(&r);
    if (lengthsStart + 4 > headerLength - 4) {
      error = TB_FILE_BROKEN;
    } else {
      uint8_t lengths[TB_SYMBOLS];
      BitStart(&r, header + lengthsStart, headerLength - 4 - lengthsStart);
      error = ReadCodeLengths(&r, lengths, TB_SYMBOLS);
      if (!error) error = BuildDecodeTable(&index->decode, lengths, TB_SYMBOLS, TB_DECODE_BITS);
    }
    uint64_t offset = headerLength;
    for (uint32_t b = 0; b < blocks && !error; ++b) {
      if ((b & 15) == 0) index->groupOffsets[b >> 4] = uint32_t(offset);
      offset += sizes[b];
    }
    if (!error) {
      index->groupOffsets[groups] = uint32_t(offset);
      // Per-block distances from the nearer group start.
      uint64_t at = headerLength;
      for (uint32_t b = 0; b < blocks; ++b) {
        const uint32_t group = b >> 4;
        index->blockDistances[b] = uint16_t((b & 8) ? index->groupOffsets[group + 1] - at - 1
                                                    : at - index->groupOffsets[group]);
        at += sizes[b];
      }
      index->marker = TB_INDEX_MARK;
    }
  }
  std::free(header);
  std::free(sizes);
  if (error) {
    FreeCompressedIndex(index);
    return error;
  }
  *out = index;
  return 0;
}

bool DecodeBytes(const CompressedIndex* index, DecodeBlock* d, uint8_t* limit) {
  if (d->magic != TB_DECODE_MAGIC) return false;
  uint8_t* out = d->output;
  BitReader* r = &d->bits;
  while (out < limit) {
    if (d->pendingLength) {
      if (out + d->pendingDistance < d->outputStart) return false;
      for (; d->pendingLength && out < limit; --d->pendingLength, ++out) *out = out[d->pendingDistance];
      continue;
    }
    if (r->position > d->inputLength + 4) return false;
    const int symbol = decode_symbol(&index->decode, r);
    if (symbol < 0) return false;
    if (symbol < 256) {
      *out++ = uint8_t(symbol);
      continue;
    }
    const int s = symbol - 256, code = s & 31;
    uint32_t length = uint32_t(code) + 1;
    if (code >= 15) {
      const int n = code - 14;
      length = (1u << n) + read_long(r, n) + 13 + 1;
    }
    // Matches are copied byte by byte: one may overlap its own output.
    d->pendingLength = length;
    d->pendingDistance = index->distances[s >> 5];
  }
  d->output = out;
  return true;
}
