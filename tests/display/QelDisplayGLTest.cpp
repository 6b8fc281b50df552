#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelOffscreenGL.h"
#include "tests/support/QelTestApp.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{
const unsigned int kClear = 0xFF000000u; // opaque black
const unsigned int kRed = 0xFF0000FFu;
const unsigned int kGreen = 0xFF00FF00u;

void ExpectRect(GLenum eWhat, GLint x, GLint y, GLint w, GLint h)
{
    GLint n[4] = {-1, -1, -1, -1};
    glGetIntegerv(eWhat, n);
    EXPECT_EQ(std::vector<GLint>(n, n + 4), std::vector<GLint>({x, y, w, h}))
        << (eWhat == GL_VIEWPORT ? "viewport" : "scissor");
}

/// A square of side 0.25 (in clip units) about (m_fOffsetX, 0) of its own coordinates, in one color.
class Square : public QelDisplayObject
{
public:
    Square(unsigned int nColor, bool bTransform = true) : m_nColor(nColor)
    {
        if (bTransform)
            AddTransformProperties(true, true, true);
    }
    void Draw() override
    {
        ++m_nDraws;
        glColor4ub(GLubyte(m_nColor), GLubyte(m_nColor >> 8), GLubyte(m_nColor >> 16), 255);
        glBegin(GL_QUADS);
        glVertex2f(m_fOffsetX - 0.125f, -0.125f);
        glVertex2f(m_fOffsetX + 0.125f, -0.125f);
        glVertex2f(m_fOffsetX + 0.125f, 0.125f);
        glVertex2f(m_fOffsetX - 0.125f, 0.125f);
        glEnd();
    }
    unsigned int m_nColor;
    float m_fOffsetX = 0.0f;
    int m_nDraws = 0;
};

/// Clears the target and resets both matrices; the pixel grid spans clip space -1..1.
void BeginFrame()
{
    glViewport(0, 0, QelOffscreenGL::Width(), QelOffscreenGL::Height());
    glDisable(GL_SCISSOR_TEST);
    glDisable(GL_DEPTH_TEST);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

/// The pixel under a point of clip space.
unsigned int PixelAt(float x, float y)
{
    int w = QelOffscreenGL::Width(), h = QelOffscreenGL::Height();
    return QelOffscreenGL::ReadPixel(int((x + 1.0f) * 0.5f * w), int((y + 1.0f) * 0.5f * h));
}
} // namespace

