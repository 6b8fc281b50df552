#pragma once

#include "qel/platform/QelExport.h"

/// Largest value QelRand returns, the same as the Windows runtime's RAND_MAX.
#define QEL_RAND_MAX 32767

/// Seeds the process-wide generator; the sequence restarts as after srand(nSeed) on Windows.
QEL_EXPORT void QelSRand(unsigned int nSeed);

/// Next value in 0..32767 of the Windows runtime's linear congruential sequence (seed 1 by default),
/// so that colors and random expressions come out the same on every platform.
QEL_EXPORT int QelRand();
