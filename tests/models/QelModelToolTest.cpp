#include "tests/models/QelModelTestSupport.h"

#include <IL/il.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{
/// Runs qel-model with the arguments; its exit code, or -1 when it could not be run.
int RunTool(const std::string& strArgs)
{
    const std::string strCommand = std::string(QEL_MODEL_PROGRAM) + " " + strArgs + " >/dev/null 2>&1";
    const int n = std::system(strCommand.c_str());
    return WIFEXITED(n) ? WEXITSTATUS(n) : -1;
}

struct Rgb
{
    int r, g, b;
};

/// A red surface under white light: red well lit, the others no more than the ambient term.
bool IsLitRed(const Rgb& c)
{
    return c.r > 60 && c.g < 20 && c.b < 20;
}

/// A PNG read by DevIL as RGB rows, top row first.
struct PngPixels
{
    explicit PngPixels(const std::string& strFile)
    {
        ilInit();
        ilGenImages(1, &m_nImage);
        ilBindImage(m_nImage);
        ilEnable(IL_ORIGIN_SET);
        ilOriginFunc(IL_ORIGIN_UPPER_LEFT);
        m_bOk = ilLoadImage(strFile.c_str()) && ilConvertImage(IL_RGB, IL_UNSIGNED_BYTE);
        m_nWidth = m_bOk ? unsigned(ilGetInteger(IL_IMAGE_WIDTH)) : 0;
        m_nHeight = m_bOk ? unsigned(ilGetInteger(IL_IMAGE_HEIGHT)) : 0;
    }
    ~PngPixels() { ilDeleteImages(1, &m_nImage); }
    Rgb At(unsigned x, unsigned y) const
    {
        ilBindImage(m_nImage);
        const unsigned char* p = ilGetData() + (size_t(y) * m_nWidth + x) * 3;
        return {p[0], p[1], p[2]};
    }
    ILuint m_nImage = 0;
    bool m_bOk = false;
    unsigned m_nWidth = 0, m_nHeight = 0;
};
} // namespace

TEST(QelModelTool, RendersTheModelFramedAndLitIntoAPng)
{
    if (std::string(QEL_MODEL_PROGRAM).empty())
        GTEST_SKIP() << "qel-model was not built";
    QelModelTempDir dir;
    dir.Write("c.mtl", "newmtl red\nKd 1 0 0\n");
    const std::string strObj =
        dir.Write("cube.obj", "mtllib c.mtl\nv -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\nv -1 1 -1\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\n"
                              "v -1 1 1\nusemtl red\nf 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n");
    const std::string strPng = dir.File("cube.png");
    const int nRun = RunTool(strObj + " " + strPng);
    ASSERT_EQ(RunTool("render " + strObj + " " + strPng + " --size 96x64"), 0);
    EXPECT_EQ(nRun, 2) << "render without its verb is a usage error";

    PngPixels image(strPng);
    ASSERT_TRUE(image.m_bOk);
    ASSERT_EQ(image.m_nWidth, 96u);
    ASSERT_EQ(image.m_nHeight, 64u);
    // The cube fills the middle, lit red; the corners show the ground.
    const Rgb center = image.At(48, 32);
    EXPECT_TRUE(IsLitRed(center)) << center.r << " " << center.g << " " << center.b;
    const Rgb corner = image.At(1, 1);
    EXPECT_LT(corner.r, 60);
    EXPECT_GT(corner.b, 0);
    // Framed to the bounding sphere: the cube reaches within a third of the width from each side.
    int nLeft = 96, nRight = -1;
    for (int x = 0; x < 96; ++x)
        if (IsLitRed(image.At(unsigned(x), 32)))
        {
            nLeft = std::min(nLeft, x);
            nRight = std::max(nRight, x);
        }
    EXPECT_LT(nLeft, 96 / 3);
    EXPECT_GT(nRight, 96 - 96 / 3);
    EXPECT_LT(std::abs(nLeft + nRight - 96), 12) << "centered";
}

TEST(QelModelTool, RenderRefusesBadSizesAndFilesItCannotLoad)
{
    if (std::string(QEL_MODEL_PROGRAM).empty())
        GTEST_SKIP() << "qel-model was not built";
    QelModelTempDir dir;
    const std::string strObj = dir.Write("t.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const std::string strPng = dir.File("t.png");
    struct Row
    {
        const char* pName;
        std::string strArgs;
        int nExit;
    };
    const Row aRows[] = {{"size without a height", "render " + strObj + " " + strPng + " --size 64", 2},
                         {"size of zero", "render " + strObj + " " + strPng + " --size 0x10", 2},
                         {"huge size", "render " + strObj + " " + strPng + " --size 100000x10", 2},
                         {"unknown option", "render " + strObj + " " + strPng + " --zoom 64x64", 2},
                         {"missing file", "render " + dir.File("none.obj") + " " + strPng, 1},
                         {"unknown extension", "render " + dir.Write("t.xyz", "") + " " + strPng, 1},
                         {"folder that cannot be written", "render " + strObj + " " + dir.File("no/such/t.png"), 1}};
    for (const Row& row : aRows)
    {
        SCOPED_TRACE(row.pName);
        EXPECT_EQ(RunTool(row.strArgs), row.nExit);
    }
}
