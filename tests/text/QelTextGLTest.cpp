#include "qel/properties/QelProperty.h"
#include "qel/text/QelBitmapText.h"
#include "qel/text/QelFontCache.h"
#include "qel/text/QelPolygonText.h"
#include "qel/text/QelTextureText.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <GL/glew.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace
{
const int kWidth = 320;
const int kHeight = 160;

/// The lit pixels' bounding box in pixels (origin bottom left), x1/y1 one past the last lit pixel.
struct LitBox
{
    int x0 = kWidth, y0 = kHeight, x1 = 0, y1 = 0;
    bool Any() const { return x1 > x0; }
    int Width() const { return x1 - x0; }
    int Height() const { return y1 - y0; }
};

/// Pixels where any color channel passes nThreshold, within the columns [nFromX, nToX).
LitBox FindLit(int nThreshold = 96, int nFromX = 0, int nToX = kWidth)
{
    const std::vector<unsigned char> v = QelOffscreenContext::ReadFrame();
    LitBox b;
    for (int yTop = 0; yTop < kHeight; ++yTop)
        for (int x = nFromX; x < nToX; ++x)
        {
            const unsigned char* p = &v[(size_t(yTop) * kWidth + size_t(x)) * 4];
            if (std::max({p[0], p[1], p[2]}) <= nThreshold)
                continue;
            const int y = kHeight - 1 - yTop;
            b.x0 = std::min(b.x0, x);
            b.x1 = std::max(b.x1, x + 1);
            b.y0 = std::min(b.y0, y);
            b.y1 = std::max(b.y1, y + 1);
        }
    return b;
}

/// Clears to black with a projection that makes one unit one pixel, origin at the bottom left.
void BeginPixelFrame()
{
    glViewport(0, 0, kWidth, kHeight);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, kWidth, 0, kHeight, -100, 100);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

/// A perspective camera on the Z axis at distance fDistance, looking at the origin.
void BeginCameraFrame(float fDistance)
{
    glViewport(0, 0, kWidth, kHeight);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(40.0, double(kWidth) / kHeight, 0.1, 100.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(0, 0, fDistance, 0, 0, 0, 0, 1, 0);
}

std::unique_ptr<QelTextObject> MakeText(QelTextObject::EKind eKind, const std::string& strText, int nPixels)
{
    std::unique_ptr<QelTextObject> p;
    if (eKind == QelTextObject::eKindBitmap)
        p = std::make_unique<QelBitmapText>(strText);
    else if (eKind == QelTextObject::eKindPolygon)
        p = std::make_unique<QelPolygonText>(strText);
    else
        p = std::make_unique<QelTextureText>(strText);
    p->SetFont(QelLogicalFont("DejaVu Sans", nPixels));
    // In the pixel frame, an em of nPixels scene units is as tall as the bitmap font.
    p->SetSceneHeight(float(nPixels));
    return p;
}

const char* KindName(QelTextObject::EKind e)
{
    return e == QelTextObject::eKindBitmap ? "bitmap" : e == QelTextObject::eKindPolygon ? "polygon" : "texture";
}
} // namespace

TEST(QelTextGL, EachKindDrawsWhereItsAlignmentSays)
{
    QEL_REQUIRE_GL_SIZED(kWidth, kHeight);
    const float fAnchorX = 160.0f, fAnchorY = 80.0f;
    for (auto eKind : {QelTextObject::eKindBitmap, QelTextObject::eKindPolygon, QelTextObject::eKindTexture})
        for (int h = 0; h < 3; ++h)
            for (int v = 0; v < 3; ++v)
            {
                SCOPED_TRACE(std::string(KindName(eKind)) + " alignment " + std::to_string(h) + "," +
                             std::to_string(v));
                auto pText = MakeText(eKind, "Align Hg\nTwo lines", 20);
                pText->SetAlignment(QelTextObject::EHorizontalAlignment(h), QelTextObject::EVerticalAlignment(v));
                pText->SetTranslation(QelVec3(fAnchorX, fAnchorY, 0.0f));
                BeginPixelFrame();
                pText->Render();
                const LitBox lit = FindLit();
                QelBox2 cInk;
                QelVec2 vSize;
                ASSERT_TRUE(lit.Any());
                ASSERT_TRUE(pText->GetInkBox(cInk) && pText->GetTextSize(vSize));
                // The lit pixels are what the ink box says, to a pixel or two.
                EXPECT_NEAR(float(lit.x0), fAnchorX + cInk.m_vecMin.x, 2.0f);
                EXPECT_NEAR(float(lit.x1), fAnchorX + cInk.m_vecMax.x, 2.0f);
                EXPECT_NEAR(float(lit.y0), fAnchorY + cInk.m_vecMin.y, 2.0f);
                EXPECT_NEAR(float(lit.y1), fAnchorY + cInk.m_vecMax.y, 2.0f);
                // And they lie in the block that the alignment puts about the anchor.
                const float fLeft = fAnchorX - vSize.x * 0.5f * float(h);
                const float fTop = fAnchorY + vSize.y * 0.5f * float(v);
                EXPECT_GE(float(lit.x0), fLeft - 1.0f);
                EXPECT_LE(float(lit.x1), fLeft + vSize.x + 1.0f);
                EXPECT_LE(float(lit.y1), fTop + 1.0f);
                EXPECT_GE(float(lit.y0), fTop - vSize.y - 1.0f);
                EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
            }
}

TEST(QelTextGL, LabelsKeepTheirPixelSizeWhenTheCameraDolliesWhileTextureTextShrinks)
{
    QEL_REQUIRE_GL_SIZED(kWidth, kHeight);
    QelBitmapText label("Label");
    label.SetFont(QelLogicalFont("DejaVu Sans", 18));
    QelTextureText sign("Sign");
    sign.SetFont(QelLogicalFont("DejaVu Sans", 48));
    sign.SetSceneHeight(1.0f);
    sign.SetAlignment(QelTextObject::eAlignCenter, QelTextObject::eAlignMiddle);

    LitBox aLabel[2], aSign[2];
    const float aDistance[2] = {4.0f, 8.0f};
    for (int i = 0; i < 2; ++i)
    {
        BeginCameraFrame(aDistance[i]);
        label.Render();
        aLabel[i] = FindLit();
        BeginCameraFrame(aDistance[i]);
        sign.Render();
        aSign[i] = FindLit();
        ASSERT_TRUE(aLabel[i].Any() && aSign[i].Any());
    }
    EXPECT_EQ(aLabel[0].Width(), aLabel[1].Width());
    EXPECT_EQ(aLabel[0].Height(), aLabel[1].Height());
    // The label's origin stays where the anchor projects: the middle of the view.
    EXPECT_NEAR(aLabel[1].x0, kWidth / 2, 3);
    // Twice as far, half as large.
    EXPECT_NEAR(float(aSign[1].Width()), aSign[0].Width() * 0.5f, 2.0f);
    EXPECT_NEAR(float(aSign[1].Height()), aSign[0].Height() * 0.5f, 2.0f);
    EXPECT_GT(aSign[0].Height(), 30);
}

TEST(QelTextGL, AccentsAndAMissingGlyphDraw)
{
    QEL_REQUIRE_GL_SIZED(kWidth, kHeight);
    QelCapture log;
    // "E" then "É", each alone: the accent rises above the capital.
    LitBox aLetter[2];
    const char* aText[2] = {"E", "\xC3\x89"};
    for (int i = 0; i < 2; ++i)
    {
        auto pText = MakeText(QelTextObject::eKindBitmap, aText[i], 32);
        pText->SetTranslation(QelVec3(20, 40, 0));
        BeginPixelFrame();
        pText->Render();
        aLetter[i] = FindLit();
    }
    ASSERT_TRUE(aLetter[0].Any() && aLetter[1].Any());
    EXPECT_GT(aLetter[1].y1, aLetter[0].y1 + 3);
    EXPECT_EQ(aLetter[1].y0, aLetter[0].y0);

    // Greek, Cyrillic and a CJK character the font lacks: the last one draws as a box where the
    // measure puts it, after the others.
    for (auto eKind : {QelTextObject::eKindBitmap, QelTextObject::eKindPolygon, QelTextObject::eKindTexture})
    {
        SCOPED_TRACE(KindName(eKind));
        const std::string strKnown = "\xC3\xA9\xCE\xB1\xD0\x96"; // é α Ж
        auto pText = MakeText(eKind, strKnown + "\xE4\xB8\xAD", 32); // 中
        pText->SetTranslation(QelVec3(20, 40, 0));
        QelVec2 vKnown, vAll;
        ASSERT_TRUE(pText->MeasureString(strKnown, vKnown) && pText->GetTextSize(vAll));
        EXPECT_GT(vAll.x, vKnown.x + 10.0f);
        BeginPixelFrame();
        pText->Render();
        const LitBox all = FindLit();
        const LitBox box = FindLit(96, 20 + int(vKnown.x) + 1, kWidth);
        ASSERT_TRUE(all.Any());
        ASSERT_TRUE(box.Any());
        EXPECT_GT(box.Width(), 8);
        EXPECT_GT(box.Height(), 15);
        EXPECT_LE(float(box.x1), 20.0f + vAll.x + 1.0f);
    }
    EXPECT_EQ(log.Messages().size(), 0u) << log.Joined();
}

TEST(QelTextGL, PolygonTextIsLitByTheSceneAndExtrudes)
{
    QEL_REQUIRE_GL_SIZED(kWidth, kHeight);
    QelPolygonText title("HI");
    title.SetFont(QelLogicalFont("DejaVu Sans", 64));
    title.SetSceneHeight(64.0f);
    title.SetColor(QelVec4(1.0f, 0.0f, 0.0f, 1.0f));
    title.SetTranslation(QelVec3(40, 40, 0));
    // A light in front shows the face in its color; a light behind leaves only the ambient part.
    const GLfloat aFront[4] = {0, 0, 1, 0}, aBehind[4] = {0, 0, -1, 0};
    unsigned int aRed[2] = {0, 0};
    const GLfloat* aLight[2] = {aFront, aBehind};
    for (int i = 0; i < 2; ++i)
    {
        BeginPixelFrame();
        glLightfv(GL_LIGHT0, GL_POSITION, aLight[i]);
        glEnable(GL_LIGHTING);
        glEnable(GL_LIGHT0);
        title.Render();
        glDisable(GL_LIGHTING);
        const std::vector<unsigned char> v = QelOffscreenContext::ReadFrame();
        for (size_t k = 0; k < v.size(); k += 4)
            aRed[i] = std::max(aRed[i], unsigned(v[k]));
    }
    EXPECT_GE(aRed[0], 240u);
    EXPECT_GT(aRed[1], 20u);
    EXPECT_LT(aRed[1], 80u);

    // Extruded: seen from the side, the walls show where flat text is an edge-on line.
    QelBox3 cFlat = title.GetExtents();
    title.SetDepth(20.0f);
    QelVec2 vSize;
    ASSERT_TRUE(title.GetTextSize(vSize));
    QelBox3 cDeep = title.GetExtents();
    EXPECT_EQ(cFlat.m_vecMin.z, 0.0f);
    EXPECT_EQ(cDeep.m_vecMin.z, -20.0f);
    title.SetTranslation(QelVec3(0, 0, 0));
    title.SetRotation(QelVec4(0, 1, 0, 90)); // the text's +Z now points along +X
    int aWidth[2] = {0, 0};
    for (int i = 0; i < 2; ++i)
    {
        title.SetDepth(i == 0 ? 0.0f : 20.0f);
        BeginPixelFrame();
        glTranslatef(100, 40, 0);
        glLightfv(GL_LIGHT0, GL_POSITION, aFront);
        glEnable(GL_LIGHTING);
        title.Render();
        glDisable(GL_LIGHTING);
        aWidth[i] = FindLit(10).Width();
    }
    EXPECT_LE(aWidth[0], 2);
    EXPECT_GE(aWidth[1], 18);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelTextGL, DrawingLeavesTheStateAsItWas)
{
    QEL_REQUIRE_GL_SIZED(kWidth, kHeight);
    for (auto eKind : {QelTextObject::eKindBitmap, QelTextObject::eKindPolygon, QelTextObject::eKindTexture})
    {
        SCOPED_TRACE(KindName(eKind));
        auto pText = MakeText(eKind, "State", 20);
        pText->SetTranslation(QelVec3(20, 40, 0));
        BeginPixelFrame();
        glEnable(GL_DEPTH_TEST);
        glEnable(GL_LIGHTING);
        glEnable(GL_TEXTURE_2D);
        pText->Render();
        EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
        EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
        EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
        EXPECT_FALSE(glIsEnabled(GL_BLEND));
        EXPECT_FALSE(glIsEnabled(GL_COLOR_MATERIAL));
        GLint nDepth = 0;
        glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &nDepth);
        EXPECT_EQ(nDepth, 1);
        glDisable(GL_DEPTH_TEST);
        glDisable(GL_LIGHTING);
        glDisable(GL_TEXTURE_2D);
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    }
}

