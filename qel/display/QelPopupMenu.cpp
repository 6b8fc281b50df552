#include "qel/display/QelPopupMenu.h"

#include "qel/framework/QelSandboxIcon.h"
#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelVariant.h"

namespace
{
const QelPopupMenu::SItem* Find(const std::vector<QelPopupMenu::SItem>& vItems, unsigned int nCommand)
{
    for (const QelPopupMenu::SItem& item : vItems)
    {
        if (!item.m_bSeparator && item.m_vSubItems.empty() && item.m_nCommand == nCommand)
            return &item;
        if (const QelPopupMenu::SItem* p = Find(item.m_vSubItems, nCommand))
            return p;
    }
    return nullptr;
}

/// The first command of vItems that is already in the menu, or false.
bool FirstRepeat(const QelPopupMenu& menu, const std::vector<QelPopupMenu::SItem>& vItems, unsigned int& nRepeat)
{
    for (const QelPopupMenu::SItem& item : vItems)
    {
        if (!item.m_bSeparator && item.m_vSubItems.empty() && menu.FindCommand(item.m_nCommand))
        {
            nRepeat = item.m_nCommand;
            return true;
        }
        if (FirstRepeat(menu, item.m_vSubItems, nRepeat))
            return true;
    }
    return false;
}
} // namespace

QelPopupMenu QelPopupMenu::Build(QelSandboxIcon& owner)
{
    QelPopupMenu menu(&owner);
    owner.FillPopupMenu(menu);
    const std::vector<std::string>& vCommands = owner.GetCustomCommands();
    if (vCommands.empty())
        return menu;
    SItem cCommands;
    cCommands.m_strLabel = "Commands";
    for (size_t i = 0; i < vCommands.size(); ++i)
    {
        SItem cItem;
        cItem.m_strLabel = vCommands[i];
        cItem.m_nCommand = kFirstCustomCommand + unsigned(i);
        cCommands.m_vSubItems.push_back(cItem);
    }
    if (!menu.m_vItems.empty())
        menu.AddSeparator();
    menu.m_vItems.push_back(cCommands);
    return menu;
}

bool QelPopupMenu::AddChecked(SItem cItem)
{
    unsigned int nRepeat = 0;
    const bool bCustom = cItem.m_vSubItems.empty() && cItem.m_nCommand >= kFirstCustomCommand;
    if (bCustom || FirstRepeat(*this, {cItem}, nRepeat))
    {
        QelSysApp::App().PrintToConsole("<warning> Popup menu item [%s] refused: command %u is %s\n",
                                        cItem.m_strLabel.c_str(), bCustom ? cItem.m_nCommand : nRepeat,
                                        bCustom ? "kept for custom commands" : "already in the menu");
        return false;
    }
    m_vItems.push_back(std::move(cItem));
    return true;
}

bool QelPopupMenu::AddItem(const std::string& strLabel, unsigned int nCommand, bool bEnabled, bool bChecked)
{
    SItem cItem;
    cItem.m_strLabel = strLabel;
    cItem.m_nCommand = nCommand;
    cItem.m_bEnabled = bEnabled;
    cItem.m_bChecked = bChecked;
    return AddChecked(cItem);
}

void QelPopupMenu::AddSeparator()
{
    SItem cItem;
    cItem.m_bSeparator = true;
    m_vItems.push_back(cItem);
}

bool QelPopupMenu::AddSubMenu(const std::string& strLabel, const QelPopupMenu& cSubMenu)
{
    SItem cItem;
    cItem.m_strLabel = strLabel;
    cItem.m_vSubItems = cSubMenu.m_vItems;
    return AddChecked(cItem);
}

const QelPopupMenu::SItem* QelPopupMenu::FindCommand(unsigned int nCommand) const
{
    return Find(m_vItems, nCommand);
}

bool QelPopupMenu::Choose(unsigned int nCommand)
{
    const SItem* pItem = FindCommand(nCommand);
    const char* pWhy = !pItem ? "it is not in the menu"
                              : (!pItem->m_bEnabled ? "it is disabled" : (!m_pOwner ? "the menu has no owner" : nullptr));
    if (pWhy)
    {
        QelSysApp::App().PrintToConsole("<warning> Popup menu command %u not run: %s\n", nCommand, pWhy);
        return false;
    }
    if (nCommand >= kFirstCustomCommand)
    {
        std::vector<QelVariant> vArguments;
        return m_pOwner->CustomCommand(pItem->m_strLabel, vArguments);
    }
    m_pOwner->RespondToPopupMenu(nCommand);
    return true;
}
