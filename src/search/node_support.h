// Pieces that every node routine shares, from quiescence up to the root:
// the score of a node (full, or taken over after a null move), the hash
// bucket's move and cut tests, and the key of an exclusion search.
#pragma once

#include <array>
#include <cstdint>

#include "board/keys.h"
#include "board/move.h"
#include "eval/evaluate.h"
#include "eval/node_record.h"
#include "hash/table.h"
#include "search/move_picker.h"
#include "search/search_common.h"

// The full evaluation at a node, from Us's view, followed by the gain update.
template <int Us>
inline int32_t FullScore(NodeRecord* node) {
  const int32_t white = Evaluate(node);
  node->staticScore = Us == WHITE ? white : -white;
  UpdateGain<Us>(node);
  return node->staticScore;
}

// After a null move the parent's score and maps stand, from our side.
inline int32_t NullMoveScore(NodeRecord* node) {
  const NodeRecord& parent = node[-1];
  node->whiteAttacks = parent.whiteAttacks;
  node->blackAttacks = parent.blackAttacks;
  node->whiteThreatened = parent.whiteThreatened;
  node->blackThreatened = parent.blackThreatened;
  node->positionalScore = parent.positionalScore;
  node->approximate = parent.approximate;
  node->staticScore = -parent.staticScore;
  return node->staticScore;
}

// The hash move of a bucket: the last matching slot with a move.
inline Move BucketMove(const HashBucket& bucket, uint64_t key) {
  Move move = 0;
  for (const uint64_t e : bucket.word)
    if (HashEntry::Matches(e, key) && HashEntry::BestMove(e)) move = HashEntry::BestMove(e);
  return move;
}

// The same move, a hash-form queen promotion matching its full word.
inline bool SameMove(Move a, Move b) { return !((a ^ b) & (MOVE_IDENTITY | (Move(1) << 48))); }

// The bucket of the position: the first slot whose bound `cuts` accepts ends
// the node with its value (and confirms the slot's date).
template <typename Cuts>
inline bool ProbeCut(const HashBucket& bucket, uint64_t key, Cuts cuts, int32_t* value) {
  for (int i = 0; i < 4; ++i) {
    const uint64_t e = bucket.word[i];
    if (!HashEntry::Matches(e, key) || !cuts(e, HashEntry::Value(e))) continue;
    RefreshDate(key, i, e);
    *value = HashEntry::Value(e);
    return true;
  }
  return false;
}

// A search that excludes moves keys its entries apart from the plain
// position's: the four square fields of the exclusion word pick words of
// this table. It is a table of its own: with a row of the piece keys, the
// search that excludes a move would share its key with the position after
// that move and a null move.
inline constexpr std::array<uint64_t, 64> EXCLUSION_KEYS = [] {
  std::array<uint64_t, 64> t{};
  KeyStream stream{KEY_SEED ^ 0x6578636c75646564ull};
  for (auto& word : t) word = stream.next();
  return t;
}();

inline uint64_t ExclusionKey(uint32_t exclusion) {
  if (!exclusion) return 0;
  return EXCLUSION_KEYS[exclusion & 63] ^ EXCLUSION_KEYS[exclusion >> 10 & 63] ^ EXCLUSION_KEYS[exclusion >> 16 & 63] ^
         EXCLUSION_KEYS[exclusion >> 26 & 63];
}

// A value as the table keeps it: offset, and inside the 14-bit field.
inline int32_t StoredForm(int32_t value) {
  return (value < -HASH_VALUE_OFFSET ? -HASH_VALUE_OFFSET : value > HASH_VALUE_OFFSET ? HASH_VALUE_OFFSET : value) +
         HASH_VALUE_OFFSET;
}
