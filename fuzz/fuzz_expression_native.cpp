// Native code against the interpreter: every expression that compiles to native code must give
// the same value, bit for bit (any NaN matching any NaN), as the tree or flat list computes it,
// for variable values taken from the input.
#include "qel/expression/MTParser/MTParserCompiler.h"
#include "qel/expression/MTParser/MTParserProgram.h"
#include "qel/expression/MTParser/MTParserRegistrar.h"
#include "qel/expression/MTParser/MemVariableFactory.h"
#include "tests/support/QelSilentApp.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
bool Same(double a, double b)
{
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof(a)) == 0;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    // The first 16 bytes give two variable values; the rest is the expression.
    double aValues[2] = {1.5, -2.25};
    if (nSize >= 16)
    {
        std::memcpy(aValues, pData, 16);
        pData += 16;
        nSize -= 16;
    }
    const std::string strText(reinterpret_cast<const char*>(pData), nSize);
    MTParser::MemVariableFactory cVariables;
    cVariables.Get("x")->SetValue(aValues[0]);
    cVariables.Get("y")->SetValue(aValues[1]);
    MTParserCompiler cCompiler(MTParserRegistrar::GetDefault(), &cVariables);
    MTParserProgram cProgram;
    if (!cCompiler.Compile(strText, cProgram).empty() || !cProgram.HasNativeCode())
        return 0;
    for (int i = 0; i < 3; ++i)
    {
        const double fNative = cProgram.Evaluate();
        const double fInterpreted = cProgram.EvaluateInterpreted();
        if (!Same(fNative, fInterpreted))
        {
            std::fprintf(stderr, "native %.17g, interpreted %.17g for [%s]\n", fNative, fInterpreted, strText.c_str());
            std::abort();
        }
        // Evaluated again with other values, as a host changes them between frames.
        cVariables.Get("x")->SetValue(aValues[1] * (i + 1));
        cVariables.Get("y")->SetValue(aValues[0] - i);
    }
    return 0;
}
