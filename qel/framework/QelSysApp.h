#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelGuid.h"
#include "qel/platform/QelHandles.h"

#include <string>
#include <vector>

class QelSandboxIcon;
class QelPlugin;
class QelDisplaySystem;
class QelDisplayObject;
class QelInput;
class QelManipulator;
class QelCamera;
/// The hook's name for the library's camera: GetCameras hands out the host's QelCamera objects.
using Qel3dCamera = QelCamera;

#if defined(__GNUC__)
#  define QEL_PRINTF_METHOD(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#  define QEL_PRINTF_METHOD(fmt, args)
#endif

/// The host's application object: receives every library message and answers the host queries.
/// The host derives one class, constructs it first, and overrides only what it supports.
class QEL_EXPORT QelSysApp
{
public:
    /// Control bars of the host's main window; the values are the host's own.
    enum EControlBars
    {
        eControlBarSandbox = 0,
        eControlBarProperties = 1,
        eControlBarConsole = 2,
        eControlBarToolbar = 3,
        eControlBarStatus = 4
    };

    /// Registers pApp as the process-wide singleton unless one is registered already.
    explicit QelSysApp(QelSysApp* pApp);
    /// Copies carry no state (the class has none) and never register as the singleton.
    ///@{
    QelSysApp(const QelSysApp&) {}
    QelSysApp& operator=(const QelSysApp&) { return *this; }
    ///@}
    /// Unregisters this object if it is the singleton; messages then go nowhere until another
    /// application object is constructed.
    virtual ~QelSysApp();

    /// The registered singleton; null until the first application object is constructed.
    static QelSysApp* m_pQelSysApp;

    /// The singleton, or a silent stand-in before any registration, so that a message written too
    /// early is dropped instead of dereferencing null. Library code writes through this.
    static QelSysApp& App();

    // Log
    /// Receives every message; the level is the tag at its start ("<error>", "<warning>" or none).
    /// Messages that end with "<flush>" were composed by objects and are to be printed literally.
    virtual void PrintToConsole(const char* pFormat, ...) const QEL_PRINTF_METHOD(2, 3);
    /// Short text for the host's status bar, replaced by the next call. Default: ignored.
    virtual void SetStatusBarText(const std::string& strText) const;

    // Objects
    /// The host's list of every object of the document, owned by the host. Default: null, no list.
    virtual std::vector<QelSandboxIcon*>* GetAllObjects();
    /// The objects the host shows to scripts and expressions, by value. Default: empty.
    virtual std::vector<QelSandboxIcon*> GetExposedObjects();
    /// Every object named strName (names need not be unique). Default: empty.
    virtual std::vector<QelSandboxIcon*> FindObject(const std::string& strName);
    /// The object with that identifier, used to restore links of a loaded document. Default: null.
    virtual QelSandboxIcon* FindObject(GUID* pGuid);
    /// Appends the objects connected to pIcon through properties, following the links
    /// upstream (its sources), downstream (its dependants) or both. Default: appends nothing.
    virtual void FindAllConnectedObjects(QelSandboxIcon* pIcon, std::vector<QelSandboxIcon*>& vObjects,
                                         bool bUpstream, bool bDownstream);
    /// Hands a new object to the host's document, optionally selecting it, redrawing and
    /// recording an undo entry. Default: ignored, so the caller keeps ownership.
    virtual void AddSandboxIcon(QelSandboxIcon* pIcon, bool bSelect, bool bRedraw, bool bUndo);
    /// Asks the host to delete these objects from its document. Default: nothing is deleted.
    virtual void DeleteObjects(std::vector<QelSandboxIcon*>& vObjects);
    /// Tells the host an object was renamed, so lists and labels can refresh. Default: ignored.
    virtual void NameChanged(QelSandboxIcon* pIcon);
    /// Creates a plug-in of the registered kind strPluginName, with the identifier *pGuid when
    /// that is not null (loading); the host owns the result. Default: null, "kind unknown".
    virtual QelPlugin* InstantiateNewPlugin(const std::string& strPluginName, GUID* pGuid);
    /// The host's objects that drive others each frame, owned by the host. Default: null.
    virtual std::vector<QelSandboxIcon*>* GetDrivers();

    // Display
    /// The view the user works in now. Default: null, no view.
    virtual QelDisplaySystem* GetActiveDisplaySystem();
    /// The host's lists of views, drawable objects, input devices and manipulators, owned by
    /// the host. Default: null.
    ///@{
    virtual std::vector<QelDisplaySystem*>* GetDisplaySystems();
    virtual std::vector<QelDisplayObject*>* GetDisplayObjects();
    virtual std::vector<QelInput*>* GetInputs();
    virtual std::vector<QelManipulator*>* GetManipulators();
    ///@}
    /// Appends the host's cameras to vCameras. Default: appends nothing.
    virtual void GetCameras(std::vector<Qel3dCamera*>& vCameras) const;
    /// Asks the host to show a window for this view. Default: ignored.
    virtual void OpenDisplaySystem(QelDisplaySystem* pDisplaySystem);
    /// Asks for every view to be drawn again, after an edit that changes the scene. Default: ignored.
    virtual void RedrawAllDisplaySystems();
    /// Asks the host to open its draw-order editor for one object or a whole view. Default: ignored.
    ///@{
    virtual void OpenDrawOrderDialog(QelDisplayObject* pObject);
    virtual void OpenDrawOrderDialog(QelDisplaySystem* pDisplaySystem);
    ///@}
    /// The OpenGL context that textures and display lists are shared from. Default: null, and
    /// setting it is ignored.
    ///@{
    virtual HGLRC GetMainOpenGLContext() const;
    virtual void SetMainOpenGLContext(HGLRC hContext);
    ///@}

