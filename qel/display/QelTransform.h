#pragma once

#include "qel/math/QelMatrix4.h"
#include "qel/math/QelVec3.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"
#include "qel/properties/QelPropertyContainer.h"

#include <string>

class QelProperty;

/// A translation, an axis-angle rotation and a scale that the user edits as properties, turned
/// into a matrix when they change. A point is scaled first, then rotated, then translated.
///
/// "Transform:Scale:Uniform" multiplies all three scale factors: the scale in effect is
/// (X, Y, Z) times Uniform. SetScale sets the three factors and puts Uniform back to 1, and
/// GetScale answers the scale in effect, so that the two round-trip.
class QEL_EXPORT QelTransform : public QelPropertyContainer
{
public:
    /// Positions in the property table.
    enum ETransformProperty
    {
        eTranslationX = 0,
        eTranslationY,
        eTranslationZ,
        eTranslationReset,
        eRotationAxisX,
        eRotationAxisY,
        eRotationAxisZ,
        eRotationAngle,
        eRotationReset,
        eScaleX,
        eScaleY,
        eScaleZ,
        eScaleUniform,
        eScaleReset,
        eTransformPropertyCount
    };

    /// A transform without properties (the identity) until AddTransformProperties; the second form
    /// is the plug-in creation path.
    ///@{
    QelTransform();
    explicit QelTransform(const QelPluginAttributes& attributes);
    ///@}
    /// Copies the container (and so the transform's properties) and the matrix.
    QelTransform(const QelTransform& other);
    /// Replaces the properties by copies of the other's and takes its matrix; rebuilt on the next read.
    QelTransform& operator=(const QelTransform& other);
    ~QelTransform() override;

    /// Creates the property groups asked for that do not exist yet, then sets the initial rotation
    /// (a quarter turn about Z) and the scale (1, 1, 1). All three false: nothing at all happens.
    void AddTransformProperties(bool bTranslation, bool bRotation, bool bScale);
    /// Whether the translation, rotation or scale group exists; HasTransform is true when any does.
    /// A missing group reads as its neutral value and ignores writes.
    ///@{
    bool HasTranslation() const;
    bool HasRotation() const;
    bool HasScale() const;
    bool HasTransform() const;
    ///@}

    /// Writes "Transform:Translation:X/Y/Z" through their setters, so the change is announced as an
    /// edit in a property bar would be.
    void SetTranslation(const QelVec3& vTranslation);
    /// Sets the three scale factors and Uniform to 1.
    void SetScale(const QelVec3& vScale);
    /// Axis in x, y, z (normalised; the zero axis becomes (1, 0, 0)), angle in degrees in w.
    void SetRotation(const QelVec4& vAxisAngle);
    /// SetTranslation, SetRotation and SetScale in one call.
    void SetTransform(const QelVec3& vTranslation, const QelVec4& vAxisAngle, const QelVec3& vScale);
    /// Decomposes an affine matrix: translation from column 3, scale from the lengths of columns 0-2
    /// (a mirroring matrix gets a negative X scale), rotation from the orthonormalised columns.
    void SetTransform(const QelMatrix4& mTransform);

    /// (0, 0, 0) without a translation group.
    QelVec3 GetTranslation();
    /// Axis and angle in degrees as stored; (0, 0, 1, 0) without a rotation group.
    QelVec4 GetRotation();
    /// The scale in effect, (X, Y, Z) times Uniform; (1, 1, 1) without a scale group.
    QelVec3 GetScale();
    /// Translation, rotation as angles in degrees about X, Y and Z (applied in that order, each about
    /// the fixed axes), and the scale in effect.
    void GetTransform(QelVec3& vTranslation, QelVec3& vEulerDegrees, QelVec3& vScale);
    /// The matrix, rebuilt first when a property changed; the identity without properties.
    void GetTransform(QelMatrix4& mTransform);
    /// The largest absolute scale factor in effect (mirroring does not shrink it); 1 without a scale
    /// group. Bounds and cull radii multiplied by it contain the scaled object.
    float GetMaxScale();

    /// Whether the matrix is out of date with the properties; GetTransform rebuilds it when set.
    ///@{
    void SetRebuildTransformFlag(bool bRebuild) { m_bRebuild = bRebuild; }
    bool NeedsRebuilding() const { return m_bRebuild; }
    ///@}

    /// Sets the rebuild bit when any transform property changed since the matrix was last built.
    void Calculate() override;
    bool IsPropertyButton(QelProperty* pProperty) const override;
    /// Performs the reset of the pressed button's group.
    void ButtonPressed(QelProperty* pProperty) override;
    void DeleteProperty(QelProperty* pProperty) override;
    /// A table property deleted directly (not through DeleteProperty) leaves the table too.
    void OnObjectDeletion(QelBase* pDeleted) override;
    std::string GetPropertyDescription(const QelProperty* pProperty) override;
    /// Whether manipulators may translate the object by analog input; true here.
    virtual bool AllowAnalogTranslation();
    /// Told after the transform was set through the setters; bFromManipulator tells who set it.
    virtual void ObjectTransformed(bool bFromManipulator);

    /// The property at a position of the table, or null when its group was never added.
    QelProperty* GetTransformProperty(ETransformProperty eProperty) const;

private:
    /// Rebuilds the matrix from the properties and clears the rebuild bit.
    void UpdateTransform();
    /// Points the table at this container's transform properties, found by name.
    void BindTable();
    float ReadFloat(int nIndex, float fDefault) const;
    void WriteFloat(int nIndex, float fValue);
    void ForgetTableEntry(const QelBase* pProperty);

    QelProperty** m_pTable = nullptr;
    bool m_bRebuild = true;
    QelMatrix4 m_cMatrix;
};
