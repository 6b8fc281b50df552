#pragma once

#include "qel/framework/QelBase.h"
#include "qel/math/QelBox2.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

class QelVariant;
class QelXMLInterface;
class QelPopupMenu;
class QelTexture;
class QelTextureText;

#if defined(__GNUC__)
#  define QEL_ICON_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#  define QEL_ICON_PRINTF(fmt, args)
#endif

/// An object as an icon in the host's overview of a document: position, extents, selection and
/// visibility, popup menu, timers, undo entries, custom commands and messages.
class QEL_EXPORT QelSandboxIcon : public QelBase
{
public:
    /// The kind of object an icon stands for.
    enum ECategories
    {
        eCategoryUnknown = 0,
        eCategoryInputObject = 3,
        eCategoryDisplayObject = 4,
        eCategoryDisplaySystem = 5,
        eCategoryManipulatorObject = 6,
        eCategoryContainerObject = 7
    };

    /// Named "Undefined", visible, not selected, at (0, 0).
    QelSandboxIcon();
    /// Named as given (kept unchanged), visible, not selected, at (0, 0).
    explicit QelSandboxIcon(const std::string& strName);
    /// Copies the name, the position, the extents and both flags.
    QelSandboxIcon(const QelSandboxIcon& other);
    /// Copies what the copy constructor copies; the identifier and links stay.
    QelSandboxIcon& operator=(const QelSandboxIcon& other);
    ~QelSandboxIcon() override;

    /// The kind of object, for the host's lists and menus; eCategoryUnknown here.
    virtual ECategories GetCategory() const { return eCategoryUnknown; }
    /// "Input Object" ... "Container Object", else "Unknown" (an int, so that any code is safe to pass).
    static const char* GetCategoryName(int nCategory);

    // Position and extents
    /// The icon's place and size in the host's overview, in overview units; only the position
    /// is saved (by QelPlugin::Save).
    ///@{
    const QelVec2& GetIconPosition() const { return m_vecIconPosition; }
    void SetIconPosition(const QelVec2& vecPosition) { m_vecIconPosition = vecPosition; }
    const QelBox2& GetIconExtents() const { return m_cIconExtents; }
    void SetIconExtents(const QelBox2& cExtents) { m_cIconExtents = cExtents; }
    ///@}
    /// The empty box in this class.
    virtual QelBox2 GetTransformedIconExtents();

    // Selection and visibility
    /// Selects or deselects; visibility is not touched.
    virtual void Select(bool bSelect);
    /// Flips the selection.
    void ToggleSelected();
    /// Whether the icon is selected.
    bool IsSelected() const { return (m_nIconFlags & kFlagSelected) != 0; }
    /// Whether the icon shows in the overview; a new icon is visible.
    ///@{
    virtual bool IsIconVisible() const { return (m_nIconFlags & kFlagVisible) != 0; }
    virtual void SetIconVisibility(bool bVisible);
    ///@}

    // Appearance
    /// Tooltip text for the icon; the name in this class.
    virtual std::string GetIconDescription();
    /// Opaque white in this class.
    virtual const QelVec4& GetIconColor();
    /// Picture drawn on the icon, owned by the object; null (no picture) in this class.
    virtual QelTexture* GetSandboxIconTexture();
    /// Drawing of the icon in the host's overview, with an OpenGL context current: the icon, its
    /// picture within the rectangle vecMin to vecMax, and its label. Nothing in this class.
    ///@{
    virtual void DrawSandboxIcon();
    virtual void DrawSandboxIconImage(const QelVec2& vecMin, const QelVec2& vecMax) const;
    virtual void LabelIcon(QelTextureText* pText) const;
    ///@}
    /// Called when an OpenGL context to draw in is made or about to go, to create or free the
    /// object's textures and lists there. Nothing in this class.
    ///@{
    virtual void InitOpenGL();
    virtual void DestroyOpenGL();
    ///@}

    // Menus and commands
    /// Adds the object's own items to its right-click menu (QelPopupMenu::Build appends the custom
    /// commands after them); command ids from 0xE000 up are kept for those. Nothing in this class.
    virtual void FillPopupMenu(QelPopupMenu& cMenu);
    /// Runs the item nCommand the user chose from the items FillPopupMenu added. Nothing here.
    virtual void RespondToPopupMenu(unsigned int nCommand);
    /// Names of the commands a script may run; none in this class.
    virtual const std::vector<std::string>& GetCustomCommands() const;
    /// Runs the custom command strName with the given arguments (none from a menu); true when the
    /// object knows and ran it. False in this class.
    virtual bool CustomCommand(const std::string& strName, std::vector<QelVariant>& vecArguments);
    /// Appends the files (textures, models) a standalone export of the document must carry for
    /// this object. Nothing in this class.
    virtual void FillExtraPlayerFiles(std::vector<std::string>& vecFiles);

    // Timers: the host calls OnTimer when one fires.
    /// Asks the host for a repeating timer; OnTimer(id) is called each time it fires. Returns
    /// the id, 0 when the host has no timers.
    unsigned int SetTimer(unsigned int nMilliseconds);
    /// Stops a timer SetTimer started.
    void KillTimer(unsigned int nTimerId);
    /// Called by the host when the timer nTimerId fires. Nothing in this class.
    virtual void OnTimer(unsigned int nTimerId);

    // Messages: "<warning>Name - text<flush>" and "<error>Name - text<flush>".
    /// Writes "<warning>Name - text<flush>" or "<error>Name - text<flush>" to the log, the text
    /// formatted printf-style at any length. The whole is then handed on as a format, so a host
    /// console prints such messages literally.
    ///@{
    void PrintWarning(const char* pFormat, ...) const QEL_ICON_PRINTF(2, 3);
    void PrintError(const char* pFormat, ...) const QEL_ICON_PRINTF(2, 3);
    ///@}

    // Persistence
    /// Reads the position from "XPos" and "YPos" (0 when missing).
    virtual bool Load(QelXMLInterface* pXML);
    /// Deliberately writes nothing: a derived class that keeps its position writes "XPos"/"YPos".
    virtual bool Save(QelXMLInterface* pXML);

protected:
    /// Records an undo step for this icon with the host.
    void AddToUndoBuffer(const std::string& strDescription, bool bContinuous = false);

private:
    static constexpr unsigned char kFlagSelected = 0x01;
    static constexpr unsigned char kFlagVisible = 0x02;

    QelVec2 m_vecIconPosition;
    QelBox2 m_cIconExtents;
    unsigned char m_nIconFlags = kFlagVisible;
};
