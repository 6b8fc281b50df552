#include "ViewerApp.h"

#include "ViewerDocument.h"
#include "ViewerScene.h"
#include "ViewerTypes.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/platform/QelTimer.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace
{
const char kFlush[] = "<flush>";
const char kError[] = "<error>";
const char kWarning[] = "<warning>";
const char kFatal[] = "[FATALERROR]";

bool StartsWith(const char* pText, const char* pPrefix) { return std::strncmp(pText, pPrefix, std::strlen(pPrefix)) == 0; }
} // namespace

ViewerApp::ViewerApp(bool bEcho) : QelSysApp(this), m_bEcho(bEcho) {}

void ViewerApp::PrintToConsole(const char* pFormat, ...) const
{
    // Messages composed by objects end with "<flush>" and are formatted already: they are shown
    // literally, a percent sign in an object's name included.
    size_t nLength = std::strlen(pFormat);
    const size_t nFlush = sizeof(kFlush) - 1;
    if (nLength >= nFlush && std::strcmp(pFormat + nLength - nFlush, kFlush) == 0)
    {
        AddLine(std::string(pFormat, nLength - nFlush).c_str());
        return;
    }
    va_list args;
    va_start(args, pFormat);
    va_list copy;
    va_copy(copy, args);
    int nNeeded = std::vsnprintf(nullptr, 0, pFormat, copy);
    va_end(copy);
    std::string strText(nNeeded > 0 ? size_t(nNeeded) : 0, '\0');
    if (nNeeded > 0)
        std::vsnprintf(&strText[0], strText.size() + 1, pFormat, args);
    va_end(args);
    AddLine(strText.c_str());
}

void ViewerApp::AddLine(const char* pText) const
{
    SLogLine cLine{eLevelInfo, pText};
    const char* pTag = nullptr;
    if (StartsWith(pText, kError))
        cLine.m_eLevel = eLevelError, pTag = kError;
    else if (StartsWith(pText, kWarning))
        cLine.m_eLevel = eLevelWarning, pTag = kWarning;
    else if (StartsWith(pText, kFatal))
        cLine.m_eLevel = eLevelError, pTag = kFatal;
    if (pTag)
    {
        // Framework messages put a blank after the tag, object messages do not.
        size_t nSkip = std::strlen(pTag);
        if (pText[nSkip] == ' ')
            ++nSkip;
        cLine.m_strText.erase(0, nSkip);
    }
    while (!cLine.m_strText.empty() && cLine.m_strText.back() == '\n')
        cLine.m_strText.pop_back();
    if (m_bEcho)
    {
        static const char* const kLevelNames[] = {"", "warning: ", "error: "};
        std::fprintf(stderr, "%s%s\n", kLevelNames[cLine.m_eLevel], cLine.m_strText.c_str());
    }
    m_vLog.push_back(std::move(cLine));
    if (m_vLog.size() > kMaxLogLines)
        m_vLog.pop_front();
}

size_t ViewerApp::CountAtLeast(ELevel eLevel) const
{
    size_t n = 0;
    for (const SLogLine& cLine : m_vLog)
        n += cLine.m_eLevel >= eLevel;
    return n;
}

QelSandboxIcon* ViewerApp::FindObject(GUID* pGuid)
{
    if (!pGuid)
        return nullptr;
    if (m_pView && m_pView->GetGuid() == *pGuid)
        return m_pView;
    return m_pScene ? m_pScene->FindByGuid(*pGuid) : nullptr;
}

std::vector<QelSandboxIcon*> ViewerApp::FindObject(const std::string& strName)
{
    std::vector<QelSandboxIcon*> vFound;
    if (m_pView && m_pView->GetName() == strName)
        vFound.push_back(m_pView);
    if (m_pScene)
        for (QelDisplayObject* pObject : m_pScene->Objects())
            if (pObject->GetName() == strName)
                vFound.push_back(pObject);
    return vFound;
}

