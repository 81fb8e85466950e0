// A probing library that lacks its probe: the engine must refuse it.
#include <cstdint>

extern "C" {
void TBInit() {}
void TBExit() {}
void TBNewGame() {}
int32_t TBIsReady() { return 1; }
int32_t TBMaxPiece() { return 5; }
}
