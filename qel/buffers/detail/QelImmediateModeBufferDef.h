#pragma once

#include "qel/buffers/detail/QelGeometryBufferDef.h"
#include "qel/buffers/detail/QelImmediateModeCursor.h"

/// Data of QelImmediateModeBuffer. Vertices are gathered already interleaved in a layout that
/// grows as attributes first appear (the gathered ones are then repacked with OpenGL's defaults),
/// so emitting a vertex is one copy of the current vertex and FinishVertices one upload. The
/// public buffer's inline calls work on the cursor; what they cannot do comes here.
class QelImmediateModeBufferDef : public QelGeometryBufferDef
{
public:
    QelImmediateModeBufferDef(QelGeometryBuffer* pOwner, int nCapacity);

    void FinishVertices() override;
    int NumVertices() const override;
    void Clear() override;

    /// Emits a vertex of nCoords (3 or 4) coordinates with the current attributes, first
    /// widening the layout or growing the gathered array as needed.
    void Vertex(const float* pXyzw, int nCoords);
    /// Sets the current texture coordinate of a layer from pStrq (4 floats, the ones past
    /// nCoords being the defaults), raising the layer's count; pName names the caller.
    void TexCoord(const char* pName, unsigned int nLayer, const float* pStrq, int nCoords);
    void Normal(const float* pXyz);
    void Color(const unsigned char* pRgba);
    /// Emits the slot's vertex, taking the attributes not set in it from the vertex before.
    void EmitPartial();
    /// Called when the array has no room for the next slot: the current vertex, the last one
    /// emitted, moves to the cursor's words until the next vertex grows the array.
    void SlotFull();

private:
    /// Bytes gathered so far.
    size_t Used() const;
    int Gathered() const;
    /// Brings the current vertex into the cursor's words, where the out-of-line paths change it.
    void Sync();
    /// Sets the normal or the color (whose layout offset pOffset names) to nBytes from pValue,
    /// first giving the layout room for it when bUsed says it has none yet.
    void SetAttribute(bool& bUsed, int QelVertexLayout::*pOffset, const void* pValue, size_t nBytes);
    /// Forgets the attributes copied ahead into the next slots.
    void CancelPrefill();
    /// Puts the current vertex from the cursor's words into the slot, if there is one.
    void Restore();
    /// Where the attributes not set in the slot come from: the vertex before it.
    const unsigned char* Previous();
    /// Copies the attributes of nMask (m_nSet's bits) of one vertex to another of the same layout.
    void CopyAttributes(const unsigned char* pFrom, unsigned char* pTo, unsigned nMask) const;
    /// Puts the slot after nUsed gathered bytes when the array has room for it, and in the cursor's
    /// current vertex otherwise.
    void SetEnd(size_t nUsed);
    /// Bytes an emitted vertex of nStride bytes may write: the short copy's run at least.
    static size_t Room(size_t nStride);
    /// Makes room for one more vertex and the spare bytes of the chunked copy.
    bool MakeRoom();
    /// Gives the current vertex and every gathered one the layout of the attributes used so far.
    bool Relayout();
    /// Copies one vertex from the old layout to the new, filling what is new with the defaults.
    static void Repack(const unsigned char* pOld, const QelVertexLayout& lOld, unsigned char* pNew,
                       const QelVertexLayout& lNew);

    /// Attributes other than the position, in the order of the cursor's marks: the layers, the
    /// normal, the color.
    static constexpr int kAttributes = kQelTextureLayers + 2;
    /// Slots ahead that an attribute left alone is copied into.
    static constexpr int kPrefillVertices = 64;
    static_assert(QelImmediateModeCursor::kColorBit == 1u << (kAttributes - 1), "a mark for each attribute");
    /// Where an attribute lies in the layout (offset -1: absent) and how many words it has.
    struct SSpan
    {
        int nOffset;
        int nWords;
    };

    QelImmediateModeCursor m_cCursor;
    SSpan m_aSpans[kAttributes] = {};
    bool m_bLayerUsed[kQelTextureLayers] = {};
    int m_nLayerCoords[kQelTextureLayers] = {};
    bool m_bNormalUsed = false;
    bool m_bColorUsed = false;
    int m_nCapacity;
    int m_nMaxCoordSize = 0;

    /// The gathered vertices; its size is brought up to the cursor only where it is read.
    QelByteArray m_cGathered;
    size_t m_nScratchUsed = 0; ///< bytes gathered while the slot is the cursor's current vertex
    int m_nFinished = 0; ///< vertices at the last FinishVertices, once the gathered ones were handed over
    bool m_bOutOfMemory = false;
};
