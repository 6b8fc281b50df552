#include "qel/display/QelClipPlane.h"
#include "qel/display/QelLight.h"
#include "qel/properties/QelProperty.h"
#include "tests/display/QelSceneFixtures.h"
#include "tests/support/QelGLTest.h"
#include "tests/support/QelTestApp.h"

#include <GL/glew.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace
{
const int kSize = 128;

/// A white matte object: no ambient, no specular, no global ambient, so a pixel shows diffuse light only.
void MatteWhite()
{
    const GLfloat fZero[4] = {0, 0, 0, 1}, fWhite[4] = {1, 1, 1, 1};
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, fZero);
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, fZero);
    glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, fZero);
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, fWhite);
}

/// A unit sphere, finely tessellated so per-vertex lighting is close to per-pixel.
class LitSphere : public QelDisplayObject
{
public:
    void Draw() override
    {
        MatteWhite();
        GLUquadric* q = gluNewQuadric();
        gluSphere(q, 1.0, 128, 64);
        gluDeleteQuadric(q);
    }
};

/// The square from -2 to 2 in the XY plane facing +Z, in small quads.
class LitFloor : public QelDisplayObject
{
public:
    void Draw() override
    {
        MatteWhite();
        const int n = 160;
        glNormal3f(0, 0, 1);
        for (int j = 0; j < n; ++j)
        {
            glBegin(GL_QUAD_STRIP);
            for (int i = 0; i <= n; ++i)
            {
                const float x = -2.0f + 4.0f * float(i) / n;
                glVertex3f(x, -2.0f + 4.0f * float(j) / n, 0);
                glVertex3f(x, -2.0f + 4.0f * float(j + 1) / n, 0);
            }
            glEnd();
        }
    }
};

/// The world X or Y at the centre of pixel i.
float PixelToWorld(int i, float fHalf)
{
    return ((float(i) + 0.5f) / kSize * 2.0f - 1.0f) * fHalf;
}

int Red(unsigned int nPixel)
{
    return int(nPixel & 0xFF);
}
} // namespace

TEST(QelLightGL, ALitSphereFollowsLambertsLawForADirectionalLight)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelCamera camera;
    QelTopCamera(camera, 1.25f);
    QelLight light;
    const QelVec3 vShine = QelVec3(-1, -0.5f, -2).NormalizeWithReturn();
    ASSERT_TRUE(light.SetDirection(vShine));
    light.SetColors(QelVec4(0, 0, 0, 1), QelVec4(1, 1, 1, 1), QelVec4(0, 0, 0, 1));
    ASSERT_TRUE(light.TurnOn(true));
    LitSphere sphere;
    QelDrawTestFrame(camera, {&sphere});

    int nChecked = 0;
    for (int py = 4; py < kSize; py += 7)
        for (int px = 4; px < kSize; px += 7)
        {
            const float x = PixelToWorld(px, 1.25f), y = PixelToWorld(py, 1.25f);
            if (x * x + y * y > 0.9f)
                continue; // the silhouette is left to rasterisation
            const QelVec3 n(x, y, std::sqrt(1.0f - x * x - y * y));
            const float fExpected = 255.0f * std::fmax(0.0f, n.Dot(vShine * -1.0f));
            EXPECT_NEAR(Red(QelOffscreenContext::ReadPixel(px, py)), fExpected, 5.0f) << px << ", " << py;
            ++nChecked;
        }
    EXPECT_GT(nChecked, 120);
    // Outside the sphere: the clear color.
    EXPECT_EQ(QelOffscreenContext::ReadPixel(1, 1), 0xFF000000u);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelLightGL, ASpotLightLightsItsConeAndNothingOutside)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelCamera camera;
    QelTopCamera(camera, 2.0f);
    QelLight spot;
    spot.SetType(QelLight::eLightSpot);
    spot.SetTranslation(QelVec3(0.5f, 0, 2)); // straight down from 2 above (0.5, 0)
    spot.SetSpot(20.0f, 0.0f);
    spot.SetColors(QelVec4(0, 0, 0, 1), QelVec4(1, 1, 1, 1), QelVec4(0, 0, 0, 1));
    // Turned on through its property, as a host's property bar does.
    spot.GetProperty("Light:On")->SetAsBool(true);
    ASSERT_TRUE(spot.IsOn());
    LitFloor floor;
    QelDrawTestFrame(camera, {&floor});

    const float fRadius = 2.0f * std::tan(20.0f * kQelDegToRad); // where the cone meets the floor
    int nInside = 0, nOutside = 0;
    for (int py = 2; py < kSize; py += 5)
        for (int px = 2; px < kSize; px += 5)
        {
            const float dx = PixelToWorld(px, 2.0f) - 0.5f, dy = PixelToWorld(py, 2.0f);
            const float r = std::sqrt(dx * dx + dy * dy);
            const int nRed = Red(QelOffscreenContext::ReadPixel(px, py));
            if (r < fRadius * 0.85f)
            {
                // Lambert for a point light: the cosine of the angle to the vertical.
                const float fExpected = 255.0f * 2.0f / std::sqrt(4.0f + r * r);
                EXPECT_NEAR(nRed, fExpected, 6.0f) << "inside at " << r;
                ++nInside;
            }
            else if (r > fRadius * 1.15f)
            {
                EXPECT_EQ(nRed, 0) << "outside at " << r;
                ++nOutside;
            }
        }
    EXPECT_GT(nInside, 20);
    EXPECT_GT(nOutside, 200);
}

