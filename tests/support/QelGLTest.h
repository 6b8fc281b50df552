#pragma once

#include "qel/platform/QelOffscreenContext.h"

#include <gtest/gtest.h>

#include <string>

/// Skips the current test when there is no GL context, with the reason. The context is made at
/// nWidth x nHeight the first time and resized to it afterwards.
#define QEL_REQUIRE_GL_SIZED(nWidth, nHeight)                                                                  \
    do                                                                                                         \
    {                                                                                                          \
        std::string strWhy_;                                                                                   \
        if (!QelOffscreenContext::MakeCurrent((nWidth), (nHeight), &strWhy_))                                  \
            GTEST_SKIP() << "no OpenGL context: " << strWhy_;                                                  \
        QelOffscreenContext::Resize((nWidth), (nHeight));                                                      \
    } while (0)

#define QEL_REQUIRE_GL() QEL_REQUIRE_GL_SIZED(64, 64)
