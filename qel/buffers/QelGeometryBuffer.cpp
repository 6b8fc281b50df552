#include "qel/buffers/QelGeometryBuffer.h"

#include "qel/buffers/detail/QelGeometryBufferDef.h"
#include "qel/framework/QelSysApp.h"

#include <GL/glew.h>

#include <cstdint>
#include <new>
#include <typeinfo>

namespace
{
const GLenum kPrimitiveModes[] = {GL_POINTS,         GL_LINE_STRIP, GL_LINE_LOOP,  GL_LINES, GL_TRIANGLE_STRIP,
                                  GL_TRIANGLE_FAN,   GL_TRIANGLES,  GL_QUAD_STRIP, GL_QUADS};
static_assert(sizeof(kPrimitiveModes) / sizeof(kPrimitiveModes[0]) == QelGeometryBuffer::QUADS + 1,
              "one OpenGL mode per primitive type");

struct IndexFormat
{
    GLenum nType;
    int nWidth;
};
const IndexFormat kIndexFormats[] = {{GL_UNSIGNED_BYTE, 1}, {GL_UNSIGNED_SHORT, 2}, {GL_UNSIGNED_INT, 4}};
static_assert(sizeof(kIndexFormats) / sizeof(kIndexFormats[0]) == QelGeometryBuffer::INDEX_32_BIT + 1,
              "one element type per index size");

/// The most indices one buffer holds: their 32-bit bytes stay within the byte limit.
constexpr long long kMaxIndices = kQelMaxBufferBytes / 4;

bool ValidPrimitive(int eType)
{
    return eType >= 0 && eType <= QelGeometryBuffer::QUADS;
}

bool ValidIndexSize(int eSize)
{
    return eSize >= 0 && eSize <= QelGeometryBuffer::INDEX_32_BIT;
}

template <class T>
T Narrowed(int n)
{
    return static_cast<T>(static_cast<unsigned int>(n));
}

/// The indices narrowed to the upload width, and the largest of them.
template <class T>
bool NarrowIndices(const std::vector<int>& vIndices, QelByteArray& cOut, unsigned int& nMax)
{
    if (!cOut.Resize(vIndices.size() * sizeof(T), false))
        return false;
    T* pOut = reinterpret_cast<T*>(cOut.Data());
    T nLargest = 0;
    for (size_t i = 0; i < vIndices.size(); ++i)
    {
        pOut[i] = Narrowed<T>(vIndices[i]);
        nLargest = pOut[i] > nLargest ? pOut[i] : nLargest;
    }
    nMax = nLargest;
    return true;
}

/// The largest element OpenGL reads when it takes nCount elements of type T from pFirst.
template <class T>
unsigned int LargestElement(const void* pFirst, int nCount)
{
    const T* p = static_cast<const T*>(pFirst);
    T nLargest = 0;
    for (int i = 0; i < nCount; ++i)
        nLargest = p[i] > nLargest ? p[i] : nLargest;
    return nLargest;
}

/// An attribute's address: base + offset, where a null base (buffer objects) makes the offset
/// itself the address OpenGL reads as a position inside the bound buffer.
const void* AttributeAt(const unsigned char* pBase, int nOffset)
{
    return reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(pBase) + uintptr_t(nOffset));
}

/// Every present attribute lies inside the stride; a layout that does not is refused before
/// OpenGL is pointed at it, since the last vertex would be read past the array's end.
bool LayoutFits(const QelVertexLayout& l)
{
    struct Part
    {
        const char* pName;
        int nOffset;
        int nBytes;
    };
    const Part aParts[] = {{"vertex position", l.m_nVertexOffset, 4 * l.m_nVertexCoords},
                           {"color", l.m_nColorOffset, 4},
                           {"normal", l.m_nNormalOffset, 12}};
    for (const Part& p : aParts)
        if (p.nOffset >= 0 && (l.m_nVertexSize <= 0 || (long long)p.nOffset + p.nBytes > l.m_nVertexSize))
        {
            QelSysApp::App().PrintToConsole(
                "<error> QelGeometryBuffer::BindVertexBuffer() - the %s at byte %d (%d bytes) does not fit a vertex of %d bytes\n",
                p.pName, p.nOffset, p.nBytes, l.m_nVertexSize);
            return false;
        }
    for (int i = 0; i < kQelTextureLayers; ++i)
        if (l.m_nTexCoordOffsets[i] >= 0 &&
            (l.m_nVertexSize <= 0 || (long long)l.m_nTexCoordOffsets[i] + 4 * l.m_nTexCoords[i] > l.m_nVertexSize))
        {
            QelSysApp::App().PrintToConsole(
                "<error> QelGeometryBuffer::BindVertexBuffer() - texture layer %d at byte %d (%d bytes) does not fit a vertex of %d bytes\n",
                i, l.m_nTexCoordOffsets[i], 4 * l.m_nTexCoords[i], l.m_nVertexSize);
            return false;
        }
    return true;
}
} // namespace