TEST(QelDisplaySystemGL, NoViewportCallBeforeTheRecordIsEnabledAndActive)
{
    QEL_REQUIRE_GL();
    glViewport(1, 2, 3, 4);
    glScissor(5, 6, 7, 8);
    // Each test runs in its own process: the record has never been set here.
    QelDisplaySystem::SetViewport(10, 20, 30, 40);
    QelDisplaySystem::SetScissor(10, 20, 30, 40);
    ExpectRect(GL_VIEWPORT, 1, 2, 3, 4);
    ExpectRect(GL_SCISSOR_BOX, 5, 6, 7, 8);

    QelDisplaySystem::SetCurrentViewportInfo(100, 50, 640, 480, 1, 0);
    QelDisplaySystem::SetViewport(10, 20, 30, 40);
    QelDisplaySystem::SetCurrentViewportInfo(100, 50, 640, 480, 0, 1);
    QelDisplaySystem::SetViewport(10, 20, 30, 40);
    QelDisplaySystem::SetScissor(10, 20, 30, 40);
    ExpectRect(GL_VIEWPORT, 1, 2, 3, 4);
    ExpectRect(GL_SCISSOR_BOX, 5, 6, 7, 8);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelDisplaySystemGL, ViewportAndScissorAreOffsetByTheRecord)
{
    QEL_REQUIRE_GL();
    QelDisplaySystem::SetCurrentViewportInfo(100, 50, 640, 480, 1, 1);
    QelDisplaySystem::SetViewport(10, 20, 300, 200);
    ExpectRect(GL_VIEWPORT, 110, 70, 300, 200);
    ExpectRect(GL_SCISSOR_BOX, 110, 70, 300, 200);
    // The scissor alone leaves the viewport where it was.
    QelDisplaySystem::SetScissor(1, 2, 3, 4);
    ExpectRect(GL_SCISSOR_BOX, 101, 52, 3, 4);
    ExpectRect(GL_VIEWPORT, 110, 70, 300, 200);
    QelDisplaySystem::SetCurrentViewportInfo(0, 0, 0, 0, 0, 0);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelDisplayObjectGL, ATransformMovesWhatItDraws)
{
    QEL_REQUIRE_GL();
    BeginFrame();
    // Drawn offset along +X under the default quarter turn about Z: it shows up along +Y.
    Square quad(kRed);
    quad.m_fOffsetX = 0.5f;
    quad.Render();
    EXPECT_EQ(PixelAt(0.0f, 0.5f), kRed);
    EXPECT_EQ(PixelAt(0.5f, 0.0f), kClear);
    EXPECT_EQ(PixelAt(0.0f, 0.0f), kClear);

    // Without the turn it stays on +X.
    BeginFrame();
    quad.SetRotation(QelVec4(0, 0, 1, 0));
    quad.Render();
    EXPECT_EQ(PixelAt(0.5f, 0.0f), kRed);
    EXPECT_EQ(PixelAt(0.0f, 0.5f), kClear);

    // A property edit is seen at the next frame; the translation applies after the turn.
    BeginFrame();
    quad.GetProperty("Transform:Translation:Y")->SetAsFloat(-0.5f);
    quad.Render();
    EXPECT_EQ(PixelAt(0.5f, -0.5f), kRed);
    EXPECT_EQ(PixelAt(0.5f, 0.0f), kClear);

    // The modelview matrix is what it was before the traversal.
    GLfloat m[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, m);
    EXPECT_EQ(QelMatrix4(m), QelMatrix4(true));
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelDisplayObjectGL, ChildrenDrawUnderTheirParentAndHiddenOnesLeaveTheClearColor)
{
    QEL_REQUIRE_GL();
    BeginFrame();
    Square root(kRed, true); // keeps the default quarter turn, at the origin
    root.SetScale(QelVec3(0.5f, 0.5f, 1.0f));
    Square arm(kGreen);
    arm.SetTransform(QelVec3(1.0f, 0.0f, 0.0f), QelVec4(0, 0, 1, 0), QelVec3(2, 2, 1));
    Square ghost(kGreen);
    ghost.SetTransform(QelVec3(-1.0f, 0.0f, 0.0f), QelVec4(0, 0, 1, 0), QelVec3(2, 2, 1));
    ghost.Hide(true);
    root.AddChild(&arm);
    root.AddChild(&ghost);
    root.Render();

    EXPECT_EQ(PixelAt(0.0f, 0.0f), kRed);     // the root, scaled down
    EXPECT_EQ(PixelAt(0.0f, 0.5f), kGreen);   // +X of the root is +Y on screen, half as far
    EXPECT_EQ(PixelAt(0.0f, -0.5f), kClear);  // where the hidden child would be
    EXPECT_EQ(PixelAt(0.5f, 0.0f), kClear);
    EXPECT_EQ(ghost.m_nDraws, 0);

    // A hidden root still renders its visible children: hiding is per object by default.
    BeginFrame();
    root.Hide(true);
    root.Render();
    EXPECT_EQ(PixelAt(0.0f, 0.0f), kClear);
    EXPECT_EQ(PixelAt(0.0f, 0.5f), kGreen);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelDisplayObjectGL, ChainsDeeperThanTheMatrixStackDrawAndRestore)
{
    QEL_REQUIRE_GL();
    GLint nMaxDepth = 0;
    glGetIntegerv(GL_MAX_MODELVIEW_STACK_DEPTH, &nMaxDepth);
    BeginFrame();
    const int nLinks = nMaxDepth + 8;
    std::vector<std::unique_ptr<Square>> vChain;
    for (int i = 0; i < nLinks; ++i)
    {
        vChain.push_back(std::make_unique<Square>(i + 1 == nLinks ? kRed : kGreen, i + 1 < nLinks));
        if (i + 1 < nLinks)
            vChain.back()->SetTransform(QelVec3(0.5f / float(nLinks), 0, 0), QelVec4(0, 0, 1, 0), QelVec3(1, 1, 1));
        vChain.back()->Hide(i + 1 < nLinks); // only the last link draws
        if (i > 0)
            vChain[size_t(i - 1)]->AddChild(vChain.back().get());
    }
    glPushMatrix(); // start one level down, so the traversal begins with fewer free slots
    vChain.front()->Render();
    GLint nDepth = 0;
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &nDepth);
    EXPECT_EQ(nDepth, 2);
    glPopMatrix();
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    EXPECT_EQ(vChain.back()->m_nDraws, 1);
    // The last link sits 0.5 along X, the sum of every link's offset.
    EXPECT_EQ(PixelAt(0.48f, 0.0f), kRed);
    EXPECT_EQ(PixelAt(0.0f, 0.0f), kClear);
}
