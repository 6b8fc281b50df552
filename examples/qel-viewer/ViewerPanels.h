#pragma once

#include "ViewerFileFilter.h"
#include "ViewerPropertyEdit.h"

#include "qel/display/QelPopupMenu.h"

#include <map>
#include <vector>
#include <string>

class QelProperty;
class QelPropertyContainer;
class ViewerSession;

/// The Dear ImGui panels: menu bar, scene list, property panel and log. Drawing only: every edit
/// goes through ViewerEdit, every file operation through the session.
class ViewerPanels
{
public:
    /// Draws all panels for a frame of the given size; bQuit is set when the user chose Quit.
    void Draw(ViewerSession& cSession, int nFrameWidth, int nFrameHeight, bool& bQuit);

private:
    /// What the panel keeps per property between frames: the expression being typed, the
    /// compiler's last message, and whether the extra row (expression, history) is open.
    struct SPropertyUi
    {
        std::string m_strExpression;
        std::string m_strError;
        bool m_bOpen = false;
        bool m_bEditing = false;
    };

    void DrawMenu(ViewerSession& cSession, bool& bQuit);
    /// Draws a popup menu's items as menu items; true with the command when one was chosen.
    bool DrawMenuItems(const std::vector<QelPopupMenu::SItem>& vItems, unsigned int& nChosen);
    /// The menu a right click in the view asked for.
    void DrawViewPopup(ViewerSession& cSession);
    void DrawFilePrompt(ViewerSession& cSession);
    /// The open dialog: a folder's files through a filter of the library's filter strings, several
    /// chosen at once.
    void DrawOpenDialog(ViewerSession& cSession);
    void DrawScenePanel(ViewerSession& cSession, int nHeight);
    void DrawProperties(QelPropertyContainer& cContainer);
    void DrawGroup(QelPropertyContainer& cContainer, const ViewerEdit::SGroup& cGroup, int nDepth);
    void DrawProperty(QelPropertyContainer& cContainer, QelProperty& cProperty);
    void DrawEditor(QelPropertyContainer& cContainer, QelProperty& cProperty, const std::string& strLabel);
    void DrawExtras(QelProperty& cProperty, SPropertyUi& cUi);
    void DrawLog(ViewerSession& cSession, int nFrameWidth, int nFrameHeight);

    /// The menu's pending file prompt: its kind and the path being typed.
    enum EPrompt
    {
        ePromptNone = 0,
        ePromptOpen,
        ePromptSaveAs,
        ePromptScreenshot
    };
    EPrompt m_ePrompt = ePromptNone;
    bool m_bPromptJustOpened = false;
    std::string m_strPromptPath;
    std::map<std::string, SPropertyUi> m_mapUi;
    size_t m_nLogLinesSeen = 0;
    QelPopupMenu m_cViewPopup;
    bool m_bOpenDialogJustOpened = false;
    std::string m_strFolder;
    std::vector<ViewerFileFilter::SFilter> m_vFilters;
    int m_nFilter = 0;
    std::vector<std::string> m_vChosen;
};
