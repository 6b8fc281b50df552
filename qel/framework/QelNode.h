#pragma once

#include "qel/display/QelTransform.h"
#include "qel/math/QelBox3.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <string>

/// Base of every object with a place in the 3D scene: a transform plus a hidden state, local
/// extents, a cull radius derived from them, a minimum on-screen size and look directions.
class QEL_EXPORT QelNode : public QelTransform
{
public:
    /// Visible, with the empty extents and a cull radius of 3.4028235e38 (never culled).
    QelNode();
    /// The same defaults for a node of the kind the attributes describe.
    explicit QelNode(const QelPluginAttributes& attributes);
    /// Copies the transform part, the hidden flag, the extents and the cull radius.
    QelNode(const QelNode& other);
    /// Copies what the copy constructor copies; assigning a node to itself changes nothing.
    QelNode& operator=(const QelNode& other);
    ~QelNode() override;

    /// The hidden flag: a hidden node is not drawn. A new node is visible.
    ///@{
    virtual void Hide(bool bHide);
    virtual void ToggleHidden();
    virtual bool IsHidden() const;
    ///@}
    /// Whether hiding this node hides its children too; false: a hidden node only hides itself.
    virtual bool AreChildrenHiddenWithParent() const;
    /// Whether "zoom to extents" counts this node; true here, false for overlays such as
    /// screen text.
    virtual bool ContributesToSceneExtents();
    /// Smallest on-screen size in pixels at which the node is worth drawing; 0 here.
    virtual unsigned int GetMinimumPixelThreshold() const;
    /// Whether a node nPixels across on screen is big enough to draw: GetMinimumPixelThreshold() <= nPixels.
    virtual bool IsAboveMinimumPixelThreshold(unsigned int nPixels) const;
    /// Look (1, 0, 0) and up (0, 1, 1). The up vector is deliberately neither unit length nor
    /// perpendicular to the look vector; nodes with a real orientation override this.
    virtual void GetLookVectors(QelVec3& vLook, QelVec3& vUp) const;

    /// Does nothing: a plain node has no calculation. Display objects put the transform's change
    /// detection back, so their matrices follow property edits.
    void Calculate() override;
    /// Empty here.
    std::string GetPropertyDescription(const QelProperty* pProperty) override;

    /// The local extents (before the transform); the empty box until set.
    QelBox3 GetExtents() const { return m_cExtents; }
    /// Stores the local extents and derives the cull radius: the farthest corner's distance from the
    /// local origin, or 0 for an invalid box. Setting the same box again changes nothing.
    void SetExtents(const QelBox3& cExtents);
    /// 3.4028235e38 until extents are set: a node without extents is never culled.
    float GetCullRadius() const { return m_fCullRadius; }
    /// Does nothing here; derived nodes add their own properties.
    void AddNodeProperties(bool, bool, bool, bool) {}

private:
    bool m_bHidden = false;
    QelBox3 m_cExtents;
    float m_fCullRadius;
};