QelGeometryBuffer::QelGeometryBuffer() : m_pDef(new QelGeometryBufferDef(this)), m_pInlineState(nullptr) {}

QelGeometryBuffer::QelGeometryBuffer(QelGeometryBufferDef* pDef) : m_pDef(pDef), m_pInlineState(pDef->m_pInlineState)
{
}

QelGeometryBuffer::QelGeometryBuffer(const QelGeometryBuffer& other) = default;

QelGeometryBuffer& QelGeometryBuffer::operator=(const QelGeometryBuffer& other)
{
    // A derived buffer reads its own kind of Def; taking another kind would make it misread one.
    const QelGeometryBufferDef& rMine = *m_pDef;
    const QelGeometryBufferDef& rTheirs = *other.m_pDef;
    if (typeid(*this) != typeid(QelGeometryBuffer) && typeid(rMine) != typeid(rTheirs))
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelGeometryBuffer::operator=() - the buffers are of different kinds, nothing copied\n");
        return *this;
    }
    m_pDef = other.m_pDef;
    m_pInlineState = other.m_pInlineState;
    return *this;
}

QelGeometryBuffer::~QelGeometryBuffer() = default;

void QelGeometryBuffer::FinishVertices()
{
    m_pDef->FinishVertices();
}

int QelGeometryBuffer::NumVertices() const
{
    return m_pDef->NumVertices();
}

int QelGeometryBuffer::VertexSize() const
{
    return m_pDef->m_nVertexSize;
}

void QelGeometryBuffer::AddIndex(long nIndex)
{
    AddIndices(&nIndex, 1);
}

namespace
{
/// Appends to the memory-side array and keeps its largest entry (as unsigned 32 bits) up to date,
/// so that a 32-bit upload needs no pass of its own.
template <class T>
void AppendIndices(QelGeometryBufferDef& d, const T* pIndices, long long nCount)
{
    std::vector<int>& vIndices = d.m_vIndices;
    if (nCount == 0)
        return;
    if (nCount < 0 || nCount > kMaxIndices - (long long)vIndices.size())
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelGeometryBuffer::AddIndices() - cannot add %lld indices to the %d stored, the limit is %lld\n",
            nCount, int(vIndices.size()), kMaxIndices);
        return;
    }
    if (!pIndices)
    {
        QelSysApp::App().PrintToConsole("<error> NULL array passed to QelGeometryBuffer::AddIndices()\n");
        return;
    }
    try
    {
        const size_t nFrom = vIndices.size();
        vIndices.insert(vIndices.end(), pIndices, pIndices + nCount);
        const unsigned int nLargest = LargestElement<uint32_t>(vIndices.data() + nFrom, int(nCount));
        d.m_nMaxAddedIndex = nLargest > d.m_nMaxAddedIndex ? nLargest : d.m_nMaxAddedIndex;
    }
    catch (const std::bad_alloc&)
    {
        QelGeometryBufferDef::ReportOutOfMemory("QelGeometryBuffer::AddIndices()",
                                                ((long long)vIndices.size() + nCount) * 4);
    }
}
} // namespace

void QelGeometryBuffer::AddIndices(const int* pIndices, int nCount)
{
    AppendIndices(*m_pDef, pIndices, nCount);
}

void QelGeometryBuffer::AddIndices(const long* pIndices, long nCount)
{
    AppendIndices(*m_pDef, pIndices, nCount);
}