TEST(QelClipPlaneGL, APlaneRemovesHalfOfAnObjectAndFollowsItsTransform)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelCamera camera;
    QelTopCamera(camera, 2.0f);
    QelTestBox box(QelVec3(1.5f, 1.5f, 0.1f), 0xFF0000FFu);
    QelClipPlane plane;
    ASSERT_TRUE(plane.SetPlane(QelVec3(0.25f, 0, 0), QelVec3(1, 0, 0))); // keeps x > 0.25
    ASSERT_TRUE(plane.TurnOn(true));
    QelDrawTestFrame(camera, {&box});
    const int nCut = int((0.25f / 2.0f + 1.0f) * 0.5f * kSize); // the pixel column of x = 0.25
    EXPECT_EQ(QelOffscreenContext::ReadPixel(nCut - 3, kSize / 2), 0xFF000000u);
    EXPECT_EQ(QelOffscreenContext::ReadPixel(kSize / 4, kSize / 4), 0xFF000000u);
    EXPECT_EQ(QelOffscreenContext::ReadPixel(nCut + 3, kSize / 2), 0xFF0000FFu);
    EXPECT_EQ(QelOffscreenContext::ReadPixel(kSize * 3 / 4, kSize / 4), 0xFF0000FFu);

    // Under a parent that turns it a quarter about Z, the kept side is +Y.
    QelDisplayObject parent;
    parent.AddTransformProperties(false, true, false);
    parent.AddChild(&plane);
    plane.SetPlane(QelVec3(0, 0, 0), QelVec3(1, 0, 0));
    QelDrawTestFrame(camera, {&box});
    EXPECT_EQ(QelOffscreenContext::ReadPixel(kSize / 2, kSize / 4), 0xFF000000u);
    EXPECT_EQ(QelOffscreenContext::ReadPixel(kSize / 2, kSize * 3 / 4), 0xFF0000FFu);

    // A transform that flattens the plane's axes gives no plane: a warning, and nothing is cut.
    QelCapture log;
    plane.SetScale(QelVec3(0, 1, 1));
    QelDrawTestFrame(camera, {&box});
    QelDrawTestFrame(camera, {&box}); // warned once only
    ASSERT_EQ(log.Messages().size(), 1u);
    EXPECT_EQ(log.Messages()[0].rfind("<warning>Clip Plane - Its transform gives no usable plane", 0), 0u);
    EXPECT_EQ(QelOffscreenContext::ReadPixel(kSize / 2, kSize / 4), 0xFF0000FFu);
    parent.RemoveChild(&plane);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(QelLightGL, TheNinthLightAndTheSeventhPlaneAreRefusedByName)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelCamera camera;
    QelTopCamera(camera, 2.0f);
    // Eight dim lights, then a bright one that must not get in.
    std::vector<std::unique_ptr<QelLight>> vLights;
    for (int i = 0; i < 9; ++i)
    {
        vLights.push_back(std::make_unique<QelLight>());
        vLights.back()->SetName("Lamp " + std::to_string(i + 1));
        const float f = i < 8 ? 0.1f : 1.0f;
        vLights.back()->SetColors(QelVec4(0, 0, 0, 1), QelVec4(f, f, f, 1), QelVec4(0, 0, 0, 1));
    }
    for (int i = 0; i < 8; ++i)
        ASSERT_TRUE(vLights[size_t(i)]->TurnOn(true));
    QelCapture log;
    EXPECT_FALSE(vLights[8]->TurnOn(true));
    ASSERT_EQ(log.Messages().size(), 1u);
    EXPECT_EQ(log.Messages()[0], "<warning>Lamp 9 - Not turned on: at most 8 lights can be on at once, and these "
                                 "are on: [Lamp 1], [Lamp 2], [Lamp 3], [Lamp 4], [Lamp 5], [Lamp 6], [Lamp 7], "
                                 "[Lamp 8]<flush>");
    EXPECT_FALSE(vLights[8]->GetProperty("Light:On")->GetAsBool());
    LitFloor floor;
    QelDrawTestFrame(camera, {&floor});
    // 0.1 packs to 25 of 255: eight of them, and nothing of the bright one.
    EXPECT_NEAR(Red(QelOffscreenContext::ReadPixel(kSize / 2, kSize / 2)), 8 * 25, 2);

    // Through the property the same refusal, and the property falls back to off. A freed slot
    // lets it in.
    log = QelCapture();
    vLights[8]->GetProperty("Light:On")->SetAsBool(true);
    EXPECT_EQ(log.Warnings(), 1u);
    EXPECT_FALSE(vLights[8]->IsOn());
    EXPECT_FALSE(vLights[8]->GetProperty("Light:On")->GetAsBool());
    vLights[3].reset();
    EXPECT_TRUE(vLights[8]->TurnOn(true));
    EXPECT_EQ(vLights[8]->GetSlot(), 3);

    std::vector<std::unique_ptr<QelClipPlane>> vPlanes;
    for (int i = 0; i < 7; ++i)
    {
        vPlanes.push_back(std::make_unique<QelClipPlane>());
        vPlanes.back()->SetName("Cut " + std::to_string(i + 1));
        vPlanes.back()->SetPlane(QelVec3(0, 0, -1), QelVec3(0, 0, 1));
    }
    for (int i = 0; i < 6; ++i)
        ASSERT_TRUE(vPlanes[size_t(i)]->TurnOn(true));
    log = QelCapture();
    EXPECT_FALSE(vPlanes[6]->TurnOn(true));
    ASSERT_EQ(log.Messages().size(), 1u);
    EXPECT_EQ(log.Messages()[0], "<warning>Cut 7 - Not turned on: at most 6 clip planes can be on at once, and "
                                 "these are on: [Cut 1], [Cut 2], [Cut 3], [Cut 4], [Cut 5], [Cut 6]<flush>");
    EXPECT_EQ(QelClipPlane::GetPlanesOn().size(), 6u);
}

