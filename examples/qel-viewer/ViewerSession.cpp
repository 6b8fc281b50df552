#include "ViewerSession.h"

#include "ViewerApp.h"
#include "ViewerDocument.h"
#include "ViewerTypes.h"

#include "qel/display/QelCamera.h"
#include "qel/materials/QelImage.h"
#include "qel/models/QelModel.h"
#include "qel/platform/QelOffscreenContext.h"

#include <GL/glew.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

ViewerSession::ViewerSession(ViewerApp& cApp) : m_cApp(cApp), m_cView(&m_cScene)
{
    m_cApp.SetScene(&m_cScene);
    m_cApp.SetView(&m_cView);
}

ViewerSession::~ViewerSession()
{
    m_cApp.ClearUndo();
    m_cApp.SetScene(nullptr);
    m_cApp.SetView(nullptr);
}

bool ViewerSession::OpenFile(const std::string& strPath)
{
    if (!std::ifstream(strPath).good())
    {
        m_cApp.PrintToConsole("<error> Cannot open %s: no such file or no permission to read it\n", strPath.c_str());
        return false;
    }
    if (ViewerDocument::IsSceneFile(strPath))
    {
        if (!ViewerDocument::Open(strPath, m_cScene, m_cView))
            return false;
        m_strCurrentFile = strPath;
        m_cView.Zoom(eZoomExtents);
        m_cApp.PrintToConsole("Opened scene %s (%d objects)\n", strPath.c_str(), int(m_cScene.Objects().size()));
        return true;
    }
    return OpenModel(strPath) != nullptr;
}

QelModel* ViewerSession::OpenModel(const std::string& strPath)
{
    // The model's loader reports what went wrong; the viewer only adds that it goes on without it.
    // An absolute name, so that a scene saved elsewhere than the working folder still finds it.
    std::error_code cError;
    std::string strAbsolute = std::filesystem::absolute(strPath, cError).lexically_normal().string();
    auto* pModel = new QelModel();
    if (!pModel->LoadFile(cError ? strPath : strAbsolute))
    {
        delete pModel;
        m_cApp.PrintToConsole("<error> Model %s was not opened\n", strPath.c_str());
        return nullptr;
    }
    pModel->SetName(ModelName(strPath));
    m_cScene.Add(pModel);
    m_cScene.Select(pModel, false);
    m_cView.Zoom(eZoomExtents);
    m_cApp.PrintToConsole("Opened model %s\n", strPath.c_str());
    return pModel;
}

std::string ViewerSession::ModelName(const std::string& strPath)
{
    size_t nSlash = strPath.find_last_of("/\\");
    std::string strName = nSlash == std::string::npos ? strPath : strPath.substr(nSlash + 1);
    size_t nDot = strName.rfind('.');
    if (nDot != std::string::npos && nDot > 0)
        strName.erase(nDot);
    return strName.empty() ? "Model" : strName;
}

bool ViewerSession::SaveScene(const std::string& strPath)
{
    bool bCompress = strPath.size() >= 3 && strPath.compare(strPath.size() - 3, 3, ".gz") == 0;
    if (!ViewerDocument::Save(strPath, bCompress, m_cScene, m_cView))
        return false;
    m_strCurrentFile = strPath;
    m_cApp.PrintToConsole("Saved scene %s\n", strPath.c_str());
    return true;
}

void ViewerSession::NewScene()
{
    m_cApp.ClearUndo();
    m_cScene.Clear();
    m_strCurrentFile.clear();
    m_cView.Redraw();
}

QelDisplayObject* ViewerSession::AddShape(const std::string& strName) { return Add("shape", strName); }

QelDisplayObject* ViewerSession::Add(const std::string& strKind, const std::string& strName)
{
    QelBox3 cBox = QelCamera::GetSceneExtents(m_cScene.Objects());
    QelDisplayObject* pObject = ViewerTypes::CreateKind(strKind, cBox.IsValid() ? cBox.Center() : QelVec3());
    if (!pObject)
        return nullptr;
    if (!strName.empty())
        pObject->SetName(strName);
    m_cScene.Add(pObject);
    m_cScene.Select(pObject, false);
    m_cView.Redraw();
    return pObject;
}

bool ViewerSession::Select(const std::string& strName)
{
    QelDisplayObject* pObject = m_cScene.FindByName(strName);
    if (!pObject)
        return false;
    m_cScene.Select(pObject, false);
    m_cView.Redraw();
    return true;
}

QelPropertyContainer* ViewerSession::EditTarget()
{
    QelDisplayObject* pSelected = m_cScene.GetSelection();
    return pSelected ? static_cast<QelPropertyContainer*>(pSelected) : &m_cView;
}

void ViewerSession::PlaceView(int x, int y, int nWidth, int nHeight)
{
    nWidth = std::max(nWidth, 0);
    nHeight = std::max(nHeight, 0);
    QelDisplaySystem::SetCurrentViewportInfo(x, y, nWidth, nHeight, 1, 1);
    unsigned int nOldWidth = 0, nOldHeight = 0;
    m_cView.GetWindowSize(nOldWidth, nOldHeight);
    if (nOldWidth != unsigned(nWidth) || nOldHeight != unsigned(nHeight))
        m_cView.WindowResized(unsigned(nWidth), unsigned(nHeight));
}

bool ViewerSession::EnsureOffscreen()
{
    std::string strWhy;
    if (!QelOffscreenContext::MakeCurrent(m_nOffscreenWidth, m_nOffscreenHeight, &strWhy))
        return false;
    if (QelOffscreenContext::Width() != m_nOffscreenWidth || QelOffscreenContext::Height() != m_nOffscreenHeight)
        QelOffscreenContext::Resize(m_nOffscreenWidth, m_nOffscreenHeight);
    return true;
}

bool ViewerSession::RenderFrames(int nFrames)
{
    if (!EnsureOffscreen())
        return false;
    PlaceView(0, 0, m_nOffscreenWidth, m_nOffscreenHeight);
    for (int i = 0; i < std::max(nFrames, 1); ++i)
        m_cView.Draw();
    glFinish();
    return true;
}

bool ViewerSession::Screenshot(const std::string& strPath)
{
    if (!EnsureOffscreen())
        return false;
    return WriteScreenshot(strPath, m_nOffscreenWidth, m_nOffscreenHeight);
}

bool ViewerSession::WriteScreenshot(const std::string& strPath, int nWidth, int nHeight)
{
    // The library saves the current viewport, so it is made the whole frame first.
    glFinish();
    glDisable(GL_SCISSOR_TEST);
    glViewport(0, 0, nWidth, nHeight);
    if (!QelImage::TakeScreenshot(strPath))
    {
        m_cApp.PrintToConsole("<error> Could not write screenshot %s\n", strPath.c_str());
        return false;
    }
    m_cApp.PrintToConsole("Screenshot %s (%dx%d)\n", strPath.c_str(), nWidth, nHeight);
    return true;
}

bool ViewerSession::Resize(int nWidth, int nHeight)
{
    if (nWidth < 0 || nHeight < 0)
        return false;
    m_nOffscreenWidth = std::max(nWidth, 1);
    m_nOffscreenHeight = std::max(nHeight, 1);
    return true;
}
