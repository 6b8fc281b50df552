#include "qel/display/QelTransform.h"

#include "qel/properties/QelProperty.h"

#include <cmath>

namespace
{
const char* const kPropertyNames[] = {
    "Transform:Translation:X",
    "Transform:Translation:Y",
    "Transform:Translation:Z",
    "Transform:Translation:Reset translation",
    "Transform:Rotation:Axis X",
    "Transform:Rotation:Axis Y",
    "Transform:Rotation:Axis Z",
    "Transform:Rotation:Angle",
    "Transform:Rotation:Reset rotation",
    "Transform:Scale:X",
    "Transform:Scale:Y",
    "Transform:Scale:Z",
    "Transform:Scale:Uniform",
    "Transform:Scale:Reset scaling",
};

const char* const kPropertyDescriptions[] = {
    "Translation along X",
    "Translation along Y",
    "Translation along Z",
    "Moves the object back to the origin",
    "X component of the rotation axis",
    "Y component of the rotation axis",
    "Z component of the rotation axis",
    "Rotation angle about the axis, in degrees",
    "Puts the rotation back to a quarter turn about Z",
    "Scale factor along X",
    "Scale factor along Y",
    "Scale factor along Z",
    "Scale factor applied on all three axes",
    "Puts every scale factor back to 1",
};
static_assert(sizeof(kPropertyNames) / sizeof(kPropertyNames[0]) == QelTransform::eTransformPropertyCount,
              "one name per table position");
static_assert(sizeof(kPropertyDescriptions) / sizeof(kPropertyDescriptions[0]) ==
                  QelTransform::eTransformPropertyCount,
              "one description per table position");

/// First and one-past-last table positions of each group.
const int kGroupBegin[3] = {QelTransform::eTranslationX, QelTransform::eRotationAxisX, QelTransform::eScaleX};
const int kGroupEnd[3] = {QelTransform::eRotationAxisX, QelTransform::eScaleX, QelTransform::eTransformPropertyCount};

const float kRadiansToDegrees = 57.295776f;

bool IsButtonIndex(int n)
{
    return n == QelTransform::eTranslationReset || n == QelTransform::eRotationReset ||
           n == QelTransform::eScaleReset;
}
} // namespace

QelTransform::QelTransform() : m_cMatrix(true) {}

QelTransform::QelTransform(const QelPluginAttributes& attributes) : QelPropertyContainer(attributes), m_cMatrix(true)
{
}

QelTransform::QelTransform(const QelTransform& other)
    : QelPropertyContainer(other), m_bRebuild(true), m_cMatrix(other.m_cMatrix)
{
    if (other.m_pTable)
        BindTable();
}

QelTransform& QelTransform::operator=(const QelTransform& other)
{
    if (this != &other)
    {
        QelPropertyContainer::operator=(other);
        delete[] m_pTable;
        m_pTable = nullptr;
        if (other.m_pTable)
            BindTable();
        m_cMatrix = other.m_cMatrix;
        m_bRebuild = true;
    }
    return *this;
}

QelTransform::~QelTransform()
{
    delete[] m_pTable;
}

void QelTransform::BindTable()
{
    if (!m_pTable)
        m_pTable = new QelProperty*[eTransformPropertyCount]();
    for (int i = 0; i < eTransformPropertyCount; ++i)
        m_pTable[i] = GetProperty(kPropertyNames[i]);
}

void QelTransform::AddTransformProperties(bool bTranslation, bool bRotation, bool bScale)
{
    if (!bTranslation && !bRotation && !bScale)
        return;
    if (!m_pTable)
        m_pTable = new QelProperty*[eTransformPropertyCount]();
    // Only groups made now get their initial values: a second call keeps what the user set.
    bool bMade[3] = {bTranslation, bRotation, bScale};
    for (int g = 0; g < 3; ++g)
    {
        if (!bMade[g] || m_pTable[kGroupBegin[g]])
        {
            bMade[g] = false;
            continue;
        }
        for (int i = kGroupBegin[g]; i < kGroupEnd[g]; ++i)
            m_pTable[i] = CreateProperty(kPropertyNames[i], IsButtonIndex(i) ? eDataBoolean : eDataReal);
    }
    if (bMade[0])
        SetTranslation(QelVec3(0.0f, 0.0f, 0.0f));
    if (bMade[1])
        SetRotation(QelVec4(0.0f, 0.0f, 1.0f, 90.0f));
    if (bMade[2])
        SetScale(QelVec3(1.0f, 1.0f, 1.0f));
}

QelProperty* QelTransform::GetTransformProperty(ETransformProperty eProperty) const
{
    if (!m_pTable || eProperty < 0 || eProperty >= eTransformPropertyCount)
        return nullptr;
    return m_pTable[eProperty];
}

bool QelTransform::HasTranslation() const { return GetTransformProperty(eTranslationX) != nullptr; }
bool QelTransform::HasRotation() const { return GetTransformProperty(eRotationAxisX) != nullptr; }
bool QelTransform::HasScale() const { return GetTransformProperty(eScaleX) != nullptr; }
bool QelTransform::HasTransform() const { return HasTranslation() || HasRotation() || HasScale(); }

