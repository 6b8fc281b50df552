#include "qel/expression/QelExpression.h"

#include "qel/expression/MTParser/MTFunctionI.h"
#include "qel/expression/MTParser/MTOperatorI.h"
#include "qel/expression/MTParser/MTParserCompiler.h"
#include "qel/expression/MTParser/MTParserProgram.h"
#include "qel/expression/MTParser/MTParserRegistrar.h"
#include "qel/expression/MTParser/MemVariableFactory.h"
#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"

#include <cctype>
#include <map>
#include <set>

namespace
{
/// The process-wide global variables and the count of compiled expressions naming each name.
struct QelGlobalVars
{
    std::map<std::string, double> mapValues; // map nodes never move, expressions keep pointers to them
    std::map<std::string, int> mapUses;
    /// Bumped whenever a global is created or deleted, so cached pointers know to look again.
    unsigned long long nVersion = 1;
};

QelGlobalVars& Globals()
{
    // Never destroyed: expressions in static storage may still be torn down after it.
    static QelGlobalVars* s_pGlobals = new QelGlobalVars;
    return *s_pGlobals;
}

std::string Shorten(const std::string& strText)
{
    const size_t kMax = 120;
    return strText.size() <= kMax ? strText : strText.substr(0, kMax) + "...";
}
} // namespace

/// Data of a QelExpression.
class QelExpressionDef
{
public:
    explicit QelExpressionDef(QelProperty* pProperty) : m_pProperty(pProperty) {}
    ~QelExpressionDef();

    std::string Compile(const std::string& strText);
    void Unregister();
    void RebuildBindings();
    /// Gives every variable that reads a property or a global its current value.
    void RefreshBindings();
    /// Reads the property of that name from the container of the served property.
    bool ReadProperty(const std::string& strName, double& fValue) const;

    /// A variable that reads a property or a global before each evaluation.
    struct Binding
    {
        MTParser::MemVariableEvaluator* pVar;
        const double* pGlobal;
        unsigned long long nVersion;
        bool bWarned;
    };

    /// Says once per name and compiled text that a variable reads nothing and so reads 0.
    void WarnUnbound(Binding& b);

    QelProperty* m_pProperty;
    std::string m_strText;
    MTParser::MemVariableFactory m_cVariables;
    MTParserProgram m_cProgram;
    std::set<std::string> m_setHostVars;
    std::vector<std::string> m_vecUsedNames;
    std::vector<Binding> m_vecBindings;
    std::set<std::string> m_setWarnedUnbound;
};

QelExpressionDef::~QelExpressionDef()
{
    QelGlobalVars& g = Globals();
    for (const std::string& strName : m_vecUsedNames)
    {
        auto it = g.mapUses.find(strName);
        if (it == g.mapUses.end())
        {
            QelSysApp::App().PrintToConsole(
                "<error> Internal Error - find() failed in QelExpressionDef::~QelExpressionDef()\n");
            continue;
        }
        if (--it->second <= 0)
            g.mapUses.erase(it);
    }
}

void QelExpressionDef::Unregister()
{
    QelGlobalVars& g = Globals();
    for (const std::string& strName : m_vecUsedNames)
    {
        auto it = g.mapUses.find(strName);
        if (it != g.mapUses.end() && --it->second <= 0)
            g.mapUses.erase(it);
    }
    m_vecUsedNames.clear();
    m_vecBindings.clear();
    m_setWarnedUnbound.clear();
    m_cProgram.Clear();
    m_strText.clear();
}

std::string QelExpressionDef::Compile(const std::string& strText)
{
    Unregister();
    if (QelExpression::ExpressionIsBlank(strText))
        return std::string();
    MTParserCompiler cCompiler(MTParserRegistrar::GetDefault(), &m_cVariables);
    std::string strError = cCompiler.Compile(strText, m_cProgram);
    if (!strError.empty())
        return strError;
    m_strText = strText;
    QelGlobalVars& g = Globals();
    for (MTVariableI* pVar : m_cProgram.GetVariables())
    {
        m_vecUsedNames.push_back(pVar->GetSymbol());
        ++g.mapUses[m_vecUsedNames.back()];
    }
    RebuildBindings();
    return std::string();
}

void QelExpressionDef::RebuildBindings()
{
    m_vecBindings.clear();
    for (MTVariableI* pVar : m_cProgram.GetVariables())
        if (!m_setHostVars.count(pVar->GetSymbol()))
            m_vecBindings.push_back({static_cast<MTParser::MemVariableEvaluator*>(pVar), nullptr, 0,
                                     m_setWarnedUnbound.count(pVar->GetSymbol()) != 0});
}

