#pragma once

#include "qel/buffers/detail/QelGeometryBufferDef.h"

/// Data of QelInterleavedBuffer: the base data plus the capacity and the dynamic flag. Copies of
/// the buffer share it, the capacity included.
class QelInterleavedBufferDef : public QelGeometryBufferDef
{
public:
    QelInterleavedBufferDef(QelGeometryBuffer* pOwner, bool bDynamic) : QelGeometryBufferDef(pOwner), m_bDynamic(bDynamic) {}

    int NumVertices() const override { return m_nNumVertices; }
    void Clear() override
    {
        QelGeometryBufferDef::Clear();
        m_nMaxVertices = m_nNumVertices = 0;
    }

    bool m_bDynamic;
    int m_nMaxVertices = 0;
    /// Vertices defined so far: the store's size with buffer objects, the furthest vertex written without.
    int m_nNumVertices = 0;
};
