// Expressions bound to properties: the input's lines are expressions for a few properties of one
// container (which may name each other, themselves, globals and unknown names), then operations:
// reads, edits, renames, deletions, global variables set and deleted. The container's Calculate,
// which runs in the middle of evaluations, renames properties and changes globals as well.
#include "qel/expression/QelExpression.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <string>
#include <vector>

namespace
{
const char* const kNames[] = {"a", "b", "c", "d", "g"};

class Box : public QelPropertyContainer
{
public:
    void Calculate() override
    {
        if (m_strActions.empty())
            return;
        const unsigned char c = static_cast<unsigned char>(m_strActions[m_nNext++ % m_strActions.size()]);
        QelProperty* p = GetProperty(kNames[c % 5]);
        switch (c / 5 % 4)
        {
        case 0:
            if (p)
                p->SetName(kNames[(c / 20) % 5]);
            break;
        case 1: QelExpression::SetGlobalVar(kNames[c % 5], double(c)); break;
        case 2: QelExpression::DeleteGlobalVar(kNames[c % 5]); break;
        default: break;
        }
    }
    std::string m_strActions;
    size_t m_nNext = 0;
};

volatile double s_fSink;
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    std::vector<std::string> vecLines(1);
    for (size_t i = 0; i < nSize; ++i)
        if (pData[i] == '\n')
            vecLines.emplace_back();
        else
            vecLines.back() += static_cast<char>(pData[i]);
    {
        Box box;
        box.SetName("box");
        box.m_strActions = vecLines.size() > 5 ? vecLines[5] : std::string();
        for (size_t i = 0; i < 4; ++i)
        {
            QelProperty* p = box.CreateProperty(kNames[i], i == 3 ? eDataInteger : eDataReal);
            if (p && i < vecLines.size())
                p->SetExpression(vecLines[i]);
        }
        QelExpression::SetGlobalVar("g", 2.0);
        QelExpression loose(nullptr);
        loose.SetExpression(vecLines.size() > 4 ? vecLines[4] : "g");
        const std::string strOps = vecLines.size() > 6 ? vecLines[6] : "abcd";
        for (size_t i = 0; i < strOps.size() && i < 200; ++i)
        {
            const unsigned char c = static_cast<unsigned char>(strOps[i]);
            QelProperty* p = box.GetProperty(kNames[c % 5]);
            switch (c / 5 % 8)
            {
            case 0:
            case 1:
                if (p)
                    s_fSink = p->GetAsDouble();
                break;
            case 2:
                if (p)
                    p->SetAsDouble(double(c) - 100.0);
                break;
            case 3:
                if (p)
                    p->SetName(kNames[(c / 40) % 5]);
                break;
            case 4:
                if (p)
                    box.DeleteProperty(p);
                else
                    box.CreateProperty(kNames[c % 5], eDataReal);
                break;
            case 5: QelExpression::SetGlobalVar(kNames[c % 5], double(c)); break;
            case 6: QelExpression::DeleteGlobalVar(kNames[c % 5]); break;
            default:
                if (p && i + 1 < vecLines.size())
                    p->SetExpression(vecLines[(i + 1) % vecLines.size()]);
                break;
            }
            s_fSink = loose.Evaluate();
        }
        for (const char* pName : kNames)
            if (QelProperty* p = box.GetProperty(pName))
                s_fSink = p->GetAsDouble();
        std::vector<std::string> vecNames;
        std::vector<double> vecValues;
        QelExpression::GetAllGlobalVars(vecNames, vecValues);
    }
    QelExpression::DeleteAllPossibleGlobalVar();
    return 0;
}
