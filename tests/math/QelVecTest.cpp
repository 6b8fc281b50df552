#include "qel/math/QelIVec2.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"
#include "qel/math/QelVec5.h"
#include "qel/math/QelVecColor.h"
#include "qel/platform/QelRandom.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

static_assert(sizeof(QelVec2) == 8 && sizeof(QelVec3) == 12 && sizeof(QelVec4) == 16 && sizeof(QelVec5) == 20,
              "float vectors are their components only");
static_assert(sizeof(QelIVec2) == 8 && sizeof(QelVecColor) == 4, "integer vector and color are packed");
static_assert(std::is_trivially_copyable<QelVec3>::value && std::is_trivially_copyable<QelVecColor>::value,
              "vectors are plain values");

TEST(QelVec, ConstructionConstantsAndPointerForms)
{
    const float f[5] = {1, 2, 3, 4, 5};
    EXPECT_EQ(QelVec3(f), QelVec3(1, 2, 3));
    EXPECT_EQ(QelVec5(f), QelVec5(1, 2, 3, 4, 5));
    EXPECT_EQ(QelVec4(static_cast<const float*>(nullptr)), QelVec4::kZero);
    EXPECT_EQ(QelVec3::kOne, QelVec3(1, 1, 1));
    EXPECT_EQ(QelVec4::kUnitW, QelVec4(0, 0, 0, 1));
    EXPECT_EQ(QelIVec2::kUnitY, QelIVec2(0, 1));

    QelVec3 v(1, 2, 3);
    v.Set(7, 8); // z untouched
    EXPECT_EQ(v, QelVec3(7, 8, 3));
    v.Set(4);
    EXPECT_EQ(v, QelVec3(4, 4, 4));
    float* p = v;
    p[2] = 9;
    EXPECT_EQ(v.z, 9);

    // Mixed 3D/2D arithmetic keeps z.
    QelVec3 w(1, 2, 3);
    EXPECT_EQ(w + QelVec2(1, 1), QelVec3(2, 3, 3));
    EXPECT_EQ(w - QelVec2(1, 1), QelVec3(0, 1, 3));
    w = QelVec2(5, 6);
    EXPECT_EQ(w, QelVec3(5, 6, 3));
}

TEST(QelVec, ArithmeticAndProducts)
{
    const QelVec3 a(1, 2, 3), b(4, 5, 6);
    EXPECT_EQ(a + b, QelVec3(5, 7, 9));
    EXPECT_EQ(b - a, QelVec3(3, 3, 3));
    EXPECT_EQ(a * 2.0f, QelVec3(2, 4, 6));
    EXPECT_EQ(a.Cross(b), QelVec3(-3, 6, -3));
    EXPECT_EQ(a * b, a.Cross(b));
    EXPECT_FLOAT_EQ(a.Dot(b), 32);
    // Division multiplies by the reciprocal.
    EXPECT_EQ(QelVec3(1, 2, 3) / 3.0f, QelVec3(1 * (1 / 3.0f), 2 * (1 / 3.0f), 3 * (1 / 3.0f)));

    QelIVec2 i(7, -7);
    EXPECT_EQ(i / 2, QelIVec2(3, -3)); // truncation toward zero
    EXPECT_EQ(i.Dot(QelIVec2(1, 1)), 0);
    EXPECT_FLOAT_EQ(QelIVec2(3, 4).Magnitude(), 5);

    // Length comparisons ignore direction.
    EXPECT_TRUE(QelVec3(0, 0, -5) > QelVec3(1, 1, 1));
    EXPECT_TRUE(QelVec2(1, 0) < QelVec2(0, -2));
    EXPECT_TRUE(QelIVec2(-3, 0) > QelIVec2(2, 0));
}

TEST(QelVec, IntegerDivisionByZeroIsRefused)
{
    QelCapture cap;
    QelIVec2 v(5, 6);
    v /= 0;
    EXPECT_EQ(v, QelIVec2(5, 6));
    EXPECT_EQ(QelIVec2(-2147483647 - 1, 1) / -1, QelIVec2(-2147483647 - 1, 1));
    EXPECT_EQ(cap.Errors(), 2u);
}

