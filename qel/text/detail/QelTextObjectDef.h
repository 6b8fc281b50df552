#pragma once

#include "qel/math/QelVec4.h"
#include "qel/text/QelTextObject.h"
#include "qel/text/detail/QelTextLayout.h"

class FTFont;

/// The data of a text object: its property table and the layout made from it.
class QelTextObjectDef
{
public:
    explicit QelTextObjectDef(QelTextObject::EKind eKind) : m_eKind(eKind) {}

    QelTextObject::EKind m_eKind;
    QelProperty* m_pTable[QelTextObject::eTextPropertyCount] = {};
    /// Set by a change of a text property; the layout is rebuilt before the next draw or measure.
    bool m_bRelayout = true;
    /// The font cache generation the font pointers belong to.
    unsigned int m_nGeneration = 0;
    /// Null while there is no usable font.
    FTFont* m_pMetrics = nullptr;
    FTFont* m_pDraw = nullptr;
    /// False when the text was refused: nothing is drawn.
    bool m_bTextValid = false;
    float m_fUnitsPerPixel = 1.0f;
    QelVec4 m_vColor;
    QelTextLayout m_cLayout;
};
