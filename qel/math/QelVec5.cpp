#include "qel/math/QelVec5.h"

#include <cstdio>

std::string QelVec5::String() const
{
    // "%f" of the largest float needs 46 characters; five of them and the labels fit easily.
    char sz[400];
    std::snprintf(sz, sizeof(sz), "(X:%f, Y:%f, Z:%f, W:%f, Fifth:%f)", double(x), double(y), double(z), double(w),
                  double(fifth));
    return sz;
}
