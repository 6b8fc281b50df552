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
    QelSysApp(const QelSysApp&) {}
    QelSysApp& operator=(const QelSysApp&) { return *this; }
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
    virtual void SetStatusBarText(const std::string& strText) const;

    // Objects
    virtual std::vector<QelSandboxIcon*>* GetAllObjects();
    virtual std::vector<QelSandboxIcon*> GetExposedObjects();
    virtual std::vector<QelSandboxIcon*> FindObject(const std::string& strName);
    virtual QelSandboxIcon* FindObject(GUID* pGuid);
    virtual void FindAllConnectedObjects(QelSandboxIcon* pIcon, std::vector<QelSandboxIcon*>& vObjects,
                                         bool bUpstream, bool bDownstream);
    virtual void AddSandboxIcon(QelSandboxIcon* pIcon, bool bSelect, bool bRedraw, bool bUndo);
    virtual void DeleteObjects(std::vector<QelSandboxIcon*>& vObjects);
    virtual void NameChanged(QelSandboxIcon* pIcon);
    virtual QelPlugin* InstantiateNewPlugin(const std::string& strPluginName, GUID* pGuid);
    virtual std::vector<QelSandboxIcon*>* GetDrivers();

    // Display
    virtual QelDisplaySystem* GetActiveDisplaySystem();
    virtual std::vector<QelDisplaySystem*>* GetDisplaySystems();
    virtual std::vector<QelDisplayObject*>* GetDisplayObjects();
    virtual std::vector<QelInput*>* GetInputs();
    virtual std::vector<QelManipulator*>* GetManipulators();
    virtual void GetCameras(std::vector<Qel3dCamera*>& vCameras) const;
    virtual void OpenDisplaySystem(QelDisplaySystem* pDisplaySystem);
    virtual void RedrawAllDisplaySystems();
    virtual void OpenDrawOrderDialog(QelDisplayObject* pObject);
    virtual void OpenDrawOrderDialog(QelDisplaySystem* pDisplaySystem);
    virtual HGLRC GetMainOpenGLContext() const;
    virtual void SetMainOpenGLContext(HGLRC hContext);

    // Selection
    virtual int GetNumSelectedObjects();
    virtual void SelectAll(bool bSelect, bool bRedraw);
    virtual void InvertSelection(bool bRedraw);
    virtual void DeleteSelected();
    virtual void SelectionChanged();
    virtual void OpenRenameDialogForSelectedObjects();

    // Host user interface
    virtual CWnd* GetMainframe();
    virtual void RedrawSandbox();
    virtual void OrganizeSandbox(bool bSelectedOnly);
    virtual void RedrawPropertyBars(bool bRebuild);
    virtual void PropertyBarExpandGroup(const std::string& strGroup);
    virtual void PropertyBarCollapseGroup(const std::string& strGroup);
    virtual void ShowControlBar(EControlBars eBar);
    virtual void SuppressGuiUpdates(bool bSuppress);
    virtual std::string PromptFileOpen(const char* pTitle, const char* pFilter, const char* pDefaultExt,
                                       const char* pInitialDir, CWnd* pParent, unsigned long nFlags);
    virtual std::string PromptFileSave(const char* pTitle, const char* pFilter, const char* pDefaultExt,
                                       const char* pInitialDir, CWnd* pParent, unsigned long nFlags);

    // Paths
    virtual std::string GetExePath();
    virtual std::string GetCurrentFilePath();
    virtual std::string GetHelpPath();
    virtual std::string ConvertPathToRelative(const std::string& strPath);
    virtual std::string ConvertPathToAbsolute(const std::string& strPath);

    // Document state
    virtual bool IsLoading() const;
    virtual bool IsSaving() const;
    virtual bool IsAutoSaving() const;
    virtual bool IsUndoing() const;
    virtual bool IsExportingPlayer() const;
    virtual void AddToUndoBuffer(QelSandboxIcon* pIcon, const std::string& strDescription, bool bContinuous);

    // Time and timers
    virtual double GetTime() const;
    virtual unsigned int SetTimer(QelSandboxIcon* pIcon, unsigned int nMilliseconds);
    virtual void KillTimer(unsigned int nTimerId);

    // Scripting
    virtual void SetPluginInterface(QelPlugin* pPlugin, IDispatch* pInterface);
    virtual void GetPluginInterface(const std::string& strName, IDispatch** ppInterface);
    virtual void RemovePluginInterface(QelPlugin* pPlugin);

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