QelPlugin* ViewerApp::InstantiateNewPlugin(const std::string& strPluginName, GUID* pGuid)
{
    QelPlugin* pPlugin = ViewerTypes::Create(strPluginName);
    if (pPlugin && pGuid)
        pPlugin->SetGuid(*pGuid);
    return pPlugin;
}

std::vector<QelDisplayObject*>* ViewerApp::GetDisplayObjects() { return m_pScene ? &m_pScene->Objects() : nullptr; }

int ViewerApp::GetNumSelectedObjects() { return m_pScene ? m_pScene->GetSelectedCount() : 0; }

void ViewerApp::AddToUndoBuffer(QelSandboxIcon* pIcon, const std::string& strDescription, bool bContinuous)
{
    auto* pContainer = dynamic_cast<QelPropertyContainer*>(pIcon);
    if (!pContainer || m_bUndoing || m_bLoading)
        return;
    if (bContinuous && !m_vUndo.empty() && m_vUndo.back().m_bContinuous &&
        m_vUndo.back().m_guidObject == pIcon->GetGuid() && m_vUndo.back().m_strDescription == strDescription)
        return; // the state before the first edit of the run is already kept
    m_vUndo.push_back(SUndoEntry{pIcon->GetGuid(), strDescription, ViewerDocument::SaveState(*pContainer), bContinuous});
    if (m_vUndo.size() > kMaxUndoSteps)
        m_vUndo.erase(m_vUndo.begin());
    m_vRedo.clear();
}

bool ViewerApp::Swap(std::vector<SUndoEntry>& vFrom, std::vector<SUndoEntry>& vTo)
{
    if (vFrom.empty())
        return false;
    SUndoEntry cEntry = std::move(vFrom.back());
    vFrom.pop_back();
    auto* pContainer = dynamic_cast<QelPropertyContainer*>(FindObject(&cEntry.m_guidObject));
    if (!pContainer)
    {
        PrintToConsole("<warning> Cannot undo \"%s\": its object is gone\n", cEntry.m_strDescription.c_str());
        return false;
    }
    m_bUndoing = true;
    std::string strNow = ViewerDocument::SaveState(*pContainer);
    bool bOk = ViewerDocument::RestoreState(*pContainer, cEntry.m_strState);
    m_bUndoing = false;
    cEntry.m_strState = std::move(strNow);
    cEntry.m_bContinuous = false;
    vTo.push_back(std::move(cEntry));
    if (m_pView)
        m_pView->Redraw();
    return bOk;
}

void ViewerApp::EndContinuousRun()
{
    if (!m_vUndo.empty())
        m_vUndo.back().m_bContinuous = false;
}

bool ViewerApp::Undo() { return Swap(m_vUndo, m_vRedo); }

bool ViewerApp::Redo() { return Swap(m_vRedo, m_vUndo); }

void ViewerApp::ClearUndo()
{
    m_vUndo.clear();
    m_vRedo.clear();
}

void ViewerApp::SetDocumentPath(const std::string& strPath)
{
    std::error_code cError;
    m_strDocumentFolder = strPath.empty() ? std::string()
                                          : std::filesystem::absolute(strPath, cError).parent_path().string();
    if (cError)
        m_strDocumentFolder.clear();
}

std::string ViewerApp::ConvertPathToRelative(const std::string& strPath)
{
    std::filesystem::path cPath(strPath);
    if (m_strDocumentFolder.empty() || !cPath.is_absolute())
        return std::string();
    return cPath.lexically_normal().lexically_relative(m_strDocumentFolder).string();
}

std::string ViewerApp::ConvertPathToAbsolute(const std::string& strPath)
{
    std::filesystem::path cPath(strPath);
    if (m_strDocumentFolder.empty() || strPath.empty() || cPath.is_absolute())
        return std::string();
    return (std::filesystem::path(m_strDocumentFolder) / cPath).lexically_normal().string();
}

double ViewerApp::GetTime() const { return QelGetHighResTime(); }
