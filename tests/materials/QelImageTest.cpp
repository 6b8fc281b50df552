#include "qel/materials/QelImage.h"
#include "qel/platform/QelBitmap.h"
#include "qel/platform/QelResources.h"
#include "tests/materials/QelMaterialsTestUtil.h"
#include "tests/support/QelGLTest.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <cstring>

using namespace qeltest;

TEST(QelImage, LoadsWithTheTopRowFirstScalesBlursAndCopiesDeeply)
{
    const std::string strDir = TestDir();
    const uint32_t nTop = 0xFF0000FFu, nBottom = 0xFFFF0000u;
    ASSERT_TRUE(WriteImage(strDir + "i.png", 8, 4, TwoBands(8, 4, nTop, nBottom)));

    QelImage empty;
    EXPECT_EQ(empty.GetWidth(), 0u);
    EXPECT_EQ(empty.GetRawData(), nullptr);
    EXPECT_FALSE(empty.Blur(1));
    EXPECT_FALSE(empty.Resize(4, 4));
    QelImage emptyCopy(empty);
    EXPECT_EQ(emptyCopy.GetWidth(), 0u);

    QelImage img;
    ASSERT_TRUE(img.LoadFromFile(strDir + "i.png"));
    EXPECT_EQ(img.GetWidth(), 8u);
    EXPECT_EQ(img.GetHeight(), 4u);
    uint32_t nFirst = 0;
    std::memcpy(&nFirst, img.GetRawData(), 4);
    EXPECT_EQ(nFirst, nTop);

    QelImage copy(img);
    ASSERT_TRUE(copy.Resize(2, 2));
    EXPECT_TRUE(copy.Blur(2));
    EXPECT_FALSE(copy.Resize(0, 2));
    EXPECT_EQ(copy.GetWidth(), 2u);
    EXPECT_EQ(img.GetWidth(), 8u); // the original keeps its pixels
    QelImage assigned;
    assigned = img;
    EXPECT_EQ(assigned.GetHeight(), 4u);

    EXPECT_FALSE(img.LoadFromFile(strDir + "missing.png"));
    EXPECT_STRNE(img.GetError(), "");
    EXPECT_FALSE(img.LoadFromMemory(nullptr));
}

TEST(QelImage, FromMemoryResourcesAndBitmaps)
{
    const std::string strDir = TestDir();
    ASSERT_TRUE(WriteImage(strDir + "i.bmp", 4, 2, TwoBands(4, 2, 0xFF00FF00u, 0xFFFF0000u)));
    const std::vector<unsigned char> vBmp = ReadFile(strDir + "i.bmp");
    ASSERT_GT(vBmp.size(), 14u);

    QelImage img;
    ASSERT_TRUE(img.LoadFromMemory(vBmp.data(), unsigned(vBmp.size())));
    EXPECT_EQ(img.GetWidth(), 4u);
    EXPECT_FALSE(img.LoadFromMemory(vBmp.data(), 10));

    HINSTANCE hModule = reinterpret_cast<HINSTANCE>(0x2000);
    const std::vector<unsigned char> vDib(vBmp.begin() + 14, vBmp.end());
    QelResources::Register(hModule, 1, "Bitmap", vDib.data(), vDib.size());
    QelResources::Register(hModule, 2, "Image", vBmp.data(), vBmp.size());
    HBITMAP hBitmap = QelBitmap::LoadFromResource(hModule, 1);
    ASSERT_NE(hBitmap, nullptr);
    EXPECT_EQ(QelBitmap::GetWidth(hBitmap), 4u);
    EXPECT_EQ(QelBitmap::GetHeight(hBitmap), 2u);
    uint32_t nFirst = 0;
    std::memcpy(&nFirst, QelBitmap::GetPixels(hBitmap), 4);
    EXPECT_EQ(nFirst, 0xFF00FF00u); // top row first
    ASSERT_TRUE(img.LoadFromBitmap(hBitmap));
    std::memcpy(&nFirst, img.GetRawData(), 4);
    EXPECT_EQ(nFirst, 0xFF00FF00u);
    QelBitmap::Delete(hBitmap);

    QelImage fromResource;
    EXPECT_TRUE(fromResource.LoadFromResource(hModule, 1, "Bitmap"));
    EXPECT_TRUE(fromResource.LoadFromResource(hModule, 2, "image"));
    EXPECT_EQ(fromResource.GetHeight(), 2u);
    EXPECT_FALSE(fromResource.LoadFromResource(hModule, 3, "Image"));
    EXPECT_TRUE(QelResources::Unregister(hModule, 2, "IMAGE"));
    EXPECT_FALSE(fromResource.LoadFromResource(hModule, 2, "Image"));

    // A bitmap resource whose header claims more palette than the block holds is refused.
    std::vector<unsigned char> vShort(vDib.begin(), vDib.begin() + 40);
    vShort[32] = 200; // colors used
    QelResources::Register(hModule, 4, "Bitmap", vShort.data(), vShort.size());
    EXPECT_EQ(QelBitmap::LoadFromResource(hModule, 4), nullptr);
    EXPECT_EQ(QelBitmap::Create(0, 4, vDib.data()), nullptr);
    QelResources::Clear();
}

TEST(QelImageGL, TakeScreenshotSavesTheViewport)
{
    QEL_REQUIRE_GL_SIZED(32, 16);
    const std::string strPath = TestDir() + "shot.png";
    glViewport(0, 0, 32, 16);
    glClearColor(0, 0, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    ASSERT_TRUE(QelImage::TakeScreenshot(strPath));
    ASSERT_TRUE(QelImage::TakeScreenshot(strPath)); // overwrites
    QelImage img;
    ASSERT_TRUE(img.LoadFromFile(strPath));
    EXPECT_EQ(img.GetWidth(), 32u);
    EXPECT_EQ(img.GetHeight(), 16u);
    const unsigned char* p = img.GetRawData();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p[0], 0);
    EXPECT_EQ(p[2], 255);
}
