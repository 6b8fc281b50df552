#include "QelDemo.h"

#include "qel/expression/MTParser/MTParserProgram.h"
#include "qel/expression/QelExpression.h"
#include "qel/properties/QelProperty.h"
#include "qel/platform/QelTimer.h"
#include "qel/properties/QelPropertyContainer.h"

#include <cstdio>
#include <string>
#include <vector>

namespace
{
void Run(QelDemoApp& app)
{
    QelPropertyContainer box;
    box.SetName("Box01");
    QelProperty* pWidth = box.CreateProperty("Width", eDataReal);
    QelProperty* pScale = box.CreateProperty("Transform:Scale:X", eDataReal);
    QelProperty* pArea = box.CreateProperty("Area", eDataReal);
    pWidth->SetAsDouble(2.0);
    pScale->SetAsDouble(1.5);
    QelExpression::SetGlobalVar("gMargin", 0.25);

    const std::string strText = "Width * [Transform:Scale:X] + gMargin";
    std::printf("  Area = %s -> %s\n", strText.c_str(),
                pArea->SetExpression(strText).empty() ? "compiled" : "refused");
    std::printf("  Width %.2f, Scale %.2f, gMargin %.2f: Area reads %.4f\n", pWidth->GetAsDouble(),
                pScale->GetAsDouble(), QelExpression::GetGlobalVar("gMargin"), pArea->GetAsDouble());

    std::printf("  editing Width to 5 and gMargin to 1:\n");
    pWidth->SetAsDouble(5.0);
    QelExpression::SetGlobalVar("gMargin", 1.0);
    std::printf("  Area reads %.4f\n", pArea->GetAsDouble());

    std::printf("  deleting Transform:Scale:X (the name is looked up again, now unbound, so 0, said once):\n");
    box.DeleteProperty(pScale);
    {
        QelDemoExpect expect(app, 1);
        std::printf("  Area reads %.4f\n", pArea->GetAsDouble());
    }
    std::printf("  and again %.4f\n", pArea->GetAsDouble());

    std::printf("  a text with a mistake is refused with the compiler's message:\n");
    std::string strError;
    {
        QelDemoExpect expect(app, 1);
        strError = pArea->SetExpression("Width * (gMargin + ");
    }
    std::printf("  -> \"%s\"; Area has an expression: %s\n", strError.c_str(),
                pArea->HasExpression() ? "yes" : "no");

    std::printf("  an expression that would read itself is refused, the cycle named:\n");
    QelProperty* pLoop = box.CreateProperty("Loop", eDataReal);
    {
        QelDemoExpect expect(app, 1);
        strError = pLoop->SetExpression("Width + Loop");
    }
    std::printf("  -> \"%s\"\n", strError.c_str());

    QelExpression cFree;
    cFree.SetExpression("min(a, b, 3) + max(a, b, c, 10) + if_else(a > b, 1, -1) * -2^2");
    cFree.SetVar("a", 4);
    cFree.SetVar("b", 7);
    cFree.SetVar("c", 12);
    std::printf("  min(a, b, 3) + max(a, b, c, 10) + if_else(a > b, 1, -1) * -2^2 with a=4 b=7 c=12: %g\n",
                cFree.Evaluate());
    std::vector<std::string> vecNames, vecSyntax, vecDescriptions;
    cFree.GetFunctionInformation(vecNames, vecSyntax, vecDescriptions);
    std::printf("  %zu functions, e.g. %s: %s\n", vecNames.size(), vecSyntax[27].c_str(), vecDescriptions[27].c_str());
    cFree.Clear();

    // A host's inner loop: variables written through their addresses, the expression re-evaluated.
    QelExpression cLength;
    cLength.SetExpression("sqrt(x*x + y*y + z*z)");
    for (const char* pName : {"x", "y", "z"})
        cLength.SetVar(pName, 0.0); // the host's own: no property or global is looked up
    double* pX = cLength.FindVar("x");
    double* pY = cLength.FindVar("y");
    double* pZ = cLength.FindVar("z");
    QelHighResTimer cTimer;
    double fSum = 0.0;
    for (int i = 0; i < 1000000; ++i)
    {
        *pX = i * 1e-3;
        *pY = 2.0;
        *pZ = 3.0;
        fSum += cLength.Evaluate();
    }
    std::printf("  sqrt(x*x + y*y + z*z) evaluated 1,000,000 times in %.1f ms as %s; sum %.9g\n",
                cTimer.GetElapsedSeconds() * 1e3,
                MTParserProgram::IsNativeCodeSupported() ? "native code" : "interpreted", fSum);
    QelExpression::DeleteAllPossibleGlobalVar();
}

QelDemoSection s_section(50, "Expressions computing properties", Run);
} // namespace
