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

TEST(QelVec, ConstructionAndArithmetic)
{
    const float f[5] = {1, 2, 3, 4, 5};
    EXPECT_EQ(QelVec5(f), QelVec5(1, 2, 3, 4, 5));
    EXPECT_EQ(QelVec4(static_cast<const float*>(nullptr)), QelVec4::kZero);
    QelVec3 v(1, 2, 3);
    v.Set(7, 8); // z untouched
    EXPECT_EQ(v, QelVec3(7, 8, 3));
    v.Set(4);
    EXPECT_EQ(v, QelVec3(4, 4, 4));
    // Mixed 3D/2D arithmetic keeps z.
    QelVec3 w(1, 2, 3);
    EXPECT_EQ(w + QelVec2(1, 1), QelVec3(2, 3, 3));
    EXPECT_EQ(w - QelVec2(1, 1), QelVec3(0, 1, 3));
    w = QelVec2(5, 6);
    EXPECT_EQ(w, QelVec3(5, 6, 3));

    const QelVec3 a(1, 2, 3), b(4, 5, 6);
    EXPECT_EQ(a * b, QelVec3(-3, 6, -3)); // the cross product
    // Division multiplies by the reciprocal.
    EXPECT_EQ(a / 3.0f, QelVec3(1 * (1 / 3.0f), 2 * (1 / 3.0f), 3 * (1 / 3.0f)));
    EXPECT_EQ(QelIVec2(7, -7) / 2, QelIVec2(3, -3)); // truncation toward zero
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

TEST(QelVec, NormalizeAnglesAndRotation)
{
    QelVec3 z;
    EXPECT_EQ(z.NormalizeWithReturn(), QelVec3::kZero);
    QelVec3 v(3, 0, 4);
    EXPECT_EQ(v.NormalizeWithReturn(), v);
    EXPECT_NEAR(v.Magnitude(), 1.0f, 1e-6f);

    EXPECT_EQ(QelVec3(1, 2, 3).AngleTo(QelVec3::kZero), 0.0f);
    EXPECT_EQ(QelVec2(1, 2).AngleTo(QelVec2::kZero), 0.0f);
    // Rounding may push the cosine beyond +-1; the answer is still exactly 0 or 180.
    const QelVec3 odd(0.1f, 0.7f, 0.3f);
    EXPECT_EQ(odd.AngleTo(odd), 0.0f);
    EXPECT_EQ(odd.AngleTo(odd * -1.0f), 180.0f);
    EXPECT_EQ(QelVec2(0.1f, 0.7f).AngleTo(QelVec2(-0.1f, -0.7f)), 180.0f);
    EXPECT_NEAR(QelVec2(1, 0).AngleTo(QelVec2(-1, 1)), 135.0f, 1e-4f);
    EXPECT_NEAR(QelIVec2(1, 0).AngleTo(QelIVec2(0, -3)), 90.0f, 1e-4f);

    QelVec2 r(1, 0);
    r.Rotate(1.5707963f); // radians
    EXPECT_TRUE(r.Equals(QelVec2(0, 1), 1e-6f) && QelVec2(0, 1).Equals(r, 1e-6f));
    QelIVec2 ir(10, 0), il(-10, 0);
    ir.Rotate(0.5f); // (8.7758, 4.7943) truncated toward zero
    il.Rotate(0.5f);
    EXPECT_EQ(ir, QelIVec2(8, 4));
    EXPECT_EQ(il, QelIVec2(-8, -4));
}

TEST(QelVec, EqualsAxesAndAbsoluteValues)
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

    const float fAxes[][2] = {
        {QelVec3(1, 5, 3).MaxAxis(), 5},   {QelVec3(4, 2, 3).MinAxis(), 2},
        {QelVec3(2, 2, 3).MinAxis(), 3},   // a tie between x and y falls through to z
        {QelVec4(3, 3, 1, 2).MaxAxis(), 2}, // no strict maximum among x, y: w wins
        {QelVec4(1, 1, 5, 2).MinAxis(), 2}, {QelVec4(1, 4, 2, 3).MaxAxis(), 4},
        {QelVec5(1, -2, 3, 9, 4).MaxAxis(), 9}, {QelVec5(1, -2, 3, 9, -4).MinAxis(), -4},
        {float(QelIVec2(-3, 2).MinAxis()), -3}};
    for (const auto& c : fAxes)
        EXPECT_EQ(c[0], c[1]) << &c - fAxes;
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
    EXPECT_EQ(c, QelVecColor(255, 127, 0, 255));
    EXPECT_EQ(c.ToARGB(), 0xFFFF7F00u);
    EXPECT_EQ(c.ToABGR(), 0xFF007FFFu);
    EXPECT_EQ(c.ToBGRA(), 0x007FFFFFu);
    // No rounding, no saturation: the low byte of the truncated product; beyond any integer: 0
    // rather than undefined behaviour.
    const float fIn[] = {0.999f, 1.5f, -0.5f, 1e30f};
    const int nOut[] = {254, 126, 129, 0};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(QelColorByte(fIn[i]), nOut[i]) << fIn[i];

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
    EXPECT_EQ(QelVec4(back), QelVec4(0, 1, 254 / 255.0f, 63 / 255.0f));

    const QelVecColor c(0x11223344u);
    EXPECT_EQ(c, QelVecColor(0x44, 0x33, 0x22, 0x11));
    QelPackedColor word;
    std::memcpy(&word, &c, 4);
    EXPECT_EQ(word, 0x11223344u); // red in the low byte of the little-endian word
    const QelPackedColor* pWord = c;
    EXPECT_EQ(*pWord, 0x11223344u);

    EXPECT_EQ(QelVec4(0xFF336699u, false), QelVec4(0x99 / 255.0f, 0x66 / 255.0f, 0x33 / 255.0f, 1.0f));
    EXPECT_EQ(QelVec4(0x00336699u, false).w, 1.0f); // alpha ignored
    EXPECT_EQ(QelVec4(0x80336699u, true).w, 128 / 255.0f);
}

