#pragma once

#include <cstdint>

/// A packed color: red | green << 8 | blue << 16 | alpha << 24. Always 32 bits, even where an
/// interface historically spells it `unsigned long`.
typedef uint32_t QelPackedColor;
