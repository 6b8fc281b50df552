#pragma once

#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

class QelSandboxIcon;

/// A popup menu described without any toolkit: items with command numbers, check marks, enabled
/// states, separators and sub-menus. Objects fill it in FillPopupMenu; Build adds their custom
/// commands; the host shows it with its own toolkit and passes the chosen command to Choose,
/// which runs it on the object the menu was built for.
class QEL_EXPORT QelPopupMenu
{
public:
    /// One entry as the host's toolkit should show it.
    struct SItem
    {
        std::string m_strLabel;      ///< Text shown; for a custom command also the command's name.
        unsigned int m_nCommand = 0; ///< Number passed to Choose; 0 for separators and sub-menus.
        bool m_bEnabled = true;      ///< Disabled items are shown greyed and refused by Choose.
        bool m_bChecked = false;     ///< Shown with a check mark.
        bool m_bSeparator = false;   ///< A dividing line; the other fields are unused.
        /// Items of the sub-menu this item opens; empty for a plain item.
        std::vector<SItem> m_vSubItems;
    };

    /// Commands from here up are the owner's custom commands, in the order it lists them.
    static constexpr unsigned int kFirstCustomCommand = 0xE000;

    /// An empty menu for the object that runs its commands (not owned; null gives a menu that only
    /// describes, whose choices are refused).
    explicit QelPopupMenu(QelSandboxIcon* pOwner = nullptr) : m_pOwner(pOwner) {}

    /// The owner's items (FillPopupMenu), then a "Commands" sub-menu of its custom commands.
    static QelPopupMenu Build(QelSandboxIcon& owner);

    /// Adds an item; a command number already in the menu (sub-menus included), or one in the
    /// custom range, is refused with a warning, so that every choice is unambiguous.
    bool AddItem(const std::string& strLabel, unsigned int nCommand, bool bEnabled = true, bool bChecked = false);
    /// Appends a dividing line.
    void AddSeparator();
    /// Adds an item that opens the items of cSubMenu; refused like AddItem when a command repeats.
    bool AddSubMenu(const std::string& strLabel, const QelPopupMenu& cSubMenu);

    /// The top-level items in order, for the host to show.
    const std::vector<SItem>& GetItems() const { return m_vItems; }
    /// The object the menu was built for; null when it has none.
    QelSandboxIcon* GetOwner() const { return m_pOwner; }
    /// The item with the command, searched through the sub-menus; null when there is none.
    const SItem* FindCommand(unsigned int nCommand) const;

    /// Runs a chosen command on the owner: custom commands through CustomCommand, the others
    /// through RespondToPopupMenu. A command that is not in the menu, is disabled, or has no
    /// owner to run on is refused with a warning.
    bool Choose(unsigned int nCommand);

private:
    bool AddChecked(SItem cItem);

    QelSandboxIcon* m_pOwner;
    std::vector<SItem> m_vItems;
};
