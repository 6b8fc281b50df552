// Feeds arbitrary bytes to the interaction objects. The first byte picks the path: documents
// loaded into a camera, a light, a grid and a clip plane (whose matrices must stay finite), or raw
// bytes taken as the vertex and index arrays of a pick mesh and picked through.
#include "qel/display/QelCamera.h"
#include "qel/display/QelClipPlane.h"
#include "qel/display/QelGrid.h"
#include "qel/display/QelLight.h"
#include "qel/display/QelPickMesh.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{
void RequireFinite(const QelMatrix4& m)
{
    for (float f : m.m_fM)
        if (!std::isfinite(f))
            std::abort();
}

void LoadObjects(const std::string& strText)
{
    QelMasterXMLInterface xml;
    if (!xml.LoadDataFromString(strText))
        return;
    QelCamera camera;
    QelLight light;
    QelGrid grid;
    QelClipPlane plane;
    QelPlugin* pObjects[4] = {&camera, &light, &grid, &plane};
    const char* const kElements[4] = {"Camera", "Light", "Grid", "Plane"};
    for (int i = 0; i < 4; ++i)
    {
        xml.MoveToRootNode();
        if (xml.MoveToChildNode(kElements[i]))
            pObjects[i]->Load(&xml);
    }
    camera.SetViewport(0, 0, 64, 48);
    RequireFinite(camera.GetProjectionMatrix());
    RequireFinite(camera.GetViewMatrix());
    const QelRay ray = camera.GetPickRay(10, 20);
    QelVec3 v;
    camera.Project(ray.m_vecStart, v);
    camera.Zoom(eZoomIn);
    grid.SnapPosition(QelVec3(1.5f, -2.5f, 0.25f));
    grid.SnapAngle(37.0f);
    QelPlane p;
    plane.GetWorldPlane(p);
    light.GetWorldPlacement(v, v);
}

void PickMesh(const uint8_t* pData, size_t nSize)
{
    // The first half of the bytes as vertices, the rest as indices: counts taken from the data.
    const size_t nVertexBytes = (nSize / 2) / 12 * 12;
    const size_t nIndexBytes = (nSize - nVertexBytes) / 12 * 12;
    if (nVertexBytes == 0 || nIndexBytes == 0)
        return;
    std::vector<float> vVertices(nVertexBytes / 4);
    std::memcpy(vVertices.data(), pData, nVertexBytes);
    std::vector<uint32_t> vIndices(nIndexBytes / 4);
    std::memcpy(vIndices.data(), pData + nVertexBytes, nIndexBytes);
    QelPickMesh mesh;
    mesh.SetTriangles(vVertices.data(), vVertices.size() / 3, vIndices.data(), vIndices.size() / 3);
    float t = 0;
    mesh.IntersectRay(QelRay(QelVec3(0, 0, 10), QelVec3(0, 0, -1)), t);
    mesh.IntersectRay(QelRay(QelVec3(0.5f, 0.25f, -3), QelVec3(0.1f, 0, 1)), t);
    mesh.SetTriangles(vVertices.data(), vVertices.size() / 3, nullptr, vVertices.size() / 9);
    mesh.IntersectRay(QelRay(QelVec3(0, 0, 10), QelVec3(0, 0, -1)), t);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp app;
    if (nSize == 0)
        return 0;
    if (pData[0] & 1)
        PickMesh(pData + 1, nSize - 1);
    else
        LoadObjects(std::string(reinterpret_cast<const char*>(pData + 1), nSize - 1));
    return 0;
}