    // Selection
    /// How many objects are selected. Default: 0.
    virtual int GetNumSelectedObjects();
    /// Selects (bSelect true) or deselects every object, redrawing when bRedraw. Default: ignored.
    virtual void SelectAll(bool bSelect, bool bRedraw);
    /// Selects the unselected objects and deselects the rest. Default: ignored.
    virtual void InvertSelection(bool bRedraw);
    /// Deletes the selected objects from the document. Default: ignored.
    virtual void DeleteSelected();
    /// Tells the host the selection changed, so its panels can follow. Default: ignored.
    virtual void SelectionChanged();
    /// Asks the host to let the user rename the selection. Default: ignored.
    virtual void OpenRenameDialogForSelectedObjects();

    // Host user interface
    /// The host's main window, as the parent of dialogs. Default: null.
    virtual CWnd* GetMainframe();
    /// Asks for the overview of the document's objects to be drawn again. Default: ignored.
    virtual void RedrawSandbox();
    /// Asks the host to lay out the icons of the overview, all or only the selected ones. Default: ignored.
    virtual void OrganizeSandbox(bool bSelectedOnly);
    /// Asks the property panels to refresh their values, or to rebuild their rows when
    /// properties were added or removed (bRebuild). Default: ignored.
    virtual void RedrawPropertyBars(bool bRebuild);
    /// Opens or closes a group of the property panel (the part of property names before ":").
    /// Default: ignored.
    ///@{
    virtual void PropertyBarExpandGroup(const std::string& strGroup);
    virtual void PropertyBarCollapseGroup(const std::string& strGroup);
    ///@}
    /// Asks the host to show one of its control bars. Default: ignored.
    virtual void ShowControlBar(EControlBars eBar);
    /// While true the host may skip refreshing its panels, during batch edits. Default: ignored.
    virtual void SuppressGuiUpdates(bool bSuppress);
    /// Shows the host's file dialog and returns the chosen path, empty when cancelled. pFilter
    /// uses the "Name|*.ext|...|" form of the library's filter strings. Default: empty, as if cancelled.
    ///@{
    virtual std::string PromptFileOpen(const char* pTitle, const char* pFilter, const char* pDefaultExt,
                                       const char* pInitialDir, CWnd* pParent, unsigned long nFlags);
    virtual std::string PromptFileSave(const char* pTitle, const char* pFilter, const char* pDefaultExt,
                                       const char* pInitialDir, CWnd* pParent, unsigned long nFlags);
    ///@}

    // Paths
    /// Folders of the host: its program, the current document and its help. Default: empty.
    ///@{
    virtual std::string GetExePath();
    virtual std::string GetCurrentFilePath();
    virtual std::string GetHelpPath();
    ///@}
    /// Converts a file name between absolute and relative to the current document, as files are
    /// named in saved documents. An empty result means "no conversion", and callers keep the name
    /// as given. Default: empty.
    ///@{
    virtual std::string ConvertPathToRelative(const std::string& strPath);
    virtual std::string ConvertPathToAbsolute(const std::string& strPath);
    ///@}

    // Document state
    /// What the host is doing to the document now, so that objects can skip side effects (undo
    /// entries, prompts) while it loads, saves or undoes. Default: false.
    ///@{
    virtual bool IsLoading() const;
    virtual bool IsSaving() const;
    virtual bool IsAutoSaving() const;
    virtual bool IsUndoing() const;
    virtual bool IsExportingPlayer() const;
    ///@}
    /// Records an undo entry for pIcon under strDescription; bContinuous marks a step of an edit
    /// still going on (a drag), which the host may merge with the previous entry. Default:
    /// ignored, so no undo.
    virtual void AddToUndoBuffer(QelSandboxIcon* pIcon, const std::string& strDescription, bool bContinuous);

    // Time and timers
    /// The host's clock in seconds, for objects that animate with time. Default: 0.0.
    virtual double GetTime() const;
    /// Starts a repeating timer that calls pIcon->OnTimer(id) every nMilliseconds and returns its
    /// id. Default: 0, no timer.
    virtual unsigned int SetTimer(QelSandboxIcon* pIcon, unsigned int nMilliseconds);
    /// Stops a timer SetTimer started. Default: ignored.
    virtual void KillTimer(unsigned int nTimerId);

    // Scripting
    /// The scripting interface a plug-in exposes to the host's scripts: register, look up by the
    /// plug-in's name (null when unknown), remove. Default: nothing registered, lookups leave
    /// *ppInterface untouched.
    ///@{
    virtual void SetPluginInterface(QelPlugin* pPlugin, IDispatch* pInterface);
    virtual void GetPluginInterface(const std::string& strName, IDispatch** ppInterface);
    virtual void RemovePluginInterface(QelPlugin* pPlugin);
    ///@}

private:
    struct SilentTag
    {
    };
    explicit QelSysApp(SilentTag) {}

public:
    // Cursor shapes of the host window; the library only asks, the host decides.
    /// Asks the host to show its arrow cursor; a host without cursors ignores it.
    virtual void SetArrowCursor();
};
