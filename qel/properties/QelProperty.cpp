#include "qel/properties/QelProperty.h"

#include "qel/expression/QelExpression.h"
#include "qel/framework/QelSysApp.h"
#include "qel/framework/detail/QelNameRule.h"
#include "qel/platform/QelMessageQuote.h"
#include "qel/properties/QelMultiProperty.h"
#include "qel/properties/QelPropertyContainer.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <set>

namespace
{
constexpr double kIntLimit = 2147483647.0;
constexpr double kFloatLimit = 3.4028234663852886e38;
constexpr double kDoubleLimit = 1.7976931348623157e308;

/// Properties computed from one another are pulled recursively, one pull inside the other; past
/// this many at once the stack would be at risk, so the pull stops with the stored value.
constexpr unsigned int kMaxPullDepth = 1000;
/// Pulls in progress on the one thread the property system runs on.
unsigned int g_nPullDepth = 0;

/// A double bound as an int, saturating where a plain cast would be undefined.
int BoundToInt(double d)
{
    if (std::isnan(d))
        return 0;
    if (d >= kIntLimit)
        return INT_MAX;
    if (d <= -kIntLimit)
        return -INT_MAX;
    return int(d);
}

float BoundToFloat(double d)
{
    if (d >= kFloatLimit)
        return FLT_MAX;
    if (d <= -kFloatLimit)
        return -FLT_MAX;
    return float(d);
}

QelProperty::EClampStatus StatusFor(double dMin, double dMax, double dLimit)
{
    int n = 0;
    if (dMin > -dLimit)
        n |= QelProperty::eClampMinimum;
    if (dMax < dLimit)
        n |= QelProperty::eClampMaximum;
    return QelProperty::EClampStatus(n);
}

bool IsStringTypeCode(QelDataType e)
{
    return e == eDataString || e == eDataFilename || e == eDataFolder;
}

/// Whether a property declared eTo accepts the value of one declared eFrom.
bool AreCompatible(QelDataType eTo, QelDataType eFrom)
{
    if (eTo == eFrom)
        return true;
    switch (eTo)
    {
    case eDataContainerObject:
        return eFrom == eDataInputObject || eFrom == eDataDisplayObject || eFrom == eDataDisplaySystem ||
               eFrom == eDataManipulatorObject;
    case eDataString:
    case eDataFilename:
    case eDataFolder:
        return eFrom == eDataBoolean || eFrom == eDataInteger || eFrom == eDataReal || IsStringTypeCode(eFrom);
    case eDataReal: return eFrom == eDataInteger || eFrom == eDataBoolean || IsStringTypeCode(eFrom);
    case eDataInteger: return eFrom == eDataReal || eFrom == eDataBoolean || IsStringTypeCode(eFrom);
    case eDataBoolean: return eFrom == eDataReal || eFrom == eDataInteger || IsStringTypeCode(eFrom);
    default: return false;
    }
}

unsigned ColorByte(float f)
{
    if (!(f > 0.0f))
        return 0;
    if (f > 1.0f)
        f = 1.0f;
    return unsigned(f * 255.0f) & 0xFF;
}

/// Sets or clears one bit of a flag byte.
void SetBit(unsigned char& nFlags, unsigned char nBit, bool bOn)
{
    nFlags = static_cast<unsigned char>(bOn ? (nFlags | nBit) : (nFlags & ~nBit));
}
} // namespace

QelProperty::QelProperty(const std::string& strName, QelPropertyContainer* pContainer, QelDataType eType,
                         bool bAutoSave)
    : QelBase(strName), m_eDataType(eType), m_cValue(eType), m_pContainer(pContainer)
{
    m_nFlags = kFlagGuiEditable | kFlagPropagation | (bAutoSave ? kFlagAutoSave : 0);
    m_cHistory.SetProperty(this);
    QelBase::SetName(strName);
    ResetClamp();
}

QelProperty::QelProperty(const QelProperty& other)
    : QelBase(other), m_eDataType(other.m_eDataType), m_cValue(other.m_cValue), m_pContainer(nullptr)
{
    m_cHistory.SetProperty(this);
    CopyStateFrom(other);
}

QelProperty& QelProperty::operator=(const QelProperty& other)
{
    if (this != &other)
    {
        m_eDataType = other.m_eDataType;
        m_cValue = other.m_cValue;
        CopyStateFrom(other);
        ValueChanged();
    }
    return *this;
}

