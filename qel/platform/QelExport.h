#pragma once

/// Marks a class or function as part of the library's public ABI; everything else stays hidden.
#if defined(_WIN32)
#  if defined(QEL_BUILDING_LIBRARY)
#    define QEL_EXPORT __declspec(dllexport)
#  else
#    define QEL_EXPORT __declspec(dllimport)
#  endif
#else
#  define QEL_EXPORT __attribute__((visibility("default")))
#endif
