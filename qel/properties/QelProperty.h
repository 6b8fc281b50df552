#pragma once

#include "qel/framework/QelBase.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/QelTypes.h"
#include "qel/properties/QelDataType.h"
#include "qel/properties/QelPropertyHistory.h"
#include "qel/properties/QelVariant.h"

#include <string>
#include <vector>

class QelPropertyContainer;
class QelExpression;

/// One named, typed value of a property container: clamped numbers, enumerations, buttons, a history
/// and an optional expression. Writes tell the container; reads first let a dirty container recalculate.
class QEL_EXPORT QelProperty : public QelBase
{
public:
    /// Which clamp bounds are tighter than the limits of the asked type.
    enum EClampStatus
    {
        eClampNone = 0,
        eClampMinimum = 1,
        eClampMaximum = 2,
        eClampBoth = 3
    };

    /// bAutoSave sets whether the property is saved with its object (WillAutoSave).
    QelProperty(const std::string& strName, QelPropertyContainer* pContainer, QelDataType eType, bool bAutoSave = true);
    /// Carries the value, declared type, clamp, enumeration and the user flags; not the container,
    /// the history or an expression (a copy starts free-standing).
    QelProperty(const QelProperty& other);
    /// As the copy constructor, keeping this property's own name and container (so a container's
    /// name map stays right); the new value is announced.
    QelProperty& operator=(const QelProperty& other);
    virtual ~QelProperty();

    /// sizeof(QelProperty) of this build, for hosts that lay out arrays of properties.
    static size_t SizeOfProperty() { return sizeof(QelProperty); }

    // Setting (each always returns true and ends with ValueChanged)
    /// Stores the variant as it is: no clamp, no conversion.
    bool SetAsVariant(const QelVariant& cValue);
    /// Clamps to the range and stores a Real.
    bool SetAsDouble(double dValue);
    bool SetAsFloat(float fValue);
    /// Clamps to the range and stores an Integer; an enumeration also checks the value against its list.
    bool SetAsInt(int nValue);
    bool SetAsBool(bool bValue);
    bool SetAsString(const std::string& strValue);
    virtual bool SetAsColor(QelPackedColor nColor);
    /// Components in 0..1, packed by truncating c * 255 (values outside are limited first).
    virtual bool SetAsColor(float fRed, float fGreen, float fBlue, float fAlpha);
    bool SetAsInputObject(QelInput* pObject);
    bool SetAsDisplayObject(QelDisplayObject* pObject);
    bool SetAsDisplaySystem(QelDisplaySystem* pObject);
    bool SetAsManipulator(QelManipulator* pObject);
    bool SetAsPropertyContainer(QelPropertyContainer* pObject);

    // Reading (every reader pulls first, except GetAsVariantWithoutPull)
    const QelVariant& GetAsVariant();
    const QelVariant& GetAsVariantWithoutPull() const { return m_cValue; }
    bool GetAsBool();
    int GetAsInt();
    float GetAsFloat();
    virtual double GetAsDouble();
    double GetAsNumeric();
    std::string GetAsString();
    virtual QelPackedColor GetAsColor();
    QelInput* GetAsInputObject();
    QelDisplayObject* GetAsDisplayObject();
    QelDisplaySystem* GetAsDisplaySystem();
    QelManipulator* GetAsManipulator();
    QelPropertyContainer* GetAsPropertyContainer();

    operator bool() { return GetAsBool(); }
    operator int() { return GetAsInt(); }
    operator float() { return GetAsFloat(); }
    operator double() { return GetAsDouble(); }
    operator std::string() { return GetAsString(); }
    operator QelInput*() { return GetAsInputObject(); }
    operator QelDisplayObject*() { return GetAsDisplayObject(); }
    operator QelDisplaySystem*() { return GetAsDisplaySystem(); }
    operator QelManipulator*() { return GetAsManipulator(); }
    operator QelPropertyContainer*() { return GetAsPropertyContainer(); }

    // Type
    /// The declared type, which may differ from the value's own type.
    QelDataType GetDataType() const { return m_eDataType; }
    /// Stores the declared type only.
    void SetDataType(QelDataType eType) { m_eDataType = eType; }
    /// Stores the declared type and sets the value again, so that the change is announced.
    void ChangeType(QelDataType eType);
    /// Looks at the value's type, not the declared one.
    bool IsNumeric() const { return m_cValue.IsNumeric(); }

    // Clamp
    void SetClamp(int nMin, int nMax);
    void SetClamp(float fMin, float fMax);
    /// Stored as passed, even inverted; an inverted range lets the minimum win.
    void SetClamp(double dMin, double dMax);
    /// The widest range of the declared type (Integer starts at -2147483647, deliberately).
    void ResetClamp();
    EClampStatus GetClamp(int& nMin, int& nMax) const;
    EClampStatus GetClamp(float& fMin, float& fMax) const;
    EClampStatus GetClamp(double& dMin, double& dMax) const;
    /// The slider range: 0..1 here.
    virtual bool GetRange(double& dMin, double& dMax);

    // Driving
    /// Stores the value through the setter of the declared type (so clamps and enumerations apply);
    /// with bRecordHistory the stored value is also appended to the history.
    bool DriveByValue(const QelVariant& cValue, bool bRecordHistory);
    bool DriveByPercent(float fPercent, bool bRecordHistory);
    float GetLastDrivenPercentage() const { return 1.0f; }

    // Connections
    bool ConnectTo(QelProperty* pSource);
    bool DisconnectIncoming();
    QelProperty* GetLastIncomingConnection() const { return nullptr; }
    /// The container's independent property, or null without a container.
    QelProperty* GetIndependentProperty() const;

