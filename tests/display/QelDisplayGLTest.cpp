#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <tuple>
#include <vector>

namespace
{
const unsigned int kClear = 0xFF000000u; // opaque black
const unsigned int kRed = 0xFF0000FFu;
const unsigned int kGreen = 0xFF00FF00u;

/// The viewport, then the scissor box.
std::vector<GLint> Rects()
{
    std::vector<GLint> v(8, -1);
    glGetIntegerv(GL_VIEWPORT, v.data());
    glGetIntegerv(GL_SCISSOR_BOX, v.data() + 4);
    return v;
}

/// A square of side 0.25 (in clip units) about (m_fOffsetX, 0) of its own coordinates, in one color.
class Square : public QelDisplayObject
{
public:
    explicit Square(unsigned int nColor, bool bTransform = true) : m_nColor(nColor)
    {
        if (bTransform)
            AddTransformProperties(true, true, true);
    }
    void Draw() override
    {
        ++m_nDraws;
        glColor4ub(GLubyte(m_nColor), GLubyte(m_nColor >> 8), GLubyte(m_nColor >> 16), 255);
        glRectf(m_fOffsetX - 0.125f, -0.125f, m_fOffsetX + 0.125f, 0.125f);
    }
    unsigned int m_nColor;
    float m_fOffsetX = 0.0f;
    int m_nDraws = 0;
};

/// Clears the whole target to opaque black; both matrices are the identity, so the pixel grid spans clip space.
void BeginFrame()
{
    glViewport(0, 0, QelOffscreenContext::Width(), QelOffscreenContext::Height());
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
}

/// Compares the pixels under points of clip space with the colors expected there.
void ExpectPixels(std::initializer_list<std::tuple<float, float, unsigned int>> probes)
{
    const float w = float(QelOffscreenContext::Width()), h = float(QelOffscreenContext::Height());
    for (const auto& [x, y, nColor] : probes)
        EXPECT_EQ(QelOffscreenContext::ReadPixel(int((x + 1) * 0.5f * w), int((y + 1) * 0.5f * h)), nColor)
            << "at " << x << ", " << y;
}
} // namespace

