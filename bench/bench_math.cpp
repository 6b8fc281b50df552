// Math types beside GLM in the same run: each pair works on the same generated inputs.
#include "qel/math/QelBox3.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelSphere.h"
#include "qel/math/QelTriangle.h"
#include "qel/platform/QelRandom.h"

#include <benchmark/benchmark.h>

#define GLM_ENABLE_EXPERIMENTAL
#include <glm/glm.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <glm/gtx/intersect.hpp>

#include <vector>

namespace
{
constexpr size_t kInputs = 256; // a power of two: the index wraps with a mask

float Uniform(float fLo, float fHi)
{
    return fLo + (fHi - fLo) * float(QelRand()) / 32767.0f;
}

QelVec3 RandomUnit()
{
    QelVec3 v(Uniform(-1, 1), Uniform(-1, 1), Uniform(-1, 1));
    if (v.MagnitudeSquared() < 0.01f)
        v = QelVec3::kUnitZ;
    v.Normalize();
    return v;
}

glm::vec3 G(const QelVec3& v)
{
    return glm::vec3(v.x, v.y, v.z);
}

/// The same inputs in both libraries' types.
struct Inputs
{
    std::vector<QelMatrix4> qMat, qMatSound, qProj;
    std::vector<glm::mat4> gMat, gProj;
    std::vector<QelVec3> qVec, qAxis;
    std::vector<glm::vec3> gVec, gAxis;
    std::vector<QelVec4> qVec4;
    std::vector<glm::vec4> gVec4;
    std::vector<float> fAngle;
    std::vector<QelRay> qRay;

    Inputs()
    {
        QelSRand(7);
        for (size_t i = 0; i < kInputs; ++i)
        {
            QelMatrix4 m;
            m.Translate(Uniform(-10, 10), Uniform(-10, 10), Uniform(-10, 10));
            m.Rotate(RandomUnit(), Uniform(-180, 180));
            m.Scale(Uniform(0.5f, 2), Uniform(0.5f, 2), Uniform(0.5f, 2));
            qMat.push_back(m);
            m.SetMathematicallySound(true);
            qMatSound.push_back(m);
            gMat.push_back(glm::make_mat4(m.m_fM));
            // A camera projection times the transform: a full matrix, no affine bottom row.
            gProj.push_back(glm::perspective(glm::radians(Uniform(40, 70)), 1.5f, 0.1f, 100.0f) * gMat.back());
            qProj.push_back(QelMatrix4(glm::value_ptr(gProj.back())));
            const QelVec3 v(Uniform(-5, 5), Uniform(-5, 5), Uniform(-5, 5));
            qVec.push_back(v);
            gVec.push_back(G(v));
            qVec4.push_back(QelVec4(v.x, v.y, v.z, 1.0f));
            gVec4.push_back(glm::vec4(v.x, v.y, v.z, 1.0f));
            const QelVec3 a = RandomUnit();
            qAxis.push_back(a);
            gAxis.push_back(G(a));
            fAngle.push_back(Uniform(-180, 180));
            // Rays from outside towards the unit-ish scene, about half of them hitting.
            const QelVec3 vStart = RandomUnit() * 10.0f;
            const QelVec3 vAim(Uniform(-1.5f, 1.5f), Uniform(-1.5f, 1.5f), Uniform(-1.5f, 1.5f));
            qRay.push_back(QelRay(vStart, vAim - vStart));
        }
    }
};

const Inputs& In()
{
    static const Inputs s_inputs;
    return s_inputs;
}

void Qel_Mat4TimesMat4(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        QelMatrix4 r = in.qMat[i & 255] * in.qMat[(i + 1) & 255];
        benchmark::DoNotOptimize(r);
        ++i;
    }
}
void Qel_Mat4TimesMat4Sound(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        QelMatrix4 r = in.qMatSound[i & 255] * in.qMatSound[(i + 1) & 255];
        benchmark::DoNotOptimize(r);
        ++i;
    }
}
void Glm_Mat4TimesMat4(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        glm::mat4 r = in.gMat[i & 255] * in.gMat[(i + 1) & 255];
        benchmark::DoNotOptimize(r);
        ++i;
    }
}