TEST(QelVec, NormalizeAndAngles)
{
    QelVec3 z(0, 0, 0);
    z.Normalize();
    EXPECT_EQ(z, QelVec3::kZero);
    EXPECT_EQ(z.NormalizeWithReturn(), QelVec3::kZero);
    QelVec3 v(3, 0, 4);
    EXPECT_EQ(v.NormalizeWithReturn(), v);
    EXPECT_NEAR(v.Magnitude(), 1.0f, 1e-6f);

    EXPECT_EQ(QelVec3(1, 2, 3).AngleTo(QelVec3::kZero), 0.0f);
    // Rounding may push the cosine beyond +-1; the answer is still exactly 0 or 180.
    const QelVec3 odd(0.1f, 0.7f, 0.3f);
    EXPECT_EQ(odd.AngleTo(odd), 0.0f);
    EXPECT_EQ(odd.AngleTo(odd * -1.0f), 180.0f);
    EXPECT_NEAR(QelVec3(1, 0, 0).AngleTo(QelVec3(0, 0, 1)), 90.0f, 1e-4f);
    EXPECT_NEAR(QelVec2(1, 0).AngleTo(QelVec2(-1, 1)), 135.0f, 1e-4f);
    EXPECT_NEAR(QelIVec2(1, 0).AngleTo(QelIVec2(0, -3)), 90.0f, 1e-4f);

    QelVec2 r(1, 0);
    r.Rotate(1.5707963f); // radians
    EXPECT_NEAR(r.x, 0.0f, 1e-6f);
    EXPECT_NEAR(r.y, 1.0f, 1e-6f);
    QelIVec2 ir(10, 0);
    ir.Rotate(0.5f); // (8.7758, 4.7943) truncated
    EXPECT_EQ(ir, QelIVec2(8, 4));
    ir = QelIVec2(-10, 0);
    ir.Rotate(0.5f);
    EXPECT_EQ(ir, QelIVec2(-8, -4));
}

TEST(QelVec, EqualsWithTolerance)
{
    // The 2D test sums signed differences: opposite differences cancel (deliberate).
    EXPECT_TRUE(QelVec2(5, 0).Equals(QelVec2(0, 5), 0.1f));
    EXPECT_TRUE(QelVec2(0, 0).Equals(QelVec2(100, 100), 0.1f));
    EXPECT_FALSE(QelVec2(1, 0).Equals(QelVec2(0, 0), 0.1f));
    EXPECT_FALSE(QelVec3(5, 0, 0).Equals(QelVec3(0, 5, 0), 0.1f));
    EXPECT_TRUE(QelVec3(1, 1, 1).Equals(QelVec3(1.05f, 0.95f, 1), 0.1f));
    EXPECT_FALSE(QelVec3(1, 1, 1).Equals(QelVec3(1.1f, 1, 1), 0.1f)); // strict
    EXPECT_FALSE(QelVec3(1, 1, 1).Equals(QelVec3(1.0000001f, 1, 1), 0.0f));
    EXPECT_TRUE(QelVec4(1, 2, 3, 4).Equals(QelVec4(1, 2, 3, 4.01f), 0.1f));
    EXPECT_FALSE(QelVec4(1, 2, 3, 4).Equals(QelVec4(1, 2, 3, 4.2f), 0.1f));
    EXPECT_FALSE(QelVec5(1, 2, 3, 4, 5).Equals(QelVec5(1, 2, 3, 4, 5.5f), 0.1f));
    EXPECT_TRUE(QelIVec2(1, 2).Equals(QelIVec2(1, 2)));
}

TEST(QelVec, AxesAndTieBreaks)
{
    EXPECT_EQ(QelVec3(1, 5, 3).MaxAxis(), 5);
    EXPECT_EQ(QelVec3(4, 2, 3).MinAxis(), 2);
    EXPECT_EQ(QelVec3(2, 2, 3).MinAxis(), 3); // a tie between x and y falls through to z
    EXPECT_EQ(QelVec4(3, 3, 1, 2).MaxAxis(), 2); // no strict maximum among x, y: w wins
    EXPECT_EQ(QelVec4(1, 1, 5, 2).MinAxis(), 2);
    EXPECT_EQ(QelVec4(1, 4, 2, 3).MaxAxis(), 4);
    EXPECT_EQ(QelVec5(1, -2, 3, 9, 4).MaxAxis(), 9);
    EXPECT_EQ(QelVec5(1, -2, 3, 9, -4).MinAxis(), -4);
    EXPECT_EQ(QelIVec2(-3, 2).MinAxis(), -3);
    EXPECT_EQ(QelVec3(-1, 2, -3).AbsoluteValue(), QelVec3(1, 2, 3));
    EXPECT_EQ(QelIVec2(-1, 2).AbsoluteValue(), QelIVec2(1, 2));
}