float QelTransform::ReadFloat(int nIndex, float fDefault) const
{
    QelProperty* p = m_pTable ? m_pTable[nIndex] : nullptr;
    return p ? p->GetAsFloat() : fDefault;
}

void QelTransform::WriteFloat(int nIndex, float fValue)
{
    if (QelProperty* p = m_pTable ? m_pTable[nIndex] : nullptr)
        p->SetAsFloat(fValue);
}

void QelTransform::SetTranslation(const QelVec3& v)
{
    WriteFloat(eTranslationX, v.x);
    WriteFloat(eTranslationY, v.y);
    WriteFloat(eTranslationZ, v.z);
    m_bRebuild = true;
    ObjectTransformed(false);
}

void QelTransform::SetScale(const QelVec3& v)
{
    WriteFloat(eScaleX, v.x);
    WriteFloat(eScaleY, v.y);
    WriteFloat(eScaleZ, v.z);
    WriteFloat(eScaleUniform, 1.0f);
    m_bRebuild = true;
    ObjectTransformed(false);
}

void QelTransform::SetRotation(const QelVec4& v)
{
    QelVec3 vAxis(v.x, v.y, v.z);
    if (vAxis.x == 0.0f && vAxis.y == 0.0f && vAxis.z == 0.0f)
        vAxis = QelVec3(1.0f, 0.0f, 0.0f);
    else
        vAxis.Normalize();
    WriteFloat(eRotationAxisX, vAxis.x);
    WriteFloat(eRotationAxisY, vAxis.y);
    WriteFloat(eRotationAxisZ, vAxis.z);
    WriteFloat(eRotationAngle, v.w);
    m_bRebuild = true;
    ObjectTransformed(false);
}

void QelTransform::SetTransform(const QelVec3& vTranslation, const QelVec4& vAxisAngle, const QelVec3& vScale)
{
    SetTranslation(vTranslation);
    SetRotation(vAxisAngle);
    SetScale(vScale);
}

void QelTransform::SetTransform(const QelMatrix4& mTransform)
{
    QelMatrix4 mRotation(mTransform);
    const float* m = mRotation;
    QelVec3 vScale(std::sqrt(m[0] * m[0] + m[1] * m[1] + m[2] * m[2]),
                   std::sqrt(m[4] * m[4] + m[5] * m[5] + m[6] * m[6]),
                   std::sqrt(m[8] * m[8] + m[9] * m[9] + m[10] * m[10]));
    // A column flattened by a zero scale carries no direction: the other two give it back, so
    // that the rotation of the remaining axes survives.
    for (int c = 0; c < 3; ++c)
    {
        const int a = (c + 1) % 3, b = (c + 2) % 3;
        if (vScale[c] == 0.0f && vScale[a] != 0.0f && vScale[b] != 0.0f)
            mRotation.GetColumn(c) = mRotation.GetColumn(a).Cross(mRotation.GetColumn(b));
    }
    // A mirror cannot be a rotation: fold it into the X scale so that the rest is one.
    if (mRotation.Determinant3() < 0.0f)
    {
        vScale.x = -vScale.x;
        float* pColumn = mRotation;
        pColumn[0] = -pColumn[0];
        pColumn[1] = -pColumn[1];
        pColumn[2] = -pColumn[2];
    }
    mRotation.OrthoNormalize();
    QelVec4 vAxisAngle = mRotation.ConvertToAxisAngle();
    SetTranslation(QelVec3(m[12], m[13], m[14]));
    SetRotation(vAxisAngle);
    SetScale(vScale);
}

QelVec3 QelTransform::GetTranslation()
{
    return QelVec3(ReadFloat(eTranslationX, 0.0f), ReadFloat(eTranslationY, 0.0f), ReadFloat(eTranslationZ, 0.0f));
}

QelVec4 QelTransform::GetRotation()
{
    return QelVec4(ReadFloat(eRotationAxisX, 0.0f), ReadFloat(eRotationAxisY, 0.0f), ReadFloat(eRotationAxisZ, 1.0f),
                   ReadFloat(eRotationAngle, 0.0f));
}

QelVec3 QelTransform::GetScale()
{
    float fUniform = ReadFloat(eScaleUniform, 1.0f);
    return QelVec3(ReadFloat(eScaleX, 1.0f) * fUniform, ReadFloat(eScaleY, 1.0f) * fUniform,
                   ReadFloat(eScaleZ, 1.0f) * fUniform);
}

