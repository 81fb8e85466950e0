// Build-time generator of the sliding-attack arrays.
//
// Usage: gen_attacks <output.cpp>
//
// Writes ROOK_ATTACK_STORE, BISHOP_ATTACK_STORE, ROOK_SLICE and BISHOP_SLICE.
// Masks, multipliers and shifts come from the header, so the program and this
// generator can never disagree about them. Every occupancy subset of every mask
// is pushed through the lookup formula; an entry that two subsets want with
// different attack sets (a bad multiplier: the narrow rook squares depend on
// collisions being constructive) stops the build with a message and no output.
#include <cstdio>
#include <vector>

#include "../src/board/attacks.h"

namespace {

struct SliderTable {
  const char* name;
  const std::array<Bitboard, 64>& mask;
  const uint64_t* magic;
  const uint32_t* shift;
  size_t entries;
  Bitboard (*attacks)(int, Bitboard);
};

const char* square_name(int s) {
  static char text[8][3];
  static int next = 0;
  char* t = text[next++ & 7];
  t[0] = char('a' + square_file(s));
  t[1] = char('1' + square_rank(s));
  t[2] = 0;
  return t;
}

// Fills `store` and `offsets`; false on any inconsistency, with the reason on stderr.
bool fill(const SliderTable& slider, std::vector<Bitboard>& store, size_t offsets[64]) {
  store.assign(slider.entries, 0);
  std::vector<char> used(slider.entries, 0);
  size_t offset = 0;
  for (int s = 0; s < 64; ++s) {
    const Bitboard mask = slider.mask[s];
    const uint32_t shift = slider.shift[s];
    if (shift < 44 || shift > 63) {
      std::fprintf(stderr, "gen_attacks: %s shift %u on %s out of range\n", slider.name, shift, square_name(s));
      return false;
    }
    const size_t size = size_t(1) << (64 - shift);
    offsets[s] = offset;
    if (offset + size > slider.entries) {
      std::fprintf(stderr, "gen_attacks: %s slices overrun the %zu entries at %s\n", slider.name, slider.entries,
                   square_name(s));
      return false;
    }
    // Carry-rippler walk over every subset of the mask, the empty one included.
    Bitboard occupancy = 0;
    do {
      const size_t index = size_t((occupancy * slider.magic[s]) >> shift);
      const Bitboard attack = slider.attacks(s, occupancy);
      Bitboard& slot = store[offset + index];
      if (used[offset + index] && slot != attack) {
        std::fprintf(stderr,
                     "gen_attacks: %s multiplier 0x%llx on %s sends occupancy 0x%llx to index %zu, "
                     "which already holds another attack set (0x%llx, wanted 0x%llx)\n",
                     slider.name, (unsigned long long)slider.magic[s], square_name(s), (unsigned long long)occupancy,
                     index, (unsigned long long)slot, (unsigned long long)attack);
        return false;
      }
      slot = attack;
      used[offset + index] = 1;
      occupancy = (occupancy - mask) & mask;
    } while (occupancy);
    offset += size;
  }
  if (offset != slider.entries) {
    std::fprintf(stderr, "gen_attacks: %s slices fill %zu of %zu entries\n", slider.name, offset, slider.entries);
    return false;
  }
  return true;
}

bool write_store(FILE* out, const char* name, const std::vector<Bitboard>& store) {
  std::fprintf(out, "alignas(64) const Bitboard %s[%zu] = {\n", name, store.size());
  for (size_t i = 0; i < store.size(); ++i)
    std::fprintf(out, "0x%llxull,%s", (unsigned long long)store[i], (i % 6 == 5) ? "\n" : "");
  return std::fprintf(out, "\n};\n\n") > 0;
}

bool write_slices(FILE* out, const char* name, const char* store, const size_t offsets[64]) {
  std::fprintf(out, "const Bitboard* const %s[64] = {\n", name);
  for (int s = 0; s < 64; ++s)
    std::fprintf(out, "%s%s + %zu,%s", (s % 4 == 0) ? "    " : " ", store, offsets[s], (s % 4 == 3) ? "\n" : "");
  return std::fprintf(out, "};\n\n") > 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: gen_attacks <output.cpp>\n");
    return 2;
  }
  const SliderTable rook{"rook",        ROOK_MASK, ROOK_MAGIC, ROOK_SHIFT, ROOK_ATTACK_ENTRIES,
                        [](int s, Bitboard occ) { return attack_build::rook_slide(s, occ); }};
  const SliderTable bishop{"bishop",        BISHOP_MASK, BISHOP_MAGIC, BISHOP_SHIFT, BISHOP_ATTACK_ENTRIES,
                          [](int s, Bitboard occ) { return attack_build::bishop_slide(s, occ); }};

  std::vector<Bitboard> rook_store, bishop_store;
  size_t rook_offsets[64], bishop_offsets[64];
  if (!fill(rook, rook_store, rook_offsets) || !fill(bishop, bishop_store, bishop_offsets)) return 1;

  FILE* out = std::fopen(argv[1], "w");
  if (!out) {
    std::perror(argv[1]);
    return 1;
  }
  bool ok = std::fprintf(out,
                         "// Written at build time by tools/gen_attacks.cpp from the masks, multipliers\n"
                         "// and shifts of board/attacks.h. Do not edit.\n"
                         "#include \"board/attacks.h\"\n\n") > 0;
  ok = ok && write_store(out, "ROOK_ATTACK_STORE", rook_store);
  ok = ok && write_store(out, "BISHOP_ATTACK_STORE", bishop_store);
  ok = ok && write_slices(out, "ROOK_SLICE", "ROOK_ATTACK_STORE", rook_offsets);
  ok = ok && write_slices(out, "BISHOP_SLICE", "BISHOP_ATTACK_STORE", bishop_offsets);
  ok = (std::fclose(out) == 0) && ok;
  if (!ok) {
    std::fprintf(stderr, "gen_attacks: writing %s failed\n", argv[1]);
    std::remove(argv[1]);
    return 1;
  }
  return 0;
}
