#include "qel/buffers/detail/QelImmediateModeBufferDef.h"

#include "qel/framework/QelSysApp.h"

#include <algorithm>
#include <cstring>

namespace
{
const float kDefaultTexCoord[4] = {0.0f, 0.0f, 0.0f, 1.0f};
const float kDefaultNormal[3] = {0.0f, 0.0f, 1.0f};
const unsigned char kDefaultColor[4] = {255, 255, 255, 255};
} // namespace

QelImmediateModeBufferDef::QelImmediateModeBufferDef(QelGeometryBuffer* pOwner, int nCapacity)
    : QelGeometryBufferDef(pOwner), m_nCapacity(nCapacity > 0 ? nCapacity : 0)
{
    m_pInlineState = &m_cCursor;
    SetEnd(0);
}

size_t QelImmediateModeBufferDef::Used() const
{
    return m_cCursor.HasSlot() || m_cCursor.m_pNext != m_cCursor.Bytes() ? size_t(m_cCursor.m_pNext - m_cGathered.Data())
                                                                          : m_nScratchUsed;
}

int QelImmediateModeBufferDef::Gathered() const
{
    const int nStride = m_cCursor.m_cLayout.m_nVertexSize;
    return nStride > 0 ? int(Used() / size_t(nStride)) : 0;
}

int QelImmediateModeBufferDef::NumVertices() const
{
    const int nGathered = Gathered();
    return nGathered > 0 ? nGathered : m_nFinished;
}

void QelImmediateModeBufferDef::SetEnd(size_t nUsed)
{
    QelImmediateModeCursor& c = m_cCursor;
    CancelPrefill();
    const bool bRoom = c.m_cLayout.m_nVertexCoords > 0 && m_cGathered.Data() &&
                       nUsed + Room(size_t(c.m_cLayout.m_nVertexSize)) <= m_cGathered.Capacity();
    if (bRoom)
    {
        c.m_pNext = m_cGathered.Data() + nUsed;
        c.m_pLimit = m_cGathered.Data() + (m_cGathered.Capacity() - Room(size_t(c.m_cLayout.m_nVertexSize)) + 1);
    }
    else
    {
        c.m_pNext = c.Bytes();
        c.m_pLimit = nullptr;
        c.m_nSet = c.m_nAll;
        m_nScratchUsed = nUsed;
    }
}

size_t QelImmediateModeBufferDef::Room(size_t nStride)
{
    return std::max(nStride, size_t(QelImmediateModeCursor::kShortCopyBytes));
}

bool QelImmediateModeBufferDef::MakeRoom()
{
    const size_t nStride = size_t(m_cCursor.m_cLayout.m_nVertexSize);
    const size_t nRoom = Room(nStride);
    const size_t nUsed = Used();
    if (nUsed + nRoom <= m_cGathered.Capacity())
    {
        SetEnd(nUsed);
        return true;
    }
    // The array keeps its bytes across the move; it grows by half again so that growth stays rare,
    // and a fresh one (after FinishVertices) takes the capacity hint again.
    size_t nWant = std::max(nUsed + nRoom, m_cGathered.Capacity() + m_cGathered.Capacity() / 2 + 64);
    if (nUsed == 0 && (long long)m_nCapacity * (long long)nStride <= kQelMaxBufferBytes)
        nWant = std::max(nWant, size_t(m_nCapacity) * nStride + nRoom);
    if ((long long)(nUsed + nStride) > kQelMaxBufferBytes || !m_cGathered.Resize(nUsed, false) ||
        !m_cGathered.Reserve(std::min(nWant, size_t(kQelMaxBufferBytes) + nRoom)))
    {
        if (!m_bOutOfMemory)
            QelSysApp::App().PrintToConsole(
                "<error> QelImmediateModeBuffer - vertex %d of %d bytes refused: out of memory or past %lld bytes\n",
                Gathered(), int(nStride), kQelMaxBufferBytes);
        m_bOutOfMemory = true;
        return false;
    }
    SetEnd(nUsed);
    return true;
}

