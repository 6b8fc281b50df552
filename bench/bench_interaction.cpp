// Interaction: picking the object under the mouse among 10,000 display objects, picking in one
// model of 1,000,000 triangles (the search structure is built once and its build time reported),
// and one frame of 10,000 small objects drawn through the camera with four lights.
// Peers: the million-triangle pick by testing every triangle, and the same frame drawn with raw
// OpenGL calls from precomputed matrices. Targets: each pick under 1 ms; the library's frame at
// most 1.2 times the raw one.
#include "qel/display/QelCamera.h"
#include "qel/display/QelLight.h"
#include "qel/display/QelPickMesh.h"
#include "qel/display/QelPicker.h"
#include "qel/platform/QelOffscreenContext.h"
#include "tests/support/QelSilentApp.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

namespace
{
QelSilentApp s_app;
const int kObjects = 10000;

/// A small box of half size 0.3 with face normals, in immediate mode.
void DrawSmallBox()
{
    static const float kNormals[6][3] = {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}};
    static const int kFaces[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
    const float h = 0.3f;
    glBegin(GL_QUADS);
    for (int f = 0; f < 6; ++f)
    {
        glNormal3fv(kNormals[f]);
        for (int c : kFaces[f])
            glVertex3f(c & 1 ? h : -h, c & 2 ? h : -h, c & 4 ? h : -h);
    }
    glEnd();
}

class SmallBox : public QelDisplayObject
{
public:
    SmallBox()
    {
        AddTransformProperties(true, true, true);
        SetExtents(QelBox3(QelVec3(-0.3f, -0.3f, -0.3f), QelVec3(0.3f, 0.3f, 0.3f)));
    }
    void Draw() override { DrawSmallBox(); }
};

/// 10,000 boxes on a 100 x 100 lattice with random heights and turns, under one root, and a camera
/// that sees them all.
struct Scene
{
    Scene()
    {
        std::mt19937 rng(11);
        std::uniform_real_distribution<float> height(0.0f, 3.0f), angle(0.0f, 360.0f);
        root.AddTransformProperties(true, false, false);
        for (int i = 0; i < kObjects; ++i)
        {
            vBoxes.push_back(std::make_unique<SmallBox>());
            vBoxes.back()->SetTransform(QelVec3(float(i % 100) - 50.0f, float(i / 100) - 50.0f, height(rng)),
                                        QelVec4(0, 0, 1, angle(rng)), QelVec3(1, 1, 1));
            root.AddChild(vBoxes.back().get());
        }
        vRoots = {&root};
        camera.SetViewport(0, 0, 512, 512);
        camera.SetAutoClipping(true);
        camera.SetView(QelCamera::eViewThreeQuarter);
        camera.ZoomToBox(QelCamera::GetSceneExtents(vRoots));
    }
    ~Scene()
    {
        while (root.GetChildCount())
            root.RemoveChild(root.GetChild(root.GetChildCount() - 1));
    }
    QelDisplayObject root;
    std::vector<std::unique_ptr<SmallBox>> vBoxes;
    std::vector<QelDisplayObject*> vRoots;
    QelCamera camera;
};

void BM_PickAmong10000Objects(benchmark::State& state)
{
    Scene scene;
    std::mt19937 rng(3);
    std::uniform_int_distribution<int> pixel(100, 411);
    std::vector<std::pair<int, int>> vMice(256);
    for (auto& m : vMice)
        m = {pixel(rng), pixel(rng)};
    size_t n = 0, nHits = 0;
    for (auto _ : state)
    {
        const auto& m = vMice[n++ % vMice.size()];
        const QelPickHit hit = QelPicker::Pick(scene.vRoots, scene.camera, m.first, m.second);
        nHits += hit.m_pObject != nullptr;
        benchmark::DoNotOptimize(hit);
    }
    state.counters["hit_ratio"] = double(nHits) / double(std::max<size_t>(n, 1));
}
BENCHMARK(BM_PickAmong10000Objects)->Unit(benchmark::kMicrosecond);

/// A wavy height field of 500 x 1000 cells: 1,000,000 triangles as plain arrays.
struct Terrain : public QelDisplayObject
{
    Terrain()
    {
        const int nX = 500, nY = 1000;
        for (int j = 0; j <= nY; ++j)
            for (int i = 0; i <= nX; ++i)
            {
                const float x = float(i) * 0.1f, y = float(j) * 0.1f;
                vVertices.insert(vVertices.end(), {x, y, std::sin(x * 0.7f) * std::cos(y * 0.3f) * 2.0f});
            }
        for (int j = 0; j < nY; ++j)
            for (int i = 0; i < nX; ++i)
            {
                const uint32_t a = uint32_t(j * (nX + 1) + i), b = a + 1, c = a + uint32_t(nX + 1), d = c + 1;
                vIndices.insert(vIndices.end(), {a, b, d, a, d, c});
            }
        mesh.SetTriangles(vVertices.data(), vVertices.size() / 3, vIndices.data(), vIndices.size() / 3);
        SetExtents(QelBox3(QelVec3(0, 0, -2), QelVec3(50, 100, 2)));
    }
    QelPickMesh* GetPickMesh() override { return &mesh; }
    std::vector<float> vVertices;
    std::vector<uint32_t> vIndices;
    QelPickMesh mesh;
};

std::vector<QelRay> TerrainRays()
{
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> x(2.0f, 48.0f), y(2.0f, 98.0f), tilt(-0.3f, 0.3f);
    std::vector<QelRay> v(256);
    for (QelRay& r : v)
        r = QelRay(QelVec3(x(rng), y(rng), 30.0f), QelVec3(tilt(rng), tilt(rng), -1.0f).NormalizeWithReturn());
    return v;
}

void BM_PickInAMillionTriangles(benchmark::State& state)
{
    Terrain terrain;
    terrain.mesh.Build();
    state.counters["build_ms"] = terrain.mesh.GetBuildSeconds() * 1e3;
    const std::vector<QelDisplayObject*> vRoots = {&terrain};
    const std::vector<QelRay> vRays = TerrainRays();
    size_t n = 0, nHits = 0;
    for (auto _ : state)
    {
        const QelPickHit hit = QelPicker::Pick(vRoots, vRays[n++ % vRays.size()]);
        nHits += hit.m_pObject != nullptr;
        benchmark::DoNotOptimize(hit);
    }
    state.counters["hit_ratio"] = double(nHits) / double(std::max<size_t>(n, 1));
}
BENCHMARK(BM_PickInAMillionTriangles)->Unit(benchmark::kMicrosecond);

/// The peer: Moller-Trumbore on every triangle, nearest hit kept.
void BM_PeerEveryTriangle(benchmark::State& state)
{
    Terrain terrain;
    const std::vector<QelRay> vRays = TerrainRays();
    size_t n = 0;
    for (auto _ : state)
    {
        const QelRay& ray = vRays[n++ % vRays.size()];
        float fBest = 3.4e38f;
        const float* v = terrain.vVertices.data();
        for (size_t t = 0; t < terrain.vIndices.size(); t += 3)
        {
            const QelVec3 a(v + 3 * terrain.vIndices[t]), b(v + 3 * terrain.vIndices[t + 1]), c(v + 3 * terrain.vIndices[t + 2]);
            const QelVec3 e1 = b - a, e2 = c - a, p = ray.m_vecDirection.Cross(e2);
            const float fDet = e1.Dot(p);
            if (fDet == 0.0f)
                continue;
            const float fInv = 1.0f / fDet;
            const QelVec3 s = ray.m_vecStart - a;
            const float u = s.Dot(p) * fInv;
            if (u < 0.0f || u > 1.0f)
                continue;
            const QelVec3 q = s.Cross(e1);
            const float w = ray.m_vecDirection.Dot(q) * fInv;
            if (w < 0.0f || u + w > 1.0f)
                continue;
            const float tt = e2.Dot(q) * fInv;
            if (tt > 0.0f && tt < fBest)
                fBest = tt;
        }
        benchmark::DoNotOptimize(fBest);
    }
}
BENCHMARK(BM_PeerEveryTriangle)->Unit(benchmark::kMicrosecond)->Iterations(20);

struct LitScene : Scene
{
    LitScene()
    {
        for (int i = 0; i < 4; ++i)
        {
            vLights.push_back(std::make_unique<QelLight>());
            vLights.back()->SetDirection(QelVec3(std::cos(float(i)), std::sin(float(i)), -1.0f));
            vLights.back()->SetColors(QelVec4(0.05f, 0.05f, 0.05f, 1), QelVec4(0.3f, 0.3f, 0.3f, 1), QelVec4(0, 0, 0, 1));
            vLights.back()->TurnOn(true);
        }
    }
    std::vector<std::unique_ptr<QelLight>> vLights;
};

bool BeginFrame(benchmark::State& state)
{
    std::string strWhy;
    if (!QelOffscreenContext::MakeCurrent(512, 512, &strWhy))
    {
        state.SkipWithError(("no OpenGL context: " + strWhy).c_str());
        return false;
    }
    glEnable(GL_DEPTH_TEST);
    return true;
}

void BM_Frame10000ObjectsLibrary(benchmark::State& state)
{
    if (!BeginFrame(state))
        return;
    LitScene scene;
    for (auto _ : state)
    {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        scene.camera.Apply();
        QelLight::ApplyAll(scene.camera.GetViewMatrix());
        scene.root.Render();
        glFinish();
    }
}
BENCHMARK(BM_Frame10000ObjectsLibrary)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_PeerFrame10000ObjectsRawGL(benchmark::State& state)
{
    if (!BeginFrame(state))
        return;
    LitScene scene;
    // Everything the library works out per frame is precomputed here.
    const QelMatrix4 mProjection = scene.camera.GetProjectionMatrix(), mView = scene.camera.GetViewMatrix();
    std::vector<QelMatrix4> vMatrices(kObjects);
    for (int i = 0; i < kObjects; ++i)
        scene.vBoxes[size_t(i)]->GetTransform(vMatrices[size_t(i)]);
    GLfloat fDirections[4][4], fAmbient[4] = {0.05f, 0.05f, 0.05f, 1}, fDiffuse[4] = {0.3f, 0.3f, 0.3f, 1},
                               fBlack[4] = {0, 0, 0, 1};
    for (int i = 0; i < 4; ++i)
    {
        const QelVec3 d = QelVec3(std::cos(float(i)), std::sin(float(i)), -1.0f).NormalizeWithReturn();
        fDirections[i][0] = -d.x, fDirections[i][1] = -d.y, fDirections[i][2] = -d.z, fDirections[i][3] = 0;
    }
    for (auto _ : state)
    {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glMatrixMode(GL_PROJECTION);
        glLoadMatrixf(mProjection.m_fM);
        glMatrixMode(GL_MODELVIEW);
        glLoadMatrixf(mView.m_fM);
        for (int i = 0; i < 4; ++i)
        {
            const GLenum e = GLenum(GL_LIGHT0 + i);
            glLightfv(e, GL_POSITION, fDirections[i]);
            glLightfv(e, GL_AMBIENT, fAmbient);
            glLightfv(e, GL_DIFFUSE, fDiffuse);
            glLightfv(e, GL_SPECULAR, fBlack);
            glEnable(e);
        }
        glEnable(GL_LIGHTING);
        glEnable(GL_NORMALIZE);
        for (const QelMatrix4& m : vMatrices)
        {
            glPushMatrix();
            glMultMatrixf(m.m_fM);
            DrawSmallBox();
            glPopMatrix();
        }
        glFinish();
    }
}
BENCHMARK(BM_PeerFrame10000ObjectsRawGL)->Unit(benchmark::kMillisecond)->MinTime(2.0);
} // namespace

BENCHMARK_MAIN();
