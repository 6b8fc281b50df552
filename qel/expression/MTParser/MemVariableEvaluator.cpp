#include "qel/expression/MTParser/MemVariableEvaluator.h"

namespace MTParser
{
MemVariableEvaluator::MemVariableEvaluator(const std::string& strName, double fValue)
    : m_strName(strName), m_fValue(fValue)
{
    m_pStorage = &m_fValue;
}
} // namespace MTParser
