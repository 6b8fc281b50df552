#pragma once

#include "qel/platform/QelExport.h"

#include <string>

class MTParserRegistrar;
class MTParserProgram;
class MTVariableFactoryI;

/// Turns an expression text into a program. Parsing is iterative (an operator stack and an operand
/// stack), so nesting depth and text length are limited by memory only, never by the call stack.
/// Constant sub-expressions are folded unless an operator or function says its result is not constant.
class QEL_EXPORT MTParserCompiler
{
public:
    /// Names the compiler finds nowhere else are handed to the factory; without one they are errors.
    explicit MTParserCompiler(const MTParserRegistrar& cRegistrar, MTVariableFactoryI* pFactory = nullptr);

    /// Compiles into cProgram and returns an empty text, or returns the parsing error and leaves the
    /// program empty. In the errors, an item and its position replace the placeholder as
    /// "'<item>' at position <n>", positions being byte offsets counted from 0.
    std::string Compile(const std::string& strText, MTParserProgram& cProgram);

private:
    const MTParserRegistrar& m_cRegistrar;
    MTVariableFactoryI* m_pFactory;
};