void QelProperty::CopyStateFrom(const QelProperty& other)
{
    m_vecEnumNames = other.m_vecEnumNames;
    m_vecEnumValues = other.m_vecEnumValues;
    m_dClampMin = other.m_dClampMin;
    m_dClampMax = other.m_dClampMax;
    constexpr unsigned char kCopied = kFlagGuiEditable | kFlagPropagation | kFlagAutoSave;
    m_nFlags = static_cast<unsigned char>((m_nFlags & ~kCopied) | (other.m_nFlags & kCopied));
}

QelProperty::~QelProperty()
{
    ReleaseExpression();
    // Deleted by the host instead of through DeleteProperty: the container forgets it here, or its
    // own destructor would free it a second time.
    if (QelPropertyContainer* pContainer = GetContainer())
        pContainer->ForgetDeletedProperty(this);
}

QelPropertyContainer* QelProperty::GetContainer() const
{
    return (m_pContainer && !m_pContainer->IsBeingDestroyed()) ? m_pContainer : nullptr;
}

// ---- Setting ----

bool QelProperty::SetAsVariant(const QelVariant& cValue)
{
    m_cValue = cValue;
    ValueChanged();
    return true;
}

bool QelProperty::SetAsDouble(double dValue)
{
    m_cValue = QelVariant(std::max(std::min(dValue, m_dClampMax), m_dClampMin));
    ValueChanged();
    return true;
}

bool QelProperty::SetAsFloat(float fValue)
{
    return SetAsDouble(double(fValue));
}

int QelProperty::ClampToIntRange(int nValue) const
{
    int nMax = m_dClampMax == kDoubleLimit ? 2147483647 : BoundToInt(m_dClampMax);
    int nMin = m_dClampMin == -kDoubleLimit ? -2147483647 : BoundToInt(m_dClampMin);
    return std::max(std::min(nValue, nMax), nMin);
}

bool QelProperty::SetAsInt(int nValue)
{
    int nClamped = ClampToIntRange(nValue);
    if (IsEnumerated())
        ClampEnumeration(nClamped); // an enumeration accepts only listed values, with a warning
    else
        m_cValue = QelVariant(nClamped);
    ValueChanged();
    return true;
}

bool QelProperty::SetAsBool(bool bValue)
{
    return SetAsVariant(QelVariant(bValue));
}

bool QelProperty::SetAsString(const std::string& strValue)
{
    return SetAsVariant(QelVariant(strValue));
}

bool QelProperty::SetAsColor(QelPackedColor nColor)
{
    m_cValue = QelVariant(nColor);
    ValueChanged();
    return true;
}

bool QelProperty::SetAsColor(float fRed, float fGreen, float fBlue, float fAlpha)
{
    return SetAsColor(QelPackedColor(ColorByte(fRed) | ColorByte(fGreen) << 8 | ColorByte(fBlue) << 16 |
                                     ColorByte(fAlpha) << 24));
}

bool QelProperty::SetAsInputObject(QelInput* pObject)
{
    return SetAsVariant(QelVariant(pObject));
}

bool QelProperty::SetAsDisplayObject(QelDisplayObject* pObject)
{
    return SetAsVariant(QelVariant(pObject));
}

bool QelProperty::SetAsDisplaySystem(QelDisplaySystem* pObject)
{
    return SetAsVariant(QelVariant(pObject));
}

bool QelProperty::SetAsManipulator(QelManipulator* pObject)
{
    return SetAsVariant(QelVariant(pObject));
}

bool QelProperty::SetAsPropertyContainer(QelPropertyContainer* pObject)
{
    return SetAsVariant(QelVariant(pObject));
}

// ---- Reading ----

