#pragma once

#include "qel/buffers/QelGeometryBuffer.h"
#include "qel/buffers/detail/QelByteArray.h"

#include <vector>

/// Texture layers a vertex may carry.
constexpr int kQelTextureLayers = 8;

/// Largest vertex or index array in bytes: the process-wide counters are 32-bit, OpenGL takes
/// sizes as signed values, and a count of 2^31 vertices is a caller's mistake, not data.
constexpr long long kQelMaxBufferBytes = 0x7FFFFFFF;

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

/// Data of QelGeometryBuffer: the layout of one vertex, the index array, the OpenGL buffer names
/// and what this buffer counts in video memory. Derived buffers derive their own Def from it.
class QelGeometryBufferDef : public QelVertexLayout
{
public:
    explicit QelGeometryBufferDef(QelGeometryBuffer* pOwner) : m_pOwner(pOwner) {}
    /// Gives back the buffer objects and this buffer's share of the counters.
    virtual ~QelGeometryBufferDef();

    /// Turns what a derived buffer gathered into the vertex array; the base holds no vertices.
    virtual void FinishVertices() {}
    virtual int NumVertices() const { return 0; }
    /// Returns the buffer to its initial state; derived Defs also drop what they gathered.
    virtual void Clear();

    /// Whole vertices the bound array holds: what a draw may read, whatever NumVertices says of
    /// vertices still being gathered or of a stride changed after the upload.
    int DrawableVertices() const;
    /// The vertex array is drawn from the buffer object (else from the client data).
    bool DrawsFromVideoMemory() const { return m_nVertexBuffer != 0 && HasBufferObjects(); }

    /// OpenGL buffer objects can be made (GLEW found glGenBuffersARB). Asked at every call, so a
    /// context without them, or a test that nulls the entry point, draws through client arrays.
    static bool HasBufferObjects();
    /// Client texture units can be selected (glClientActiveTextureARB); otherwise only layer 0 is set up.
    static bool HasMultitexture();

    /// Defines the vertex buffer object's whole store from pData, reporting an out-of-memory
    /// result; this buffer's vertex bytes become nBytes in the process-wide counter.
    void UploadVertexStore(const void* pData, unsigned int nBytes, bool bDynamic);
    /// Hands a finished interleaved array to OpenGL, or keeps it as client data without buffer objects.
    void StoreFinishedVertices(QelByteArray&& cVertices);
    /// Refuses a texture layer past 7, naming the caller pName in the warning.
    static bool LayerInRange(const char* pName, unsigned int nLayer);
    /// Refuses a texture coordinate count outside 1..4.
    static bool TexCoordCountInRange(long long nCoords);
    /// Reports an allocation that failed, with the bytes it asked for.
    static void ReportOutOfMemory(const char* pWhere, long long nBytes);

    QelGeometryBuffer* m_pOwner; ///< the buffer that made this Def; copies share it, so it is never followed
    unsigned int m_nVertexBuffer = 0;
    unsigned int m_nIndexBuffer = 0;
    std::vector<int> m_vIndices;
    int m_eIndexSize = QelGeometryBuffer::INDEX_8_BIT; ///< an int: an invalid size stays stored
    int m_nIndexCount = 0;
    /// Largest value among the uploaded narrowed indices, so that a draw never sends OpenGL past the vertices.
    unsigned int m_nMaxUploadedIndex = 0;
    /// Largest entry of the memory-side array, read as unsigned 32 bits.
    unsigned int m_nMaxAddedIndex = 0;
    QelByteArray m_cClientData;
    unsigned int m_nVertexBytes = 0;
    unsigned int m_nIndexBytes = 0;

    /// Bytes that all buffers together hold in vertex and in index buffer objects.
    static unsigned int s_nVertexBytes;
    static unsigned int s_nIndexBytes;
};
