#pragma once

#include "qel/expression/MTParser/MTVariableI.h"
#include "qel/platform/QelExport.h"

#include <string>

namespace MTParser
{
/// A variable that reads a double of its own; the storage address never changes.
class QEL_EXPORT MemVariableEvaluator : public MTVariableI
{
public:
    /// A variable named strName holding fValue.
    explicit MemVariableEvaluator(const std::string& strName, double fValue = 0.0);
    MemVariableEvaluator(const MemVariableEvaluator&) = delete;
    MemVariableEvaluator& operator=(const MemVariableEvaluator&) = delete;

    /// The name given at construction.
    std::string GetSymbol() const override { return m_strName; }
    /// The stored value.
    double Evaluate() override { return m_fValue; }
    /// Changes the value that the next evaluation reads.
    void SetValue(double fValue) { m_fValue = fValue; }
    /// The address of the value, valid for the variable's life; writing through it is SetValue.
    double* GetValuePtr() { return &m_fValue; }

private:
    std::string m_strName;
    double m_fValue;
};
} // namespace MTParser
