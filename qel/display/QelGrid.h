#pragma once

#include "qel/display/QelDisplayObject.h"
#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"

/// A rectangular or polar grid in the local XY plane of its transform, drawn as lines with every
/// n-th line major, and the snapping that manipulators honour: positions to the grid's lattice
/// ("Grid:Snap translation") and angles to an increment ("Grid:Snap rotation").
///
/// A rectangular grid snaps each local coordinate to a multiple of the spacing (Z included, so a
/// drag off the plane lands on the same lattice); a polar grid snaps the radius in the plane to
/// the spacing, the angle about local Z to the spokes and Z to the spacing.
class QEL_EXPORT QelGrid : public QelDisplayObject
{
public:
    /// The values of the "Grid:Type" enumeration property.
    enum EGridType
    {
        eGridRectangular = 0,
        eGridPolar = 1
    };

    QelGrid();
    /// Not copied: the members point at this grid's own properties.
    QelGrid(const QelGrid&) = delete;
    QelGrid& operator=(const QelGrid&) = delete;

    /// Rectangular lines or polar rings and spokes; also decides how positions snap.
    ///@{
    EGridType GetGridType();
    void SetGridType(EGridType eType);
    ///@}
    /// Distance between lines (and rings); at least 1e-6.
    float GetSpacing();
    /// A value below the minimum or not finite is replaced by the minimum with a warning.
    void SetSpacing(float fSpacing);
    /// Every n-th line (ring) is drawn in the major color.
    void SetMajorEvery(int nLines);
    /// Lines (rings) drawn on each side of the centre.
    void SetLineCount(int nLines);
    /// Spokes of a polar grid, also the angles its positions snap to.
    void SetSpokes(int nSpokes);
    /// Line colors as RGBA components in 0..1 (stored packed, so 8 bits each).
    void SetColors(const QelVec4& vMinor, const QelVec4& vMajor);

    /// The two snapping switches that SnapPosition, SnapAngle and the manipulators consult.
    ///@{
    bool IsTranslationSnapOn();
    void SetTranslationSnap(bool bSnap);
    bool IsRotationSnapOn();
    void SetRotationSnap(bool bSnap);
    ///@}
    /// Degrees that rotations snap to.
    float GetAngleIncrement();
    /// Sets the increment in degrees, kept within 0.001 to 360 by the property's clamp.
    void SetAngleIncrement(float fDegrees);

    /// The world position moved to the nearest grid point when translation snapping is on, else
    /// unchanged. Non-finite input is returned unchanged.
    QelVec3 SnapPosition(const QelVec3& vWorld);
    /// Snaps whatever the switch says.
    QelVec3 SnapPositionAlways(const QelVec3& vWorld);
    /// The angle rounded to the increment when rotation snapping is on, else unchanged.
    float SnapAngle(float fDegrees);

    /// False: the grid is a drawing aid and does not widen zoom to extents.
    bool ContributesToSceneExtents() override { return false; }
    void Draw() override;
    bool Save(QelXMLInterface* pXML) override;
    bool Load(QelXMLInterface* pXML) override;

private:
    QelProperty* m_pGridType;
    QelProperty* m_pSpacing;
    QelProperty* m_pMajorEvery;
    QelProperty* m_pLineCount;
    QelProperty* m_pSpokes;
    QelProperty* m_pMinorColor;
    QelProperty* m_pMajorColor;
    QelProperty* m_pTransSnap;
    QelProperty* m_pRotSnap;
    QelProperty* m_pAngleIncrement;
};
