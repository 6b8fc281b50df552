#pragma once

#include "qel/display/QelCamera.h"
#include "qel/display/QelClipPlane.h"
#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/display/QelLight.h"
#include "qel/display/QelPickMesh.h"
#include "qel/platform/QelOffscreenContext.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstdint>
#include <vector>

/// A box of the given half sizes about its origin, drawn unlit in one flat color; its extents are
/// the box, so bounds picking is exact for it.
class QelTestBox : public QelDisplayObject
{
public:
    QelTestBox(const QelVec3& vHalf, unsigned int nColor) : m_vecHalf(vHalf), m_nColor(nColor)
    {
        AddTransformProperties(true, true, true);
        SetRotation(QelVec4(0, 0, 1, 0));
        SetExtents(QelBox3(vHalf * -1.0f, vHalf));
    }
    void Draw() override
    {
        const QelVec3& h = m_vecHalf;
        glColor4ub(GLubyte(m_nColor), GLubyte(m_nColor >> 8), GLubyte(m_nColor >> 16), 255);
        static const int kFaces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
        glBegin(GL_QUADS);
        for (const auto& face : kFaces)
            for (int c : face)
                glVertex3f(c & 1 ? h.x : -h.x, c & 2 ? h.y : -h.y, c & 4 ? h.z : -h.z);
        glEnd();
    }
    QelVec3 m_vecHalf;
    unsigned int m_nColor;
};

/// An octahedron with corners at +-h on the axes, drawn unlit in one color and offered to picking
/// as triangles: its bounds are twice its volume, so a pick near a bounds corner must miss.
class QelTestOctahedron : public QelTestBox
{
public:
    QelTestOctahedron(const QelVec3& vHalf, unsigned int nColor) : QelTestBox(vHalf, nColor)
    {
        const float v[18] = {vHalf.x, 0, 0, -vHalf.x, 0, 0, 0, vHalf.y, 0, 0, -vHalf.y, 0, 0, 0, vHalf.z, 0, 0, -vHalf.z};
        std::copy(v, v + 18, m_fVertices);
        const uint32_t n[24] = {0, 2, 4, 2, 1, 4, 1, 3, 4, 3, 0, 4, 2, 0, 5, 1, 2, 5, 3, 1, 5, 0, 3, 5};
        std::copy(n, n + 24, m_nIndices);
        m_cMesh.SetTriangles(m_fVertices, 6, m_nIndices, 8);
    }
    void Draw() override
    {
        glColor4ub(GLubyte(m_nColor), GLubyte(m_nColor >> 8), GLubyte(m_nColor >> 16), 255);
        glBegin(GL_TRIANGLES);
        for (uint32_t i : m_nIndices)
            glVertex3fv(m_fVertices + 3 * i);
        glEnd();
    }
    QelPickMesh* GetPickMesh() override { return &m_cMesh; }
    float m_fVertices[18];
    uint32_t m_nIndices[24];
    QelPickMesh m_cMesh;
};

/// A view over a list of roots, counting selection changes.
class QelTestView : public QelDisplaySystem
{
public:
    std::vector<QelDisplayObject*>* GetDisplayObjects() override { return &m_vRoots; }
    void HandleChangeOfSelection() override { ++m_nSelectionChanges; }
    std::vector<QelDisplayObject*> m_vRoots;
    int m_nSelectionChanges = 0;
};

/// Looks straight down -Z at the origin, orthographic with a 90 degree field of view: the view spans
/// +-fHalf vertically, +X to the right and +Y up the screen.
inline void QelTopCamera(QelCamera& camera, float fHalf)
{
    camera.SetProjection(QelCamera::eProjectionOrthographic);
    camera.SetFieldOfView(90.0f);
    camera.SetView(QelCamera::eViewTop);
    camera.SetOrbit(camera.GetAzimuth(), 90.0f, fHalf);
    camera.SetClipDistances(0.01f, 100.0f);
}

/// Clears to opaque black and draws the roots through the camera with every light and plane that is on.
inline void QelDrawTestFrame(QelCamera& camera, const std::vector<QelDisplayObject*>& vRoots)
{
    camera.SetViewport(0, 0, QelOffscreenContext::Width(), QelOffscreenContext::Height());
    glViewport(0, 0, QelOffscreenContext::Width(), QelOffscreenContext::Height());
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    camera.Apply();
    QelLight::ApplyAll(camera.GetViewMatrix());
    QelClipPlane::ApplyAll(camera.GetViewMatrix());
    for (QelDisplayObject* p : vRoots)
        p->Render();
    glFinish();
}
