#include "qel/text/QelTextObject.h"

#include "qel/math/QelBox3.h"
#include "qel/properties/QelProperty.h"
#include "qel/text/QelFontCache.h"
#include "qel/text/detail/QelFontResolver.h"
#include "qel/text/detail/QelFontStore.h"
#include "qel/text/detail/QelTextObjectDef.h"
#include "qel/text/detail/QelUtf8.h"

// GLEW must come before any other GL header, FTGL's included.
#include <GL/glew.h>
#include <FTGL/ftgl.h>

#include <algorithm>

namespace
{
const char* const kPropertyNames[QelTextObject::eTextPropertyCount] = {
    "Text:String",
    "Text:Font:Family",
    "Text:Font:Height",
    "Text:Font:Weight",
    "Text:Font:Italic",
    "Text:Font:File",
    "Text:Color",
    "Text:Alignment:Horizontal",
    "Text:Alignment:Vertical",
    "Text:Height",
    "Text:Depth",
    "Text:Always on top",
};

const char* const kPropertyDescriptions[QelTextObject::eTextPropertyCount] = {
    "The text, in UTF-8; line breaks start new lines",
    "Font family name, looked up among the installed fonts",
    "Font height in pixels (one em)",
    "Font weight from 1 (thin) to 1000 (black); 400 is normal, 700 bold, 0 any",
    "Italic font",
    "Font file to use instead of the family",
    "Text color",
    "Where the anchor lies along each line",
    "Where the anchor lies on the block of lines",
    "Height of one em in scene units",
    "Depth of extruded text in scene units; 0 draws flat text",
    "Draws over the scene instead of being hidden by what lies in front",
};

const QelDataType kPropertyTypes[QelTextObject::eTextPropertyCount] = {
    eDataString, eDataString, eDataInteger, eDataInteger, eDataBoolean, eDataFilename,
    eDataColor,  eDataInteger, eDataInteger, eDataReal,    eDataReal,    eDataBoolean,
};

static_assert(sizeof(kPropertyNames) / sizeof(kPropertyNames[0]) == QelTextObject::eTextPropertyCount,
              "one name per text property");
static_assert(sizeof(kPropertyDescriptions) / sizeof(kPropertyDescriptions[0]) == QelTextObject::eTextPropertyCount,
              "one description per text property");
static_assert(sizeof(kPropertyTypes) / sizeof(kPropertyTypes[0]) == QelTextObject::eTextPropertyCount,
              "one type per text property");

QelVec4 Unpack(QelPackedColor n)
{
    return QelVec4(float(n & 0xFF) / 255.0f, float((n >> 8) & 0xFF) / 255.0f, float((n >> 16) & 0xFF) / 255.0f,
                   float((n >> 24) & 0xFF) / 255.0f);
}

void SetDefault(QelProperty* p, QelTextObject::ETextProperty e)
{
    switch (e)
    {
    case QelTextObject::eTextFontFamily: p->SetAsString(kQelFallbackFontFamily); break;
    case QelTextObject::eTextFontHeight: p->SetAsInt(16); break;
    case QelTextObject::eTextFontWeight: p->SetAsInt(QelLogicalFont::eWeightNormal); break;
    case QelTextObject::eTextColor: p->SetAsColor(1.0f, 1.0f, 1.0f, 1.0f); break;
    case QelTextObject::eTextHorizontalAlignment:
        p->SetEnumerationNames({"Left", "Center", "Right"}, {});
        p->SetAsInt(QelTextObject::eAlignLeft);
        break;
    case QelTextObject::eTextVerticalAlignment:
        p->SetEnumerationNames({"Top", "Middle", "Bottom"}, {});
        p->SetAsInt(QelTextObject::eAlignBottom);
        break;
    case QelTextObject::eTextSceneHeight:
        p->SetClamp(0.0, 1.0e6);
        p->SetAsDouble(1.0);
        break;
    case QelTextObject::eTextDepth:
        p->SetClamp(0.0, 1.0e6);
        p->SetAsDouble(0.0);
        break;
    case QelTextObject::eTextAlwaysOnTop: p->SetAsBool(true); break;
    default: break;
    }
}
} // namespace

