#include "qel/models/detail/QelModelMaterialPropertiesDef.h"

#include "qel/framework/QelSysApp.h"
#include "qel/framework/detail/QelNameRule.h"
#include "qel/math/QelVecColor.h"
#include "qel/models/QelModelData.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/xml/QelXMLInterface.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>

namespace
{
using EField = QelModelMaterialPropertiesDef::EField;

struct SFieldInfo
{
    const char* m_pName;
    const char* m_pDescription;
};
const SFieldInfo kFields[] = {
    {"Ambient", "Ambient color"},
    {"Diffuse", "Diffuse color"},
    {"Specular", "Specular color"},
    {"Emissive", "Emissive color"},
    {"Shininess", "Shininess of the material"},
    {"Transparency", "Transparency of the material, from 0 (opaque) to 1 (invisible)"},
};
static_assert(sizeof(kFields) / sizeof(kFields[0]) == QelModelMaterialPropertiesDef::eFieldCount,
              "one name per field");

const char* const kMaterials = "Materials";
const char* const kMaterial = "Material";
const char* const kName = "Name";

bool IsColor(int nField) { return nField <= QelModelMaterialPropertiesDef::eFieldEmissive; }

const QelVec4& ColorOf(const QelModelMaterial& m, int nField)
{
    const QelVec4* apColors[] = {&m.m_vecAmbient, &m.m_vecDiffuse, &m.m_vecSpecular, &m.m_vecEmissive};
    return *apColors[nField];
}
QelVec4& ColorOf(QelModelMaterial& m, int nField)
{
    return const_cast<QelVec4&>(ColorOf(static_cast<const QelModelMaterial&>(m), nField));
}

float Clamped(float f, float fMax) { return f > 0.0f ? std::min(f, fMax) : 0.0f; } // NaN reads as 0

/// The value a field of the file's material shows as.
QelPackedColor FileColor(const QelModelMaterial& m, int nField)
{
    const QelVec4& v = ColorOf(m, nField);
    return ColorToDW(Clamped(v.x, 1.0f), Clamped(v.y, 1.0f), Clamped(v.z, 1.0f), Clamped(v.w, 1.0f));
}
float FileReal(const QelModelMaterial& m, int nField)
{
    return nField == QelModelMaterialPropertiesDef::eFieldShininess ? Clamped(m.m_fShininess, 128.0f)
                                                                    : Clamped(1.0f - m.m_fOpacity, 1.0f);
}

void ShowFileValue(QelProperty& p, const QelModelMaterial& m, int nField)
{
    if (IsColor(nField))
        p.SetAsColor(FileColor(m, nField));
    else
        p.SetAsFloat(FileReal(m, nField));
}

bool IsEdited(QelProperty& p, const QelModelMaterial& m, int nField)
{
    return IsColor(nField) ? p.GetAsColor() != FileColor(m, nField) : p.GetAsFloat() != FileReal(m, nField);
}

std::string ValueText(QelProperty& p, int nField)
{
    char aText[32];
    if (IsColor(nField))
        std::snprintf(aText, sizeof(aText), "%u", unsigned(p.GetAsColor()));
    else
        std::snprintf(aText, sizeof(aText), "%.9g", double(p.GetAsFloat())); // reads back bit for bit
    return aText;
}

/// Sets the property from saved text; false when the text is not a value of the field's kind.
bool SetFromText(QelProperty& p, int nField, const std::string& strText)
{
    const char* pBegin = strText.c_str();
    char* pEnd = nullptr;
    errno = 0;
    if (IsColor(nField))
    {
        const unsigned long n = std::strtoul(pBegin, &pEnd, 10);
        if (pEnd == pBegin || *pEnd || errno || n > 0xFFFFFFFFul || strText[0] == '-')
            return false;
        return p.SetAsColor(QelPackedColor(n));
    }
    const float f = std::strtof(pBegin, &pEnd);
    if (pEnd == pBegin || *pEnd || f != f)
        return false;
    return p.SetAsFloat(f);
}
} // namespace