TEST(QelLightGL, ZeroOrNaNDirectionsAreRefusedAndAHeadLightFollowsTheEye)
{
    QEL_REQUIRE_GL_SIZED(kSize, kSize);
    QelLight light;
    QelCapture log;
    EXPECT_FALSE(light.SetDirection(QelVec3(0, 0, 0)));
    EXPECT_FALSE(light.SetDirection(QelVec3(std::nanf(""), 0, 1)));
    EXPECT_EQ(log.Messages().at(0), "<warning>Light - Direction (X:0, Y:0, Z:0) refused: it needs a finite, non-zero "
                                    "vector<flush>");
    EXPECT_EQ(log.Warnings(), 2u);
    QelClipPlane plane;
    EXPECT_FALSE(plane.SetPlane(QelVec3(0, 0, 0), QelVec3(0, 0, 0)));

    // A head light shines along the view whatever its transform says: the floor seen from above
    // is lit fully in the middle, though the light's own direction points away from it.
    QelCamera camera;
    QelTopCamera(camera, 2.0f);
    light.SetDirection(QelVec3(0, 0, 1));
    light.SetHeadLight(true);
    light.SetColors(QelVec4(0, 0, 0, 1), QelVec4(1, 1, 1, 1), QelVec4(0, 0, 0, 1));
    light.TurnOn(true);
    LitFloor floor;
    QelDrawTestFrame(camera, {&floor});
    EXPECT_GE(Red(QelOffscreenContext::ReadPixel(kSize / 2, kSize / 2)), 253);
    light.SetHeadLight(false);
    QelDrawTestFrame(camera, {&floor});
    EXPECT_EQ(Red(QelOffscreenContext::ReadPixel(kSize / 2, kSize / 2)), 0);
}
