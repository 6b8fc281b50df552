#pragma once

#include "qel/platform/QelExport.h"

#include <string>

/// A named variable whose value is read when an expression is evaluated.
class QEL_EXPORT MTVariableI
{
public:
    virtual ~MTVariableI() {}
    /// The name expressions use for the variable.
    virtual std::string GetSymbol() const = 0;
    /// The value at this moment; called at every evaluation unless GetStorage gives an address.
    virtual double Evaluate() = 0;

    /// The double the variable reads, when it reads one; compiled programs then load it directly
    /// instead of calling Evaluate. Null for variables that compute their value.
    double* GetStorage() const { return m_pStorage; }

protected:
    /// Set by a derived class whose value lives in one double (see GetStorage).
    double* m_pStorage = nullptr;
};
