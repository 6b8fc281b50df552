#pragma once

#include "qel/display/QelDisplayObject.h"
#include "qel/platform/QelTypes.h"

#include <string>
#include <vector>

class QelInterpColorProperty;
class QelProperty;

/// The viewer's own scene object beside models: a box, a pyramid or a flat
/// square in one color, with enough kinds of property (color, interpolated tint, enumeration,
/// clamped size, text, button) to exercise every editor of the property panel.
class ViewerShape : public QelDisplayObject
{
public:
    /// The plug-in type under which documents save the shape.
    static const char* const kTypeName;

    /// The kinds of "Shape:Kind".
    enum EKind
    {
        eKindBox = 0,
        eKindPyramid = 1,
        eKindSquare = 2
    };

    ViewerShape();

    /// Faces are shaded by fixed factors (the face toward -Y at full strength), so the front view
    /// shows the color exactly while no light is on; each face has its normal for when one is.
    void Draw() override;

    /// The color the shape is drawn in: the tint when "Material:Use tint" is on, else "Material:Color".
    QelPackedColor GetDrawColor();

    /// "Move to origin", offered in the scene list's popup menu and to scripts.
    const std::vector<std::string>& GetCustomCommands() const override;
    bool CustomCommand(const std::string& strName, std::vector<QelVariant>& vecArguments) override;

    bool IsPropertyButton(QelProperty* pProperty) const override;
    void ButtonPressed(QelProperty* pProperty) override;
    std::string GetPropertyDescription(const QelProperty* pProperty) override;
    /// Keeps the extents in step with "Shape:Size".
    void Calculate() override;

private:
    void DrawBox(float fHalf, const float* pColor);
    void DrawPyramid(float fHalf, const float* pColor);
    void DrawSquare(float fHalf, const float* pColor);

    QelProperty* m_pColor = nullptr;
    QelInterpColorProperty* m_pTint = nullptr;
    QelProperty* m_pUseTint = nullptr;
    QelProperty* m_pKind = nullptr;
    QelProperty* m_pSize = nullptr;
    QelProperty* m_pNotes = nullptr;
    QelProperty* m_pResetMaterial = nullptr;
};
