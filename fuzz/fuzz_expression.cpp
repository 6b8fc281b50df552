// Compiles and evaluates arbitrary text as an expression, then once more through a strict compiler
// that knows no variables.
#include "qel/expression/MTParser/MTParserCompiler.h"
#include "qel/expression/MTParser/MTParserProgram.h"
#include "qel/expression/MTParser/MTParserRegistrar.h"
#include "qel/expression/QelExpression.h"
#include "qel/framework/QelSysApp.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <string>

namespace
{
using SilentApp = QelSilentApp;
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static SilentApp s_app;
    const std::string strText(reinterpret_cast<const char*>(pData), nSize);
    QelExpression e;
    if (e.SetExpression(strText).empty())
    {
        e.SetVar("a", 1.5);
        volatile double f = e.Evaluate();
        (void)f;
        QelExpression c(e);
        f = c.Evaluate();
    }
    MTParserCompiler cStrict(MTParserRegistrar::GetDefault());
    MTParserProgram cProgram;
    cStrict.Compile(strText, cProgram);
    volatile double g = cProgram.Evaluate();
    (void)g;
    return 0;
}