QelTextObject::QelTextObject(EKind eKind) : m_pDef(new QelTextObjectDef(eKind))
{
    AddTransformProperties(true, true, true);
    // Text reads along +X from the start, not turned a quarter turn as other objects begin.
    SetRotation(QelVec4(0.0f, 0.0f, 1.0f, 0.0f));
    for (int i = eTextString; i <= eTextVerticalAlignment; ++i)
        AddTextProperty(ETextProperty(i));
}

QelTextObject::QelTextObject(const QelTextObject& other)
    : QelDisplayObject(other), m_pDef(new QelTextObjectDef(other.m_pDef->m_eKind))
{
    BindTable();
}

QelTextObject& QelTextObject::operator=(const QelTextObject& other)
{
    if (this != &other)
    {
        QelDisplayObject::operator=(other);
        m_pDef->m_eKind = other.m_pDef->m_eKind;
        BindTable();
        m_pDef->m_bRelayout = true;
    }
    return *this;
}

QelTextObject::~QelTextObject()
{
    delete m_pDef;
}

void QelTextObject::BindTable()
{
    for (int i = 0; i < eTextPropertyCount; ++i)
        m_pDef->m_pTable[i] = GetProperty(kPropertyNames[i]);
}

void QelTextObject::AddTextProperty(ETextProperty eProperty)
{
    if (eProperty < 0 || eProperty >= eTextPropertyCount || m_pDef->m_pTable[eProperty])
        return;
    QelProperty* p = CreateProperty(kPropertyNames[eProperty], kPropertyTypes[eProperty]);
    if (p)
        SetDefault(p, eProperty);
    m_pDef->m_pTable[eProperty] = p;
    m_pDef->m_bRelayout = true;
}

QelTextObject::EKind QelTextObject::GetKind() const
{
    return m_pDef->m_eKind;
}

QelProperty* QelTextObject::GetTextProperty(ETextProperty eProperty) const
{
    return eProperty >= 0 && eProperty < eTextPropertyCount ? m_pDef->m_pTable[eProperty] : nullptr;
}

void QelTextObject::SetText(const std::string& strUtf8)
{
    m_pDef->m_pTable[eTextString]->SetAsString(strUtf8);
}

std::string QelTextObject::GetText()
{
    return m_pDef->m_pTable[eTextString]->GetAsString();
}

void QelTextObject::SetFont(const QelLogicalFont& cFont)
{
    m_pDef->m_pTable[eTextFontFamily]->SetAsString(cFont.m_strFaceName);
    m_pDef->m_pTable[eTextFontHeight]->SetAsInt(cFont.m_nHeight);
    m_pDef->m_pTable[eTextFontWeight]->SetAsInt(cFont.m_nWeight);
    m_pDef->m_pTable[eTextFontItalic]->SetAsBool(cFont.m_bItalic);
}

QelLogicalFont QelTextObject::GetFont()
{
    QelProperty** p = m_pDef->m_pTable;
    return QelLogicalFont(p[eTextFontFamily]->GetAsString(), p[eTextFontHeight]->GetAsInt(),
                          p[eTextFontWeight]->GetAsInt(), p[eTextFontItalic]->GetAsBool());
}

void QelTextObject::SetFontFile(const std::string& strFile)
{
    m_pDef->m_pTable[eTextFontFile]->SetAsString(strFile);
}

std::string QelTextObject::GetFontFile()
{
    return m_pDef->m_pTable[eTextFontFile]->GetAsString();
}

void QelTextObject::SetColor(const QelVec4& vColor)
{
    m_pDef->m_pTable[eTextColor]->SetAsColor(vColor.x, vColor.y, vColor.z, vColor.w);
}

QelVec4 QelTextObject::GetColor()
{
    return Unpack(m_pDef->m_pTable[eTextColor]->GetAsColor());
}

void QelTextObject::SetSceneHeight(float fHeight)
{
    if (QelProperty* p = m_pDef->m_pTable[eTextSceneHeight])
        p->SetAsFloat(fHeight);
}

float QelTextObject::GetSceneHeight()
{
    QelProperty* p = m_pDef->m_pTable[eTextSceneHeight];
    return p ? p->GetAsFloat() : 0.0f;
}

