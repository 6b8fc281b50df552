#pragma once

#include "qel/platform/QelExport.h"

#include <string>

/// A named variable whose value is read when an expression is evaluated.
class QEL_EXPORT MTVariableI
{
public:
    virtual ~MTVariableI() {}
    virtual std::string GetSymbol() const = 0;
    virtual double Evaluate() = 0;

    /// The double the variable reads, when it reads one; compiled programs then load it directly
    /// instead of calling Evaluate. Null for variables that compute their value.
    double* GetStorage() const { return m_pStorage; }

protected:
    double* m_pStorage = nullptr;
};
