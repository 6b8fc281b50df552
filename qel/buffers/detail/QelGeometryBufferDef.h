#pragma once

#include "qel/buffers/QelGeometryBuffer.h"
#include "qel/buffers/detail/QelByteArray.h"
#include "qel/buffers/detail/QelVertexLayout.h"

#include <vector>

/// Largest vertex or index array in bytes: the process-wide counters are 32-bit, OpenGL takes
/// sizes as signed values, and a count of 2^31 vertices is a caller's mistake, not data.
constexpr long long kQelMaxBufferBytes = 0x7FFFFFFF;

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
    /// What the public buffer's inline calls work on; a derived Def sets it before the buffer takes the Def.
    void* m_pInlineState = nullptr;
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
