#pragma once

/// Texture layers a vertex may carry.
constexpr int kQelTextureLayers = 8;

/// Where each attribute sits inside one interleaved vertex; -1 marks an absent attribute.
struct QelVertexLayout
{
    int m_nVertexSize = -1;
    int m_nVertexCoords = 0;
    int m_nTexCoords[kQelTextureLayers] = {};
    int m_nVertexOffset = -1;
    int m_nColorOffset = -1;
    int m_nNormalOffset = -1;
    int m_nTexCoordOffsets[kQelTextureLayers] = {-1, -1, -1, -1, -1, -1, -1, -1};

    /// Packs position, the used texture layers, normal and color one after another, in that order.
    void Pack(int nVertexCoords, const int* pTexCoords, bool bNormal, bool bColor);
};
