#pragma once

#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

/// One texture map of a model material: what it feeds, its file and how it is placed.
struct QEL_EXPORT QelModelTextureMap
{
    /// The material channel a map feeds; the order is stored in model files and stays.
    enum EChannel
    {
        eChannelDiffuse = 0,
        eChannelAmbient = 1,
        eChannelSpecular = 2,
        eChannelShininess = 3,
        eChannelOpacity = 4,
        eChannelBump = 5,
        eChannelDisplacement = 6,
        eChannelReflection = 7,
        eChannelEmissive = 8,
        eChannelCount = 9
    };

    /// The channel the map feeds.
    EChannel m_eChannel = eChannelDiffuse;
    /// Absolute path of the image when the file was found; otherwise the name as the model gave it.
    std::string m_strFilename;
    /// Offset and scale of the texture coordinates (u, v, w).
    ///@{
    QelVec3 m_vecOffset = QelVec3(0.0f, 0.0f, 0.0f);
    QelVec3 m_vecScale = QelVec3(1.0f, 1.0f, 1.0f);
    ///@}
    /// Turn of the texture coordinates in degrees, counter-clockwise.
    float m_fRotation = 0.0f;
    /// Clamp to the edge instead of repeating.
    bool m_bClamp = false;
    /// Bump multiplier (bump maps only).
    float m_fBumpScale = 1.0f;
    /// Texture coordinate layer the map reads.
    int m_nTexCoordLayer = 0;
};

/// A material of a model as plain data: colors, shininess, transparency and texture maps. Drawing
/// turns it into an OpenGL material; the model keeps this form so that it can be saved unchanged.
struct QEL_EXPORT QelModelMaterial
{
    /// The name the file gave the material (e.g. OBJ "newmtl"); may be empty.
    std::string m_strName;
    /// RGBA components in 0..1; the defaults are OpenGL's own material.
    ///@{
    QelVec4 m_vecAmbient = QelVec4(0.2f, 0.2f, 0.2f, 1.0f);
    QelVec4 m_vecDiffuse = QelVec4(0.8f, 0.8f, 0.8f, 1.0f);
    QelVec4 m_vecSpecular = QelVec4(0.0f, 0.0f, 0.0f, 1.0f);
    QelVec4 m_vecEmissive = QelVec4(0.0f, 0.0f, 0.0f, 1.0f);
    ///@}
    /// OpenGL's range, 0..128.
    float m_fShininess = 0.0f;
    /// 1 opaque, 0 invisible.
    float m_fOpacity = 1.0f;
    /// Illumination model number as the file gave it (OBJ "illum"); -1 when none was given.
    int m_nIllumination = -1;
    /// Seen from both sides: back faces are drawn and lit too.
    bool m_bTwoSided = false;
    /// The maps in the order the file listed them.
    std::vector<QelModelTextureMap> m_vTextures;

    /// Translucent materials are drawn after the opaque ones.
    bool IsTranslucent() const { return m_fOpacity < 1.0f; }
    /// The first map feeding the channel, or null.
    const QelModelTextureMap* FindTexture(QelModelTextureMap::EChannel eChannel) const
    {
        for (const QelModelTextureMap& m : m_vTextures)
            if (m.m_eChannel == eChannel)
                return &m;
        return nullptr;
    }
};
