#include "QelDemo.h"

#include "qel/display/QelCamera.h"
#include "qel/display/QelClipPlane.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/display/QelGrid.h"
#include "qel/display/QelLight.h"
#include "qel/display/QelManipulator.h"
#include "qel/display/QelPicker.h"
#include "qel/display/QelPopupMenu.h"
#include "qel/platform/QelOffscreenContext.h"

#include <GL/glew.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace
{
const int kWidth = 480, kHeight = 320;

/// A lit box of the given half sizes, resting on the grid, with its extents for picking.
class DemoBlock : public QelDisplayObject
{
public:
    DemoBlock(const char* pName, const QelVec3& vHalf, float fRed, float fGreen, float fBlue)
        : m_vecHalf(vHalf), m_fColor{fRed, fGreen, fBlue}
    {
        SetName(pName);
        AddTransformProperties(true, true, true);
        SetRotation(QelVec4(0, 0, 1, 0));
        SetExtents(QelBox3(vHalf * -1.0f, vHalf));
    }

    void Draw() override
    {
        static const float kNormals[6][3] = {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}};
        static const int kFaces[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
        const QelVec3& h = m_vecHalf;
        glEnable(GL_COLOR_MATERIAL);
        glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
        glColor3fv(m_fColor);
        glBegin(GL_QUADS);
        for (int f = 0; f < 6; ++f)
        {
            glNormal3fv(kNormals[f]);
            for (int c : kFaces[f])
                glVertex3f(c & 1 ? h.x : -h.x, c & 2 ? h.y : -h.y, c & 4 ? h.z : -h.z);
        }
        glEnd();
    }

    void FillPopupMenu(QelPopupMenu& menu) override
    {
        menu.AddItem("Hide", 1);
        menu.AddItem("Snap to grid", 2, true, true);
    }

private:
    QelVec3 m_vecHalf;
    float m_fColor[3];
};

/// The demo's view: it draws its roots through its camera, lights and clip planes.
class InteractionView : public QelDisplaySystem
{
public:
    InteractionView() { SetName("Interaction View"); }
    std::vector<QelDisplayObject*>* GetDisplayObjects() override { return &m_vRoots; }
    void HandleChangeOfSelection() override
    {
        std::printf("  selection changed: %zu object(s)%s%s\n", GetSelection().size(),
                    GetSelection().empty() ? "" : ", first ", GetSelection().empty() ? "" : GetSelection()[0]->GetName().c_str());
    }

    void Draw() override
    {
        m_pCamera->SetViewport(0, 0, kWidth, kHeight);
        glViewport(0, 0, kWidth, kHeight);
        glClearColor(0.08f, 0.09f, 0.12f, 1.0f);
        glClear(GetClearBit());
        glEnable(GL_DEPTH_TEST);
        m_pCamera->Apply();
        QelLight::ApplyAll(m_pCamera->GetViewMatrix());
        QelClipPlane::ApplyAll(m_pCamera->GetViewMatrix());
        for (QelDisplayObject* p : m_vRoots)
            p->Render();
        // The grid and the handles are never cut.
        for (int i = 0; i < QelClipPlane::kMaxPlanes; ++i)
            glDisable(GLenum(GL_CLIP_PLANE0 + i));
        for (QelDisplayObject* p : m_vOverlays)
            p->Render();
        ResetRedrawFlag();
    }

    QelCamera* m_pCamera = nullptr;
    std::vector<QelDisplayObject*> m_vRoots;
    std::vector<QelDisplayObject*> m_vOverlays;
};

void Run(QelDemoApp&)
{
    if (!QelDemoBeginFrame(kWidth, kHeight))
        return;

    DemoBlock tower("Tower", QelVec3(0.6f, 0.6f, 1.5f), 0.85f, 0.3f, 0.2f);
    tower.SetTranslation(QelVec3(-2.0f, 0.5f, 1.5f));
    DemoBlock slab("Slab", QelVec3(1.5f, 1.0f, 0.25f), 0.25f, 0.55f, 0.9f);
    slab.SetTranslation(QelVec3(1.5f, -1.0f, 0.25f));
    DemoBlock cube("Cube", QelVec3(0.5f, 0.5f, 0.5f), 0.95f, 0.8f, 0.25f);
    cube.SetTransform(QelVec3(0.0f, 2.0f, 0.5f), QelVec4(0, 0, 1, 30), QelVec3(1, 1, 1));

    QelGrid grid;
    grid.SetSpacing(0.5f);
    grid.SetLineCount(12);
    grid.SetMajorEvery(4);
    grid.SetTranslationSnap(true);

    QelLight key, fill;
    key.SetName("Key Light");
    key.SetDirection(QelVec3(-0.4f, 0.6f, -1.0f));
    key.SetColors(QelVec4(0.15f, 0.15f, 0.15f, 1), QelVec4(0.9f, 0.9f, 0.85f, 1), QelVec4(0, 0, 0, 1));
    fill.SetName("Fill Light");
    fill.SetType(QelLight::eLightPoint);
    fill.SetTranslation(QelVec3(4.0f, -4.0f, 3.0f));
    fill.SetColors(QelVec4(0, 0, 0, 1), QelVec4(0.3f, 0.35f, 0.5f, 1), QelVec4(0, 0, 0, 1));
    key.TurnOn(true);
    fill.TurnOn(true);

    // The tower's top is cut away above z = 2.2, which opens it up; the lower blocks stay whole.
    QelClipPlane cut;
    cut.SetName("Cut");
    cut.SetPlane(QelVec3(0.0f, 0.0f, 2.2f), QelVec3(0.0f, 0.0f, -1.0f));
    cut.TurnOn(true);

    InteractionView view;
    QelCamera camera;
    view.m_pCamera = &camera;
    view.m_vRoots = {&tower, &slab, &cube};
    camera.SetDisplaySystem(&view);
    camera.SetViewport(0, 0, kWidth, kHeight);
    camera.SetAutoClipping(true);
    camera.SetView(QelCamera::eViewThreeQuarter);
    camera.Zoom(eZoomExtents);
    camera.ZoomBy(1.15f);
    std::printf("  camera: azimuth %.0f, elevation %.0f, distance %.2f, near %.3f, far %.2f\n", camera.GetAzimuth(),
                camera.GetElevation(), camera.GetDistance(), camera.GetNearClip(), camera.GetFarClip());
    std::printf("  lights on: %zu, clip planes on: %zu\n", QelLight::GetLightsOn().size(),
                QelClipPlane::GetPlanesOn().size());

    // Click on the slab's centre: pick, select, and put the manipulator on it.
    QelVec3 vWindow;
    camera.Project(QelVec3(1.5f, -1.0f, 0.25f), vWindow);
    const int nMouseX = int(vWindow.x), nMouseY = kHeight - 1 - int(vWindow.y);
    QelDisplayObject* pPicked = QelPicker::ClickSelect(view, camera, nMouseX, nMouseY, false);
    std::printf("  picked at (%d, %d): %s\n", nMouseX, nMouseY, pPicked ? pPicked->GetName().c_str() : "nothing");

    QelManipulator manipulator;
    manipulator.SetCamera(&camera);
    manipulator.SetGrid(&grid);
    manipulator.FollowSelection(view);
    view.m_vOverlays = {&grid, &manipulator};

    // Drag the X arrow 45 pixels along its direction on screen.
    QelVec3 vOrigin, vTip;
    camera.Project(QelVec3(1.5f, -1.0f, 0.25f), vOrigin);
    camera.Project(QelVec3(1.5f + 0.5f, -1.0f, 0.25f), vTip);
    const float fDx = vTip.x - vOrigin.x, fDy = vTip.y - vOrigin.y;
    const float fLength = std::sqrt(fDx * fDx + fDy * fDy);
    const int nGrabX = int(vOrigin.x + fDx / fLength * 40.0f), nGrabY = kHeight - int(vOrigin.y + fDy / fLength * 40.0f);
    if (manipulator.BeginDrag(nGrabX, nGrabY))
    {
        manipulator.Drag(nGrabX + int(fDx / fLength * 45.0f), nGrabY - int(fDy / fLength * 45.0f));
        manipulator.EndDrag();
    }
    const QelVec3 t = slab.GetTranslation();
    std::printf("  dragged the X arrow 45 pixels: %s now at (%.2f, %.2f, %.2f), snapped to the 0.5 grid\n",
                slab.GetName().c_str(), t.x, t.y, t.z);

    QelPopupMenu menu = QelPopupMenu::Build(slab);
    std::printf("  its popup menu:");
    for (const QelPopupMenu::SItem& item : menu.GetItems())
        std::printf(" [%s%s]", item.m_strLabel.c_str(), item.m_bChecked ? " (checked)" : "");
    std::printf("\n");

    view.Draw();
    glFinish();
    const std::string strPath = QelDemoOutputDir() + "/interaction-scene.png";
    if (QelOffscreenContext::SavePng(strPath))
        std::printf("  frame written to %s\n", strPath.c_str());

    // Leave the shared GL state as the next section expects it.
    view.ClearSelection();
    manipulator.SetTarget(nullptr);
    key.TurnOn(false);
    fill.TurnOn(false);
    cut.TurnOn(false);
    QelLight::ApplyAll(QelMatrix4(true));
    QelClipPlane::ApplyAll(QelMatrix4(true));
    glDisable(GL_DEPTH_TEST);
}

QelDemoSection s_section(110, "Interaction: camera, lights, clip plane, grid, picking and a manipulator", Run);
} // namespace
