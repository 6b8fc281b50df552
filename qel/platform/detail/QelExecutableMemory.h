#pragma once

#include "qel/platform/QelExport.h"

#include <cstddef>

/// A block of generated machine code, seen through two views of the same memory: the code is
/// written through pWrite and run through pRun, so no page is ever writable and executable at once.
struct QelCodeBlock
{
    unsigned char* pWrite = nullptr;
    const unsigned char* pRun = nullptr;
    size_t nSize = 0;
};

/// True when the library may generate and run native code here: x86-64 with the System V calling
/// convention and executable memory available. Elsewhere expressions run in their interpreted forms.
QEL_EXPORT bool QelNativeCodeSupported();

/// Reserves at least nSize bytes of executable memory, up to kQelMaxCodeBlock; an empty block when
/// there is none (the caller falls back to interpreting). Thread-safe.
QelCodeBlock QelAllocateCode(size_t nSize);

/// Gives a block back for reuse; an empty block is ignored. Thread-safe.
void QelFreeCode(const QelCodeBlock& cBlock);

/// The largest block QelAllocateCode hands out.
const size_t kQelMaxCodeBlock = 64 * 1024;
