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
    explicit QelSandboxIcon(const std::string& strName);
    /// Copies the name, the position, the extents and both flags.
    QelSandboxIcon(const QelSandboxIcon& other);
    QelSandboxIcon& operator=(const QelSandboxIcon& other);
    ~QelSandboxIcon() override;

    virtual ECategories GetCategory() const { return eCategoryUnknown; }
    /// "Input Object" ... "Container Object", else "Unknown" (an int, so that any code is safe to pass).
    static const char* GetCategoryName(int nCategory);

    // Position and extents
    const QelVec2& GetIconPosition() const { return m_vecIconPosition; }
    void SetIconPosition(const QelVec2& vecPosition) { m_vecIconPosition = vecPosition; }
    const QelBox2& GetIconExtents() const { return m_cIconExtents; }
    void SetIconExtents(const QelBox2& cExtents) { m_cIconExtents = cExtents; }
    /// The empty box in this class.
    virtual QelBox2 GetTransformedIconExtents();

    // Selection and visibility
    virtual void Select(bool bSelect);
    void ToggleSelected();
    bool IsSelected() const { return (m_nIconFlags & kFlagSelected) != 0; }
    virtual bool IsIconVisible() const { return (m_nIconFlags & kFlagVisible) != 0; }
    virtual void SetIconVisibility(bool bVisible);

    // Appearance
    virtual std::string GetIconDescription();
    /// Opaque white in this class.
    virtual const QelVec4& GetIconColor();
    virtual QelTexture* GetSandboxIconTexture();
    virtual void DrawSandboxIcon();
    virtual void DrawSandboxIconImage(const QelVec2& vecMin, const QelVec2& vecMax) const;
    virtual void LabelIcon(QelTextureText* pText) const;
    virtual void InitOpenGL();
    virtual void DestroyOpenGL();

    // Menus and commands
    virtual void FillPopupMenu(QelPopupMenu& cMenu);
    virtual void RespondToPopupMenu(unsigned int nCommand);
    /// Names of the commands a script may run; none in this class.
    virtual const std::vector<std::string>& GetCustomCommands() const;
    virtual bool CustomCommand(const std::string& strName, std::vector<QelVariant>& vecArguments);
    virtual void FillExtraPlayerFiles(std::vector<std::string>& vecFiles);

    // Timers: the host calls OnTimer when one fires.
    unsigned int SetTimer(unsigned int nMilliseconds);
    void KillTimer(unsigned int nTimerId);
    virtual void OnTimer(unsigned int nTimerId);

    // Messages: "<warning>Name - text<flush>" and "<error>Name - text<flush>".
    void PrintWarning(const char* pFormat, ...) const QEL_ICON_PRINTF(2, 3);
    void PrintError(const char* pFormat, ...) const QEL_ICON_PRINTF(2, 3);

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