void Qel_Mat4TimesVec4(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        QelVec4 r = in.qMat[i & 255] * in.qVec4[(i + 1) & 255];
        benchmark::DoNotOptimize(r);
        ++i;
    }
}
void Qel_Mat4TimesVec4Sound(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        QelVec4 r = in.qMatSound[i & 255] * in.qVec4[(i + 1) & 255];
        benchmark::DoNotOptimize(r);
        ++i;
    }
}
void Glm_Mat4TimesVec4(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        glm::vec4 r = in.gMat[i & 255] * in.gVec4[(i + 1) & 255];
        benchmark::DoNotOptimize(r);
        ++i;
    }
}

void Qel_Mat4TimesVec3(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        QelVec3 r = in.qMat[i & 255] * in.qVec[(i + 1) & 255];
        benchmark::DoNotOptimize(r);
        ++i;
    }
}
void Glm_Mat4TimesVec3(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        glm::vec3 r = glm::vec3(in.gMat[i & 255] * glm::vec4(in.gVec[(i + 1) & 255], 1.0f));
        benchmark::DoNotOptimize(r);
        ++i;
    }
}

// The transforms are affine; a projection times a transform has a full bottom row.
void Qel_Invert(benchmark::State& st, std::vector<QelMatrix4> Inputs::*pMats)
{
    const std::vector<QelMatrix4>& mats = In().*pMats;
    size_t i = 0;
    for (auto _ : st)
    {
        QelMatrix4 r = mats[i & 255];
        benchmark::DoNotOptimize(r.Invert());
        benchmark::DoNotOptimize(r);
        ++i;
    }
}
void Glm_Inverse(benchmark::State& st, std::vector<glm::mat4> Inputs::*pMats)
{
    const std::vector<glm::mat4>& mats = In().*pMats;
    size_t i = 0;
    for (auto _ : st)
    {
        glm::mat4 r = glm::inverse(mats[i & 255]);
        benchmark::DoNotOptimize(r);
        ++i;
    }
}

void Qel_RotateArbitraryAxis(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        QelMatrix4 r = in.qMat[i & 255];
        r.Rotate(in.qAxis[(i + 1) & 255], in.fAngle[(i + 2) & 255]);
        benchmark::DoNotOptimize(r);
        ++i;
    }
}
void Glm_Rotate(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        glm::mat4 r = glm::rotate(in.gMat[i & 255], glm::radians(in.fAngle[(i + 2) & 255]), in.gAxis[(i + 1) & 255]);
        benchmark::DoNotOptimize(r);
        ++i;
    }
}

void Qel_LookAt(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        QelMatrix4 r;
        r.LookAt(in.qVec[i & 255], in.qVec[(i + 1) & 255], in.qAxis[(i + 2) & 255]);
        benchmark::DoNotOptimize(r);
        ++i;
    }
}
void Glm_LookAt(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        glm::mat4 r = glm::lookAt(in.gVec[i & 255], in.gVec[(i + 1) & 255], in.gAxis[(i + 2) & 255]);
        benchmark::DoNotOptimize(r);
        ++i;
    }
}

