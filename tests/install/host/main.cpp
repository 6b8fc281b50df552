#include "qel/QelCommon.h"

#include <cstdarg>
#include <cstdio>
#include <string>

class TinyApp : public QelSysApp
{
public:
    TinyApp() : QelSysApp(this) {}
    void PrintToConsole(const char* pFormat, ...) const override
    {
        va_list args;
        va_start(args, pFormat);
        m_strLast = QelFormatV(pFormat, args);
        va_end(args);
    }
    mutable std::string m_strLast;
};

class Thing : public QelBase
{
public:
    Thing() : QelBase("thing") {}
};

int main()
{
    TinyApp app;
    Thing t;
    t.SetName("bad\tname");
    if (t.GetName() != "bad_name" || app.m_strLast.find("<warning>") != 0)
        return 1;
    std::printf("tiny host ok: %s\n", QelGuidToString(t.GetGuid()).c_str());
    return 0;
}
