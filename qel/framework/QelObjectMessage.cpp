#include "qel/framework/QelObjectMessage.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelString.h"

#include <cstring>

std::string QelComposeObjectMessage(const char* pTag, const std::string& strName, const char* pFormat,
                                    va_list args)
{
    std::string strMessage = pTag ? pTag : "";
    strMessage += strName;
    strMessage += " - ";
    strMessage += QelFormatV(pFormat, args);
    strMessage += "<flush>";
    return strMessage;
}

std::string QelConsoleText(const char* pFormat, va_list args)
{
    if (!pFormat)
        return std::string();
    static const char kFlush[] = "<flush>";
    const size_t nFlush = sizeof(kFlush) - 1;
    const size_t n = std::strlen(pFormat);
    if (n >= nFlush && std::memcmp(pFormat + n - nFlush, kFlush, nFlush) == 0)
        return std::string(pFormat, n);
    return QelFormatV(pFormat, args);
}

void QelPrintObjectMessage(const char* pTag, const std::string& strName, const char* pFormat, va_list args)
{
    std::string strMessage = QelComposeObjectMessage(pTag, strName, pFormat, args);
#if defined(__GNUC__)
#  pragma GCC diagnostic push
#  pragma GCC diagnostic ignored "-Wformat-security"
#endif
    // Deliberately passed as the format: hosts print "<flush>" messages literally.
    QelSysApp::App().PrintToConsole(strMessage.c_str());
#if defined(__GNUC__)
#  pragma GCC diagnostic pop
#endif
}
