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
    /// Widened to double and clamped as SetAsDouble does.
    bool SetAsFloat(float fValue);
    /// Clamps to the range and stores an Integer; an enumeration also checks the value against its list.
    bool SetAsInt(int nValue);
    /// Store a Boolean or a String as given: no clamp, and the declared type is not consulted.
    ///@{
    bool SetAsBool(bool bValue);
    bool SetAsString(const std::string& strValue);
    ///@}
    /// A packed color, red in the low byte; an interpolated color overrides this to write its result.
    virtual bool SetAsColor(QelPackedColor nColor);
    /// Components in 0..1, packed by truncating c * 255 (values outside are limited first).
    virtual bool SetAsColor(float fRed, float fGreen, float fBlue, float fAlpha);
    /// Store a reference to another object; the property does not own or hold it, so the host clears
    /// the reference before the object goes.
    ///@{
    bool SetAsInputObject(QelInput* pObject);
    bool SetAsDisplayObject(QelDisplayObject* pObject);
    bool SetAsDisplaySystem(QelDisplaySystem* pObject);
    bool SetAsManipulator(QelManipulator* pObject);
    bool SetAsPropertyContainer(QelPropertyContainer* pObject);
    ///@}

    // Reading (every reader pulls first, except GetAsVariantWithoutPull)
    /// The stored value after a pull (a dirty container recalculates, a bound expression is evaluated);
    /// the reference stays valid until the next write.
    const QelVariant& GetAsVariant();
    /// The stored value as it stands, for code that runs inside a recalculation and must not start one.
    const QelVariant& GetAsVariantWithoutPull() const { return m_cValue; }
    /// Pull, then read the value through the variant's conversions (a String read as a number is
    /// parsed, an object reference of the wrong kind reads as null).
    ///@{
    bool GetAsBool();
    int GetAsInt();
    float GetAsFloat();
    ///@}
    /// Pull, then the value as a double; an interpolated color answers its interpolation value.
    virtual double GetAsDouble();
    /// The same as GetAsDouble of this class, but not overridden: the value itself, whatever the kind.
    double GetAsNumeric();
    /// Pull, then the value as text (numbers in their usual decimal form).
    std::string GetAsString();
    /// Pull, then the value as a packed color (red in the low byte).
    virtual QelPackedColor GetAsColor();
    /// Pull, then the referenced object; null when nothing of that kind is stored.
    ///@{
    QelInput* GetAsInputObject();
    QelDisplayObject* GetAsDisplayObject();
    QelDisplaySystem* GetAsDisplaySystem();
    QelManipulator* GetAsManipulator();
    QelPropertyContainer* GetAsPropertyContainer();
    ///@}

    /// Shorthands for the matching GetAs reader, pull included, so a property reads like a value.
    ///@{
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
    ///@}

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
    /// Integer bounds; on a property not declared Integer it warns "Integer version of
    /// QelProperty::SetClamp called on property [...]" and stores the bounds anyway.
    void SetClamp(int nMin, int nMax);
    /// Passed on to the double version (with its warning when the property is not Real).
    void SetClamp(float fMin, float fMax);
    /// Stored as passed, even inverted; an inverted range lets the minimum win.
    void SetClamp(double dMin, double dMax);
    /// The widest range of the declared type (Integer starts at -2147483647, deliberately).
    void ResetClamp();
    /// The bounds converted to the asked type (saturating at its limits), and which of them actually
    /// restrict that type: an unclamped Real reports eClampNone through every overload.
    ///@{
    EClampStatus GetClamp(int& nMin, int& nMax) const;
    EClampStatus GetClamp(float& fMin, float& fMax) const;
    EClampStatus GetClamp(double& dMin, double& dMax) const;
    ///@}
    /// The slider range: 0..1 here.
    virtual bool GetRange(double& dMin, double& dMax);

    // Driving
    /// Stores the value through the setter of the declared type (so clamps and enumerations apply);
    /// with bRecordHistory the stored value is also appended to the history.
    bool DriveByValue(const QelVariant& cValue, bool bRecordHistory);
    /// A hook for properties that map a slider position to a value; this class changes nothing and
    /// returns true.
    bool DriveByPercent(float fPercent, bool bRecordHistory);
    /// The last slider position given to DriveByPercent; always 1 here, as nothing is driven.
    float GetLastDrivenPercentage() const { return 1.0f; }

    // Connections
    /// Connection hooks kept for hosts that wire properties together; this class keeps no links, so
    /// both succeed without doing anything.
    ///@{
    bool ConnectTo(QelProperty* pSource);
    bool DisconnectIncoming();
    ///@}
    /// Always null: no incoming connection is kept.
    QelProperty* GetLastIncomingConnection() const { return nullptr; }
    /// The container's independent property, or null without a container.
    QelProperty* GetIndependentProperty() const;

    // Enumerations
    /// Names with their values side by side; names without values mean 0, 1, 2 and so on.
    void SetEnumerationNames(const std::vector<std::string>& vecNames, std::vector<int> vecValues);
    /// Copies of the two lists as set; vecValues is empty when the names stand for 0, 1, 2 and so on.
    void GetEnumerationNames(std::vector<std::string>& vecNames, std::vector<int>& vecValues) const;
    /// Lets the next enumeration value through without a check or warning (e.g. while a document
    /// loads before its list is filled); the mark is used up by the next change of value.
    void AcceptNextEnumerationValue() { m_nFlags |= kFlagQuietEnum; }
    /// An Integer property with at least one name.
    bool IsEnumerated() const { return m_eDataType == eDataInteger && !m_vecEnumNames.empty(); }

    // Buttons
    /// Whether the container calls this property a button (never without a container).
    bool IsButton() const;
    /// Tells the container of a press when it calls this property a button; the value is not touched.
    bool PressButton();

    // Change state
    /// Marks the property changed and spreads the change through the container.
    void ValueChanged();
    /// Whether a change was announced since the flag was last cleared; an interpolated color also
    /// counts changes of its three parts.
    virtual bool HasChanged() const;
    /// Whoever consumes a change clears the flag with false.
    void SetChangedFlag(bool bChanged);
    /// With propagation off, writes neither set the changed flag nor dirty the container, and reads
    /// do not let it recalculate: a calculation uses this to write results without re-entering itself.
    void SetPropagation(bool bEnable);
    /// On by default; see SetPropagation.
    bool IsPropagationEnabled() const { return (m_nFlags & kFlagPropagation) != 0; }
    /// True while a pull is running (the re-entry guard).
    bool IsPropagationActive() const { return (m_nFlags & kFlagPulling) != 0; }
    /// The property's own changed flag, without the parts an override of HasChanged adds.
    bool GetRawHasChanged() const { return (m_nFlags & kFlagChanged) != 0; }

    // History
    /// The series of past values this property owns, for plotting and bulk fills.
    QelPropertyHistory& History() { return m_cHistory; }
    /// Always null: readers take the series from History().GetRaw().
    virtual const std::vector<QelVariant>* GetHistory(bool bDerived);
    /// Replaces the series; false with a warning, and the series unchanged, when a value's type
    /// differs from the property's (see QelPropertyHistory::Set).
    bool SetHistory(const std::vector<QelVariant>& vecValues) { return m_cHistory.Set(vecValues); }
    /// Appends one value without a type check; always true.
    bool AppendHistory(const QelVariant& cValue) { return m_cHistory.Append(cValue); }
    /// Empties the series and tells the container.
    void ClearHistory() { m_cHistory.Clear(); }
    /// Set by the container when the history changes; cleared by whoever consumed that change.
    ///@{
    bool HistoryHasChanged() const { return (m_nFlags & kFlagHistoryChanged) != 0; }
    void SetHistoryChangedFlag(bool bChanged);
    ///@}
    /// A flag kept with the history for hosts that derive series of their own; off by default.
    ///@{
    bool IsDerivedHistoryAllowed() const { return m_cHistory.AllowDerived(); }
    void SetAllowDerivedHistoryFlag(bool bAllow) { m_cHistory.SetAllowDerived(bAllow); }
    ///@}

    // Expressions
    /// Binds an expression; returns an empty text on success, else the reason it was refused.
    std::string SetExpression(const std::string& strExpression);
    /// The bound expression's text; empty when none is bound.
    void GetExpression(std::string& strExpression) const;
    /// True while an expression is bound; every read then evaluates it.
    bool HasExpression() const { return m_pExpression != nullptr; }

    // Names
    /// Asks the container first (it may refuse, e.g. a taken name); the character rule then applies.
    bool SetName(const std::string& strName) override;
    /// "Container.Property", or "(no container).Property".
    std::string GetFullName() const;
    /// The tooltip text the container gives for this property; empty without a container.
    std::string GetDescription() const;
    /// Whether the container wants it shown in a property bar before the user asks; false without one.
    bool IsVisibleInBarByDefault() const;

    // Kind and flags
    /// True for a QelMultiProperty (a group of child properties).
    bool IsMultiProperty() const;
    /// Marks a property as a member of a group; the group sets it when it adopts the child.
    ///@{
    bool IsMultiPropertyChild() const { return (m_nFlags & kFlagMultiChild) != 0; }
    void SetIsMultiPropertyChild(bool bChild);
    ///@}
    /// Marks the parent of a low color, high color and interpolation triple (QelInterpColorProperty).
    ///@{
    bool IsInterpColorProperty() const { return (m_nFlags2 & kFlag2InterpColor) != 0; }
    void SetIsInterpColorProperty(bool bInterp);
    ///@}
    /// Whether a property bar may let the user edit the value (on by default); the value itself can
    /// still be written through the setters.
    ///@{
    bool IsGuiEditable() const { return (m_nFlags & kFlagGuiEditable) != 0; }
    virtual void SetGuiEditable(bool bEditable);
    ///@}
    /// Whether QelPropertyContainer::SaveProperties writes this property (the constructor's bAutoSave).
    ///@{
    bool WillAutoSave() const { return (m_nFlags & kFlagAutoSave) != 0; }
    void EnableAutoSaving(bool bEnable);
    ///@}

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
