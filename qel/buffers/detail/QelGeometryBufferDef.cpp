#include "qel/buffers/detail/QelGeometryBufferDef.h"

#include "qel/framework/QelSysApp.h"

#include <GL/glew.h>

unsigned int QelGeometryBufferDef::s_nVertexBytes = 0;
unsigned int QelGeometryBufferDef::s_nIndexBytes = 0;

QelGeometryBufferDef::~QelGeometryBufferDef()
{
    QelGeometryBufferDef::Clear();
}

int QelGeometryBufferDef::DrawableVertices() const
{
    if (m_nVertexSize <= 0)
        return 0;
    const size_t nHeld = DrawsFromVideoMemory() ? size_t(m_nVertexBytes) : m_cClientData.Size();
    return int(nHeld / size_t(m_nVertexSize));
}

bool QelGeometryBufferDef::HasBufferObjects()
{
    return glGenBuffersARB != nullptr;
}

bool QelGeometryBufferDef::HasMultitexture()
{
    return glClientActiveTextureARB != nullptr;
}

bool QelGeometryBufferDef::LayerInRange(const char* pName, unsigned int nLayer)
{
    if (nLayer < unsigned(kQelTextureLayers))
        return true;
    QelSysApp::App().PrintToConsole("<warning> Texture layer %d passed to %s exceeds range of [%d,%d]\n", int(nLayer),
                                    pName, 0, kQelTextureLayers - 1);
    return false;
}

bool QelGeometryBufferDef::TexCoordCountInRange(long long nCoords)
{
    if (nCoords >= 1 && nCoords <= 4)
        return true;
    QelSysApp::App().PrintToConsole("<warning> Texture coord count must be in range of [1,4]\n");
    return false;
}

void QelGeometryBufferDef::ReportOutOfMemory(const char* pWhere, long long nBytes)
{
    QelSysApp::App().PrintToConsole("<error> %s - out of memory for %lld bytes\n", pWhere, nBytes);
}

void QelGeometryBufferDef::UploadVertexStore(const void* pData, unsigned int nBytes, bool bDynamic)
{
    if (!m_nVertexBuffer)
        glGenBuffersARB(1, &m_nVertexBuffer);
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, m_nVertexBuffer);
    const GLenum nBefore = glGetError();
    glBufferDataARB(GL_ARRAY_BUFFER_ARB, GLsizeiptrARB(nBytes), pData, bDynamic ? GL_DYNAMIC_DRAW_ARB : GL_STATIC_DRAW_ARB);
    const GLenum nAfter = glGetError();
    if (nAfter == GL_OUT_OF_MEMORY && nAfter != nBefore)
        QelSysApp::App().PrintToConsole("<error> OpenGL failed to allocate %.1f MB of video RAM\n",
                                        double(nBytes) * (1.0 / 1048576.0));
    // The store is replaced, so the old store's bytes leave the counter.
    s_nVertexBytes = s_nVertexBytes - m_nVertexBytes + nBytes;
    m_nVertexBytes = nBytes;
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
}

void QelGeometryBufferDef::StoreFinishedVertices(QelByteArray&& cVertices)
{
    if (HasBufferObjects())
    {
        UploadVertexStore(cVertices.Data(), unsigned(cVertices.Size()), false);
        m_cClientData.Release();
        cVertices.Release();
    }
    else
        m_cClientData = std::move(cVertices);
}

void QelGeometryBufferDef::Clear()
{
    if (HasBufferObjects())
    {
        if (m_nVertexBuffer)
            glDeleteBuffersARB(1, &m_nVertexBuffer);
        if (m_nIndexBuffer)
            glDeleteBuffersARB(1, &m_nIndexBuffer);
    }
    m_nVertexBuffer = m_nIndexBuffer = 0;
    s_nVertexBytes -= m_nVertexBytes;
    s_nIndexBytes -= m_nIndexBytes;
    m_nVertexBytes = m_nIndexBytes = 0;
    static_cast<QelVertexLayout&>(*this) = QelVertexLayout();
    std::vector<int>().swap(m_vIndices);
    m_nIndexCount = 0;
    m_nMaxUploadedIndex = 0;
    m_nMaxAddedIndex = 0;
    m_cClientData.Release();
}
