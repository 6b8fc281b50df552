#pragma once

#include "qel/platform/QelExport.h"

#include <string>

/// An operator of the expression language. The virtual slots keep the family's order.
class QEL_EXPORT MTOperatorI
{
public:
    virtual std::string GetSyntax() const = 0;
    virtual std::string GetDescription() const = 0;
    /// True when the result depends on the operands only, so the compiler may fold it.
    virtual bool IsConstant() const = 0;
    virtual double Evaluate(const double* pArgs) = 0;
    virtual ~MTOperatorI() {}
    /// A larger number binds tighter.
    virtual unsigned int GetPrecedence() const = 0;
    virtual std::string GetSymbol() const = 0;
    virtual bool IsUnaryOp() const = 0;
    virtual MTOperatorI* Clone() const = 0;

    /// Code of a built-in operator that the compiler evaluates inline; -1 for any other.
    int GetBuiltinCode() const { return m_nBuiltinCode; }

protected:
    int m_nBuiltinCode = -1;
};