void QelTextObject::SetAlignment(EHorizontalAlignment eHorizontal, EVerticalAlignment eVertical)
{
    m_pDef->m_pTable[eTextHorizontalAlignment]->SetAsInt(eHorizontal);
    m_pDef->m_pTable[eTextVerticalAlignment]->SetAsInt(eVertical);
}

QelTextObject::EHorizontalAlignment QelTextObject::GetHorizontalAlignment()
{
    return EHorizontalAlignment(std::clamp(m_pDef->m_pTable[eTextHorizontalAlignment]->GetAsInt(), 0, 2));
}

QelTextObject::EVerticalAlignment QelTextObject::GetVerticalAlignment()
{
    return EVerticalAlignment(std::clamp(m_pDef->m_pTable[eTextVerticalAlignment]->GetAsInt(), 0, 2));
}

void QelTextObject::Calculate()
{
    QelDisplayObject::Calculate();
    for (QelProperty* p : m_pDef->m_pTable)
        if (p && p->HasChanged())
            m_pDef->m_bRelayout = true;
}

void QelTextObject::Update()
{
    if (IsDirty())
    {
        SetDirtyBit(false);
        InvokeCalculate();
    }
    if (m_pDef->m_bRelayout || m_pDef->m_nGeneration != QelFontGeneration())
        Rebuild();
}

bool QelTextObject::DecodeText(const std::string& strUtf8, std::wstring& strOut) const
{
    strOut.clear();
    if (strUtf8.size() > kMaxTextBytes)
    {
        PrintWarning("Text of %zu bytes is longer than the %zu bytes allowed: nothing is drawn or measured",
                     strUtf8.size(), kMaxTextBytes);
        return false;
    }
    size_t nBad = 0;
    if (!QelDecodeUtf8(strUtf8, strOut, nBad))
    {
        PrintWarning("Text is not valid UTF-8 (byte %zu is 0x%02X): nothing is drawn or measured", nBad,
                     unsigned(static_cast<unsigned char>(strUtf8[nBad])));
        return false;
    }
    return true;
}

void QelTextObject::Rebuild()
{
    QelTextObjectDef& d = *m_pDef;
    d.m_bRelayout = false;
    d.m_nGeneration = QelFontGeneration();
    d.m_pMetrics = d.m_pDraw = nullptr;
    d.m_bTextValid = false;
    d.m_cLayout.Clear();
    for (QelProperty* p : d.m_pTable)
        if (p)
            p->SetChangedFlag(false);
    d.m_vColor = GetColor();

    QelLogicalFont cFont = GetFont();
    if (cFont.m_nHeight <= 0)
    {
        PrintWarning("Font height %d is not positive: nothing is drawn or measured", cFont.m_nHeight);
        return;
    }
    if (cFont.m_nHeight > QelFontCache::kMaxHeight)
    {
        PrintWarning("Font height %d is above %d pixels: using %d", cFont.m_nHeight, QelFontCache::kMaxHeight,
                     QelFontCache::kMaxHeight);
        cFont.m_nHeight = QelFontCache::kMaxHeight;
    }
    QelProperty* pSceneHeight = d.m_pTable[eTextSceneHeight];
    d.m_fUnitsPerPixel = pSceneHeight ? float(pSceneHeight->GetAsDouble()) / float(cFont.m_nHeight) : 1.0f;

    std::string strFile = GetFontFile();
    if (strFile.empty())
    {
        QelResolvedFont cResolved;
        if (!QelResolveFontFamily(cFont, cResolved))
            return;
        strFile = cResolved.m_strFile;
    }
    // Extruded glyphs are made in font pixels, so the depth is too.
    const float fDepth = d.m_pTable[eTextDepth] ? float(d.m_pTable[eTextDepth]->GetAsDouble()) : 0.0f;
    const float fDepthPixels = d.m_fUnitsPerPixel > 0.0f ? fDepth / d.m_fUnitsPerPixel : 0.0f;
    EQelFontUse eDraw = eFontUseBitmap;
    if (d.m_eKind == eKindPolygon)
        eDraw = fDepthPixels > 0.0f ? eFontUseExtruded : eFontUsePolygon;
    else if (d.m_eKind == eKindTexture)
        eDraw = eFontUseTexture;
    const EQelFontUse eMetrics = d.m_eKind == eKindBitmap ? eFontUseBitmap : eFontUseOutlineMetrics;
    FTFont* pMetrics = QelAcquireFont(strFile, cFont.m_nHeight, eMetrics, 0.0f);
    FTFont* pDraw = pMetrics ? QelAcquireFont(strFile, cFont.m_nHeight, eDraw, fDepthPixels) : nullptr;
    if (!pDraw)
        return;
    d.m_pMetrics = pMetrics;
    d.m_pDraw = pDraw;

    std::wstring strText;
    if (!DecodeText(GetText(), strText))
        return;
    d.m_bTextValid = true;
    QelLayOutText(*pMetrics, strText, GetHorizontalAlignment(), GetVerticalAlignment(), d.m_eKind == eKindBitmap,
                  d.m_cLayout);
    // Bitmap text is measured in pixels, not scene units: it keeps the extents of a plain node.
    if (d.m_eKind != eKindBitmap)
    {
        const QelBox2& cInk = d.m_cLayout.m_cInk;
        const float u = d.m_fUnitsPerPixel;
        if (cInk.IsValid())
            SetExtents(QelBox3(QelVec3(cInk.m_vecMin.x * u, cInk.m_vecMin.y * u, -fDepth),
                               QelVec3(cInk.m_vecMax.x * u, cInk.m_vecMax.y * u, 0.0f)));
        else
            SetExtents(QelBox3());
    }
}

