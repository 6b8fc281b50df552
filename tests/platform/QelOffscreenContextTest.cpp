#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <unistd.h>
#include <GL/glew.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

TEST(QelOffscreenGL, ClearsAndDrawsFixedFunction)
{
    QEL_REQUIRE_GL();
    glClearColor(0.0f, 0.0f, 1.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    EXPECT_EQ(QelOffscreenContext::ReadPixel(1, 1), 0xFFFF0000u);

    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glColor3f(1.0f, 0.0f, 0.0f);
    glBegin(GL_QUADS);
    glVertex2f(0.0f, 0.0f);
    glVertex2f(1.0f, 0.0f);
    glVertex2f(1.0f, 1.0f);
    glVertex2f(0.0f, 1.0f);
    glEnd();
    int w = QelOffscreenContext::Width(), h = QelOffscreenContext::Height();
    EXPECT_EQ(QelOffscreenContext::ReadPixel(3 * w / 4, 3 * h / 4), 0xFF0000FFu); // red quad, upper right
    EXPECT_EQ(QelOffscreenContext::ReadPixel(w / 4, h / 4), 0xFFFF0000u);         // still blue, lower left
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

namespace
{
uint32_t BigEndian32(const unsigned char* p) { return uint32_t(p[0]) << 24 | p[1] << 16 | p[2] << 8 | p[3]; }

std::vector<unsigned char> ReadFile(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
} // namespace

// The frame written to PNG is the frame on screen: top row first, every chunk's CRC right, and the
// resized framebuffer's size in the header.
TEST(QelOffscreenGL, ResizesAndSavesTheFrameAsPng)
{
    QEL_REQUIRE_GL_SIZED(5, 3);
    glClearColor(0.0f, 1.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 2, 5, 1); // the top row, as OpenGL counts from the bottom
    glClearColor(1.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);

    const std::string strPath = ::testing::TempDir() + "qel_offscreen_frame_" + std::to_string(::getpid()) + ".png";
    ASSERT_TRUE(QelOffscreenContext::SavePng(strPath));
    const std::vector<unsigned char> vPng = ReadFile(strPath);
    ASSERT_GT(vPng.size(), 8u + 25 + 12 + 12);
    EXPECT_EQ(std::string(vPng.begin() + 1, vPng.begin() + 4), "PNG");

    std::vector<unsigned char> vPacked;
    uint32_t nWidth = 0, nHeight = 0;
    for (size_t nAt = 8; nAt + 12 <= vPng.size();)
    {
        const uint32_t nSize = BigEndian32(&vPng[nAt]);
        ASSERT_LE(nAt + 12 + nSize, vPng.size());
        const std::string strType(vPng.begin() + long(nAt) + 4, vPng.begin() + long(nAt) + 8);
        const uLong nCrc = crc32(crc32(0L, Z_NULL, 0), &vPng[nAt + 4], 4 + nSize);
        EXPECT_EQ(BigEndian32(&vPng[nAt + 8 + nSize]), uint32_t(nCrc)) << strType;
        if (strType == "IHDR")
            nWidth = BigEndian32(&vPng[nAt + 8]), nHeight = BigEndian32(&vPng[nAt + 12]);
        if (strType == "IDAT")
            vPacked.insert(vPacked.end(), &vPng[nAt + 8], &vPng[nAt + 8] + nSize);
        nAt += 12 + nSize;
    }
    EXPECT_EQ(nWidth, 5u);
    EXPECT_EQ(nHeight, 3u);
    std::vector<unsigned char> vRaw(3 * (1 + 5 * 4));
    uLongf nRaw = vRaw.size();
    ASSERT_EQ(uncompress(vRaw.data(), &nRaw, vPacked.data(), uLong(vPacked.size())), Z_OK);
    ASSERT_EQ(nRaw, vRaw.size());
    EXPECT_EQ(vRaw[1], 255); // first row red
    EXPECT_EQ(vRaw[2], 0);
    EXPECT_EQ(vRaw[21 + 1], 0); // second row green
    EXPECT_EQ(vRaw[21 + 2], 255);
    std::remove(strPath.c_str());

    QelCapture log;
    EXPECT_FALSE(QelOffscreenContext::Resize(0, 10));
    ASSERT_EQ(log.Messages().size(), 1u);
    EXPECT_EQ(log.Messages()[0], "<warning> QelOffscreenContext - framebuffer size 0 x 10 is outside 1 to 16384\n");
    EXPECT_EQ(QelOffscreenContext::Width(), 5);
}