void QelExpressionDef::WarnUnbound(Binding& b)
{
    b.bWarned = true;
    const std::string& strName = b.pVar->GetSymbol();
    if (!m_setWarnedUnbound.insert(strName).second)
        return;
    if (m_pProperty)
        QelSysApp::App().PrintToConsole(
            "<warning> %s - Expression [%s] reads [%s], which names no property and no global variable; it reads 0\n",
            m_pProperty->GetFullName().c_str(), Shorten(m_strText).c_str(), strName.c_str());
    else
        QelSysApp::App().PrintToConsole(
            "<warning> Expression [%s] reads [%s], which names no property and no global variable; it reads 0\n",
            Shorten(m_strText).c_str(), strName.c_str());
}

bool QelExpressionDef::ReadProperty(const std::string& strName, double& fValue) const
{
    // Looked up by name at every evaluation, never cached: a deleted or renamed property simply stops
    // being found, and the variable falls back to a global of that name, or 0.0.
    QelPropertyContainer* pContainer = m_pProperty->GetContainer();
    QelProperty* pSource = pContainer ? pContainer->GetProperty(strName) : nullptr;
    if (!pSource)
        return false;
    // Pulls the source, which evaluates its own expression. A cycle ends at the property already
    // being pulled, which gives its stored value; so does a property that names itself.
    fValue = pSource->GetAsDouble();
    return true;
}

void QelExpressionDef::RefreshBindings()
{
    {
        QelGlobalVars& g = Globals();
        for (Binding& b : m_vecBindings)
        {
            double fValue = 0.0;
            if (m_pProperty && ReadProperty(b.pVar->GetSymbol(), fValue))
            {
                b.pVar->SetValue(fValue);
                continue;
            }
            if (b.nVersion != g.nVersion)
            {
                auto it = g.mapValues.find(b.pVar->GetSymbol());
                b.pGlobal = it == g.mapValues.end() ? nullptr : &it->second;
                b.nVersion = g.nVersion;
            }
            if (!b.pGlobal && !b.bWarned)
                WarnUnbound(b);
            b.pVar->SetValue(b.pGlobal ? *b.pGlobal : 0.0);
        }
    }
}

QelExpression::QelExpression(QelProperty* pProperty) : m_pDef(new QelExpressionDef(pProperty)) {}

QelExpression::QelExpression(const QelExpression& other) : m_pDef(new QelExpressionDef(other.m_pDef->m_pProperty))
{
    *this = other;
}

QelExpression& QelExpression::operator=(const QelExpression& other)
{
    if (this == &other)
        return *this;
    for (const std::string& strName : other.m_pDef->m_setHostVars)
        SetVar(strName, other.m_pDef->m_cVariables.Find(strName)->Evaluate());
    m_pDef->Compile(other.m_pDef->m_strText);
    UpdateFastPath();
    return *this;
}

QelExpression::~QelExpression()
{
    delete m_pDef;
}

std::string QelExpression::SetExpression(const std::string& strText)
{
    const std::string strError = m_pDef->Compile(strText);
    UpdateFastPath();
    if (strError.empty())
        return strError;
    if (m_pDef->m_pProperty)
        QelSysApp::App().PrintToConsole("<warning> %s - Invalid expression [%s]: %s\n",
                                        m_pDef->m_pProperty->GetFullName().c_str(), Shorten(strText).c_str(),
                                        strError.c_str());
    else
        QelSysApp::App().PrintToConsole("<warning> Invalid expression [%s]: %s\n", Shorten(strText).c_str(),
                                        strError.c_str());
    return strError;
}

void QelExpression::GetExpression(std::string& strText) const
{
    strText = m_pDef->m_strText;
}

bool QelExpression::HasExpression() const
{
    return m_pDef->m_cProgram.IsCompiled();
}

void QelExpression::UpdateFastPath()
{
    MTNodeFn pfnEval = nullptr;
    const MTNode* pArg = nullptr;
    const bool bFast = m_pDef->m_cProgram.GetDirectEvaluation(pfnEval, pArg) && m_pDef->m_vecBindings.empty();
    m_pfnFastEval = bFast ? pfnEval : nullptr;
    m_pFastRoot = bFast ? pArg : nullptr;
}

