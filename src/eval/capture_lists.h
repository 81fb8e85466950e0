// The capture list makers: in one pass over the side to move's men they find
// the pins and the lines to the enemy king, produce the tactical moves of the
// node as finished Move words (captures, queen promotions, checks and, in the
// wider variants, quiet moves that make a threat), and leave everything else
// in the node record for the quiet producers: per-square targets, the quiet
// pawn steps and the men still allowed quiet moves.
//
// The node's attack maps must describe the position (the evaluator or an
// attack map writer has run at this ply): king moves and castling read the
// enemy's map. The side to move must not be in check; evasions have their own
// producer.
#pragma once

#include <cstdint>

#include "board/types.h"
#include "eval/node_record.h"

// The eight variants, from the narrowest list to the widest. What each adds:
//   QUIESCE_NARROW     captures, queen promotions (and checking knight ones),
//                      en passant, checks of every class.
//   QUIESCE_MIDDLE     also an enemy man that stands between one of our
//                      sliders and the enemy queen stays a target even where
//                      the caller left it out: taking it uncovers the queen.
//   QUIESCE_WIDE       also castling that gives check.
//   CAPTURES_NARROW    as QUIESCE_WIDE.
//   CAPTURES_WIDE      also quiet threat moves of every class, king included.
//   RESTRICTED_HIGH    as QUIESCE_WIDE.
//   RESTRICTED_MIDDLE  also quiet threats of rooks, bishops and pawns, only
//                      those that threaten two men at once.
//   RESTRICTED_LOW     as CAPTURES_WIDE.
enum CaptureVariant : int {
  QUIESCE_NARROW = 1,
  QUIESCE_MIDDLE,
  QUIESCE_WIDE,
  CAPTURES_NARROW,
  CAPTURES_WIDE,
  RESTRICTED_HIGH,
  RESTRICTED_MIDDLE,
  RESTRICTED_LOW,
};

// Writes the list at `list` (0-terminated) and the node's moveTargets,
// pawnPushes, ownMen and the three line masks. `targets`: the enemy men that
// may be taken; a man outside them is taken only by a safe check. `hashMove`: left out, here and in the maps, when its from and
// to are met (a promotion only in its queen form). `historyRow` picks the
// history row whose rating orders the quiet checks and threats. Returns
// discoverMask.
template <int Us, int Variant>
Bitboard CaptureList(Move* list, Bitboard targets, NodeRecord* node, Move hashMove, int historyRow);

// Order values and priorities that the list gives, for the readers of lists.
constexpr Move THREAT_MARK = Move(1) << 30;         // a quiet threat move
constexpr Move DOUBLE_THREAT_MARK = Move(1) << 31;  // ... that threatens two or more men
constexpr uint32_t THREAT_ORDER = 7240, DOUBLE_THREAT_ORDER = 10240;

// Safe checks by how well the enemy can answer them, all marked exempt
// (their exchange test is done). A check that nothing can block or take and
// that leaves the king no square carries the king-capture priority.
constexpr Move CHECK_NO_ESCAPE = 0x9228000000000000;
constexpr Move CHECK_UNBLOCKABLE = 0x00a0000000010000;
constexpr Move CHECK_POORLY_BLOCKED = 0x0080000000010000;
constexpr Move CHECK_BLOCKABLE = 0x0020000000010000;
constexpr Move CHECK_ANSWERED = 0x0002000000010000;
constexpr Move CHECK_CAPTURES = Move(1) << 60;  // also on a safe check that hits a loose queen after a capture
