#pragma once

#include "qel/platform/QelExport.h"

#include <cstdarg>
#include <string>

/// Case-insensitive compare with _stricmp semantics: ASCII letters fold to lower case, the result
/// is the difference of the first differing folded bytes (read as unsigned), 0 when equal.
QEL_EXPORT int QelStricmp(const char* pA, const char* pB);

/// As QelStricmp over at most nCount bytes.
QEL_EXPORT int QelStrnicmp(const char* pA, const char* pB, size_t nCount);

/// printf-style formatting into a std::string. The buffer starts at twice the format's length and
/// doubles until the text fits, the same growth the Windows _vsnprintf loop gives.
QEL_EXPORT std::string QelFormatV(const char* pFormat, va_list args);

/// printf-style formatting into a std::string.
QEL_EXPORT std::string QelFormat(const char* pFormat, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;

/// Canonical form of a path as PathCanonicalizeA makes it: "." and ".." segments folded, separators
/// unified to '\\' (Windows paths stay Windows paths). Used as a cache key, never to open files.
QEL_EXPORT std::string QelCanonicalizePath(const std::string& strPath);

/// A Windows path as the host system opens it: off Windows every '\\' becomes '/', so that paths
/// from documents written on Windows still name their files.
QEL_EXPORT std::string QelHostPath(std::string strPath);
