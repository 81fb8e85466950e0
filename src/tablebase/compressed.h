// The compressed table format: a header with a block index, then blocks of
// 8192 decoded bytes each, coded by a static prefix code over literals and
// matches at 24 fixed distances. This side reads it; the table generator
// writes it with the same pieces (the CRC, the prefix code builder).
#pragma once

#include <cstdint>
#include <cstdio>

constexpr int TB_BLOCK_BYTES = 8192;
constexpr int TB_BLOCK_LOG2 = 13;
constexpr int TB_DISTANCES = 24;
constexpr int TB_SYMBOLS = 1024;  // 256 literals, then 24 distances x 32 length codes
constexpr int TB_DECODE_BITS = 13;
constexpr uint32_t TB_FORMAT_MARK = 0x4001f5;
constexpr int TB_BANNER_BYTES = 64;
// The banner's fixed words; the name after the years may differ between
// builds of the packer and is not compared.
constexpr const char TB_BANNER_WORDS[] = "Compressed by DATACOMP v 1.0 (c) 1991--1998 ";
constexpr const char TB_BANNER[] = "Compressed by DATACOMP v 1.0 (c) 1991--1998 Marten Hollbek\r\n";

// Error codes of ReadCompressedHeader: the low byte tells the kind.
constexpr int TB_READ_ERROR = 2, TB_OUT_OF_MEMORY = 5, TB_FILE_BROKEN = 6;
constexpr int TB_BAD_CODE = 0x100 | TB_FILE_BROKEN;  // code lengths that make no complete code

// The header's CRC: reflected, polynomial 0xedb88320 XORed in when the low
// bit is clear, start 0, no final inversion.
uint32_t TbCrc(const uint8_t* data, size_t length, uint32_t crc = 0);

// A canonical prefix decode table: entries `symbol << 5 | length` for codes of
// up to `bits` bits; longer codes link (negative entries) into a tree of
// pairs that follows the table.
struct DecodeTable {
  int16_t entries[1 << TB_DECODE_BITS];
  int16_t tree[2 * TB_SYMBOLS];
  int bits;
};

// Canonical codes of the lengths, shorter first, symbols rising within a
// length: the code of each symbol (right-aligned), 0 for length 0. False when
// the lengths make no complete code (one symbol of length 1 is accepted).
bool CanonicalCodes(const uint8_t* lengths, int count, uint32_t* codes);
// 0, or TB_BAD_CODE.
int BuildDecodeTable(DecodeTable* table, const uint8_t* lengths, int count, int bits);

// Big-endian bit reader fed 16 bits at a time; the next code is at the top.
struct BitReader {
  const uint8_t* data;
  size_t length, position;  // bytes
  uint32_t buffer;
  int valid;  // bits in the buffer
  int consumed_bits;
};
void BitStart(BitReader* r, const uint8_t* data, size_t length);
uint32_t BitRead(BitReader* r, int n);  // n <= 16
size_t BitBytesUsed(const BitReader* r);  // whole bytes the read bits reach into

// 0 or TB_BAD_CODE.
int ReadCodeLengths(BitReader* r, uint8_t* lengths, int count);

struct CompressedIndex {
  uint32_t marker;
  uint32_t blocks, blockSize, lastBlockSize;
  uint32_t maxCompressed;      // largest compressed block and 32: the work buffer's bound
  uint32_t* groupOffsets;      // one per 16 blocks, and one past the end
  uint16_t* blockDistances;    // per block: from its group start, or back from the next one
  uint16_t* compressedSizes;   // per block, bytes; equal to the block's size for a stored block
  int32_t distances[TB_DISTANCES];  // negative: how far behind the output a match starts
  DecodeTable decode;
  bool checkBlocks;            // per-block check; never set
};
constexpr uint32_t TB_INDEX_MARK = 0x58444d45;

uint64_t BlockOffset(const CompressedIndex* index, uint32_t block);
uint32_t BlockSize(const CompressedIndex* index, uint32_t block);

// Reads the header of an open file into a new index; 0 or an error code.
int ReadCompressedHeader(FILE* file, CompressedIndex** index);
void FreeCompressedIndex(CompressedIndex* index);

// The one work record of decoding: the state of a decode that stopped in the
// middle of a match, and the input buffer.
struct DecodeBlock {
  uint32_t magic;
  uint32_t pendingLength;  // bytes of a match still to copy
  int32_t pendingDistance;
  uint32_t inputLength;
  BitReader bits;
  uint8_t* output;
  uint8_t* outputStart;
  uint8_t reserved[32];
  uint8_t input[TB_BLOCK_BYTES];
};
static_assert(sizeof(DecodeBlock) == 8296);
constexpr uint32_t TB_DECODE_MAGIC = 0x79a3f29d;

// Decodes from the block's bit stream until `limit` bytes of output are
// there; a match that runs past the limit is kept for the next call.
// False when the stream is broken.
bool DecodeBytes(const CompressedIndex* index, DecodeBlock* decode, uint8_t* limit);
