#include "qel/expression/MTParser/MemVariableFactory.h"

namespace MTParser
{
MTVariableI* MemVariableFactory::Create(const std::string& strName)
{
    return Get(strName);
}

MemVariableEvaluator* MemVariableFactory::Get(const std::string& strName)
{
    std::unique_ptr<MemVariableEvaluator>& p = m_mapVariables[strName];
    if (!p)
        p.reset(new MemVariableEvaluator(strName));
    return p.get();
}

MemVariableEvaluator* MemVariableFactory::Find(const std::string& strName) const
{
    auto it = m_mapVariables.find(strName);
    return it == m_mapVariables.end() ? nullptr : it->second.get();
}
} // namespace MTParser