double QelExpression::EvaluateFull()
{
    QelExpressionDef* d = m_pDef;
    if (!d->m_vecBindings.empty())
        d->RefreshBindings();
    return d->m_cProgram.Evaluate();
}

void QelExpression::Clear()
{
    m_pDef->Unregister();
    UpdateFastPath();
}

void QelExpression::SetVar(const std::string& strName, double fValue)
{
    m_pDef->m_cVariables.Get(strName)->SetValue(fValue);
    if (m_pDef->m_setHostVars.insert(strName).second)
    {
        m_pDef->RebuildBindings();
        UpdateFastPath();
    }
}

double* QelExpression::FindVar(const std::string& strName)
{
    MTParser::MemVariableEvaluator* pVar = m_pDef->m_cVariables.Find(strName);
    return pVar ? pVar->GetValuePtr() : nullptr;
}

void QelExpression::GetFunctionInformation(std::vector<std::string>& vecNames, std::vector<std::string>& vecSyntax,
                                           std::vector<std::string>& vecDescriptions) const
{
    vecNames.clear();
    vecSyntax.clear();
    vecDescriptions.clear();
    const MTParserRegistrar& r = MTParserRegistrar::GetDefault();
    for (size_t i = 0; i < r.GetNbFuncs(); ++i)
    {
        vecNames.push_back(r.GetFunc(i)->GetSymbol());
        vecSyntax.push_back(r.GetFunc(i)->GetSyntax());
        vecDescriptions.push_back(r.GetFunc(i)->GetDescription());
    }
}

void QelExpression::GetOperatorInformation(std::vector<std::string>& vecNames, std::vector<std::string>& vecSyntax,
                                           std::vector<std::string>& vecDescriptions) const
{
    vecNames.clear();
    vecSyntax.clear();
    vecDescriptions.clear();
    const MTParserRegistrar& r = MTParserRegistrar::GetDefault();
    for (size_t i = 0; i < r.GetNbOps(); ++i)
    {
        vecNames.push_back(r.GetOp(i)->GetSymbol());
        vecSyntax.push_back(r.GetOp(i)->GetSyntax());
        vecDescriptions.push_back(r.GetOp(i)->GetDescription());
    }
}

bool QelExpression::ExpressionIsBlank(const std::string& strText)
{
    for (char c : strText)
        if (!std::isspace(static_cast<unsigned char>(c)))
            return false;
    return true;
}

void QelExpression::SetGlobalVar(const std::string& strName, double fValue)
{
    QelGlobalVars& g = Globals();
    auto it = g.mapValues.find(strName);
    if (it != g.mapValues.end())
    {
        it->second = fValue;
        return;
    }
    g.mapValues.emplace(strName, fValue);
    ++g.nVersion;
}

double QelExpression::GetGlobalVar(const std::string& strName)
{
    const QelGlobalVars& g = Globals();
    auto it = g.mapValues.find(strName);
    return it == g.mapValues.end() ? 0.0 : it->second;
}

bool QelExpression::DoesGlobalVarExist(const std::string& strName)
{
    return Globals().mapValues.count(strName) != 0;
}

bool QelExpression::DeleteGlobalVar(const std::string& strName)
{
    QelGlobalVars& g = Globals();
    auto it = g.mapValues.find(strName);
    if (it == g.mapValues.end() || g.mapUses.count(strName))
        return false;
    g.mapValues.erase(it);
    ++g.nVersion;
    return true;
}

bool QelExpression::IsGlobalVarUsed(const std::string& strName)
{
    return Globals().mapUses.count(strName) != 0;
}

void QelExpression::DeleteAllPossibleGlobalVar()
{
    QelGlobalVars& g = Globals();
    for (auto it = g.mapValues.begin(); it != g.mapValues.end();)
        it = g.mapUses.count(it->first) ? std::next(it) : g.mapValues.erase(it);
    ++g.nVersion;
}

void QelExpression::GetAllGlobalVars(std::vector<std::string>& vecNames, std::vector<double>& vecValues)
{
    vecNames.clear();
    vecValues.clear();
    for (const auto& c : Globals().mapValues)
    {
        vecNames.push_back(c.first);
        vecValues.push_back(c.second);
    }
}

void QelExpression::GetReadNames(std::vector<std::string>& vecNames) const
{
    vecNames.clear();
    for (const QelExpressionDef::Binding& b : m_pDef->m_vecBindings)
        vecNames.push_back(b.pVar->GetSymbol());
}

QelProperty* QelExpression::GetProperty() const
{
    return m_pDef->m_pProperty;
}
