#pragma once

#include "qel/platform/QelExport.h"

#include <cstdarg>
#include <string>

/// Composes an object's message: tag, name, " - ", the formatted text and "<flush>",
/// e.g. "<error>Box01 - Bad value<flush>". The text buffer starts at twice the format's length and doubles.
QEL_EXPORT std::string QelComposeObjectMessage(const char* pTag, const std::string& strName,
                                               const char* pFormat, va_list args);

/// Composes the message and hands it to the application object as the format, with no arguments;
/// a console is expected to print messages ending in "<flush>" literally.
QEL_EXPORT void QelPrintObjectMessage(const char* pTag, const std::string& strName, const char* pFormat,
                                      va_list args);

/// The text a console shows for one PrintToConsole call: a message ending in "<flush>" was composed
/// by an object and comes back as it stands (a '%' in it is data: an object's name or its formatted
/// text), any other message is formatted with its arguments. A host console that formats messages
/// calls this instead of a printf function, and then a name such as "50%s" cannot crash it.
QEL_EXPORT std::string QelConsoleText(const char* pFormat, va_list args);
