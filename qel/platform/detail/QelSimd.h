#pragma once

// Which instruction-set paths the library's hot code takes. Defining QEL_NO_SIMD forces the
// portable C++ paths, the ones a compiler without SSE2 macros or GCC's vector types builds; the
// test build compiles the sources that have such paths that way as well, so that they keep compiling.

#if defined(__SSE2__) && !defined(QEL_NO_SIMD)
#  define QEL_SSE2 1
#else
#  define QEL_SSE2 0
#endif

#if defined(__GNUC__) && !defined(QEL_NO_SIMD)
#  define QEL_VECTOR_TYPES 1
#else
#  define QEL_VECTOR_TYPES 0
#endif
