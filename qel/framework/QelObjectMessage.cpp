#include "qel/framework/QelObjectMessage.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelString.h"

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