void QelProperty::PullData()
{
    // The clean read is the common case: leave without touching the guard when nothing is due.
    if (!m_pExpression && !(m_pContainer && (m_nFlags & kFlagPropagation) && m_pContainer->IsDirty()))
        return;
    if (m_nFlags & kFlagPulling)
        return;
    if (g_nPullDepth >= kMaxPullDepth)
    {
        const std::string strName = GetFullName();
        QelSysApp::App().PrintToConsole(
            "<error> %s - properties computed from one another nest deeper than %u levels; the stored value is read\n",
            QelQuoteInput(strName).c_str(), kMaxPullDepth);
        return;
    }
    ++g_nPullDepth;
    m_nFlags |= kFlagPulling;
    if (m_nFlags & kFlagPropagation)
    {
        QelPropertyContainer* pContainer = GetContainer();
        if (pContainer && pContainer->IsDirty())
        {
            pContainer->SetDirtyBit(false);
            pContainer->InvokeCalculate();
        }
    }
    if (m_pExpression)
        EvaluateExpression();
    m_nFlags &= static_cast<unsigned char>(~kFlagPulling);
    --g_nPullDepth;
}

const QelVariant& QelProperty::GetAsVariant()
{
    PullData();
    return m_cValue;
}

bool QelProperty::GetAsBool()
{
    PullData();
    return bool(m_cValue);
}

int QelProperty::GetAsInt()
{
    PullData();
    return int(m_cValue);
}

float QelProperty::GetAsFloat()
{
    PullData();
    return float(m_cValue);
}

double QelProperty::GetAsDouble()
{
    PullData();
    return double(m_cValue);
}

double QelProperty::GetAsNumeric()
{
    PullData();
    return double(m_cValue);
}

std::string QelProperty::GetAsString()
{
    PullData();
    return std::string(m_cValue);
}

QelPackedColor QelProperty::GetAsColor()
{
    PullData();
    return (unsigned int)m_cValue;
}

QelInput* QelProperty::GetAsInputObject()
{
    PullData();
    return m_cValue;
}

QelDisplayObject* QelProperty::GetAsDisplayObject()
{
    PullData();
    return m_cValue;
}

QelDisplaySystem* QelProperty::GetAsDisplaySystem()
{
    PullData();
    return m_cValue;
}

QelManipulator* QelProperty::GetAsManipulator()
{
    PullData();
    return m_cValue;
}

QelPropertyContainer* QelProperty::GetAsPropertyContainer()
{
    PullData();
    return m_cValue;
}

// ---- Type ----

void QelProperty::ChangeType(QelDataType eType)
{
    PullData();
    m_eDataType = eType;
    QelVariant cValue = m_cValue;
    SetAsVariant(cValue);
}

void QelProperty::Convert()
{
    if (m_eDataType < eDataBoolean || m_eDataType > eDataContainerObject)
        return;
    if (IsStringTypeCode(m_eDataType) && !m_cValue.IsString())
    {
        // Numbers and switches fed into text keep their text form rather than an empty string.
        QelVariant cText(m_cValue.ConvertToString());
        cText.ConvertTo(m_eDataType);
        m_cValue = cText;
        return;
    }
    m_cValue.ConvertTo(m_eDataType);
}

// ---- Clamp ----

void QelProperty::SetClamp(int nMin, int nMax)
{
    if (m_eDataType != eDataInteger)
        QelSysApp::App().PrintToConsole(
            "<warning> Integer version of QelProperty::SetClamp called on property [%s] of type [%s]\n",
            GetFullName().c_str(), QelVariant::GetDataTypeName(m_eDataType));
    m_dClampMin = double(nMin);
    m_dClampMax = double(nMax);
}

void QelProperty::SetClamp(float fMin, float fMax)
{
    SetClamp(double(fMin), double(fMax));
}

void QelProperty::SetClamp(double dMin, double dMax)
{
    if (m_eDataType != eDataReal)
        QelSysApp::App().PrintToConsole(
            "<warning> Double/float version of QelProperty::SetClamp called on property [%s] of type [%s]\n",
            GetFullName().c_str(), QelVariant::GetDataTypeName(m_eDataType));
    m_dClampMin = dMin;
    m_dClampMax = dMax;
}

void QelProperty::ResetClamp()
{
    switch (m_eDataType)
    {
    case eDataInteger:
        m_dClampMin = -2147483647.0;
        m_dClampMax = 2147483647.0;
        break;
    case eDataBoolean:
        m_dClampMin = 0.0;
        m_dClampMax = 1.0;
        break;
    default:
        m_dClampMin = -kDoubleLimit;
        m_dClampMax = kDoubleLimit;
        break;
    }
}

