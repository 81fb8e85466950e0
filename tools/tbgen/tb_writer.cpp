#include <algorithm>
#include <cstdio>
#include <cstring>
#include <queue>
#include <string>

#include "tablebase/compressed.h"
#include "tablebase/tb_rows.h"
#include "tb_solver.h"

namespace tbgen {
namespace {

constexpr int MAX_CODE_LENGTH = 15;
constexpr int MIN_MATCH = 4;

struct BitWriter {
  std::vector<uint8_t> bytes;
  int used = 8;  // bits used in the last byte
  void put(uint32_t value, int n) {
    for (int i = n - 1; i >= 0; --i) {
      if (used == 8) {
        bytes.push_back(0);
        used = 0;
      }
      if ((value >> i) & 1) bytes.back() |= uint8_t(0x80 >> used);
      ++used;
    }
  }
};

// Huffman code lengths of the counts, none longer than MAX_CODE_LENGTH; a
// lone symbol gets a partner so that the code is complete.
std::vector<uint8_t> code_lengths(std::vector<uint64_t> counts) {
  const int n = int(counts.size());
  int used = int(std::count_if(counts.begin(), counts.end(), [](uint64_t c) { return c > 0; }));
  if (used == 1) counts[counts[0] ? 1 : 0] = 1, used = 2;
  std::vector<uint8_t> lengths(n, 0);
  if (!used) return lengths;
  for (;;) {
    using Item = std::pair<uint64_t, int>;
    std::priority_queue<Item, std::vector<Item>, std::greater<Item>> queue;
    std::vector<int> parent(2 * n, -1);
    for (int s = 0; s < n; ++s)
      if (counts[s]) queue.push({counts[s], s});
    int next = n;
    while (queue.size() > 1) {
      const Item a = queue.top();
      queue.pop();
      const Item b = queue.top();
      queue.pop();
      parent[a.second] = parent[b.second] = next;
      queue.push({a.first + b.first, next++});
    }
    int longest = 0;
    for (int s = 0; s < n; ++s) {
      if (!counts[s]) continue;
      int depth = 0;
      for (int x = s; parent[x] >= 0; x = parent[x]) ++depth;
      lengths[s] = uint8_t(depth);
      longest = std::max(longest, depth);
    }
    if (longest <= MAX_CODE_LENGTH) return lengths;
    for (uint64_t& c : counts)
      if (c) c = (c >> 1) | 1;
  }
}

void put_symbol(BitWriter* w, const std::vector<uint8_t>& lengths, const std::vector<uint32_t>& codes, int symbol) {
  w->put(codes[symbol], lengths[symbol]);
}

std::vector<uint32_t> canonical(const std::vector<uint8_t>& lengths) {
  std::vector<uint32_t> codes(lengths.size());
  CanonicalCodes(lengths.data(), int(lengths.size()), codes.data());
  return codes;
}

// Up to 128 lengths, plainly: width, then each length, a zero followed by
// how many more zeros come.
void put_short_lengths(BitWriter* w, const std::vector<uint8_t>& lengths) {
  w->put(0, 1);
  w->put(4, 5);
  for (size_t i = 0; i < lengths.size();) {
    w->put(lengths[i], 4);
    if (lengths[i++]) continue;
    int zeros = 0;
    while (zeros < 15 && i < lengths.size() && lengths[i] == 0) ++zeros, ++i;
    w->put(uint32_t(zeros), 4);
  }
}

// The lengths of the 1024 symbols, coded by a code of lengths and repeats.
void put_long_lengths(BitWriter* w, const std::vector<uint8_t>& lengths) {
  struct Token {
    int symbol, run;  // run: repeat code, or -1
  };
  std::vector<Token> tokens;
  for (size_t i = 0; i < lengths.size();) {
    size_t run = 1;
    while (i + run < lengths.size() && lengths[i + run] == lengths[i] && run < 33) ++run;
    if (run >= 2) tokens.push_back({32 + lengths[i], int(run) - 2});
    else tokens.push_back({lengths[i], -1});
    i += run;
  }
  std::vector<uint64_t> symbolCounts(64, 0), runCounts(64, 0);
  for (const Token& t : tokens) {
    ++symbolCounts[t.symbol];
    if (t.run >= 0) ++runCounts[t.run];
  }
  std::vector<uint8_t> symbolLengths = code_lengths(symbolCounts), runLengths = code_lengths(runCounts);
  w->put(0, 1);
  std::vector<uint8_t> small(symbolLengths);
  small.insert(small.end(), runLengths.begin(), runLengths.end());
  put_short_lengths(w, small);
  const std::vector<uint32_t> symbolCodes = canonical(symbolLengths), runCodes = canonical(runLengths);
  for (const Token& t : tokens) {
    put_symbol(w, symbolLengths, symbolCodes, t.symbol);
    if (t.run >= 0) put_symbol(w, runLengths, runCodes, t.run);
  }
}

void put32(std::vector<uint8_t>* out, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) (*out)[at + i] = uint8_t(v >> (24 - 8 * i));
}

// The distances of at least 4 bytes at which the bytes most often repeat.
std::vector<int> choose_distances(const std::vector<uint8_t>& bytes) {
  constexpr int CANDIDATES = 4096;
  std::vector<uint64_t> hits(CANDIDATES, 0);
  for (size_t i = CANDIDATES; i + 4 <= bytes.size(); i += 37)
    for (int d = 4; d < CANDIDATES; ++d)
      if (!std::memcmp(&bytes[i], &bytes[i - d], 4)) ++hits[d];
  std::vector<int> order;
  for (int d = 4; d < CANDIDATES; ++d) order.push_back(d);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return hits[a] > hits[b]; });
  order.resize(TB_DISTANCES);
  return order;
}

