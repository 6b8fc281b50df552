#pragma once

#include <cstdint>

/// The AutoCAD color index: 256 packed colors (red in the low byte, opaque).
namespace QelAciColors
{
/// Index 0 (by block) and 256 (by layer) are resolved by the caller; other values outside 1..255
/// give white, the color of index 7.
uint32_t Packed(int nIndex);
/// A DXF true color (0xRRGGBB) as a packed color.
uint32_t FromTrueColor(uint32_t nRgb);
} // namespace QelAciColors
