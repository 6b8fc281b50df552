#pragma once

#include "qel/framework/QelPlugin.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/QelGuid.h"
#include "qel/platform/QelTypes.h"
#include "qel/properties/QelDataType.h"

#include <map>
#include <string>
#include <vector>

class QelProperty;
class QelInterpColorProperty;
class QelXMLInterface;
class QelMultiProperty;

/// Owner of a set of named properties: creates and adopts them, finds them by name or identifier,
/// keeps their order, relays their changes (dirty bits, recalculation, histories, button presses)
/// and offers the hooks by which a derived object describes them to a property bar.
class QEL_EXPORT QelPropertyContainer : public QelPlugin
{
public:
    /// What happened to a connection between properties.
    enum EConnectionEvent
    {
        eConnectionMade = 0,
        eConnectionBroken = 1
    };

    /// A connection kept for the container: the feeding object and property.
    struct SConnectionRecord
    {
        GUID m_guidSourceObject;         ///< Identifier of the object whose property feeds.
        std::string m_strSourceProperty; ///< Name of the feeding property in that object.
        std::string m_strTargetProperty; ///< Name of the fed property in this container.
    };

    /// A container without properties, described by default plug-in attributes or by the given ones
    /// (name, identifiers and icon the host sees).
    ///@{
    QelPropertyContainer();
    explicit QelPropertyContainer(const QelPluginAttributes& cAttributes);
    ///@}
    /// Copies the plug-in part and the flags, and makes copies of every property (same names, order,
    /// values, clamps, enumerations; interpolated colors and multi-properties keep their structure).
    QelPropertyContainer(const QelPropertyContainer& other);
    /// Replaces the own properties by copies of the other's; the name is copied as QelBase assigns it.
    QelPropertyContainer& operator=(const QelPropertyContainer& other);
    /// Marks itself being destroyed first, so that its properties stop calling back, then frees them.
    ~QelPropertyContainer() override;

    /// Container Object, so plug-in lists can tell property holders apart.
    ECategories GetCategory() const override { return eCategoryContainerObject; }

    // Creating and adopting
    /// A QelInterpColorProperty for eDataInterpColor, else a QelProperty; null when the add is refused.
    QelProperty* CreateProperty(const std::string& strName, QelDataType eType, bool bAutoSave = true);
    /// Adds under the property's current name at the end of the list and adopts it.
    virtual bool AddProperty(QelProperty* pProperty);
    /// Removes and destroys the property; every link to it (interpolated colors, groups, the
    /// independent property, holders) is dropped first.
    virtual void DeleteProperty(QelProperty* pProperty);
    // Saving and loading the properties marked for saving (WillAutoSave)
    /// Appends one "Property" element per saved property to the cursor's node, in list order, with
    /// its name and type code as attributes and its value as text that reads back bit for bit (reals
    /// with nine significant digits). Object references, interpolated colors (their three parts are
    /// saved instead) and group properties carry no value of their own and are left out.
    bool SaveProperties(QelXMLInterface& cXml);
    /// Reads the "Property" elements of the cursor's node back into the properties of the same name
    /// and type marked for saving, through the clamping setters; the cursor stays where it is. An
    /// element without such a property, of another type or with an unreadable value is skipped with
    /// a warning. False when anything was skipped or the cursor is not valid.
    bool LoadProperties(QelXMLInterface& cXml);

    /// A group property without children yet (add them with QelMultiProperty::AddChild).
    QelMultiProperty* CreateMultiProperty(const std::string& strName, QelDataType eType, bool bAutoSave = true);
    /// A group with one child per name, named "Group:Child" and of the matching type. Null when
    /// the lists differ in length or any name is taken (nothing is left behind then).
    QelMultiProperty* CreateMultiPropertyGroup(const std::string& strName, const std::vector<std::string>& vecNames,
                                               const std::vector<QelDataType>& vecTypes, bool bAutoSave = true);