TEST(QelTextGL, LabelsDrawOverTheSceneUnlessAskedNotTo)
{
    QEL_REQUIRE_GL_SIZED(kWidth, kHeight);
    QelBitmapText label("Covered");
    label.SetTranslation(QelVec3(20, 40, 0));
    bool aDrawn[2] = {false, false};
    for (int i = 0; i < 2; ++i)
    {
        label.GetProperty("Text:Always on top")->SetAsBool(i == 0);
        // A depth buffer at its nearest everywhere stands for something in front of the label.
        BeginPixelFrame();
        glClearDepth(0.0);
        glClear(GL_DEPTH_BUFFER_BIT);
        glEnable(GL_DEPTH_TEST);
        label.Render();
        glDisable(GL_DEPTH_TEST);
        glClearDepth(1.0);
        aDrawn[i] = FindLit().Any();
    }
    EXPECT_TRUE(aDrawn[0]);
    EXPECT_FALSE(aDrawn[1]);
}

TEST(QelTextGL, TextureFontsSurviveAClearOfTheCache)
{
    QEL_REQUIRE_GL_SIZED(kWidth, kHeight);
    QelTextureText sign("Again");
    sign.SetFont(QelLogicalFont("DejaVu Sans", 24));
    sign.SetSceneHeight(24.0f);
    sign.SetTranslation(QelVec3(20, 40, 0));
    BeginPixelFrame();
    sign.Render();
    const LitBox first = FindLit();
    QelFontCache::Clear();
    BeginPixelFrame();
    sign.Render();
    const LitBox second = FindLit();
    ASSERT_TRUE(first.Any());
    EXPECT_EQ(first.x0, second.x0);
    EXPECT_EQ(first.x1, second.x1);
    EXPECT_EQ(first.y0, second.y0);
}
