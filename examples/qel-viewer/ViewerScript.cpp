#include "ViewerScript.h"

#include "ViewerApp.h"
#include "ViewerPropertyEdit.h"
#include "ViewerPropertyValues.h"
#include "ViewerSession.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelPicker.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelVariant.h"
#include "qel/properties/QelPropertyContainer.h"

#include <fstream>
#include <functional>
#include <map>
#include <sstream>

namespace
{
/// What a command needs: the session, its words, and where to put the reason it failed.
struct SCall
{
    ViewerSession& m_cSession;
    const std::vector<std::string>& m_vWords;
    std::string& m_strWhy;

    bool Fail(const std::string& strWhy)
    {
        m_strWhy = strWhy;
        return false;
    }
};

struct SCommand
{
    size_t m_nMinWords; ///< the command word included
    size_t m_nMaxWords;
    const char* m_pUsage;
    std::function<bool(SCall&)> m_fnRun;
};

QelProperty* TargetProperty(SCall& c)
{
    QelPropertyContainer* pTarget = c.m_cSession.EditTarget();
    QelProperty* pProperty = ViewerEdit::Find(*pTarget, c.m_vWords[1]);
    if (!pProperty)
        c.Fail(pTarget->GetName() + " has no property \"" + c.m_vWords[1] + "\"");
    return pProperty;
}

bool ParseSize(const std::string& strText, int& n) { return ViewerValues::ParseInt(strText, n) && n >= 0; }

const std::map<std::string, SCommand>& Commands()
{
    static const std::map<std::string, SCommand> kCommands = {
        {"open", {2, 2, "open FILE", [](SCall& c) {
             return c.m_cSession.OpenFile(c.m_vWords[1]) || c.Fail("it could not be opened");
         }}},
        {"save", {2, 2, "save FILE", [](SCall& c) {
             return c.m_cSession.SaveScene(c.m_vWords[1]) || c.Fail("it could not be saved");
         }}},
        {"new", {1, 1, "new", [](SCall& c) {
             c.m_cSession.NewScene();
             return true;
         }}},
        {"add", {2, 3, "add shape|light|grid|\"clip plane\" [NAME]", [](SCall& c) {
             return c.m_cSession.Add(c.m_vWords[1], c.m_vWords.size() > 2 ? c.m_vWords[2] : "") ||
                    c.Fail("there is no kind of object \"" + c.m_vWords[1] + "\" to add");
         }}},
        {"pick", {3, 4, "pick X Y [toggle]", [](SCall& c) {
             int x = 0, y = 0;
             if (!ParseSize(c.m_vWords[1], x) || !ParseSize(c.m_vWords[2], y))
                 return c.Fail("the position is not two whole numbers from 0");
             if (c.m_vWords.size() > 3 && c.m_vWords[3] != "toggle")
                 return c.Fail("usage: pick X Y [toggle]");
             ViewerView& cView = c.m_cSession.View();
             QelPicker::ClickSelect(cView, cView.Camera(), x, y, c.m_vWords.size() > 3);
             return true;
         }}},
        {"band", {5, 6, "band X0 Y0 X1 Y1 [add]", [](SCall& c) {
             int n[4] = {0, 0, 0, 0};
             for (int i = 0; i < 4; ++i)
                 if (!ParseSize(c.m_vWords[size_t(i) + 1], n[i]))
                     return c.Fail("the corners are not four whole numbers from 0");
             if (c.m_vWords.size() > 5 && c.m_vWords[5] != "add")
                 return c.Fail("usage: band X0 Y0 X1 Y1 [add]");
             ViewerView& cView = c.m_cSession.View();
             QelPicker::RubberBandSelect(cView, cView.Camera(), n[0], n[1], n[2], n[3], c.m_vWords.size() > 5);
             return true;
         }}},
        {"select", {2, 2, "select NAME|none", [](SCall& c) {
             if (c.m_vWords[1] == "none")
             {
                 c.m_cSession.Scene().ClearSelection();
                 return true;
             }
             return c.m_cSession.Select(c.m_vWords[1]) || c.Fail("there is no object \"" + c.m_vWords[1] + "\"");
         }}},
        {"set", {3, 3, "set PROPERTY VALUE", [](SCall& c) {
             QelProperty* pProperty = TargetProperty(c);
             return pProperty && (ViewerEdit::SetFromText(*pProperty, c.m_vWords[2]) ||
                                  c.Fail("the value was refused"));
         }}},
        {"expression", {3, 3, "expression PROPERTY TEXT", [](SCall& c) {
             QelProperty* pProperty = TargetProperty(c);
             if (!pProperty)
                 return false;
             std::string strError = ViewerEdit::SetExpression(*pProperty, c.m_vWords[2]);
             return strError.empty() || c.Fail(strError);
         }}},
        {"press", {2, 2, "press PROPERTY", [](SCall& c) {
             QelProperty* pProperty = TargetProperty(c);
             if (!pProperty)
                 return false;
             if (!c.m_cSession.EditTarget()->IsPropertyButton(pProperty))
                 return c.Fail("\"" + c.m_vWords[1] + "\" is not a button");
             return ViewerEdit::PressButton(*pProperty);
         }}},
        {"command", {2, 2, "command NAME", [](SCall& c) {
             QelDisplayObject* pObject = c.m_cSession.Scene().GetSelection();
             if (!pObject)
                 return c.Fail("no object is selected");
             // Through the object's popup menu, as a right click offers it.
             QelPopupMenu cMenu = QelPopupMenu::Build(*pObject);
             unsigned int nCommand = 0;
             if (!ViewerScript::FindMenuItem(cMenu.GetItems(), c.m_vWords[1], nCommand))
                 return c.Fail(pObject->GetName() + " has no command \"" + c.m_vWords[1] + "\"");
             return cMenu.Choose(nCommand) || c.Fail("the command was refused");
         }}},
        {"view", {2, 2, "view front|back|left|right|top|bottom|iso", [](SCall& c) {
             QelCamera::EViewPreset ePreset;
             if (!ViewerView::PresetFromName(c.m_vWords[1], ePreset))
                 return c.Fail("there is no view \"" + c.m_vWords[1] + "\"");
             c.m_cSession.View().SetPreset(ePreset);
             return true;
         }}},
        {"zoom", {2, 2, "zoom in|out|extents|selected|reset", [](SCall& c) {
             static const std::map<std::string, EZoomTypes> kZooms = {{"in", eZoomIn},
                                                                      {"out", eZoomOut},
                                                                      {"extents", eZoomExtents},
                                                                      {"selected", eZoomSelectedExtents},
                                                                      {"reset", eZoomReset}};
             auto it = kZooms.find(c.m_vWords[1]);
             if (it == kZooms.end())
                 return c.Fail("there is no zoom \"" + c.m_vWords[1] + "\"");
             c.m_cSession.View().Zoom(it->second);
             return true;
         }}},
        {"size", {3, 3, "size WIDTH HEIGHT", [](SCall& c) {
             int nWidth = 0, nHeight = 0;
             if (!ParseSize(c.m_vWords[1], nWidth) || !ParseSize(c.m_vWords[2], nHeight))
                 return c.Fail("the size is not two whole numbers from 0");
             return c.m_cSession.Resize(nWidth, nHeight) || c.Fail("the size was refused");
         }}},
        {"frames", {2, 2, "frames N", [](SCall& c) {
             int n = 0;
             if (!ParseSize(c.m_vWords[1], n) || n < 1 || n > 100000)
                 return c.Fail("the count is not a whole number from 1 to 100000");
             return c.m_cSession.RenderFrames(n) || c.Fail("no frame could be drawn");
         }}},
        {"screenshot", {2, 2, "screenshot FILE", [](SCall& c) {
             return c.m_cSession.Screenshot(c.m_vWords[1]) || c.Fail("no screenshot was written");
         }}},
        {"undo", {1, 1, "undo", [](SCall& c) { return c.m_cSession.App().Undo() || c.Fail("nothing to undo"); }}},
        {"redo", {1, 1, "redo", [](SCall& c) { return c.m_cSession.App().Redo() || c.Fail("nothing to redo"); }}},
    };
    return kCommands;
}
} // namespace