// Vector operations run as a host's loop would: over all inputs, into an output array, so that
// the figure is the cost per vector and not that of a round trip through benchmark's memory barrier.
void Qel_Normalize(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<QelVec3> out(kInputs);
    for (auto _ : st)
    {
        for (size_t k = 0; k < kInputs; ++k)
        {
            // Normalised in a local, as the GLM side works in registers: normalising out[k] in
            // place made the compiler copy through integer registers and reload from memory.
            QelVec3 v = in.qVec[k];
            v.Normalize();
            out[k] = v;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}
void Glm_Normalize(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<glm::vec3> out(kInputs);
    for (auto _ : st)
    {
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = glm::normalize(in.gVec[k]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}

void Qel_Cross(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<QelVec3> out(kInputs);
    for (auto _ : st)
    {
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = in.qVec[k].Cross(in.qAxis[k]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}
void Glm_Cross(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<glm::vec3> out(kInputs);
    for (auto _ : st)
    {
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = glm::cross(in.gVec[k], in.gAxis[k]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}

void Qel_Dot(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<float> out(kInputs);
    for (auto _ : st)
    {
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = in.qVec[k].Dot(in.qAxis[k]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}
void Glm_Dot(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<float> out(kInputs);
    for (auto _ : st)
    {
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = glm::dot(in.gVec[k], in.gAxis[k]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}

/// One matrix over all points, the way a host transforms a vertex array.
void Qel_Mat4TimesVec4Array(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<QelVec4> out(kInputs);
    size_t i = 0;
    for (auto _ : st)
    {
        const QelMatrix4& m = in.qMat[i++ & 255];
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = m * in.qVec4[k];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}
void Qel_Mat4TimesVec4ArraySound(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<QelVec4> out(kInputs);
    size_t i = 0;
    for (auto _ : st)
    {
        const QelMatrix4& m = in.qMatSound[i++ & 255];
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = m * in.qVec4[k];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}
void Glm_Mat4TimesVec4Array(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<glm::vec4> out(kInputs);
    size_t i = 0;
    for (auto _ : st)
    {
        const glm::mat4& m = in.gMat[i++ & 255];
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = m * in.gVec4[k];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}
void Qel_Mat4TimesVec3Array(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<QelVec3> out(kInputs);
    size_t i = 0;
    for (auto _ : st)
    {
        const QelMatrix4& m = in.qMat[i++ & 255];
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = m * in.qVec[k];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}
void Glm_Mat4TimesVec3Array(benchmark::State& st)
{
    const Inputs& in = In();
    std::vector<glm::vec3> out(kInputs);
    size_t i = 0;
    for (auto _ : st)
    {
        const glm::mat4& m = in.gMat[i++ & 255];
        for (size_t k = 0; k < kInputs; ++k)
            out[k] = glm::vec3(m * glm::vec4(in.gVec[k], 1.0f));
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    st.SetItemsProcessed(int64_t(st.iterations()) * int64_t(kInputs));
}

const QelTriangle kTri(QelVec3(-1, -1, 0.2f), QelVec3(1.2f, -0.8f, -0.1f), QelVec3(0.1f, 1.3f, 0.0f));

void Qel_TriangleRay(benchmark::State& st)
{
    const Inputs& in = In();
    size_t i = 0;
    for (auto _ : st)
    {
        QelVec3 p;
        benchmark::DoNotOptimize(kTri.IsRayIntersecting(in.qRay[i & 255], p, 1e-4f));
        benchmark::DoNotOptimize(p);
        ++i;
    }
}
void Glm_TriangleRay(benchmark::State& st)
{
    const Inputs& in = In();
    const glm::vec3 a = G(kTri.m_vecA), b = G(kTri.m_vecB), c = G(kTri.m_vecC);
    size_t i = 0;
    for (auto _ : st)
    {
        const QelRay& ray = in.qRay[i & 255];
        glm::vec2 bary;
        float fDist;
        benchmark::DoNotOptimize(glm::intersectRayTriangle(G(ray.m_vecStart), G(ray.m_vecDirection), a, b, c, bary, fDist));
        benchmark::DoNotOptimize(bary);
        ++i;
    }
}

void Qel_SphereRay(benchmark::State& st)
{
    const Inputs& in = In();
    const QelSphere s(QelVec3(0.1f, -0.2f, 0.3f), 1.2f);
    size_t i = 0;
    for (auto _ : st)
    {
        QelVec3 p;
        benchmark::DoNotOptimize(s.IsRayIntersecting(in.qRay[i & 255], p));
        benchmark::DoNotOptimize(p);
        ++i;
    }
}
void Glm_SphereRay(benchmark::State& st)
{
    const Inputs& in = In();
    const glm::vec3 center(0.1f, -0.2f, 0.3f);
    size_t i = 0;
    for (auto _ : st)
    {
        const QelRay& ray = in.qRay[i & 255];
        glm::vec3 p, n;
        // GLM wants a unit direction; normalising is part of the equivalent work.
        benchmark::DoNotOptimize(glm::intersectRaySphere(G(ray.m_vecStart), glm::normalize(G(ray.m_vecDirection)),
                                                         center, 1.2f, p, n));
        benchmark::DoNotOptimize(p);
        ++i;
    }
}

const QelBox3 kBox(QelVec3(-1, -0.8f, -1.1f), QelVec3(1.1f, 0.9f, 1));

void Qel_BoxRay(benchmark::State& st)
{
    const Inputs& in = In();
    const bool bNearest = true;
    const float fTol = 1e-4f;
    size_t i = 0;
    for (auto _ : st)
    {
        QelVec3 p;
        benchmark::DoNotOptimize(kBox.IsRayIntersecting(in.qRay[i & 255], p, bNearest, fTol));
        benchmark::DoNotOptimize(p);
        ++i;
    }
}
/// GLM has no box test; its equivalent of the same algorithm is its ray-triangle test over the
/// twelve face triangles, keeping the nearest hit.
void Glm_BoxRayTriangles(benchmark::State& st)
{
    const Inputs& in = In();
    static const int kFaces[6][4] = {{0, 2, 6, 4}, {1, 3, 7, 5}, {0, 1, 5, 4},
                                     {2, 3, 7, 6}, {0, 1, 3, 2}, {4, 5, 7, 6}};
    glm::vec3 corners[8];
    for (int k = 0; k < 8; ++k)
        corners[k] = glm::vec3((k & 1) ? kBox.m_vecMax.x : kBox.m_vecMin.x, (k & 2) ? kBox.m_vecMax.y : kBox.m_vecMin.y,
                               (k & 4) ? kBox.m_vecMax.z : kBox.m_vecMin.z);
    size_t i = 0;
    for (auto _ : st)
    {
        const QelRay& ray = in.qRay[i & 255];
        const glm::vec3 o = G(ray.m_vecStart), d = G(ray.m_vecDirection);
        float fBest = 1e30f;
        bool bHit = false;
        for (const auto& f : kFaces)
        {
            glm::vec2 bary;
            float fDist;
            if (glm::intersectRayTriangle(o, d, corners[f[0]], corners[f[1]], corners[f[2]], bary, fDist) && fDist < fBest)
                fBest = fDist, bHit = true;
            if (glm::intersectRayTriangle(o, d, corners[f[0]], corners[f[2]], corners[f[3]], bary, fDist) && fDist < fBest)
                fBest = fDist, bHit = true;
        }
        benchmark::DoNotOptimize(bHit);
        benchmark::DoNotOptimize(fBest);
        ++i;
    }
}
} // namespace

BENCHMARK(Qel_Mat4TimesMat4);
BENCHMARK(Qel_Mat4TimesMat4Sound);
BENCHMARK(Glm_Mat4TimesMat4);
BENCHMARK(Qel_Mat4TimesVec4);
BENCHMARK(Qel_Mat4TimesVec4Sound);
BENCHMARK(Glm_Mat4TimesVec4);
BENCHMARK(Qel_Mat4TimesVec3);
BENCHMARK(Glm_Mat4TimesVec3);
BENCHMARK(Qel_Mat4TimesVec4Array);
BENCHMARK(Qel_Mat4TimesVec4ArraySound);
BENCHMARK(Glm_Mat4TimesVec4Array);
BENCHMARK(Qel_Mat4TimesVec3Array);
BENCHMARK(Glm_Mat4TimesVec3Array);
BENCHMARK_CAPTURE(Qel_Invert, affine, &Inputs::qMat);
BENCHMARK_CAPTURE(Glm_Inverse, affine, &Inputs::gMat);
BENCHMARK_CAPTURE(Qel_Invert, projective, &Inputs::qProj);
BENCHMARK_CAPTURE(Glm_Inverse, projective, &Inputs::gProj);
BENCHMARK(Qel_RotateArbitraryAxis);
BENCHMARK(Glm_Rotate);
BENCHMARK(Qel_LookAt);
BENCHMARK(Glm_LookAt);
BENCHMARK(Qel_Normalize);
BENCHMARK(Glm_Normalize);
BENCHMARK(Qel_Cross);
BENCHMARK(Glm_Cross);
BENCHMARK(Qel_Dot);
BENCHMARK(Glm_Dot);
BENCHMARK(Qel_TriangleRay);
BENCHMARK(Glm_TriangleRay);
BENCHMARK(Qel_SphereRay);
BENCHMARK(Glm_SphereRay);
BENCHMARK(Qel_BoxRay);
BENCHMARK(Glm_BoxRayTriangles);

BENCHMARK_MAIN();