QelProperty::EClampStatus QelProperty::GetClamp(int& nMin, int& nMax) const
{
    nMin = BoundToInt(m_dClampMin);
    nMax = BoundToInt(m_dClampMax);
    return StatusFor(m_dClampMin, m_dClampMax, kIntLimit);
}

QelProperty::EClampStatus QelProperty::GetClamp(float& fMin, float& fMax) const
{
    fMin = BoundToFloat(m_dClampMin);
    fMax = BoundToFloat(m_dClampMax);
    return StatusFor(m_dClampMin, m_dClampMax, kFloatLimit);
}

QelProperty::EClampStatus QelProperty::GetClamp(double& dMin, double& dMax) const
{
    dMin = m_dClampMin;
    dMax = m_dClampMax;
    return StatusFor(m_dClampMin, m_dClampMax, kDoubleLimit);
}

bool QelProperty::GetRange(double& dMin, double& dMax)
{
    dMin = 0.0;
    dMax = 1.0;
    return true;
}

// ---- Driving and connections ----

bool QelProperty::DriveByValue(const QelVariant& cValue, bool bRecordHistory)
{
    switch (m_eDataType)
    {
    case eDataReal: SetAsDouble(double(cValue)); break;
    case eDataInteger: SetAsInt(int(cValue)); break;
    case eDataBoolean: SetAsBool(bool(cValue)); break;
    case eDataColor: SetAsColor((unsigned int)cValue); break;
    case eDataString:
    case eDataFilename:
    case eDataFolder:
    {
        QelVariant cText(cValue.IsString() ? std::string(cValue) : cValue.ConvertToString());
        cText.ConvertTo(m_eDataType);
        SetAsVariant(cText);
        break;
    }
    default: SetAsVariant(cValue); break;
    }
    if (bRecordHistory)
        m_cHistory.Append(m_cValue);
    return true;
}

bool QelProperty::DriveByPercent(float, bool)
{
    return true;
}

bool QelProperty::ConnectTo(QelProperty*)
{
    return true;
}

bool QelProperty::DisconnectIncoming()
{
    return true;
}

QelProperty* QelProperty::GetIndependentProperty() const
{
    QelPropertyContainer* pContainer = GetContainer();
    return pContainer ? pContainer->GetIndependentProperty() : nullptr;
}

// ---- Enumerations ----

void QelProperty::SetEnumerationNames(const std::vector<std::string>& vecNames, std::vector<int> vecValues)
{
    m_vecEnumNames = vecNames;
    if (!vecValues.empty() && vecValues.size() != vecNames.size())
    {
        // Values must pair with names; missing ones continue the index, extra ones are dropped.
        QelSysApp::App().PrintToConsole(
            "<warning> %s - %d enumeration values given for %d names; the lists were paired by index\n",
            GetFullName().c_str(), int(vecValues.size()), int(vecNames.size()));
        size_t nOld = vecValues.size();
        vecValues.resize(vecNames.size());
        for (size_t i = nOld; i < vecValues.size(); ++i)
            vecValues[i] = int(i);
    }
    m_vecEnumValues = std::move(vecValues);
    if (QelPropertyContainer* pContainer = GetContainer())
        pContainer->UpdatePropertyEnumerations(this);
}

void QelProperty::GetEnumerationNames(std::vector<std::string>& vecNames, std::vector<int>& vecValues) const
{
    vecNames = m_vecEnumNames;
    vecValues = m_vecEnumValues;
}