namespace ViewerScript
{
bool FindMenuItem(const std::vector<QelPopupMenu::SItem>& vItems, const std::string& strLabel, unsigned int& nCommand)
{
    for (const QelPopupMenu::SItem& cItem : vItems)
    {
        if (!cItem.m_bSeparator && cItem.m_vSubItems.empty() && cItem.m_strLabel == strLabel)
        {
            nCommand = cItem.m_nCommand;
            return true;
        }
        if (FindMenuItem(cItem.m_vSubItems, strLabel, nCommand))
            return true;
    }
    return false;
}

bool Split(const std::string& strLine, std::vector<std::string>& vWords)
{
    vWords.clear();
    size_t i = 0;
    while (i < strLine.size())
    {
        char c = strLine[i];
        if (c == ' ' || c == '\t' || c == '\r')
        {
            ++i;
            continue;
        }
        if (c == '#' && vWords.empty())
            break; // a comment line; later a "#" starts a word (a color)
        std::string strWord;
        if (c == '"')
        {
            for (++i;; ++i)
            {
                if (i >= strLine.size())
                    return false;
                if (strLine[i] == '\\' && i + 1 < strLine.size() && strLine[i + 1] == '"')
                    strWord += strLine[++i];
                else if (strLine[i] == '"')
                    break;
                else
                    strWord += strLine[i];
            }
            ++i;
        }
        else
            while (i < strLine.size() && strLine[i] != ' ' && strLine[i] != '\t' && strLine[i] != '\r')
                strWord += strLine[i++];
        vWords.push_back(strWord);
    }
    return true;
}

bool Run(ViewerSession& cSession, const std::string& strText, const std::string& strLabel)
{
    std::istringstream cLines(strText);
    std::string strLine;
    int nLine = 0;
    while (std::getline(cLines, strLine))
    {
        ++nLine;
        std::vector<std::string> vWords;
        std::string strWhy;
        if (!Split(strLine, vWords))
            strWhy = "a quote is not closed";
        else if (vWords.empty())
            continue;
        else
        {
            auto it = Commands().find(vWords[0]);
            if (it == Commands().end())
                strWhy = "there is no command \"" + vWords[0] + "\"";
            else if (vWords.size() < it->second.m_nMinWords || vWords.size() > it->second.m_nMaxWords)
                strWhy = std::string("usage: ") + it->second.m_pUsage;
            else
            {
                SCall cCall{cSession, vWords, strWhy};
                if (it->second.m_fnRun(cCall))
                    continue;
            }
        }
        cSession.App().PrintToConsole("<error> Script %s line %d: %s\n", strLabel.c_str(), nLine, strWhy.c_str());
        return false;
    }
    return true;
}

bool RunFile(ViewerSession& cSession, const std::string& strPath)
{
    std::ifstream cFile(strPath, std::ios::binary);
    if (!cFile)
    {
        cSession.App().PrintToConsole("<error> Cannot read script %s\n", strPath.c_str());
        return false;
    }
    std::ostringstream cText;
    cText << cFile.rdbuf();
    return Run(cSession, cText.str(), strPath);
}
} // namespace ViewerScript