bool QelTextObject::MeasureString(const std::string& strUtf8, QelVec2& vSize)
{
    Update();
    std::wstring strText;
    if (!m_pDef->m_pMetrics || !DecodeText(strUtf8, strText))
        return false;
    std::vector<std::wstring> vLines;
    QelSplitLines(strText, vLines);
    vSize = QelMeasureLines(*m_pDef->m_pMetrics, vLines) * m_pDef->m_fUnitsPerPixel;
    return true;
}

bool QelTextObject::GetTextSize(QelVec2& vSize)
{
    Update();
    if (!m_pDef->m_pMetrics || !m_pDef->m_bTextValid)
        return false;
    vSize = m_pDef->m_cLayout.m_vSize * m_pDef->m_fUnitsPerPixel;
    return true;
}

bool QelTextObject::GetInkBox(QelBox2& cBox)
{
    Update();
    const QelBox2& cInk = m_pDef->m_cLayout.m_cInk;
    if (!m_pDef->m_pDraw || !cInk.IsValid())
        return false;
    const float u = m_pDef->m_fUnitsPerPixel;
    cBox = QelBox2(cInk.m_vecMin * u, cInk.m_vecMax * u);
    return true;
}

float QelTextObject::GetUnitsPerPixel()
{
    Update();
    return m_pDef->m_fUnitsPerPixel;
}

void QelTextObject::Draw()
{
    Update();
    if (m_pDef->m_pDraw && m_pDef->m_cLayout.m_cInk.IsValid())
        DrawGlyphs();
}

void QelTextObject::DrawLines()
{
    FTFont* pFont = m_pDef->m_pDraw;
    if (!pFont)
        return;
    const bool bScaled = m_pDef->m_eKind != eKindBitmap;
    if (bScaled)
    {
        const float fScale = m_pDef->m_fUnitsPerPixel;
        glPushMatrix();
        glScalef(fScale, fScale, fScale);
    }
    for (const QelTextLine& cLine : m_pDef->m_cLayout.m_vLines)
        if (!cLine.m_strText.empty())
            pFont->Render(cLine.m_strText.c_str(), int(cLine.m_strText.size()), FTPoint(cLine.m_fX, cLine.m_fY));
    if (bScaled)
        glPopMatrix();
}

const QelVec4& QelTextObject::GetDrawColor() const
{
    return m_pDef->m_vColor;
}

std::string QelTextObject::GetPropertyDescription(const QelProperty* pProperty)
{
    for (int i = 0; i < eTextPropertyCount; ++i)
        if (pProperty && pProperty == m_pDef->m_pTable[i])
            return kPropertyDescriptions[i];
    return QelDisplayObject::GetPropertyDescription(pProperty);
}