std::vector<std::string> QelModelMaterialPropertiesDef::MakeKeys(const QelModelData& data)
{
    std::vector<std::string> vKeys;
    std::set<std::string> setTaken;
    for (const QelModelMaterial& m : data.m_vMaterials)
    {
        std::string strBase = m.m_strName.empty() ? "Unnamed" : m.m_strName;
        QelSanitizeName(strBase);
        std::replace(strBase.begin(), strBase.end(), ':', '_');
        std::string strKey = strBase;
        for (int n = 2; !setTaken.insert(strKey).second; ++n)
            strKey = strBase + " (" + std::to_string(n) + ")";
        vKeys.push_back(strKey);
    }
    return vKeys;
}

void QelModelMaterialPropertiesDef::Build(QelPropertyContainer& cContainer, const QelModelData& data)
{
    std::map<std::string, SMaterial> mapOld;
    for (SMaterial& c : m_vMaterials)
        mapOld[c.m_strKey] = c;
    m_vMaterials.clear();
    const std::vector<std::string> vKeys = MakeKeys(data);
    for (size_t i = 0; i < vKeys.size(); ++i)
    {
        SMaterial c;
        auto it = mapOld.find(vKeys[i]);
        if (it != mapOld.end())
        {
            c = it->second;
            mapOld.erase(it);
        }
        c.m_strKey = vKeys[i];
        c.m_nMaterial = i;
        c.m_cFile = data.m_vMaterials[i];
        for (int f = 0; f < eFieldCount; ++f)
        {
            const std::string strName = std::string(kMaterial) + ":" + c.m_strKey + ":" + kFields[f].m_pName;
            if (!c.m_apFields[f])
            {
                // A name unlisted by an earlier reload that has not been dropped yet comes back.
                auto itOrphan = std::find_if(m_vOrphans.begin(), m_vOrphans.end(),
                                             [&](QelProperty* p) { return p->GetName() == strName; });
                if (itOrphan != m_vOrphans.end())
                {
                    c.m_apFields[f] = *itOrphan;
                    m_vOrphans.erase(itOrphan);
                }
            }
            if (!c.m_apFields[f])
            {
                // Not saved with the object's other properties: the model saves the edits alone.
                c.m_apFields[f] = cContainer.CreateProperty(strName, IsColor(f) ? eDataColor : eDataReal, false);
                if (!c.m_apFields[f])
                    continue;
                if (f == eFieldShininess)
                    c.m_apFields[f]->SetClamp(0.0, 128.0);
                else if (f == eFieldTransparency)
                    c.m_apFields[f]->SetClamp(0.0, 1.0);
            }
            ShowFileValue(*c.m_apFields[f], c.m_cFile, f);
        }
        m_vMaterials.push_back(c);
    }
    for (auto& cOld : mapOld)
        for (QelProperty* p : cOld.second.m_apFields)
            if (p)
                m_vOrphans.push_back(p);
}

void QelModelMaterialPropertiesDef::DropOrphans(QelPropertyContainer& cContainer)
{
    std::vector<QelProperty*> vOrphans;
    vOrphans.swap(m_vOrphans);
    for (QelProperty* p : vOrphans)
        cContainer.DeleteProperty(p);
}

void QelModelMaterialPropertiesDef::Apply(QelModelData& data, std::vector<size_t>& vChanged)
{
    for (const SMaterial& c : m_vMaterials)
    {
        if (c.m_nMaterial >= data.m_vMaterials.size())
            continue;
        QelModelMaterial cNew = c.m_cFile;
        for (int f = 0; f < eFieldCount; ++f)
        {
            QelProperty* p = c.m_apFields[f];
            if (!p || !IsEdited(*p, c.m_cFile, f))
                continue; // the file's own value, to the last bit
            if (IsColor(f))
                ColorOf(cNew, f) = QelVec4(p->GetAsColor(), true);
            else if (f == eFieldShininess)
                cNew.m_fShininess = p->GetAsFloat();
            else
                cNew.m_fOpacity = 1.0f - p->GetAsFloat();
        }
        QelModelMaterial& cOld = data.m_vMaterials[c.m_nMaterial];
        if (cOld.m_vecAmbient != cNew.m_vecAmbient || cOld.m_vecDiffuse != cNew.m_vecDiffuse ||
            cOld.m_vecSpecular != cNew.m_vecSpecular || cOld.m_vecEmissive != cNew.m_vecEmissive ||
            cOld.m_fShininess != cNew.m_fShininess || cOld.m_fOpacity != cNew.m_fOpacity)
        {
            cOld = cNew;
            vChanged.push_back(c.m_nMaterial);
        }
    }
}

