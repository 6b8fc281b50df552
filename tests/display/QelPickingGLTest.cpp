#include "qel/display/QelPicker.h"
#include "tests/display/QelSceneFixtures.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace
{
const int kSize = 160;
} // namespace

TEST(QelPickerGL, TheObjectDrawnAtAPixelIsTheOnePickedThere)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    std::mt19937 rng(2024);
    std::uniform_real_distribution<float> place(-4.0f, 4.0f), half(0.3f, 1.2f), angle(-180.0f, 180.0f), axis(-1, 1);
    int nCompared = 0, nOnObjects = 0;
    for (int nScene = 0; nScene < 6; ++nScene)
    {
        SCOPED_TRACE(nScene);
        // Boxes and octahedra (which only triangles pick right), each with its own color, one
        // hidden, one the child of another.
        std::vector<std::unique_ptr<QelTestBox>> vObjects;
        std::vector<QelDisplayObject*> vRoots;
        for (unsigned int i = 1; i <= 24; ++i)
        {
            const QelVec3 h(half(rng), half(rng), half(rng));
            const unsigned int nColor = 0xFF000000u | (i * 10) | ((i % 3) * 60) << 8;
            if (i % 2)
                vObjects.push_back(std::make_unique<QelTestBox>(h, nColor));
            else
                vObjects.push_back(std::make_unique<QelTestOctahedron>(h, nColor));
            QelTestBox& o = *vObjects.back();
            o.SetTransform(QelVec3(place(rng), place(rng), place(rng)),
                           QelVec4(axis(rng), axis(rng), axis(rng) + 0.01f, angle(rng)), QelVec3(1, 1, 1));
            o.Hide(i == 5);
            if (i == 8)
                vObjects[2]->AddChild(&o);
            else
                vRoots.push_back(&o);
        }
        QelCamera camera;
        camera.SetOrbit(angle(rng), angle(rng) / 4, 14);
        camera.SetProjection(nScene % 2 ? QelCamera::eProjectionOrthographic : QelCamera::eProjectionPerspective);
        camera.SetClipDistances(1, 40);
        QelDrawTestFrame(camera, vRoots);
        const std::vector<unsigned char> vFrame = QelOffscreenContext::ReadFrame(); // top row first
        auto fnPixel = [&](int x, int yTop) {
            const unsigned char* p = &vFrame[size_t(4 * (yTop * kSize + x))];
            return unsigned(p[0]) | unsigned(p[1]) << 8 | unsigned(p[2]) << 16 | unsigned(p[3]) << 24;
        };
        for (int y = 2; y < kSize - 2; y += 3)
            for (int x = 2; x < kSize - 2; x += 3)
            {
                const unsigned int nDrawn = fnPixel(x, y);
                // Only where the 3 x 3 neighbourhood agrees: edges are rasterisation's to decide.
                bool bUniform = true;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx)
                        bUniform = bUniform && fnPixel(x + dx, y + dy) == nDrawn;
                if (!bUniform)
                    continue;
                const QelPickHit hit = QelPicker::Pick(vRoots, camera, x, y);
                const unsigned int nPicked = hit.m_pObject ? static_cast<QelTestBox*>(hit.m_pObject)->m_nColor : 0xFF000000u;
                EXPECT_EQ(nPicked, nDrawn) << "at " << x << ", " << y;
                ++nCompared;
                nOnObjects += nDrawn != 0xFF000000u;
            }
        vObjects[2]->RemoveChild(vObjects[7].get());
    }
    EXPECT_GT(nCompared, 6 * 1000);
    EXPECT_GT(nOnObjects, 6 * 150);
}
