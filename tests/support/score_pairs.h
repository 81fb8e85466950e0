// Small helpers of the evaluation tests: squares by name, and the packed
// opening/endgame pairs split back into their halves for readable failures.
#pragma once

#include <cstdint>
#include <ostream>

namespace quorl_test {

constexpr int Sq(const char* name) { return (name[1] - '1') * 8 + (name[0] - 'a'); }

struct Halves {
  int32_t m, e;
  bool operator==(const Halves& o) const { return m == o.m && e == o.e; }
};

inline std::ostream& operator<<(std::ostream& os, const Halves& h) {
  return os << "(" << h.m << ", " << h.e << ")";
}

// An unbiased pair, split with the endgame half's borrow undone.
inline Halves Split(uint32_t pair) {
  const int32_t e = int16_t(uint16_t(pair & 0xffff));
  return {(int32_t(pair) - e) / 65536, e};
}

constexpr uint32_t Pack(int32_t m, int32_t e) { return uint32_t(m) * 65536u + uint32_t(e); }

}  // namespace quorl_test