    // Enumerations
    /// Names with their values side by side; names without values mean 0, 1, 2 and so on.
    void SetEnumerationNames(const std::vector<std::string>& vecNames, std::vector<int> vecValues);
    void GetEnumerationNames(std::vector<std::string>& vecNames, std::vector<int>& vecValues) const;
    /// Lets the next enumeration value through without a check or warning (e.g. while a document
    /// loads before its list is filled); the mark is used up by the next change of value.
    void AcceptNextEnumerationValue() { m_nFlags |= kFlagQuietEnum; }
    /// An Integer property with at least one name.
    bool IsEnumerated() const { return m_eDataType == eDataInteger && !m_vecEnumNames.empty(); }

    // Buttons
    bool IsButton() const;
    /// Tells the container of a press when it calls this property a button; the value is not touched.
    bool PressButton();

    // Change state
    /// Marks the property changed and spreads the change through the container.
    void ValueChanged();
    virtual bool HasChanged() const;
    void SetChangedFlag(bool bChanged);
    void SetPropagation(bool bEnable);
    bool IsPropagationEnabled() const { return (m_nFlags & kFlagPropagation) != 0; }
    /// True while a pull is running (the re-entry guard).
    bool IsPropagationActive() const { return (m_nFlags & kFlagPulling) != 0; }
    bool GetRawHasChanged() const { return (m_nFlags & kFlagChanged) != 0; }

    // History
    QelPropertyHistory& History() { return m_cHistory; }
    /// Always null: readers take the series from History().GetRaw().
    virtual const std::vector<QelVariant>* GetHistory(bool bDerived);
    bool SetHistory(const std::vector<QelVariant>& vecValues) { return m_cHistory.Set(vecValues); }
    bool AppendHistory(const QelVariant& cValue) { return m_cHistory.Append(cValue); }
    void ClearHistory() { m_cHistory.Clear(); }
    bool HistoryHasChanged() const { return (m_nFlags & kFlagHistoryChanged) != 0; }
    void SetHistoryChangedFlag(bool bChanged);
    bool IsDerivedHistoryAllowed() const { return m_cHistory.AllowDerived(); }
    void SetAllowDerivedHistoryFlag(bool bAllow) { m_cHistory.SetAllowDerived(bAllow); }

    // Expressions
    /// Binds an expression; returns an empty text on success, else the reason it was refused.
    std::string SetExpression(const std::string& strExpression);
    void GetExpression(std::string& strExpression) const;
    bool HasExpression() const { return m_pExpression != nullptr; }

    // Names
    /// Asks the container first (it may refuse, e.g. a taken name); the character rule then applies.
    bool SetName(const std::string& strName) override;
    /// "Container.Property", or "(no container).Property".
    std::string GetFullName() const;
    std::string GetDescription() const;
    bool IsVisibleInBarByDefault() const;

    // Kind and flags
    bool IsMultiProperty() const;
    bool IsMultiPropertyChild() const { return (m_nFlags & kFlagMultiChild) != 0; }
    void SetIsMultiPropertyChild(bool bChild);
    bool IsInterpColorProperty() const { return (m_nFlags2 & kFlag2InterpColor) != 0; }
    void SetIsInterpColorProperty(bool bInterp);
    bool IsGuiEditable() const { return (m_nFlags & kFlagGuiEditable) != 0; }
    virtual void SetGuiEditable(bool bEditable);
    bool WillAutoSave() const { return (m_nFlags & kFlagAutoSave) != 0; }
    void EnableAutoSaving(bool bEnable);

    /// The owning container; null without one and while it is being destroyed.
    QelPropertyContainer* GetContainer() const;

protected:
    /// Lets a dirty container recalculate and evaluates a bound expression; guarded against re-entry.
    void PullData();

private:
    friend class QelPropertyContainer;
    friend class QelMultiProperty;

    static constexpr unsigned char kFlagQuietEnum = 0x01;
    static constexpr unsigned char kFlagGuiEditable = 0x02;
    static constexpr unsigned char kFlagPropagation = 0x04;
    static constexpr unsigned char kFlagChanged = 0x08;
    static constexpr unsigned char kFlagPulling = 0x10;
    static constexpr unsigned char kFlagHistoryChanged = 0x20;
    static constexpr unsigned char kFlagAutoSave = 0x40;
    static constexpr unsigned char kFlagMultiChild = 0x80;
    static constexpr unsigned char kFlag2InterpColor = 0x01;

    /// Makes n the value, checked against the enumeration list (see SetEnumerationNames).
    void ClampEnumeration(int nValue);
    /// Takes the value of a feeding property when the declared types are compatible; the caller
    /// spreads the change. False on a mismatch, which is reported and leaves the value alone.
    bool Update(QelProperty* pSource);
    /// The value converted to the declared type (Boolean to Container Object; others unchanged).
    void Convert();
    int ClampToIntRange(int nValue) const;
    /// Copies the state a copy carries over (see the copy constructor).
    void CopyStateFrom(const QelProperty& other);

    // Expression binding: the expression engine fills these in.
    void EvaluateExpression();
    void ReleaseExpression();
    /// "A -> B -> A" when the expression, set on this property, would read this property again
    /// through the properties of the container; empty when it would not.
    std::string FindExpressionCycle(const QelExpression& cExpression) const;

    QelDataType m_eDataType;
    QelVariant m_cValue;
    std::vector<std::string> m_vecEnumNames;
    std::vector<int> m_vecEnumValues;
    QelPropertyContainer* m_pContainer;
    double m_dClampMin = 0.0;
    double m_dClampMax = 0.0;
    unsigned char m_nFlags = 0;
    unsigned char m_nFlags2 = 0;
    QelPropertyHistory m_cHistory;
    /// Owned; null until an expression is bound.
    QelExpression* m_pExpression = nullptr;
};
