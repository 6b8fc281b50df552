#pragma once

#include "qel/platform/QelExport.h"

#include <memory>

class QelGeometryBufferDef;

/// Base of every vertex container: one interleaved vertex array described by a stride and an
/// offset per attribute, one index array, and their drawing through OpenGL. With buffer objects
/// (GLEW's glGenBuffersARB non-null) both arrays go to video memory and the memory-side indices
/// are dropped; without them both stay in memory and are drawn as client arrays.
///
/// Calling order: fill vertices (derived buffers), FinishVertices, add indices, FinishIndices,
/// then draw. Several draws share one binding when the first binds and the last unbinds.
///
/// Copies share one implementation (a change through one is seen through the other) and the
/// last copy to go frees it.
class QEL_EXPORT QelGeometryBuffer
{
public:
    /// Hosts pass these numbers: the order (line strip before lines, quad strip before quads) stays.
    enum EPrimitiveType
    {
        POINTS = 0,
        LINE_STRIP = 1,
        LINE_LOOP = 2,
        LINES = 3,
        TRIANGLE_STRIP = 4,
        TRIANGLE_FAN = 5,
        TRIANGLES = 6,
        QUAD_STRIP = 7,
        QUADS = 8
    };
    /// Width of the uploaded indices: 1, 2 or 4 bytes.
    enum EIndexSize
    {
        INDEX_8_BIT = 0,
        INDEX_16_BIT = 1,
        INDEX_32_BIT = 2
    };

    /// An empty buffer with no layout (VertexSize -1).
    QelGeometryBuffer();
    /// Shares other's implementation (see the class notes): cheap, and both see later changes.
    QelGeometryBuffer(const QelGeometryBuffer& other);
    /// Shares other's implementation. A derived buffer refuses one of another kind, with an error.
    QelGeometryBuffer& operator=(const QelGeometryBuffer& other);
    virtual ~QelGeometryBuffer();

    /// Turns what the derived buffer gathered into the vertex array.
    virtual void FinishVertices();
    /// Vertices in the finished array; a derived buffer may count what it gathered before that.
    virtual int NumVertices() const;
    /// Stride of one vertex in bytes; -1 while unset.
    int VertexSize() const;

    /// Append indices to the memory-side array until FinishIndices; a null array or a count past the
    /// limit is refused with an error and nothing is added.
    ///@{
    void AddIndex(long nIndex);
    void AddIndices(const int* pIndices, int nCount);
    void AddIndices(const long* pIndices, long nCount);
    ///@}
    /// Fixes the index width and uploads the indices (each narrowed by a plain cast to that width).
    void FinishIndices(EIndexSize eSize);
    /// The memory-side index count, or the count at the last FinishIndices once that array was dropped.
    int NumIndices() const;
    /// True without vertices or without indices: a buffer of vertices alone counts as empty, deliberately,
    /// although DrawArrays draws it; hosts test Empty() before indexed drawing.
    bool Empty() const;

    /// Sets up the vertex arrays (client state is pushed first); false, with nothing bound, without
    /// vertices or when the layout does not fit the stride (reported).
    bool BindVertexBuffer() const;
    /// Binds the index buffer object; true with nothing to do without buffer objects, false when
    /// FinishIndices made none.
    bool BindIndexBuffer();
    /// Undoes BindVertexBuffer (pops the client state), for draws that passed bUnBind false.
    static void UnBindVertexBuffer();
    /// Unbinds any index buffer object.
    static void UnBindIndexBuffer();

    /// Draws nCount vertices from nFirst. A count below 1 returns true and touches nothing.
    bool DrawArrays(EPrimitiveType eType, int nFirst, int nCount, bool bBind = true, bool bUnBind = true) const;
    /// Draws nCount indices from the nStart-th. Without buffer objects the indices are read from the
    /// memory-side 32-bit array with the element type of the stored index size, so such hosts
    /// finish their indices as INDEX_32_BIT; deliberate, kept as hosts know it.
    bool DrawIndexed(EPrimitiveType eType, int nStart, int nCount, bool bBind = true, bool bUnBind = true) const;

    /// Frees the buffer objects and the arrays and returns to the initial layout.
    void Clear();

    /// Bytes that all buffers together hold in vertex buffer objects.
    static unsigned int VideoMemoryVertexBytes();
    /// Bytes that all buffers together hold in index buffer objects.
    static unsigned int VideoMemoryIndexBytes();

protected:
    /// For derived buffers: takes ownership of their own kind of implementation object.
    explicit QelGeometryBuffer(QelGeometryBufferDef* pDef);
    /// The shared implementation object, for derived buffers to reach their own kind of it.
    QelGeometryBufferDef* Def() const { return m_pDef.get(); }
    /// State a derived buffer's inline calls work on, owned by its Def (null for the base kind).
    /// Kept here beside the Def and replaced with it, so those calls reach it in one load.
    void* InlineState() const { return m_pInlineState; }

private:
    std::shared_ptr<QelGeometryBufferDef> m_pDef;
    void* m_pInlineState;
};