void QelTransform::GetTransform(QelVec3& vTranslation, QelVec3& vEulerDegrees, QelVec3& vScale)
{
    vTranslation = GetTranslation();
    vScale = GetScale();
    QelVec4 vAxisAngle = GetRotation();
    QelVec3 vAxis(vAxisAngle.x, vAxisAngle.y, vAxisAngle.z);
    QelMatrix4 r(true);
    if (vAxis.x != 0.0f || vAxis.y != 0.0f || vAxis.z != 0.0f)
    {
        vAxis.Normalize();
        r.Rotate(QelVec4(vAxis.x, vAxis.y, vAxis.z, vAxisAngle.w));
    }
    // r = Rz(c) * Ry(b) * Rx(a); element (row, column) is at 4 * column + row.
    const float* m = r;
    float fSinB = -m[2];
    if (fSinB >= 0.99999f || fSinB <= -0.99999f)
    {
        // Gimbal lock: only a + c or a - c is defined; put it all on X.
        float fB = fSinB > 0.0f ? 90.0f : -90.0f;
        float fA = fSinB > 0.0f ? std::atan2(m[4], m[8]) : std::atan2(-m[4], -m[8]);
        vEulerDegrees = QelVec3(fA * kRadiansToDegrees, fB, 0.0f);
        return;
    }
    vEulerDegrees = QelVec3(std::atan2(m[6], m[10]) * kRadiansToDegrees, std::asin(fSinB) * kRadiansToDegrees,
                            std::atan2(m[1], m[0]) * kRadiansToDegrees);
}

void QelTransform::GetTransform(QelMatrix4& mTransform)
{
    if (IsDirty())
    {
        SetDirtyBit(false);
        InvokeCalculate();
    }
    if (m_bRebuild)
        UpdateTransform();
    mTransform = m_cMatrix;
}

float QelTransform::GetMaxScale()
{
    if (!HasScale())
        return 1.0f;
    QelVec3 v = GetScale();
    return std::fmax(std::fabs(v.x), std::fmax(std::fabs(v.y), std::fabs(v.z)));
}

void QelTransform::UpdateTransform()
{
    QelMatrix4 m(true);
    if (m_pTable)
    {
        if (HasTranslation())
            m.Translate(GetTranslation());
        if (HasRotation())
        {
            QelVec4 vAxisAngle = GetRotation();
            QelVec3 vAxis(vAxisAngle.x, vAxisAngle.y, vAxisAngle.z);
            if (vAxis.x != 0.0f || vAxis.y != 0.0f || vAxis.z != 0.0f)
            {
                vAxis.Normalize();
                m.Rotate(QelVec4(vAxis.x, vAxis.y, vAxis.z, vAxisAngle.w));
            }
        }
        if (HasScale())
            m.Scale(GetScale());
        for (int i = 0; i < eTransformPropertyCount; ++i)
            if (m_pTable[i])
                m_pTable[i]->SetChangedFlag(false);
    }
    m_cMatrix = m;
    m_bRebuild = false;
}

void QelTransform::Calculate()
{
    if (m_bRebuild || !m_pTable)
        return;
    for (int i = 0; i < eTransformPropertyCount; ++i)
    {
        if (m_pTable[i] && m_pTable[i]->HasChanged())
        {
            m_bRebuild = true;
            return;
        }
    }
}

bool QelTransform::IsPropertyButton(QelProperty* pProperty) const
{
    if (!m_pTable || !pProperty)
        return false;
    return pProperty == m_pTable[eTranslationReset] || pProperty == m_pTable[eRotationReset] ||
           pProperty == m_pTable[eScaleReset];
}

void QelTransform::ButtonPressed(QelProperty* pProperty)
{
    if (!m_pTable || !pProperty)
        return;
    if (pProperty == m_pTable[eTranslationReset])
        SetTranslation(QelVec3(0.0f, 0.0f, 0.0f));
    else if (pProperty == m_pTable[eRotationReset])
        SetRotation(QelVec4(0.0f, 0.0f, 1.0f, 90.0f));
    else if (pProperty == m_pTable[eScaleReset])
        SetScale(QelVec3(1.0f, 1.0f, 1.0f));
}

void QelTransform::DeleteProperty(QelProperty* pProperty)
{
    ForgetTableEntry(pProperty);
    QelPropertyContainer::DeleteProperty(pProperty);
}

void QelTransform::OnObjectDeletion(QelBase* pDeleted)
{
    ForgetTableEntry(pDeleted);
    QelPropertyContainer::OnObjectDeletion(pDeleted);
}

void QelTransform::ForgetTableEntry(const QelBase* pProperty)
{
    if (m_pTable)
        for (int i = 0; i < eTransformPropertyCount; ++i)
            if (m_pTable[i] && static_cast<const QelBase*>(m_pTable[i]) == pProperty)
                m_pTable[i] = nullptr;
}

std::string QelTransform::GetPropertyDescription(const QelProperty* pProperty)
{
    if (m_pTable && pProperty)
        for (int i = 0; i < eTransformPropertyCount; ++i)
            if (m_pTable[i] == pProperty)
                return kPropertyDescriptions[i];
    return QelPropertyContainer::GetPropertyDescription(pProperty);
}

bool QelTransform::AllowAnalogTranslation() { return true; }

void QelTransform::ObjectTransformed(bool) {}