    // Finding and ordering
    /// Finds a property by its exact name (letter case counts) or by its identifier; null without a
    /// message when there is none.
    ///@{
    QelProperty* GetProperty(const std::string& strName) const;
    QelProperty* GetProperty(GUID guid) const;
    ///@}
    /// Number of properties, group children and interpolation parts included.
    int GetPropertyCount() const { return int(m_vecProperties.size()); }
    /// All properties in list order; with bVisibleOnly only those IsPropertyVisible accepts.
    void GetProperties(std::vector<QelProperty*>& vecOut, bool bVisibleOnly) const;
    /// Moves the property to a position 0..count-1 of the list.
    bool SetPropertyIndex(QelProperty* pProperty, int nIndex);
    /// Re-keys the name map; refuses (false, with a warning) a name another property has.
    bool PropertyNameChanged(QelProperty* pProperty, const std::string& strNewName);
    /// Always stores p; true only when p is null or one of this container's properties (deliberate).
    bool SetIndependentProperty(QelProperty* pProperty);
    /// The property the others are computed from (e.g. time for a plotted history); null when unset or
    /// once it was deleted.
    QelProperty* GetIndependentProperty() const { return m_pIndependentProperty; }

    // Change relay
    /// The bits of PropagateDirtyBit; their values are part of the relay's contract with derived nodes.
    ///@{
    static constexpr unsigned short kDirtyValue = 0x1;
    static constexpr unsigned short kDirtyHistory = 0x2;
    static constexpr unsigned short kDirtyButton = 0x4;
    ///@}
    /// kDirtyValue a value changed, kDirtyHistory a history changed, kDirtyButton a button was
    /// pressed; handled in that order.
    void PropagateDirtyBit(unsigned short nBits, QelProperty* pProperty);
    /// Recomputes changed interpolated colors, then runs Calculate; does not re-enter itself.
    void InvokeCalculate();
    /// Dirty means a value changed since the last Calculate; the next read of any property clears the
    /// flag and recalculates.
    ///@{
    void SetDirtyBit(bool bDirty);
    bool IsDirty() const { return (m_nFlags & kFlagDirty) != 0; }
    ///@}
    /// True while Calculate runs (reads then see the stored values).
    bool CalculateFunctionIsActive() const { return (m_nFlags & kFlagCalculating) != 0; }
    /// Set when any property's history changed; whoever consumes the histories clears it.
    ///@{
    void SetAnyHistoryHasChanged(bool bChanged);
    bool HasAnyHistoryChanged() const { return (m_nFlags & kFlagHistoryChanged) != 0; }
    ///@}
    /// A flag for hosts that record histories automatically; on for a new container.
    ///@{
    void SetAutoComputedHistory(bool bAuto);
    bool HasAutoComputedHistory() const { return (m_nFlags & kFlagAutoHistory) != 0; }
    ///@}
    /// True from the start of the destructor, when properties treat the container as gone.
    bool IsBeingDestroyed() const { return (m_nFlags & kFlagDestroying) != 0; }