TEST(QelDisplaySystemGL, ViewportAndScissorFollowTheRecordOnlyWhenEnabledAndActive)
{
    QEL_REQUIRE_GL();
    glViewport(1, 2, 3, 4);
    glScissor(5, 6, 7, 8);
    // Each test runs in its own process: the record has never been set here, then one flag is 0.
    QelDisplaySystem::SetViewport(10, 20, 30, 40);
    QelDisplaySystem::SetScissor(10, 20, 30, 40);
    QelDisplaySystem::SetCurrentViewportInfo(100, 50, 640, 480, 1, 0);
    QelDisplaySystem::SetViewport(10, 20, 30, 40);
    QelDisplaySystem::SetCurrentViewportInfo(100, 50, 640, 480, 0, 1);
    QelDisplaySystem::SetViewport(10, 20, 30, 40);
    QelDisplaySystem::SetScissor(10, 20, 30, 40);
    EXPECT_EQ(Rects(), (std::vector<GLint>{1, 2, 3, 4, 5, 6, 7, 8}));

    QelDisplaySystem::SetCurrentViewportInfo(100, 50, 640, 480, 1, 1);
    QelDisplaySystem::SetViewport(10, 20, 300, 200);
    EXPECT_EQ(Rects(), (std::vector<GLint>{110, 70, 300, 200, 110, 70, 300, 200}));
    QelDisplaySystem::SetScissor(1, 2, 3, 4); // the scissor alone leaves the viewport where it was
    EXPECT_EQ(Rects(), (std::vector<GLint>{110, 70, 300, 200, 101, 52, 3, 4}));
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelDisplayObjectGL, ATransformMovesWhatItDrawsAndHiddenChildrenLeaveTheClearColor)
{
    QEL_REQUIRE_GL();
    BeginFrame();
    // Drawn offset along +X under the default quarter turn about Z: it shows up along +Y.
    Square quad(kRed), root(kRed), arm(kGreen), ghost(kGreen);
    quad.m_fOffsetX = 0.5f;
    quad.Render();
    ExpectPixels({{0.0f, 0.5f, kRed}, {0.5f, 0.0f, kClear}, {0.0f, 0.0f, kClear}});
    // Without the turn it stays on +X.
    BeginFrame();
    quad.SetRotation(QelVec4(0, 0, 1, 0));
    quad.Render();
    ExpectPixels({{0.5f, 0.0f, kRed}, {0.0f, 0.5f, kClear}});
    // A property edit is seen at the next frame; the translation applies after the turn.
    BeginFrame();
    quad.GetProperty("Transform:Translation:Y")->SetAsFloat(-0.5f);
    quad.Render();
    ExpectPixels({{0.5f, -0.5f, kRed}, {0.5f, 0.0f, kClear}});

    // Children draw under their parent: the root keeps the quarter turn and halves everything.
    BeginFrame();
    root.SetScale(QelVec3(0.5f, 0.5f, 1.0f));
    arm.SetTransform(QelVec3(1.0f, 0.0f, 0.0f), QelVec4(0, 0, 1, 0), QelVec3(2, 2, 1));
    ghost.SetTransform(QelVec3(-1.0f, 0.0f, 0.0f), QelVec4(0, 0, 1, 0), QelVec3(2, 2, 1));
    ghost.Hide(true);
    EXPECT_TRUE(root.AddChild(&arm) && root.AddChild(&ghost));
    root.Render();
    // The root; the child along +X of the root is along +Y on screen; the hidden child leaves the clear color.
    ExpectPixels({{0.0f, 0.0f, kRed}, {0.0f, 0.5f, kGreen}, {0.0f, -0.5f, kClear}, {0.5f, 0.0f, kClear}});
    EXPECT_EQ(ghost.m_nDraws, 0);
    // A hidden root still renders its visible children: hiding is per object by default.
    BeginFrame();
    root.Hide(true);
    root.Render();
    ExpectPixels({{0.0f, 0.0f, kClear}, {0.0f, 0.5f, kGreen}});
    // The modelview matrix is what it was before the traversals.
    GLfloat m[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, m);
    EXPECT_EQ(QelMatrix4(m), QelMatrix4(true));
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelDisplayObjectGL, ChainsDeeperThanTheMatrixStackDrawAndRestore)
{
    QEL_REQUIRE_GL();
    GLint nMaxDepth = 0, nDepth = 0;
    glGetIntegerv(GL_MAX_MODELVIEW_STACK_DEPTH, &nMaxDepth);
    BeginFrame();
    // Every link but the last is hidden and moves its children along X; only the last one draws.
    const int nLinks = nMaxDepth + 8;
    std::vector<std::unique_ptr<Square>> vChain;
    for (int i = 0; i < nLinks; ++i)
    {
        const bool bLast = i + 1 == nLinks;
        vChain.push_back(std::make_unique<Square>(bLast ? kRed : kGreen, !bLast));
        if (!bLast)
            vChain.back()->SetTransform(QelVec3(0.5f / float(nLinks), 0, 0), QelVec4(0, 0, 1, 0), QelVec3(1, 1, 1));
        vChain.back()->Hide(!bLast);
        if (i > 0)
            vChain[size_t(i - 1)]->AddChild(vChain.back().get());
    }
    glPushMatrix(); // start one level down, so the traversal begins with fewer free slots
    vChain.front()->Render();
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &nDepth);
    EXPECT_EQ(nDepth, 2);
    glPopMatrix();
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    EXPECT_EQ(vChain.back()->m_nDraws, 1);
    ExpectPixels({{0.48f, 0.0f, kRed}, {0.0f, 0.0f, kClear}}); // the sum of every link's offset, 0.5 along X
}