void QelProperty::ClampEnumeration(int nValue)
{
    const int nCurrent = m_cValue.GetDataType() == eDataInteger ? int(m_cValue) : m_cValue.ConvertToInt();
    if (m_vecEnumNames.empty())
    {
        m_cValue = QelVariant(nValue);
        return;
    }
    if (m_vecEnumValues.empty())
    {
        const int nLast = int(m_vecEnumNames.size()) - 1;
        const int nAccepted = nValue > nLast ? nLast : (nValue < 0 ? 0 : nValue);
        if (nAccepted == nValue || (m_nFlags & kFlagQuietEnum))
        {
            // Deliberately stored as asked even when out of the list: the quiet mark lets one value through.
            if (nValue != nCurrent)
            {
                m_nFlags &= static_cast<unsigned char>(~kFlagQuietEnum);
                m_cValue = QelVariant(nValue);
            }
            return;
        }
        QelSysApp::App().PrintToConsole("<warning> %s - Invalid property enumeration value %d was clamped to %d (%s)\n",
                                        GetFullName().c_str(), nValue, nAccepted,
                                        m_vecEnumNames[size_t(nAccepted)].c_str());
        m_cValue = QelVariant(nAccepted);
        return;
    }
    for (int nListed : m_vecEnumValues)
    {
        if (nListed == nValue)
        {
            m_cValue = QelVariant(nValue);
            return;
        }
    }
    // An unlisted value keeps the current one when that is listed, else the first listed value:
    // the property never holds a value its list cannot name.
    size_t nIndex = 0;
    for (size_t i = 0; i < m_vecEnumValues.size(); ++i)
        if (m_vecEnumValues[i] == nCurrent)
        {
            nIndex = i;
            break;
        }
    const int nReset = m_vecEnumValues[nIndex];
    QelSysApp::App().PrintToConsole("<warning> %s - Invalid property enumeration value %d was reset to %d (%s)\n",
                                    GetFullName().c_str(), nValue, nReset, m_vecEnumNames[nIndex].c_str());
    m_cValue = QelVariant(nReset);
}

bool QelProperty::Update(QelProperty* pSource)
{
    if (!pSource)
        return false;
    if (!AreCompatible(m_eDataType, pSource->m_eDataType))
    {
        if (!GetContainer())
            QelSysApp::App().PrintToConsole("<warning> mismatch type port update for node [NULL]\n");
        else
            QelSysApp::App().PrintToConsole("<warning> mismatched types %s (%s) updating %s (%s)\n",
                                            pSource->GetFullName().c_str(),
                                            QelVariant::GetDataTypeName(pSource->m_eDataType),
                                            GetFullName().c_str(), QelVariant::GetDataTypeName(m_eDataType));
        return false;
    }
    const QelVariant& cSource = pSource->GetAsVariant();
    if (IsEnumerated())
    {
        ClampEnumeration(cSource.GetDataType() == eDataInteger ? int(cSource) : cSource.ConvertToInt());
        return true;
    }
    m_cValue = cSource;
    Convert();
    return true;
}

// ---- Buttons and change state ----

bool QelProperty::IsButton() const
{
    QelPropertyContainer* pContainer = GetContainer();
    return pContainer && pContainer->IsPropertyButton(const_cast<QelProperty*>(this));
}

bool QelProperty::PressButton()
{
    QelPropertyContainer* pContainer = GetContainer();
    if (!pContainer || !pContainer->IsPropertyButton(this))
        return false;
    pContainer->PropagateDirtyBit(QelPropertyContainer::kDirtyButton, this);
    return true;
}

void QelProperty::ValueChanged()
{
    if (!(m_nFlags & kFlagPropagation))
        return;
    QelPropertyContainer* pContainer = GetContainer();
    if (!pContainer)
        return;
    m_nFlags |= kFlagChanged;
    pContainer->PropagateDirtyBit(
        pContainer->IsPropertyButton(this) ? QelPropertyContainer::kDirtyButton : QelPropertyContainer::kDirtyValue, this);
}

bool QelProperty::HasChanged() const
{
    return (m_nFlags & kFlagChanged) != 0;
}

void QelProperty::SetChangedFlag(bool bChanged)
{
    SetBit(m_nFlags, kFlagChanged, bChanged);
}

void QelProperty::SetPropagation(bool bEnable)
{
    SetBit(m_nFlags, kFlagPropagation, bEnable);
}

const std::vector<QelVariant>* QelProperty::GetHistory(bool)
{
    return nullptr;
}

void QelProperty::SetHistoryChangedFlag(bool bChanged)
{
    SetBit(m_nFlags, kFlagHistoryChanged, bChanged);
}

// ---- Expression binding ----
// The property owns m_pExpression and evaluates it on every pull; the value is stored without being
// announced, since it is derived: the properties it reads announce their own changes.

