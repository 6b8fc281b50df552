#include "qel/buffers/detail/QelVertexLayout.h"

void QelVertexLayout::Pack(int nVertexCoords, const int* pTexCoords, bool bNormal, bool bColor)
{
    int nAt = 0;
    m_nVertexCoords = nVertexCoords;
    m_nVertexOffset = nVertexCoords > 0 ? 0 : -1;
    nAt += 4 * nVertexCoords;
    for (int i = 0; i < kQelTextureLayers; ++i)
    {
        m_nTexCoords[i] = pTexCoords[i];
        m_nTexCoordOffsets[i] = pTexCoords[i] > 0 ? nAt : -1;
        nAt += 4 * pTexCoords[i];
    }
    m_nNormalOffset = bNormal ? nAt : -1;
    nAt += bNormal ? 12 : 0;
    m_nColorOffset = bColor ? nAt : -1;
    nAt += bColor ? 4 : 0;
    m_nVertexSize = nAt;
}