TEST(QelVec, TextForms)
{
    EXPECT_EQ(QelVec3(1, 2.5f, 0).String(), "(X:1, Y:2.5, Z:0)");
    EXPECT_EQ(QelVec2(-1.25f, 1e7f).String(), "(X:-1.25, Y:1e+07)");
    EXPECT_EQ(QelVec4(1.0f / 3, 2, 3, 4).String(), "(X:0.333333, Y:2, Z:3, W:4)");
    EXPECT_EQ(QelIVec2(-4, 7).String(), "(X:-4, Y:7)");
    EXPECT_EQ(QelVec5(1, 2, 3, 4, 0.5f).String(),
              "(X:1.000000, Y:2.000000, Z:3.000000, W:4.000000, Fifth:0.500000)");
    EXPECT_EQ(QelVec5(3.4e38f, 0, 0, 0, 0).String().size(), 102u); // the widest float still fits
    EXPECT_EQ(QelVecColor(255, 127, 0, 255).String(), "(R:255, G:127, B:0, A:255)");
}

TEST(QelColor, FloatToByteTruncatesAndWraps)
{
    const QelVecColor c(1.0, 0.5, 0.0, 1.0);
    EXPECT_EQ(c.r, 255);
    EXPECT_EQ(c.g, 127);
    EXPECT_EQ(c.b, 0);
    EXPECT_EQ(c.a, 255);
    EXPECT_EQ(c.ToARGB(), 0xFFFF7F00u);
    EXPECT_EQ(c.ToABGR(), 0xFF007FFFu);
    EXPECT_EQ(c.ToBGRA(), 0x007FFFFFu);

    EXPECT_EQ(QelColorByte(0.999f), 254);
    EXPECT_EQ(QelColorByte(1.5f), 126); // 382 & 0xFF, no saturation
    EXPECT_EQ(QelColorByte(-0.5f), 129); // -127 keeps its low byte
    EXPECT_EQ(QelColorByte(1e30f), 0);  // beyond any integer: refused rather than undefined

    QelVecColor s;
    s.Set(0.2f, 0.4f, 0.6f, 0.8f);
    EXPECT_EQ(s, QelVecColor(51, 102, 153, 204));
    s.SetGreen(2.0f);
    EXPECT_EQ(s.g, 254); // 510 & 0xFF
    EXPECT_FLOAT_EQ(s.GetRed(), 0.2f);
    EXPECT_EQ(s.ToQelVec3(), QelVec3(51 / 255.0f, 254 / 255.0f, 153 / 255.0f));
    EXPECT_EQ(s.ToQelVec4().w, 204 / 255.0f);
}

TEST(QelColor, PackedWordsAndMemoryLayout)
{
    EXPECT_EQ(ColorToDW(1.0f, 0.5f, 0.0f, 1.0f), 0xFF007FFFu);
    const float rgba[4] = {0.0f, 1.0f, 0.999f, 0.25f};
    EXPECT_EQ(ColorToDW(rgba), 0x3FFEFF00u);
    float back[4];
    ColorDWToFloat(0x3FFEFF00u, back);
    EXPECT_EQ(back[0], 0.0f);
    EXPECT_EQ(back[1], 1.0f);
    EXPECT_EQ(back[2], 254 / 255.0f);
    EXPECT_EQ(back[3], 63 / 255.0f);

    const QelVecColor c(0x11223344u);
    EXPECT_EQ(c, QelVecColor(0x44, 0x33, 0x22, 0x11));
    const unsigned char* bytes = c;
    EXPECT_EQ(bytes[0], 0x44);
    EXPECT_EQ(bytes[3], 0x11);
    QelPackedColor word;
    std::memcpy(&word, &c, 4);
    EXPECT_EQ(word, 0x11223344u); // red in the low byte of the little-endian word
    const QelPackedColor* pWord = c;
    EXPECT_EQ(*pWord, 0x11223344u);

    const QelVec4 v(0xFF336699u, false);
    EXPECT_EQ(v, QelVec4(0x99 / 255.0f, 0x66 / 255.0f, 0x33 / 255.0f, 1.0f));
    EXPECT_EQ(QelVec4(0x00336699u, false).w, 1.0f); // alpha ignored
    EXPECT_EQ(QelVec4(0x80336699u, true).w, 128 / 255.0f);
}

