#pragma once

#include "ViewerScene.h"
#include "ViewerView.h"

#include <string>

class QelModel;
class QelPropertyContainer;
class ViewerApp;

/// One running viewer without its window: the scene, the view, and the operations the menus, the
/// command line and scripts share (open, save, add, select, frames and screenshots). The window
/// derives from it to draw its panels into frames; on its own it renders into the library's
/// offscreen context, which is how tests drive it without a display.
class ViewerSession
{
public:
    explicit ViewerSession(ViewerApp& cApp);
    virtual ~ViewerSession();
    ViewerSession(const ViewerSession&) = delete;
    ViewerSession& operator=(const ViewerSession&) = delete;

    ViewerApp& App() { return m_cApp; }
    ViewerScene& Scene() { return m_cScene; }
    ViewerView& View() { return m_cView; }

    /// Opens a scene document (replacing the scene) or, for any other file, a model through the
    /// model registry. A file that fails leaves the scene as it was, with the reason in the log.
    bool OpenFile(const std::string& strPath);
    /// Adds a model of the file, selected and named after the file, and frames the scene; null
    /// (nothing added) when no loader reads it. Models of several files, or of one file several
    /// times, stand side by side.
    QelModel* OpenModel(const std::string& strPath);
    /// The object name a model of the file gets: the file's name without folder and extension.
    static std::string ModelName(const std::string& strPath);
    /// Writes the scene; a name ending in ".gz" is compressed.
    bool SaveScene(const std::string& strPath);
    /// Empties the scene.
    void NewScene();
    const std::string& GetCurrentFile() const { return m_strCurrentFile; }

    /// Adds one of the viewer's shapes, selected, under a free name based on strName.
    QelDisplayObject* AddShape(const std::string& strName);
    /// Adds an object of one of ViewerTypes::AddableKinds, selected, under a free name based on
    /// strName (its kind's own name when empty); null for another kind.
    QelDisplayObject* Add(const std::string& strKind, const std::string& strName);
    /// Selects the object of that name alone; false (selection unchanged) when there is none.
    bool Select(const std::string& strName);
    /// What the property panel and scripts edit: the selected object, else the view.
    QelPropertyContainer* EditTarget();

    /// Renders n frames (n at least 1).
    virtual bool RenderFrames(int nFrames);
    /// Writes the last rendered frame to a PNG file.
    virtual bool Screenshot(const std::string& strPath);
    /// Gives the drawing surface a new size (the window's client area, or the offscreen frame).
    virtual bool Resize(int nWidth, int nHeight);

protected:
    /// Sets the shared viewport record and the view's size from the view's rectangle in the frame
    /// (origin bottom left); sizes below zero count as zero.
    void PlaceView(int x, int y, int nWidth, int nHeight);
    /// Saves the frame of that size (origin bottom left) through the library's screenshot, with
    /// the outcome in the log.
    bool WriteScreenshot(const std::string& strPath, int nWidth, int nHeight);

private:
    bool EnsureOffscreen();

    ViewerApp& m_cApp;
    ViewerScene m_cScene;
    ViewerView m_cView;
    std::string m_strCurrentFile;
    int m_nOffscreenWidth = 640;
    int m_nOffscreenHeight = 480;
};