void QelGeometryBuffer::FinishIndices(EIndexSize eSize)
{
    QelGeometryBufferDef& d = *m_pDef;
    const bool bBufferObjects = QelGeometryBufferDef::HasBufferObjects();
    // Uploading nothing would leave an index buffer that every draw reads past.
    if (bBufferObjects && d.m_vIndices.empty() && ValidIndexSize(eSize))
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelGeometryBuffer::FinishIndices() - %d indices stored, nothing to upload\n", 0);
        return;
    }
    d.m_eIndexSize = eSize;
    d.m_nIndexCount = int(d.m_vIndices.size());
    if (!ValidIndexSize(eSize))
    {
        QelSysApp::App().PrintToConsole("<error> Invalid switch/case in CZubGeometryBuffer::FinishIndices()");
        return;
    }
    if (!bBufferObjects)
        return;

    // 32-bit indices go up as they are stored; narrower ones through a narrowed copy.
    QelByteArray cNarrowed;
    unsigned int nMax = 0;
    const void* pUpload = d.m_vIndices.data();
    bool bOk = true;
    if (eSize == INDEX_32_BIT)
        nMax = d.m_nMaxAddedIndex;
    else
    {
        bOk = eSize == INDEX_8_BIT ? NarrowIndices<uint8_t>(d.m_vIndices, cNarrowed, nMax)
                                   : NarrowIndices<uint16_t>(d.m_vIndices, cNarrowed, nMax);
        pUpload = cNarrowed.Data();
    }
    if (!bOk)
    {
        QelGeometryBufferDef::ReportOutOfMemory("QelGeometryBuffer::FinishIndices()",
                                                (long long)d.m_vIndices.size() * kIndexFormats[eSize].nWidth);
        return;
    }
    const unsigned int nBytes = unsigned(d.m_vIndices.size()) * unsigned(kIndexFormats[eSize].nWidth);
    // A second finish takes a fresh name without deleting the first; deliberate, hosts that add
    // indices after finishing rely on the old draws staying valid. Both stores are counted.
    glGenBuffersARB(1, &d.m_nIndexBuffer);
    glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER_ARB, d.m_nIndexBuffer);
    const GLenum nBefore = glGetError();
    glBufferDataARB(GL_ELEMENT_ARRAY_BUFFER_ARB, GLsizeiptrARB(nBytes), pUpload, GL_STATIC_DRAW_ARB);
    const GLenum nAfter = glGetError();
    if (nAfter == GL_OUT_OF_MEMORY && nAfter != nBefore)
        QelSysApp::App().PrintToConsole("<error> OpenGL failed to allocate %.1f MB of video RAM\n",
                                        double(nBytes) * (1.0 / 1048576.0));
    QelGeometryBufferDef::s_nIndexBytes += nBytes;
    d.m_nIndexBytes += nBytes;
    d.m_nMaxUploadedIndex = nMax;
    glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER_ARB, 0);
    std::vector<int>().swap(d.m_vIndices);
    d.m_nMaxAddedIndex = 0;
}

int QelGeometryBuffer::NumIndices() const
{
    return m_pDef->m_vIndices.empty() ? m_pDef->m_nIndexCount : int(m_pDef->m_vIndices.size());
}

bool QelGeometryBuffer::Empty() const
{
    return NumVertices() < 1 || NumIndices() < 1;
}

bool QelGeometryBuffer::BindVertexBuffer() const
{
    const QelGeometryBufferDef& d = *m_pDef;
    // The data decides the path: a store made in video memory is bound from there even if the
    // entry points have gone since, and then nothing is bound rather than a null client pointer.
    const bool bVideo = d.DrawsFromVideoMemory();
    if (!bVideo && d.m_cClientData.Empty())
        return false;
    if (!LayoutFits(d))
        return false;
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    const unsigned char* pBase = nullptr;
    if (bVideo)
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, d.m_nVertexBuffer);
    else
        pBase = d.m_cClientData.Data();
    const GLsizei nStride = d.m_nVertexSize;
    if (d.m_nVertexOffset >= 0)
    {
        glEnableClientState(GL_VERTEX_ARRAY);
        glVertexPointer(d.m_nVertexCoords, GL_FLOAT, nStride, AttributeAt(pBase, d.m_nVertexOffset));
    }
    if (d.m_nColorOffset >= 0)
    {
        glEnableClientState(GL_COLOR_ARRAY);
        glColorPointer(4, GL_UNSIGNED_BYTE, nStride, AttributeAt(pBase, d.m_nColorOffset));
    }
    if (d.m_nNormalOffset >= 0)
    {
        glEnableClientState(GL_NORMAL_ARRAY);
        glNormalPointer(GL_FLOAT, nStride, AttributeAt(pBase, d.m_nNormalOffset));
    }
    const bool bMultitexture = QelGeometryBufferDef::HasMultitexture();
    for (int i = 0; i < (bMultitexture ? kQelTextureLayers : 1); ++i)
    {
        if (d.m_nTexCoordOffsets[i] < 0)
            continue;
        if (bMultitexture)
            glClientActiveTextureARB(GLenum(GL_TEXTURE0_ARB + i));
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glTexCoordPointer(d.m_nTexCoords[i], GL_FLOAT, nStride, AttributeAt(pBase, d.m_nTexCoordOffsets[i]));
    }
    if (bMultitexture)
        glClientActiveTextureARB(GL_TEXTURE0_ARB);
    return true;
}

bool QelGeometryBuffer::BindIndexBuffer()
{
    if (!QelGeometryBufferDef::HasBufferObjects())
        return true;
    if (!m_pDef->m_nIndexBuffer)
        return false;
    glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER_ARB, m_pDef->m_nIndexBuffer);
    return true;
}

void QelGeometryBuffer::UnBindVertexBuffer()
{
    if (QelGeometryBufferDef::HasBufferObjects())
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
    glPopClientAttrib();
}

void QelGeometryBuffer::UnBindIndexBuffer()
{
    if (QelGeometryBufferDef::HasBufferObjects())
        glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER_ARB, 0);
}