TEST(QelColor, HsvConversions)
{
    float hsv[4];
    QelVec4(0, 0, 0, 0.5f).ConvertRgbToHsv(hsv);
    EXPECT_EQ(QelVec4(hsv), QelVec4(0, 1, 0, 0.5f)); // black reports full saturation
    QelVec4(1, 0, 0, 1).ConvertRgbToHsv(hsv);
    EXPECT_EQ(QelVec4(hsv), QelVec4(0, 1, 1, 1));
    QelVec4(0.5f, 0.5f, 0.5f, 1).ConvertRgbToHsv(hsv);
    EXPECT_EQ(QelVec4(hsv), QelVec4(0, 0, 0.5f, 1));
    QelVec4(1, 0, 1, 1).ConvertRgbToHsv(hsv); // red is the maximum, hue negative before the wrap
    EXPECT_FLOAT_EQ(hsv[0], 300);
    QelVec4(0, 1, 0, 1).ConvertRgbToHsv(hsv);
    EXPECT_FLOAT_EQ(hsv[0], 120);
    QelVec4(0, 0, 1, 1).ConvertRgbToHsv(hsv);
    EXPECT_FLOAT_EQ(hsv[0], 240);

    float rgb[4];
    QelVec4(720, 1, 1, 0.3f).ConvertHsvToRgb(rgb);
    EXPECT_EQ(QelVec4(rgb), QelVec4(1, 0, 0, 0.3f));
    QelVec4(-30, 1, 1, 1).ConvertHsvToRgb(rgb); // wrapped to 330
    EXPECT_TRUE(QelVec4(rgb).Equals(QelVec4(1, 0, 0.5f, 1), 1e-5f));
    QelVec4(200, 0, 0.7f, 1).ConvertHsvToRgb(rgb);
    EXPECT_EQ(QelVec4(rgb), QelVec4(0.7f, 0.7f, 0.7f, 1));
    QelVec4(1e30f, 1, 1, 1).ConvertHsvToRgb(rgb); // a huge hue must not loop forever
    QelVec4(NAN, 1, 1, 1).ConvertHsvToRgb(rgb);
    EXPECT_EQ(QelVec4(rgb), QelVec4(1, 0, 0, 1));

    // Round trip over the six sectors.
    for (int h = 0; h < 360; h += 7)
    {
        QelVec4(float(h), 0.6f, 0.8f, 1).ConvertHsvToRgb(rgb);
        QelVec4(rgb).ConvertRgbToHsv(hsv);
        EXPECT_NEAR(hsv[0], h, 1e-3f) << h;
        EXPECT_NEAR(hsv[1], 0.6f, 1e-5f);
        EXPECT_NEAR(hsv[2], 0.8f, 1e-6f);
    }
}

TEST(QelColor, MakeBestColor)
{
    float hsv[4];
    QelVec4 c;
    QelSRand(1);
    const int nFirst = QelRand();
    QelSRand(1);
    c.MakeBestColor({});
    c.ConvertRgbToHsv(hsv);
    EXPECT_NEAR(hsv[0], nFirst / 32767.0f * 360.0f, 1e-3f);
    EXPECT_EQ(c.w, 1.0f);

    c.MakeBestColor({QelVec4(1, 0, 0, 1)}); // the complement of red
    EXPECT_TRUE(c.Equals(QelVec4(0, 1, 1, 1), 1e-6f));

    // Hues 0, 90, 120: the wrap-around gap (120 -> 360) is the largest, new hue 240.
    c.MakeBestColor({QelVec4(1, 0, 0, 1), QelVec4(0.5f, 1, 0, 1), QelVec4(0, 1, 0, 1)});
    EXPECT_TRUE(c.Equals(QelVec4(0, 0, 1, 1), 1e-6f));
    // Hues 0 and 180 leave two equal gaps: the first found (0 -> 180) wins, new hue 90.
    c.MakeBestColor({QelVec4(0, 1, 1, 1), QelVec4(1, 0, 0, 1)});
    c.ConvertRgbToHsv(hsv);
    EXPECT_NEAR(hsv[0], 90, 1e-3f);
    // Hues 300 and 330: the wrap gap starts at 330 and its middle, 495, is reduced to 135.
    c.MakeBestColor({QelVec4(1, 0, 1, 1), QelVec4(1, 0, 0.5f, 1)});
    c.ConvertRgbToHsv(hsv);
    EXPECT_NEAR(hsv[0], 135, 1e-3f);
}
