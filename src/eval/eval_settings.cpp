#include "eval/eval_settings.h"

EvalSettings eval_settings;
int32_t play_mode_sign = 1;
