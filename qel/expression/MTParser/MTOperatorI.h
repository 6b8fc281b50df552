#pragma once

#include "qel/platform/QelExport.h"

#include <string>

/// An operator of the expression language. The virtual slots keep the family's order.
class QEL_EXPORT MTOperatorI
{
public:
    /// How the operator is written ("x + y"), shown by hosts that list the operators.
    virtual std::string GetSyntax() const = 0;
    /// One line telling the user what the operator computes.
    virtual std::string GetDescription() const = 0;
    /// True when the result depends on the operands only, so the compiler may fold it.
    virtual bool IsConstant() const = 0;
    /// The result for one operand (unary) or two at pArgs.
    virtual double Evaluate(const double* pArgs) = 0;
    virtual ~MTOperatorI() {}
    /// A larger number binds tighter.
    virtual unsigned int GetPrecedence() const = 0;
    /// The characters written in expressions ("+", ">="); the longest defined symbol wins.
    virtual std::string GetSymbol() const = 0;
    /// True for a one-operand operator written before its operand; a symbol may have both forms.
    virtual bool IsUnaryOp() const = 0;
    /// A new object of the same class, owned by the caller.
    virtual MTOperatorI* Clone() const = 0;

    /// Code of a built-in operator that the compiler evaluates inline; -1 for any other.
    int GetBuiltinCode() const { return m_nBuiltinCode; }

protected:
    /// Set by the built-in classes to their EMTOpCode; -1 for a host's own operator.
    int m_nBuiltinCode = -1;
};
