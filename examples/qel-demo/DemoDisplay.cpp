#include "QelDemo.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"

#include "qel/platform/QelOffscreenContext.h"

#include <GL/glew.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
const int kSize = 256;

/// A flat colored square of side 1 about its origin, with a white tab on its local +X edge so
/// that its orientation shows in the picture.
class DemoTile : public QelDisplayObject
{
public:
    DemoTile(const char* pName, float fRed, float fGreen, float fBlue) : m_fRed(fRed), m_fGreen(fGreen), m_fBlue(fBlue)
    {
        SetName(pName);
        AddTransformProperties(true, true, true);
    }

    void Draw() override
    {
        glColor3f(m_fRed, m_fGreen, m_fBlue);
        glBegin(GL_QUADS);
        glVertex2f(-0.5f, -0.5f);
        glVertex2f(0.5f, -0.5f);
        glVertex2f(0.5f, 0.5f);
        glVertex2f(-0.5f, 0.5f);
        glColor3f(1.0f, 1.0f, 1.0f);
        glVertex2f(0.3f, -0.15f);
        glVertex2f(0.5f, -0.15f);
        glVertex2f(0.5f, 0.15f);
        glVertex2f(0.3f, 0.15f);
        glEnd();
    }

private:
    float m_fRed, m_fGreen, m_fBlue;
};

/// The demo's viewport: it clears with its own color and draws one scene root.
class DemoView : public QelDisplaySystem
{
public:
    explicit DemoView(QelDisplayObject* pRoot) : m_pRoot(pRoot) { SetName("Demo View"); }

    QelVec4 GetClearColor() override { return QelVec4(0.08f, 0.09f, 0.12f, 1.0f); }
    bool IsManagingScreenClears() override { return true; }

    void Draw() override
    {
        unsigned int nWidth = 0, nHeight = 0;
        GetWindowSize(nWidth, nHeight);
        SetViewport(0, 0, int(nWidth), int(nHeight));
        QelVec4 vColor = GetClearColor();
        glClearColor(vColor.x, vColor.y, vColor.z, vColor.w);
        glClear(GetClearBit());
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(-4.0, 4.0, -4.0, 4.0, -1.0, 1.0);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        m_pRoot->Render();
        ResetRedrawFlag();
    }

private:
    QelDisplayObject* m_pRoot;
};

void Run(QelDemoApp&)
{
    if (!QelDemoBeginFrame(kSize, kSize))
        return;

    // The root keeps the default transform: a quarter turn about Z, so its children's +X is up.
    DemoTile root("Base", 0.35f, 0.35f, 0.40f);
    root.SetScale(QelVec3(1.5f, 1.5f, 1.0f));
    DemoTile arm("Arm", 0.85f, 0.20f, 0.15f);
    arm.SetTransform(QelVec3(1.5f, 0.0f, 0.0f), QelVec4(0.0f, 0.0f, 1.0f, 0.0f), QelVec3(1.0f, 0.5f, 1.0f));
    DemoTile hand("Hand", 0.95f, 0.80f, 0.20f);
    hand.SetTransform(QelVec3(0.8f, 0.0f, 0.0f), QelVec4(0.0f, 0.0f, 1.0f, -45.0f), QelVec3(0.5f, 1.0f, 1.0f));
    DemoTile side("Side", 0.20f, 0.65f, 0.30f);
    side.SetTransform(QelVec3(0.0f, 1.5f, 0.0f), QelVec4(0.0f, 0.0f, 1.0f, 30.0f), QelVec3(0.8f, 0.8f, 1.0f));
    DemoTile ghost("Ghost", 0.20f, 0.40f, 0.95f);
    ghost.SetTranslation(QelVec3(-1.5f, 0.0f, 0.0f));
    ghost.Hide(true);

    root.AddChild(&arm);
    arm.AddChild(&hand);
    root.AddChild(&side);
    root.AddChild(&ghost);

    DemoView view(&root);
    QelDisplaySystem::SetCurrentViewportInfo(0, 0, kSize, kSize, 1, 1);
    view.WindowResized(kSize, kSize);
    std::printf("  %s: %dx%d, needs a redraw: %s\n", view.GetName().c_str(), kSize, kSize,
                view.NeedsRedraw() ? "yes" : "no");

    std::printf("  scene (world position of each origin; the root turns everything a quarter turn):\n");
    root.Traverse(QelMatrix4(true), [](QelDisplayObject& object, const QelMatrix4& mWorld) {
        auto fnTidy = [](float f) { return std::fabs(f) < 0.005f ? 0.0f : f; }; // no "-0.00"
        std::printf("    %-5s at (%5.2f, %5.2f)\n", object.GetName().c_str(), fnTidy(mWorld[12]), fnTidy(mWorld[13]));
    });
    std::printf("    %-5s is hidden and is not drawn\n", ghost.GetName().c_str());

    view.Draw();
    glFinish();
    std::printf("  drawn; needs a redraw now: %s\n", view.NeedsRedraw() ? "yes" : "no");

    std::string strPath = QelDemoOutputDir() + "/display-scene.png";
    if (QelOffscreenContext::SavePng(strPath))
        std::printf("  frame written to %s\n", strPath.c_str());

    // Remove the links in a defined order before the stack objects go away.
    QelDisplaySystem::SetCurrentViewportInfo(0, 0, 0, 0, 0, 0);
    root.OnDelete();
}

QelDemoSection s_section(70, "Display system, transforms and a scene drawn offscreen", Run);
} // namespace