bool QelGeometryBuffer::DrawArrays(EPrimitiveType eType, int nFirst, int nCount, bool bBind, bool bUnBind) const
{
    if (nCount < 1)
        return true;
    // A requested binding that failed draws nothing: OpenGL would read whatever arrays were left set.
    const bool bBound = !bBind || BindVertexBuffer();
    const bool bValid = ValidPrimitive(eType);
    if (!bValid)
        QelSysApp::App().PrintToConsole("<error> Invalid switch/case in CZubGeometryBuffer::DrawArrays()");
    const int nVertices = m_pDef->DrawableVertices();
    const bool bInRange = nFirst >= 0 && (long long)nFirst + nCount <= nVertices;
    if (!bInRange)
        QelSysApp::App().PrintToConsole(
            "<error> QelGeometryBuffer::DrawArrays() - first %d and count %d run past the %d vertices\n", nFirst,
            nCount, nVertices);
    if (bValid && bInRange && bBound)
        glDrawArrays(kPrimitiveModes[eType], nFirst, nCount);
    if (bUnBind && (!bBind || bBound))
        UnBindVertexBuffer();
    return bValid && bInRange && bBound;
}

bool QelGeometryBuffer::DrawIndexed(EPrimitiveType eType, int nStart, int nCount, bool bBind, bool bUnBind) const
{
    if (nCount < 1)
        return true;
    const QelGeometryBufferDef& d = *m_pDef;
    const bool bBound = !bBind || BindVertexBuffer();
    if (bBind && bBound)
        const_cast<QelGeometryBuffer*>(this)->BindIndexBuffer();
    const bool bValidType = ValidPrimitive(eType);
    if (!bValidType)
        QelSysApp::App().PrintToConsole("<error> Invalid primitive switch/case in CZubGeometryBuffer::DrawIndexed()\n");
    const bool bValidSize = ValidIndexSize(d.m_eIndexSize);
    if (!bValidSize)
        QelSysApp::App().PrintToConsole(
            "<error> Invalid index type switch/case in CZubGeometryBuffer::DrawIndexed() - FinishIndices() not called?\n");
    bool bDrawn = false;
    if (bValidType && bValidSize && bBound)
    {
        const IndexFormat f = kIndexFormats[d.m_eIndexSize];
        const bool bVideo = QelGeometryBufferDef::HasBufferObjects() && d.m_nVertexBuffer && d.m_nIndexBuffer;
        // The memory-side array is read as 32-bit entries from nStart on, whatever the element type.
        const int nStored = bVideo ? d.m_nIndexCount : int(d.m_vIndices.size());
        const int nVertices = d.DrawableVertices();
        if (nStart < 0 || (long long)nStart + nCount > nStored)
            QelSysApp::App().PrintToConsole(
                "<error> QelGeometryBuffer::DrawIndexed() - start %d and count %d run past the %d indices\n", nStart,
                nCount, nStored);
        else
        {
            const void* pFirst = bVideo ? reinterpret_cast<const void*>(uintptr_t(f.nWidth) * unsigned(nStart))
                                        : static_cast<const void*>(d.m_vIndices.data() + nStart);
            // Every 8- or 16-bit piece of a stored entry is at most the entry itself, so when the
            // largest entry is in range no part of the array needs reading again.
            const bool bAllInRange = d.m_nMaxAddedIndex < unsigned(nVertices);
            const unsigned int nLargest = bVideo                   ? d.m_nMaxUploadedIndex
                                          : bAllInRange   ? d.m_nMaxAddedIndex
                                          : f.nWidth == 1 ? LargestElement<uint8_t>(pFirst, nCount)
                                          : f.nWidth == 2 ? LargestElement<uint16_t>(pFirst, nCount)
                                                          : LargestElement<uint32_t>(pFirst, nCount);
            if (nVertices < 1 || nLargest >= unsigned(nVertices))
                QelSysApp::App().PrintToConsole(
                    "<error> QelGeometryBuffer::DrawIndexed() - index %u points past the %d vertices\n", nLargest,
                    nVertices);
            else
            {
                glDrawElements(kPrimitiveModes[eType], nCount, f.nType, pFirst);
                bDrawn = true;
            }
        }
    }
    if (bUnBind && (!bBind || bBound))
    {
        UnBindVertexBuffer();
        UnBindIndexBuffer();
    }
    return bDrawn;
}

void QelGeometryBuffer::Clear()
{
    m_pDef->Clear();
}

unsigned int QelGeometryBuffer::VideoMemoryVertexBytes()
{
    return QelGeometryBufferDef::s_nVertexBytes;
}

unsigned int QelGeometryBuffer::VideoMemoryIndexBytes()
{
    return QelGeometryBufferDef::s_nIndexBytes;
}
