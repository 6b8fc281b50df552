#pragma once

#include "qel/materials/QelTexture.h"
#include "qel/platform/QelExport.h"

#include <string>

/// One texture layer of a material: the texture, how it is applied, where its coordinates come
/// from, and its placement (tiling, offset, rotation).
class QEL_EXPORT QelTextureLayer
{
public:
    /// Texture environment; the order is that of the property's choices and of saved documents.
    enum EFunction
    {
        eFunctionCustom = 0, ///< the environment is left as the host set it
        eFunctionModulate = 1,
        eFunctionDecal = 2,
        eFunctionBlend = 3,
        eFunctionReplace = 4,
        eFunctionCount = 5
    };

    /// Texture coordinate sets a layer may read ("TexCoord 0" to "TexCoord 7").
    static constexpr int kTexCoordSets = 8;

    /// Where coordinates come from: a coordinate set of the geometry (0 to kTexCoordSets - 1), or
    /// one of the generated modes, numbered after the sets so that adding sets keeps saved values.
    enum ECoordinates
    {
        eCoordTexCoord0 = 0,
        eCoordCubeNormal = kTexCoordSets,
        eCoordCubeReflection,
        eCoordSphereMap,
        eCoordObjectLinear,
        eCoordEyeLinear,
        eCoordEnd
    };

    /// Directions in which the texture repeats (bit 0 U, bit 1 V); the others clamp to the edge.
    enum ETile
    {
        eTileNone = 0,
        eTileU = 1,
        eTileV = 2,
        eTileBoth = 3
    };

    /// True for the coordinate modes that need a cube map.
    static bool IsCubeMode(int nCoordinates)
    {
        return nCoordinates == eCoordCubeNormal || nCoordinates == eCoordCubeReflection;
    }

    bool m_bEnabled = true;               ///< A disabled layer keeps its settings but is not applied.
    QelTexture m_cTexture;                ///< The loaded texture; invalid when the file did not load.
    std::string m_strFilename;            ///< The image file, saved with the material and loaded again.
    int m_nCoordinates = eCoordTexCoord0; ///< An ECoordinates value.
    int m_nTile = eTileBoth;              ///< An ETile combination.
    int m_nFunction = eFunctionModulate;  ///< An EFunction value.
    float m_fTileU = 1.0f;                ///< Repeats across the coordinate range in U.
    float m_fTileV = 1.0f;                ///< Repeats across the coordinate range in V.
    float m_fOffsetU = 0.0f;              ///< Shift in U, in texture widths.
    float m_fOffsetV = 0.0f;              ///< Shift in V, in texture heights.
    /// Degrees.
    float m_fRotation = 0.0f;
};
