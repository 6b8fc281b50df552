#include "qel/framework/QelNode.h"

#include <cfloat>
#include <cmath>

namespace
{
/// The empty box: every minimum at the largest float, every maximum at its negation.
QelBox3 EmptyBox()
{
    return QelBox3(QelVec3(FLT_MAX, FLT_MAX, FLT_MAX), QelVec3(-FLT_MAX, -FLT_MAX, -FLT_MAX));
}

bool IsUsableBox(const QelBox3& b)
{
    if (b.m_vecMin.x == FLT_MAX || b.m_vecMin.y == FLT_MAX || b.m_vecMin.z == FLT_MAX)
        return false;
    if (b.m_vecMax.x == -FLT_MAX || b.m_vecMax.y == -FLT_MAX || b.m_vecMax.z == -FLT_MAX)
        return false;
    return b.m_vecMax.x >= b.m_vecMin.x && b.m_vecMax.y >= b.m_vecMin.y && b.m_vecMax.z >= b.m_vecMin.z;
}
} // namespace

QelNode::QelNode() : m_cExtents(EmptyBox()), m_fCullRadius(FLT_MAX) {}

QelNode::QelNode(const QelPluginAttributes& attributes)
    : QelTransform(attributes), m_cExtents(EmptyBox()), m_fCullRadius(FLT_MAX)
{
}

QelNode::QelNode(const QelNode& other)
    : QelTransform(other), m_bHidden(other.m_bHidden), m_cExtents(other.m_cExtents),
      m_fCullRadius(other.m_fCullRadius)
{
}

QelNode& QelNode::operator=(const QelNode& other)
{
    if (this != &other)
    {
        QelTransform::operator=(other);
        m_bHidden = other.m_bHidden;
        m_cExtents = other.m_cExtents;
        m_fCullRadius = other.m_fCullRadius;
    }
    return *this;
}

QelNode::~QelNode() = default;

void QelNode::Hide(bool bHide) { m_bHidden = bHide; }
void QelNode::ToggleHidden() { m_bHidden = !m_bHidden; }
bool QelNode::IsHidden() const { return m_bHidden; }
bool QelNode::AreChildrenHiddenWithParent() const { return false; }
bool QelNode::ContributesToSceneExtents() { return true; }
unsigned int QelNode::GetMinimumPixelThreshold() const { return 0; }

bool QelNode::IsAboveMinimumPixelThreshold(unsigned int nPixels) const
{
    return GetMinimumPixelThreshold() <= nPixels;
}

void QelNode::GetLookVectors(QelVec3& vLook, QelVec3& vUp) const
{
    vLook = QelVec3(1.0f, 0.0f, 0.0f);
    vUp = QelVec3(0.0f, 1.0f, 1.0f);
}

void QelNode::Calculate() {}

std::string QelNode::GetPropertyDescription(const QelProperty*) { return std::string(); }

void QelNode::SetExtents(const QelBox3& b)
{
    if (b.m_vecMin == m_cExtents.m_vecMin && b.m_vecMax == m_cExtents.m_vecMax)
        return;
    m_cExtents = b;
    if (!IsUsableBox(b))
    {
        m_fCullRadius = 0.0f;
        return;
    }
    // Squares of large coordinates overflow a float; a double holds them.
    double dLargest = 0.0;
    for (int nCorner = 0; nCorner < 8; ++nCorner)
    {
        double x = (nCorner & 1) ? b.m_vecMax.x : b.m_vecMin.x;
        double y = (nCorner & 2) ? b.m_vecMax.y : b.m_vecMin.y;
        double z = (nCorner & 4) ? b.m_vecMax.z : b.m_vecMin.z;
        dLargest = std::fmax(dLargest, x * x + y * y + z * z);
    }
    m_fCullRadius = static_cast<float>(std::sqrt(dLargest));
}