TEST(QelColor, HsvConversions)
{
    // RGBA in, HSVA out; black reports full saturation; magenta's hue is negative before the wrap.
    const QelVec4 rgbToHsv[][2] = {{QelVec4(0, 0, 0, 0.5f), QelVec4(0, 1, 0, 0.5f)},
                                   {QelVec4(1, 0, 0, 1), QelVec4(0, 1, 1, 1)},
                                   {QelVec4(0.5f, 0.5f, 0.5f, 1), QelVec4(0, 0, 0.5f, 1)},
                                   {QelVec4(1, 0, 1, 1), QelVec4(300, 1, 1, 1)},
                                   {QelVec4(0, 1, 0, 1), QelVec4(120, 1, 1, 1)},
                                   {QelVec4(0, 0, 1, 1), QelVec4(240, 1, 1, 1)}};
    float out[4];
    for (const auto& c : rgbToHsv)
    {
        c[0].ConvertRgbToHsv(out);
        EXPECT_TRUE(QelVec4(out).Equals(c[1], 1e-4f)) << c[0].String() << " gave " << QelVec4(out).String();
    }
    // HSVA in, RGBA out: hues wrapped into [0, 360); a huge or NaN hue must not loop forever.
    const QelVec4 hsvToRgb[][2] = {{QelVec4(720, 1, 1, 0.3f), QelVec4(1, 0, 0, 0.3f)},
                                   {QelVec4(-30, 1, 1, 1), QelVec4(1, 0, 0.5f, 1)},
                                   {QelVec4(200, 0, 0.7f, 1), QelVec4(0.7f, 0.7f, 0.7f, 1)},
                                   {QelVec4(NAN, 1, 1, 1), QelVec4(1, 0, 0, 1)}};
    for (const auto& c : hsvToRgb)
    {
        c[0].ConvertHsvToRgb(out);
        EXPECT_TRUE(QelVec4(out).Equals(c[1], 1e-5f)) << c[0].String() << " gave " << QelVec4(out).String();
    }
    QelVec4(1e30f, 1, 1, 1).ConvertHsvToRgb(out);

    // Round trip over the six sectors.
    float hsv[4];
    for (int h = 0; h < 360; h += 7)
    {
        QelVec4(float(h), 0.6f, 0.8f, 1).ConvertHsvToRgb(out);
        QelVec4(out).ConvertRgbToHsv(hsv);
        EXPECT_TRUE(QelVec4(hsv).Equals(QelVec4(float(h), 0.6f, 0.8f, 1), 1e-3f)) << h;
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
    EXPECT_TRUE(c.Equals(QelVec4(0.5f, 1, 0, 1), 1e-5f)) << c.String();
    // Hues 300 and 330: the wrap gap starts at 330 and its middle, 495, is reduced to 135.
    c.MakeBestColor({QelVec4(1, 0, 1, 1), QelVec4(1, 0, 0.5f, 1)});
    EXPECT_TRUE(c.Equals(QelVec4(0, 1, 0.25f, 1), 1e-5f)) << c.String();
}

TEST(QelVec, IntegerVectorsStayDefinedAndRightAtTheLimitsOfInt)
{
    const int kMax = 2147483647, kMin = -2147483647 - 1;
    const QelIVec2 big(46341, 46341), top(kMax, kMax), low(kMin, kMin);
    // Squares and lengths are computed in 64 bits: no overflow from 46,341 up.
    EXPECT_FLOAT_EQ(big.MagnitudeSquared(), 4294976562.0f);
    EXPECT_FLOAT_EQ(low.MagnitudeSquared(), 9223372036854775808.0f);
    EXPECT_FLOAT_EQ(low.Magnitude(), 3037000499.97605f);
    EXPECT_FLOAT_EQ(QelIVec2(kMax, 0).DistanceTo(QelIVec2(kMin, 0)), 4294967295.0f);
    EXPECT_FLOAT_EQ(top.DistanceToSquared(low), 2.0f * 4294967295.0f * 4294967295.0f);
    // Lengths compare exactly, where floats would call these two equal.
    EXPECT_TRUE(QelIVec2(kMin, 0) > QelIVec2(kMax, 0));
    EXPECT_TRUE(QelIVec2(kMax, 0) < QelIVec2(0, kMin));
    EXPECT_FALSE(low < low);
    // Angles from the true dot product.
    EXPECT_EQ(low.AngleTo(low), 0.0f);
    EXPECT_EQ(QelIVec2(kMax, 0).AngleTo(QelIVec2(kMin, 0)), 180.0f);
    EXPECT_NEAR(top.AngleTo(QelIVec2(kMax, -kMax)), 90.0f, 1e-3f);
    // The int results wrap modulo 2^32, with defined behaviour.
    EXPECT_EQ(QelIVec2(46341, 0).Dot(QelIVec2(46341, 0)), -2147479015);
    EXPECT_EQ(low.Dot(low), 0);
    EXPECT_EQ(QelIVec2(kMax, 1) + QelIVec2(1, kMin), QelIVec2(kMin, kMin + 1));
    EXPECT_EQ(QelIVec2(kMin, 0) - QelIVec2(1, 0), QelIVec2(kMax, 0));
    EXPECT_EQ(QelIVec2(kMax, 2) * 2, QelIVec2(-2, 4));
    QelIVec2 v(kMax, kMin);
    v += QelIVec2(1, -1);
    v -= QelIVec2(0, 1);
    v *= 3;
    EXPECT_EQ(v, QelIVec2(kMin, 2147483642)); // 3 x 2147483646 modulo 2^32
    // The smallest int has no absolute value in an int: it gives the largest.
    EXPECT_EQ(QelIVec2(kMin, -5).AbsoluteValue(), QelIVec2(kMax, 5));
}
