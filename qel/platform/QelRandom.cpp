#include "qel/platform/QelRandom.h"

#include <cstdint>

namespace
{
uint32_t g_nRandState = 1;
}

void QelSRand(unsigned int nSeed)
{
    g_nRandState = nSeed;
}

int QelRand()
{
    g_nRandState = g_nRandState * 214013u + 2531011u;
    return int((g_nRandState >> 16) & 0x7FFF);
}
