#include "qel/models/detail/QelAciColors.h"

#include <array>
#include <cstddef>

namespace
{
constexpr int kCount = 256;

uint32_t Pack(int r, int g, int b)
{
    return uint32_t(r) | uint32_t(g) << 8 | uint32_t(b) << 16 | 0xFF000000u;
}

/// Indices 10 to 249 are 24 hues in steps of 15 degrees, each in five brightnesses, every other
/// entry half saturated; the channel values are truncated as the standard table has them.
uint32_t HueEntry(int nIndex)
{
    static const double kValues[5] = {255.0, 165.0, 127.0, 76.0, 38.0};
    const int nHue = (nIndex - 10) / 10, k = (nIndex - 10) % 10;
    const double fMax = kValues[k / 2];
    const double fMin = k % 2 ? fMax * 0.5 : 0.0;
    const double fSector = nHue / 4.0; // 60-degree sectors
    const int nSector = int(fSector);
    const double fFrac = fSector - nSector;
    const double fUp = fMin + (fMax - fMin) * fFrac, fDown = fMax - (fMax - fMin) * fFrac;
    double r = 0, g = 0, b = 0;
    switch (nSector)
    {
    case 0: r = fMax, g = fUp, b = fMin; break;
    case 1: r = fDown, g = fMax, b = fMin; break;
    case 2: r = fMin, g = fMax, b = fUp; break;
    case 3: r = fMin, g = fDown, b = fMax; break;
    case 4: r = fUp, g = fMin, b = fMax; break;
    default: r = fMax, g = fMin, b = fDown; break;
    }
    return Pack(int(r), int(g), int(b));
}

std::array<uint32_t, kCount> MakeTable()
{
    std::array<uint32_t, kCount> a{};
    static const int kFirst[10][3] = {{0, 0, 0},     {255, 0, 0},   {255, 255, 0}, {0, 255, 0},     {0, 255, 255},
                                      {0, 0, 255},   {255, 0, 255}, {255, 255, 255}, {128, 128, 128}, {192, 192, 192}};
    static const int kGrays[6] = {51, 91, 132, 173, 214, 255};
    for (int i = 0; i < 10; ++i)
        a[size_t(i)] = Pack(kFirst[i][0], kFirst[i][1], kFirst[i][2]);
    for (int i = 10; i < 250; ++i)
        a[size_t(i)] = HueEntry(i);
    for (int i = 0; i < 6; ++i)
        a[size_t(250 + i)] = Pack(kGrays[i], kGrays[i], kGrays[i]);
    return a;
}
static_assert(250 + 6 == kCount, "the gray ramp ends the table");
} // namespace

uint32_t QelAciColors::Packed(int nIndex)
{
    static const std::array<uint32_t, kCount> s_table = MakeTable();
    return nIndex >= 1 && nIndex < kCount ? s_table[size_t(nIndex)] : s_table[7];
}

uint32_t QelAciColors::FromTrueColor(uint32_t nRgb)
{
    return Pack(int(nRgb >> 16 & 0xFF), int(nRgb >> 8 & 0xFF), int(nRgb & 0xFF));
}