std::string QelProperty::SetExpression(const std::string& strExpression)
{
    ReleaseExpression();
    if (QelExpression::ExpressionIsBlank(strExpression))
        return std::string();
    QelExpression* pExpression = new QelExpression(this);
    const std::string strError = pExpression->SetExpression(strExpression);
    if (!strError.empty())
    {
        delete pExpression;
        return strError;
    }
    const std::string strCycle = FindExpressionCycle(*pExpression);
    if (!strCycle.empty())
    {
        delete pExpression;
        QelSysApp::App().PrintToConsole("<warning> %s - Expression [%s] refused: it reads itself through %s\n",
                                        GetFullName().c_str(), strExpression.substr(0, 120).c_str(),
                                        strCycle.c_str());
        return "Circular reference: " + strCycle;
    }
    m_pExpression = pExpression;
    ValueChanged();
    return std::string();
}

std::string QelProperty::FindExpressionCycle(const QelExpression& cExpression) const
{
    // Depth first over the properties of the container that the expression reads, then those their
    // expressions read, with an explicit stack (a chain may be as long as the container is large).
    QelPropertyContainer* pContainer = GetContainer();
    if (!pContainer)
        return std::string();
    struct Frame
    {
        const QelProperty* pProperty;
        std::vector<std::string> vecNames;
        size_t nNext;
    };
    std::vector<Frame> vecStack(1, Frame{this, {}, 0});
    cExpression.GetReadNames(vecStack[0].vecNames);
    std::set<const QelProperty*> setSeen{this};
    while (!vecStack.empty())
    {
        Frame& cTop = vecStack.back();
        if (cTop.nNext == cTop.vecNames.size())
        {
            vecStack.pop_back();
            continue;
        }
        const QelProperty* pRead = pContainer->GetProperty(cTop.vecNames[cTop.nNext++]);
        if (pRead == this)
        {
            std::string strCycle;
            for (const Frame& f : vecStack)
                strCycle += f.pProperty->GetName() + " -> ";
            return strCycle + GetName();
        }
        if (!pRead || !pRead->m_pExpression || !setSeen.insert(pRead).second)
            continue;
        Frame cNext{pRead, {}, 0};
        pRead->m_pExpression->GetReadNames(cNext.vecNames);
        vecStack.push_back(std::move(cNext));
    }
    return std::string();
}

void QelProperty::GetExpression(std::string& strExpression) const
{
    strExpression.clear();
    if (m_pExpression)
        m_pExpression->GetExpression(strExpression);
}

void QelProperty::EvaluateExpression()
{
    const double dValue = m_pExpression->Evaluate();
    m_cValue = QelVariant(std::max(std::min(dValue, m_dClampMax), m_dClampMin));
    Convert();
}

void QelProperty::ReleaseExpression()
{
    delete m_pExpression;
    m_pExpression = nullptr;
}

// ---- Names and kinds ----

bool QelProperty::SetName(const std::string& strName)
{
    if (QelPropertyContainer* pContainer = GetContainer())
    {
        // The container keys the name the property will really carry, after the character rule.
        std::string strStored = strName;
        QelSanitizeName(strStored);
        if (!pContainer->PropertyNameChanged(this, strStored))
            return false;
    }
    return QelBase::SetName(strName);
}

std::string QelProperty::GetFullName() const
{
    QelPropertyContainer* pContainer = GetContainer();
    return (pContainer ? pContainer->GetName() : std::string("(no container)")) + "." + GetName();
}

std::string QelProperty::GetDescription() const
{
    QelPropertyContainer* pContainer = GetContainer();
    return pContainer ? pContainer->GetPropertyDescription(this) : std::string();
}

bool QelProperty::IsVisibleInBarByDefault() const
{
    QelPropertyContainer* pContainer = GetContainer();
    return pContainer && pContainer->IsPropertyVisibleInBarByDefault(const_cast<QelProperty*>(this));
}

bool QelProperty::IsMultiProperty() const
{
    return dynamic_cast<const QelMultiProperty*>(this) != nullptr;
}

void QelProperty::SetIsMultiPropertyChild(bool bChild)
{
    SetBit(m_nFlags, kFlagMultiChild, bChild);
}

void QelProperty::SetIsInterpColorProperty(bool bInterp)
{
    SetBit(m_nFlags2, kFlag2InterpColor, bInterp);
}

void QelProperty::SetGuiEditable(bool bEditable)
{
    SetBit(m_nFlags, kFlagGuiEditable, bEditable);
}

void QelProperty::EnableAutoSaving(bool bEnable)
{
    SetBit(m_nFlags, kFlagAutoSave, bEnable);
}
