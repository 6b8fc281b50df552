#pragma once

// Installed because MTParserProgram.h keeps one by value; it declares no functions.

#include <cstddef>

/// A block of generated machine code, seen through two views of the same memory: the code is
/// written through pWrite and run through pRun, so no page is ever writable and executable at once.
struct QelCodeBlock
{
    unsigned char* pWrite = nullptr;
    const unsigned char* pRun = nullptr;
    size_t nSize = 0;
};
