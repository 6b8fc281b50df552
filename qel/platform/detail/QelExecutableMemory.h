#pragma once

#include "qel/platform/detail/QelCodeBlock.h"

#include <cstddef>

/// True when the library may generate and run native code here: x86-64 with the System V calling
/// convention and executable memory available. Elsewhere expressions run in their interpreted forms.
bool QelNativeCodeSupported();

/// Reserves at least nSize bytes of executable memory, up to kQelMaxCodeBlock; an empty block when
/// there is none (the caller falls back to interpreting). Thread-safe.
QelCodeBlock QelAllocateCode(size_t nSize);

/// Gives a block back for reuse; an empty block is ignored. Thread-safe.
void QelFreeCode(const QelCodeBlock& cBlock);

/// The largest block QelAllocateCode hands out.
const size_t kQelMaxCodeBlock = 64 * 1024;
