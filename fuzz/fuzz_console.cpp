// A console that formats every message it is given, as a careless host would: composed object
// messages included, whose names and texts come from the input. Then the library's messages are
// provoked with that input as names, texts, paths and documents.
#include "qel/expression/QelExpression.h"
#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/util/QelTextScanner.h"
#include "qel/xml/QelMasterXMLInterface.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>

namespace
{
class FormattingApp : public QelSysApp
{
public:
    FormattingApp() : QelSysApp(this) {}
    void PrintToConsole(const char* pFormat, ...) const override
    {
        char sz[512];
        va_list args;
        va_start(args, pFormat);
        std::vsnprintf(sz, sizeof(sz), pFormat, args);
        va_end(args);
        m_nTotal += sz[0];
    }
    mutable size_t m_nTotal = 0;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static FormattingApp s_app;
    const std::string strText(reinterpret_cast<const char*>(pData), nSize);
    QelPropertyContainer box;
    box.SetName(strText);
    QelProperty* p = box.CreateProperty(strText, eDataReal);
    box.CreateProperty(strText, eDataReal); // a duplicate
    if (p)
    {
        p->SetClamp(1, 2); // the wrong kind of clamp, named
        p->SetExpression(strText);
    }
    QelMasterXMLInterface x;
    x.LoadDataFromString(strText);
    x.LoadDataFromFile(strText);
    QelTextScanner s;
    s.Open(strText.c_str());
    s.OpenBuffer(strText.data(), strText.size());
    s.SetQuotesDelimitStrings(true);
    while (s.NextWord(true))
        ;
    QelExpression e(nullptr);
    e.SetExpression(strText);
    return 0;
}