struct Token {
  int symbol;
  uint32_t extra;
  int extraBits;
};

std::vector<Token> parse_block(const uint8_t* block, int size, const std::vector<int>& distances) {
  std::vector<Token> tokens;
  for (int i = 0; i < size;) {
    int best = 0, bestIndex = 0;
    for (int k = 0; k < TB_DISTANCES; ++k) {
      const int d = distances[k];
      if (d > i) continue;
      int length = 0;
      while (i + length < size && block[i + length] == block[i + length - d]) ++length;
      if (length > best) best = length, bestIndex = k;
    }
    if (best < MIN_MATCH) {
      tokens.push_back({block[i++], 0, 0});
      continue;
    }
    int code = best - 1, bits = 0;
    uint32_t extra = 0;
    if (best >= 16) {
      bits = 31 - __builtin_clz(uint32_t(best - 14));
      code = 14 + bits;
      extra = uint32_t(best - 14) - (1u << bits);
    }
    tokens.push_back({256 + bestIndex * 32 + code, extra, bits});
    i += best;
  }
  return tokens;
}

}  // namespace

std::vector<uint8_t> CompressTableBytes(const std::vector<uint8_t>& bytes) {
  const uint32_t blocks = uint32_t((bytes.size() + TB_BLOCK_BYTES - 1) / TB_BLOCK_BYTES);
  const std::vector<int> distances = choose_distances(bytes);
  std::vector<std::vector<Token>> parsed(blocks);
  std::vector<uint64_t> counts(TB_SYMBOLS, 0);
  for (uint32_t b = 0; b < blocks; ++b) {
    const size_t start = size_t(b) * TB_BLOCK_BYTES;
    parsed[b] = parse_block(&bytes[start], int(std::min<size_t>(TB_BLOCK_BYTES, bytes.size() - start)), distances);
    for (const Token& t : parsed[b]) ++counts[t.symbol];
  }
  const std::vector<uint8_t> lengths = code_lengths(counts);
  const std::vector<uint32_t> codes = canonical(lengths);
  std::vector<std::vector<uint8_t>> coded(blocks);
  for (uint32_t b = 0; b < blocks; ++b) {
    const size_t start = size_t(b) * TB_BLOCK_BYTES;
    const size_t size = std::min<size_t>(TB_BLOCK_BYTES, bytes.size() - start);
    BitWriter w;
    for (const Token& t : parsed[b]) {
      put_symbol(&w, lengths, codes, t.symbol);
      if (t.extraBits) w.put(t.extra, t.extraBits);
    }
    // A block that coding does not make smaller is stored as it is.
    if (w.bytes.size() >= size) coded[b].assign(bytes.begin() + long(start), bytes.begin() + long(start + size));
    else coded[b] = std::move(w.bytes);
  }
  BitWriter sizes;
  for (uint32_t b = 0; b < blocks; ++b) sizes.put(uint32_t(coded[b].size()) & (TB_BLOCK_BYTES - 1), TB_BLOCK_LOG2);
  const size_t last = bytes.size() - size_t(blocks - 1) * TB_BLOCK_BYTES;
  sizes.put(uint32_t(last) & (TB_BLOCK_BYTES - 1), TB_BLOCK_LOG2);
  for (int d : distances) sizes.put(uint32_t(d), TB_BLOCK_LOG2);
  BitWriter lengthBits;
  put_long_lengths(&lengthBits, lengths);
  while (lengthBits.bytes.size() < 4) lengthBits.bytes.push_back(0);

  std::vector<uint8_t> out(80, 0);
  std::memcpy(out.data(), TB_BANNER, sizeof(TB_BANNER) - 1);
  out[70] = TB_BLOCK_LOG2;
  out[71] = TB_DISTANCES;
  put32(&out, 72, blocks);
  put32(&out, 76, TB_FORMAT_MARK);
  for (uint32_t b = 0; b < blocks; ++b) {
    const uint32_t crc = TbCrc(coded[b].data(), coded[b].size());
    for (int i = 0; i < 4; ++i) out.push_back(uint8_t(crc >> (24 - 8 * i)));
    for (int i = 0; i < 4; ++i) out.push_back(0);
  }
  out.insert(out.end(), sizes.bytes.begin(), sizes.bytes.end());
  out.insert(out.end(), lengthBits.bytes.begin(), lengthBits.bytes.end());
  const uint32_t headerLength = uint32_t(out.size() + 4);
  put32(&out, 64, headerLength);
  const uint32_t crc = TbCrc(out.data(), out.size());
  for (int i = 0; i < 4; ++i) out.push_back(uint8_t(crc >> (24 - 8 * i)));
  for (const auto& block : coded) out.insert(out.end(), block.begin(), block.end());
  return out;
}

bool WriteTable(const Table& table, const std::string& folder, bool compressed) {
  const int sides = (tb_row_flags(table.row) & TB_SYMMETRIC) ? 1 : 2;
  for (int side = 0; side < sides; ++side) {
    std::vector<uint8_t> bytes(table.values[side].size());
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(StoredByte(table.values[side][i]));
    if (compressed) bytes = CompressTableBytes(bytes);
    std::string path = folder + "/" + tb_row_name(table.row) + (side ? ".nbb" : ".nbw");
    if (compressed) path += ".emd";
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    if (std::fclose(f) || !ok) return false;
  }
  return true;
}

}  // namespace tbgen