    // Hooks for derived classes
    /// "Object pointer to this object" for "Reserved:This", else empty.
    virtual std::string GetPropertyDescription(const QelProperty* pProperty);
    /// The file dialog filter for a Filename property, in the "Text|*.ext|...|" form; empty for any file.
    virtual std::string GetPropertyFilenameFilter(QelProperty* pProperty);
    /// Whether the property is a push button: its writes report a press (ButtonPressed) instead of
    /// dirtying the container. False here.
    virtual bool IsPropertyButton(QelProperty* pProperty) const;
    /// Whether a property bar shows the property before the user picks it. False here.
    virtual bool IsPropertyVisibleInBarByDefault(QelProperty* pProperty) const;
    /// Whether the property is shown to the user at all (GetProperties filters by it). True here.
    virtual bool IsPropertyVisible(QelProperty* pProperty) const;
    /// Whether the object fills this property's history itself (ManuallyDeriveHistory). False here.
    virtual bool IsHistoryManuallyDerived(QelProperty* pProperty) const;
    /// Whether the host should offer the object's own editor (PropertySpecialEdit). False here.
    virtual bool IsPropertySpecialEdited(QelProperty* pProperty) const;
    /// Opaque black.
    virtual QelPackedColor GetPropertyBarTextColor(QelProperty* pProperty) const;
    /// Text a property bar shows after the value, such as a unit; empty here.
    virtual std::string GetPropertyBarPostScript(QelProperty* pProperty);
    /// Whether pFrom may feed pTo; a derived object refuses links it cannot honour. True here.
    virtual bool WillAcceptConnection(QelProperty* pFrom, QelProperty* pTo);
    /// Asked to derive a history that IsHistoryManuallyDerived claims; false (nothing done) here.
    virtual bool ManuallyDeriveHistory(QelProperty* pProperty, int nIndex);
    /// Called when a button property is pressed or written; nothing here.
    virtual void ButtonPressed(QelProperty* pProperty);
    /// The object's own recalculation, run by InvokeCalculate when a read finds the container dirty.
    virtual void Calculate();
    /// Opens the object's own editor for a special-edited property; nothing here.
    virtual void PropertySpecialEdit(QelProperty* pProperty);
    /// Told after a property's enumeration list was replaced, so a host can refresh its combo; nothing here.
    virtual void UpdatePropertyEnumerations(QelProperty* pProperty);
    /// Releases what the container holds, then marks it deleted.
    void OnDelete() override;
    /// Drops every link to an object being deleted (an independent property of another container).
    void OnObjectDeletion(QelBase* pDeleted) override;

protected:
    /// Told when a connection to one of its properties was made or broken; nothing here.
    virtual void ConnectionChanged(EConnectionEvent eEvent, QelProperty* pProperty);
    /// Spreads a change to dependent nodes; nothing in this class (nodes override).
    virtual void PropagateDirtyBitToNodes(unsigned short nBits, QelProperty* pProperty);
    /// Feeds pTarget from pSource (type check, conversion, enumeration clamp) and announces it.
    bool UpdateProperty(QelProperty* pTarget, QelProperty* pSource);

    /// Connection records kept for derived classes, keyed as they choose; copied with the container.
    std::map<std::string, SConnectionRecord> m_mapConnections;

private:
    static constexpr unsigned char kFlagDirty = 0x01;
    static constexpr unsigned char kFlagCalculating = 0x02;
    static constexpr unsigned char kFlagAutoHistory = 0x04;
    static constexpr unsigned char kFlagDestroying = 0x08;
    static constexpr unsigned char kFlagHistoryChanged = 0x10;

    void CopyPropertiesFrom(const QelPropertyContainer& other);
    void DeleteAllProperties();
    /// Drops every pointer to pProperty kept in this container's records.
    void Unlink(QelProperty* pProperty);
    /// Unlinks, tells the holders, and frees one property already out of the map and list.
    void DestroyProperty(QelProperty* pProperty);
    bool Owns(const QelProperty* pProperty) const;
    /// Called by the destructor of a property that is deleted directly while this container owns it:
    /// takes it out of the map and list, drops the links to it and tells its holders.
    void ForgetDeletedProperty(QelProperty* pProperty);
    friend class QelProperty;

    std::map<std::string, QelProperty*> m_mapProperties;
    std::vector<QelProperty*> m_vecProperties;
    QelProperty* m_pIndependentProperty = nullptr;
    unsigned char m_nFlags = kFlagAutoHistory;
    /// The interpolated colors and groups among the properties, kept apart so that the relay and
    /// InvokeCalculate do not walk every property.
    std::vector<QelInterpColorProperty*> m_vecInterpColors;
    std::vector<QelMultiProperty*> m_vecMultiProperties;
};
