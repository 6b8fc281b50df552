#pragma once

#include "qel/platform/QelTypes.h"

#include <string>
#include <vector>

class QelProperty;
class QelPropertyContainer;

/// What the property panel does, without the drawing: it groups an object's properties by the
/// ":" in their names, picks an editor for each, and makes every edit through the property's own
/// setters after recording an undo entry with the application object. The panel and the script
/// commands both edit through here, so a scripted edit takes the panel's path.
namespace ViewerEdit
{
/// The editor a property gets.
enum EEditor
{
    eEditorCheckbox = 0,
    eEditorInteger,
    eEditorReal,
    eEditorEnumeration,
    eEditorColor,
    eEditorInterpColor,
    eEditorText,
    eEditorFile,
    eEditorFolder,
    eEditorButton,
    eEditorReadOnly,
    eEditorCount
};

/// One level of the panel's tree: the properties whose names end at this level and the groups below.
struct SGroup
{
    std::string m_strName;
    std::vector<QelProperty*> m_vProperties;
    std::vector<SGroup> m_vGroups;
};

/// The visible properties of a container as a tree: "Material:Tint:Low color" sits in group
/// "Tint" of group "Material". The children of an interpolated color are left to its own editor,
/// and a group property (its children show as the group) and "Reserved:" entries are left out.
SGroup GroupProperties(QelPropertyContainer& cContainer);

/// The last part of a property's name ("Low color" for "Material:Tint:Low color").
std::string LeafName(const std::string& strName);

EEditor EditorFor(QelPropertyContainer& cContainer, QelProperty& cProperty);

// Edits. Each records an undo entry for the container first ("Set <name>"); bContinuous folds a run
// of edits of one property (a dragged slider) into one step. Numbers are also appended to the
// property's history, which the panel plots.
bool SetBool(QelProperty& cProperty, bool bValue);
bool SetInt(QelProperty& cProperty, int nValue, bool bContinuous = false);
bool SetReal(QelProperty& cProperty, double dValue, bool bContinuous = false);
bool SetColor(QelProperty& cProperty, QelPackedColor nColor, bool bContinuous = false);
bool SetText(QelProperty& cProperty, const std::string& strValue);
/// Parses text for the property's type (see ViewerValues::Apply); a refusal is logged as a warning
/// naming the property and the text, and leaves the value and the undo list alone.
bool SetFromText(QelProperty& cProperty, const std::string& strText);
bool PressButton(QelProperty& cProperty);
/// Binds (or with blank text removes) an expression; returns the compiler's message, empty on success.
std::string SetExpression(QelProperty& cProperty, const std::string& strText);

/// The property of that name in the container, or null.
QelProperty* Find(QelPropertyContainer& cContainer, const std::string& strName);
} // namespace ViewerEdit