void QelImmediateModeBufferDef::Repack(const unsigned char* pOld, const QelVertexLayout& lOld, unsigned char* pNew,
                                       const QelVertexLayout& lNew)
{
    float xyzw[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    if (lOld.m_nVertexOffset >= 0)
        std::memcpy(xyzw, pOld + lOld.m_nVertexOffset, 4 * size_t(lOld.m_nVertexCoords));
    if (lNew.m_nVertexOffset >= 0)
        std::memcpy(pNew + lNew.m_nVertexOffset, xyzw, 4 * size_t(lNew.m_nVertexCoords));
    for (int i = 0; i < kQelTextureLayers; ++i)
    {
        if (lNew.m_nTexCoordOffsets[i] < 0)
            continue;
        float t[4];
        std::memcpy(t, kDefaultTexCoord, sizeof(t));
        if (lOld.m_nTexCoordOffsets[i] >= 0)
            std::memcpy(t, pOld + lOld.m_nTexCoordOffsets[i], 4 * size_t(lOld.m_nTexCoords[i]));
        std::memcpy(pNew + lNew.m_nTexCoordOffsets[i], t, 4 * size_t(lNew.m_nTexCoords[i]));
    }
    if (lNew.m_nNormalOffset >= 0)
        std::memcpy(pNew + lNew.m_nNormalOffset, lOld.m_nNormalOffset >= 0 ? pOld + lOld.m_nNormalOffset : (const void*)kDefaultNormal, 12);
    if (lNew.m_nColorOffset >= 0)
        std::memcpy(pNew + lNew.m_nColorOffset, lOld.m_nColorOffset >= 0 ? pOld + lOld.m_nColorOffset : kDefaultColor, 4);
}

bool QelImmediateModeBufferDef::Relayout()
{
    QelImmediateModeCursor& c = m_cCursor;
    const QelVertexLayout lOld = c.m_cLayout;
    QelVertexLayout lNew;
    lNew.Pack(m_nMaxCoordSize, m_nLayerCoords, m_bNormalUsed, m_bColorUsed);
    const int nGathered = Gathered();
    const size_t nStride = size_t(lNew.m_nVertexSize);
    // The capacity is reserved once the first vertex fixes most of the layout, not at every
    // attribute's first use before it, each of which would allocate the whole block anew.
    const size_t nCapacity = lNew.m_nVertexCoords > 0 && (long long)m_nCapacity * (long long)nStride <= kQelMaxBufferBytes
                                 ? size_t(m_nCapacity) * nStride + Room(nStride)
                                 : 0;
    if (nGathered > 0)
    {
        QelByteArray cNew;
        const long long nBytes = (long long)nStride * nGathered;
        if (nBytes > kQelMaxBufferBytes || !cNew.Resize(size_t(nBytes), false))
        {
            if (!m_bOutOfMemory)
                ReportOutOfMemory("QelImmediateModeBuffer", nBytes);
            m_bOutOfMemory = true;
            return false;
        }
        cNew.Reserve(nCapacity); // a hint: without it the array grows as vertices come
        for (int v = 0; v < nGathered; ++v)
            Repack(m_cGathered.Data() + size_t(v) * size_t(lOld.m_nVertexSize), lOld, cNew.Data() + size_t(v) * nStride,
                   lNew);
        m_cGathered = std::move(cNew);
    }
    else
    {
        m_cGathered.Resize(0, false);
        m_cGathered.Reserve(nCapacity);
    }
    unsigned char nCurrent[sizeof(c.m_nCurrent)] = {};
    Repack(c.Bytes(), lOld, nCurrent, lNew);
    std::memcpy(c.Bytes(), nCurrent, sizeof(nCurrent));
    c.m_cLayout = lNew;
    c.m_nAll = 0;
    for (int i = 0; i < kQelTextureLayers; ++i)
        m_aSpans[i] = {lNew.m_nTexCoordOffsets[i], lNew.m_nTexCoords[i]};
    m_aSpans[kQelTextureLayers] = {lNew.m_nNormalOffset, 3};
    m_aSpans[kQelTextureLayers + 1] = {lNew.m_nColorOffset, 1};
    for (int i = 0; i < kAttributes; ++i)
        if (m_aSpans[i].nOffset >= 0)
            c.m_nAll |= uint16_t(1u << i);
    SetEnd(size_t(nGathered) * nStride);
    return true;
}

const unsigned char* QelImmediateModeBufferDef::Previous()
{
    const QelImmediateModeCursor& c = m_cCursor;
    return c.m_pNext > m_cGathered.Data() ? c.m_pNext - c.m_cLayout.m_nVertexSize : m_cCursor.Bytes();
}

void QelImmediateModeBufferDef::CopyAttributes(const unsigned char* pFrom, unsigned char* pTo, unsigned nMask) const
{
    // Only the marked attributes are visited: a host that sets one attribute a vertex and leaves
    // the rest pays for those it left, word by word (each is 1 to 4 words).
    for (; nMask; nMask &= nMask - 1)
    {
        const SSpan& span = m_aSpans[__builtin_ctz(nMask)];
        for (int k = 0; k < span.nWords; ++k)
        {
            uint32_t nWord;
            std::memcpy(&nWord, pFrom + span.nOffset + 4 * k, 4);
            std::memcpy(pTo + span.nOffset + 4 * k, &nWord, 4);
        }
    }
}

void QelImmediateModeBufferDef::Sync()
{
    QelImmediateModeCursor& c = m_cCursor;
    if (c.HasSlot())
    {
        const size_t nStride = size_t(c.m_cLayout.m_nVertexSize);
        const unsigned nHave = c.m_nSet | c.Prefilled();
        if (nHave != c.m_nAll)
        {
            std::memmove(c.Bytes(), Previous(), nStride);
            CopyAttributes(c.m_pNext, c.Bytes(), nHave);
        }
        else
            std::memcpy(c.Bytes(), c.m_pNext, nStride);
    }
    // What the caller changes next would leave the copies ahead out of date.
    CancelPrefill();
}

void QelImmediateModeBufferDef::CancelPrefill()
{
    m_cCursor.m_nPrefill = 0;
    m_cCursor.m_pPrefillEnd = nullptr;
}

void QelImmediateModeBufferDef::Restore()
{
    QelImmediateModeCursor& c = m_cCursor;
    if (!c.HasSlot())
        return;
    std::memcpy(c.m_pNext, c.Bytes(), size_t(c.m_cLayout.m_nVertexSize));
    c.m_nSet = c.m_nAll;
}

void QelImmediateModeBufferDef::EmitPartial()
{
    QelImmediateModeCursor& c = m_cCursor;
    const size_t nStride = size_t(c.m_cLayout.m_nVertexSize);
    CopyAttributes(Previous(), c.m_pNext, c.m_nAll & ~(c.m_nSet | c.Prefilled()));
    // What the host left alone this time it will likely leave alone next: copy it into the slots
    // ahead, so that those vertices go out whole.
    const unsigned nKeep = c.m_nAll & ~unsigned(c.m_nSet);
    const unsigned char* pEmitted = c.m_pNext;
    c.m_pNext += nStride;
    c.m_nSet = 0;
    if (!c.HasSlot())
    {
        CancelPrefill();
        return SlotFull();
    }
    unsigned char* p = c.m_pNext;
    for (int n = 0; n < kPrefillVertices && p < c.m_pLimit; ++n, p += nStride)
        CopyAttributes(pEmitted, p, nKeep);
    c.m_nPrefill = uint16_t(nKeep);
    c.m_pPrefillEnd = p;
}

void QelImmediateModeBufferDef::SlotFull()
{
    QelImmediateModeCursor& c = m_cCursor;
    std::memcpy(c.Bytes(), Previous(), size_t(c.m_cLayout.m_nVertexSize));
    SetEnd(Used());
}

// Each path below works on the current vertex in the cursor's words: Sync brings it there from
// the slot, Restore puts it back into the slot of the array as it is afterwards.

void QelImmediateModeBufferDef::Vertex(const float* pXyzw, int nCoords)
{
    Sync();
    if (nCoords > m_nMaxCoordSize)
    {
        m_nMaxCoordSize = nCoords;
        Relayout();
    }
    QelImmediateModeCursor& c = m_cCursor;
    const int nHave = c.m_cLayout.m_nVertexCoords;
    if (nHave == 0)
        return Restore(); // the first vertex's layout could not be made; reported already
    const float xyzw[4] = {pXyzw[0], pXyzw[1], pXyzw[2], nCoords == 4 ? pXyzw[3] : 1.0f};
    std::memcpy(c.Bytes(), xyzw, 4 * size_t(nHave));
    if (!MakeRoom())
        return;
    c.EmitWords();
    if (!c.HasSlot())
        SlotFull();
}

void QelImmediateModeBufferDef::TexCoord(const char* pName, unsigned int nLayer, const float* pStrq, int nCoords)
{
    if (!LayerInRange(pName, nLayer))
        return;
    Sync();
    if (nCoords > m_nLayerCoords[nLayer])
    {
        m_bLayerUsed[nLayer] = true;
        m_nLayerCoords[nLayer] = nCoords;
        Relayout();
    }
    const QelVertexLayout& l = m_cCursor.m_cLayout;
    if (l.m_nTexCoordOffsets[nLayer] >= 0) // else a relayout failed, reported already
        std::memcpy(m_cCursor.Bytes() + l.m_nTexCoordOffsets[nLayer], pStrq, 4 * size_t(l.m_nTexCoords[nLayer]));
    Restore();
}

void QelImmediateModeBufferDef::Normal(const float* pXyz)
{
    SetAttribute(m_bNormalUsed, &QelVertexLayout::m_nNormalOffset, pXyz, 12);
}

void QelImmediateModeBufferDef::Color(const unsigned char* pRgba)
{
    SetAttribute(m_bColorUsed, &QelVertexLayout::m_nColorOffset, pRgba, 4);
}

void QelImmediateModeBufferDef::SetAttribute(bool& bUsed, int QelVertexLayout::*pOffset, const void* pValue, size_t nBytes)
{
    Sync();
    if (!bUsed)
    {
        bUsed = true;
        Relayout();
    }
    const int nOffset = m_cCursor.m_cLayout.*pOffset;
    if (nOffset >= 0) // else a relayout failed, reported already
        std::memcpy(m_cCursor.Bytes() + nOffset, pValue, nBytes);
    Restore();
}

void QelImmediateModeBufferDef::FinishVertices()
{
    Sync(); // the current vertex outlives the gathered array
    const QelVertexLayout& l = m_cCursor.m_cLayout;
    const int nGathered = Gathered();
    if (m_nMaxCoordSize < 1)
        QelSysApp::App().PrintToConsole(
            "<warning> CZubImmediateModeBuffer::FinishVertices, m_nMaxCoordSize < 1, cannot run sanity test\n");
    // The gathered bytes must be whole vertices of a layout with a position; anything else would
    // shift every later vertex.
    else if (Used() != size_t(nGathered) * size_t(l.m_nVertexSize) || (l.m_nVertexCoords != 3 && l.m_nVertexCoords != 4))
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelImmediateModeBuffer::FinishVertices() - %d vertices in %lld bytes do not make vertices of %d bytes; nothing finished\n",
            nGathered, (long long)Used(), l.m_nVertexSize);
        return;
    }
    if (nGathered < 1)
        return;
    static_cast<QelVertexLayout&>(*this) = l;
    m_cGathered.Resize(Used(), false);
    StoreFinishedVertices(std::move(m_cGathered));
    m_cGathered.Release();
    SetEnd(0);
    m_nFinished = nGathered;
}

void QelImmediateModeBufferDef::Clear()
{
    QelGeometryBufferDef::Clear();
    m_cCursor = QelImmediateModeCursor();
    for (int i = 0; i < kQelTextureLayers; ++i)
    {
        m_bLayerUsed[i] = false;
        m_nLayerCoords[i] = 0;
    }
    m_bNormalUsed = m_bColorUsed = m_bOutOfMemory = false;
    m_nMaxCoordSize = 0;
    m_cGathered.Release();
    SetEnd(0);
    m_nFinished = 0;
}
