#include "qel/buffers/QelImmediateModeBuffer.h"

#include "qel/buffers/detail/QelImmediateModeBufferDef.h"
#include "qel/framework/QelSysApp.h"

QelImmediateModeBuffer::QelImmediateModeBuffer(int nCapacity)
    : QelGeometryBuffer(new QelImmediateModeBufferDef(this, nCapacity))
{
}

namespace
{
QelImmediateModeBufferDef& DefOf(QelGeometryBufferDef* pDef)
{
    return *static_cast<QelImmediateModeBufferDef*>(pDef);
}
} // namespace

void QelImmediateModeBuffer::VertexSlow(const float* pXyzw, int nCoords)
{
    DefOf(Def()).Vertex(pXyzw, nCoords);
}

void QelImmediateModeBuffer::TexCoordSlow(const char* pName, unsigned int nLayer, const float* pStrq, int nCoords)
{
    DefOf(Def()).TexCoord(pName, nLayer, pStrq, nCoords);
}

void QelImmediateModeBuffer::NormalSlow(float x, float y, float z)
{
    const float n[3] = {x, y, z};
    DefOf(Def()).Normal(n);
}

void QelImmediateModeBuffer::ColorSlow(uint32_t nRgba)
{
    const unsigned char rgba[4] = {(unsigned char)(nRgba & 0xFF), (unsigned char)((nRgba >> 8) & 0xFF),
                                   (unsigned char)((nRgba >> 16) & 0xFF), (unsigned char)((nRgba >> 24) & 0xFF)};
    DefOf(Def()).Color(rgba);
}

void QelImmediateModeBuffer::EmitPartial()
{
    DefOf(Def()).EmitPartial();
}

void QelImmediateModeBuffer::SlotFull()
{
    DefOf(Def()).SlotFull();
}

void QelImmediateModeBuffer::NullArray(const char* pName)
{
    QelSysApp::App().PrintToConsole("<error> NULL array passed to QelImmediateModeBuffer::%s()\n", pName);
}
