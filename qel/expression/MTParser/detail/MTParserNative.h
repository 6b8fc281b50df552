#pragma once

// Native code for compiled programs. Internal to the library.

#include "qel/expression/MTParser/MTParserProgram.h"
#include "qel/platform/detail/QelExecutableMemory.h"

#include <deque>
#include <vector>

namespace MTParserDetail
{
/// Translates a program of built-in operations into a native function of the MTNodeFn signature
/// (its argument is ignored) that returns the program's value with exactly the same rounding, and
/// reads the variables in the same order. An empty block when the program calls objects, is larger
/// than kMaxNativeInstructions, or the platform cannot run generated code.
QelCodeBlock TranslateToNative(const std::vector<MTInstruction>& vecCode, const std::deque<double>& deqConstants,
                               const double* pResult);

const size_t kMaxNativeInstructions = 1024;
} // namespace MTParserDetail
