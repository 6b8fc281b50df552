#include "qel/buffers/QelInterleavedBuffer.h"

#include "qel/buffers/detail/QelInterleavedBufferDef.h"
#include "qel/framework/QelSysApp.h"

#include <GL/glew.h>

#include <climits>
#include <cstring>

namespace
{
/// Offsets and strides are kept as signed 32-bit values, where -1 means absent.
bool FitsSigned(const char* pWhat, unsigned int nValue)
{
    if (nValue <= unsigned(INT_MAX))
        return true;
    QelSysApp::App().PrintToConsole("<warning> QelInterleavedBuffer - %s of %u bytes is out of range\n", pWhat, nValue);
    return false;
}
} // namespace

QelInterleavedBuffer::QelInterleavedBuffer(bool bDynamic) : QelGeometryBuffer(new QelInterleavedBufferDef(this, bDynamic))
{
}

inline QelInterleavedBufferDef* QelInterleavedBuffer::D() const
{
    return static_cast<QelInterleavedBufferDef*>(Def());
}

void QelInterleavedBuffer::SetStride(unsigned int nStride)
{
    if (FitsSigned("stride", nStride))
        D()->m_nVertexSize = int(nStride);
}

void QelInterleavedBuffer::SetVertexOffset(unsigned int nCoords, unsigned int nOffset)
{
    if (nCoords != 3 && nCoords != 4)
    {
        QelSysApp::App().PrintToConsole("<warning> Vertex coord count must be either 3 or 4\n");
        return;
    }
    if (!FitsSigned("vertex offset", nOffset))
        return;
    D()->m_nVertexCoords = int(nCoords);
    D()->m_nVertexOffset = int(nOffset);
}

void QelInterleavedBuffer::SetTexCoordOffset(unsigned int nLayer, unsigned int nCoords, unsigned int nOffset)
{
    if (!QelGeometryBufferDef::LayerInRange("SetTexCoordOffset", nLayer) ||
        !QelGeometryBufferDef::TexCoordCountInRange(nCoords))
        return;
    if (!FitsSigned("texture coordinate offset", nOffset))
        return;
    D()->m_nTexCoords[nLayer] = int(nCoords);
    D()->m_nTexCoordOffsets[nLayer] = int(nOffset);
}

void QelInterleavedBuffer::SetNormalOffset(unsigned int nOffset)
{
    if (FitsSigned("normal offset", nOffset))
        D()->m_nNormalOffset = int(nOffset);
}

void QelInterleavedBuffer::SetColorOffset(unsigned int nOffset)
{
    if (FitsSigned("color offset", nOffset))
        D()->m_nColorOffset = int(nOffset);
}

void QelInterleavedBuffer::SetMaxNumVertices(int nMaxVertices)
{
    QelInterleavedBufferDef& d = *D();
    if (d.m_nVertexSize <= 0)
    {
        QelSysApp::App().PrintToConsole("<error> QelInterleavedBuffer::SetMaxNumVertices(), vertex size not yet set\n");
        return;
    }
    if (nMaxVertices < 0 || (long long)nMaxVertices * d.m_nVertexSize > kQelMaxBufferBytes)
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelInterleavedBuffer::SetMaxNumVertices() - %d vertices of %d bytes are outside 0 to %lld bytes\n",
            nMaxVertices, d.m_nVertexSize, kQelMaxBufferBytes);
        return;
    }
    d.m_nMaxVertices = nMaxVertices;
}

void QelInterleavedBuffer::SetBuffer(const void* pData, unsigned int nNumVertices, unsigned int nByteOffset)
{
    QelInterleavedBufferDef& d = *D();
    if (!pData)
    {
        QelSysApp::App().PrintToConsole("<error> NULL buffer passed to QelInterleavedBuffer::SetBuffer()\n");
        return;
    }
    if (d.m_nVertexSize <= 0)
    {
        QelSysApp::App().PrintToConsole("<error> QelInterleavedBuffer::SetBuffer() called before vertex size specified\n");
        return;
    }
    const long long nSize = d.m_nVertexSize;
    const long long nBytes = nSize * nNumVertices;
    // The byte test also catches an offset inside a vertex that would run the last one past the end.
    if ((long long)nByteOffset / nSize + nNumVertices > d.m_nMaxVertices ||
        (long long)nByteOffset + nBytes > d.m_nMaxVertices * nSize)
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelInterleavedBuffer::SetBuffer() - too many vertices + offset, greater than [%d] specified\n",
            d.m_nMaxVertices);
        return;
    }
    const int nEnd = int((nByteOffset + nBytes + nSize - 1) / nSize);
    if (!QelGeometryBufferDef::HasBufferObjects())
    {
        // Sized for the capacity, so that later blocks at any offset within it fit; zeroed so that
        // vertices never written draw from defined bytes.
        const size_t nCapacityBytes = size_t(d.m_nMaxVertices) * size_t(nSize);
        if (d.m_cClientData.Size() < nCapacityBytes && !d.m_cClientData.Resize(nCapacityBytes, true))
        {
            QelGeometryBufferDef::ReportOutOfMemory("QelInterleavedBuffer::SetBuffer()", (long long)nCapacityBytes);
            return;
        }
        std::memcpy(d.m_cClientData.Data() + nByteOffset, pData, size_t(nBytes));
        d.m_nNumVertices = nEnd > d.m_nNumVertices ? nEnd : d.m_nNumVertices;
        return;
    }
    if (nByteOffset == 0)
    {
        d.UploadVertexStore(pData, unsigned(nBytes), d.m_bDynamic);
        d.m_nNumVertices = int(nNumVertices);
        return;
    }
    // An update past the defined store would be refused by OpenGL; say why instead.
    if ((long long)nByteOffset + nBytes > d.m_nVertexBytes)
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelInterleavedBuffer::SetBuffer() - bytes %u to %lld lie past the %u bytes defined at offset 0\n",
            nByteOffset, (long long)nByteOffset + nBytes, d.m_nVertexBytes);
        return;
    }
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, d.m_nVertexBuffer);
    glBufferSubDataARB(GL_ARRAY_BUFFER_ARB, GLintptrARB(nByteOffset), GLsizeiptrARB(nBytes), pData);
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
}
