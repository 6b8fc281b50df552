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