void QelModelMaterialPropertiesDef::Edits(std::vector<SEdit>& vOut) const
{
    for (const SMaterial& c : m_vMaterials)
    {
        SEdit cEdit;
        bool bAny = false;
        for (int f = 0; f < eFieldCount; ++f)
            if (c.m_apFields[f] && IsEdited(*c.m_apFields[f], c.m_cFile, f))
            {
                cEdit.m_astrText[f] = ValueText(*c.m_apFields[f], f);
                bAny = true;
            }
        if (bAny)
        {
            cEdit.m_strKey = c.m_strKey;
            vOut.push_back(cEdit);
        }
    }
    vOut.insert(vOut.end(), m_vPending.begin(), m_vPending.end());
}

bool QelModelMaterialPropertiesDef::Save(QelXMLInterface& cXml) const
{
    std::vector<SEdit> vEdits;
    Edits(vEdits);
    if (vEdits.empty())
        return true;
    bool bOk = cXml.AddAndMoveToChildNode(kMaterials);
    for (const SEdit& cEdit : vEdits)
    {
        bOk = cXml.AddAndMoveToChildNode(kMaterial) && cXml.WriteStringAttribute(kName, cEdit.m_strKey) && bOk;
        for (int f = 0; f < eFieldCount; ++f)
            if (!cEdit.m_astrText[f].empty())
                bOk = cXml.WriteString(kFields[f].m_pName, cEdit.m_astrText[f]) && bOk;
        bOk = cXml.MoveToParent() && bOk;
    }
    return cXml.MoveToParent() && bOk;
}

void QelModelMaterialPropertiesDef::Load(QelXMLInterface& cXml, const std::string& strModel)
{
    if (!cXml.PushPosition())
        return;
    if (cXml.MoveToChildNode(kMaterials))
        for (bool bMore = cXml.MoveToFirstChildNode(); bMore; bMore = cXml.MoveToNextSibling())
        {
            if (cXml.GetNodeName() != kMaterial)
                continue;
            SEdit cEdit;
            cEdit.m_strKey = cXml.ReadStringAttribute(kName, "");
            for (int f = 0; f < eFieldCount; ++f)
                cEdit.m_astrText[f] = cXml.ReadString(kFields[f].m_pName, "");
            auto it = std::find_if(m_vMaterials.begin(), m_vMaterials.end(),
                                   [&](const SMaterial& c) { return c.m_strKey == cEdit.m_strKey; });
            if (it == m_vMaterials.end())
            {
                QelSysApp::App().PrintToConsole("<warning> QelModel - Material [%s] is not in [%s] any more; its "
                                                "edited values are kept but not shown\n",
                                                cEdit.m_strKey.c_str(), strModel.c_str());
                m_vPending.push_back(cEdit);
                continue;
            }
            for (int f = 0; f < eFieldCount; ++f)
                if (!cEdit.m_astrText[f].empty() && it->m_apFields[f] &&
                    !SetFromText(*it->m_apFields[f], f, cEdit.m_astrText[f]))
                    QelSysApp::App().PrintToConsole("<warning> QelModel - Saved %s [%s] of material [%s] is no "
                                                    "value; it is skipped\n",
                                                    kFields[f].m_pName, cEdit.m_astrText[f].substr(0, 64).c_str(),
                                                    cEdit.m_strKey.c_str());
        }
    cXml.PopPosition();
}

std::string QelModelMaterialPropertiesDef::Description(const QelProperty* pProperty) const
{
    for (const SMaterial& c : m_vMaterials)
        for (int f = 0; f < eFieldCount; ++f)
            if (pProperty && c.m_apFields[f] == pProperty)
                return kFields[f].m_pDescription;
    return std::string();
}
