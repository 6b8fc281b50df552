#include "qel/framework/QelSysApp.h"

#include <typeinfo>

QelSysApp* QelSysApp::m_pQelSysApp = nullptr;

QelSysApp::QelSysApp(QelSysApp* pApp)
{
    if (!m_pQelSysApp)
    {
        m_pQelSysApp = pApp;
        return;
    }
    // A plain QelSysApp prints nothing anyway, so only a host console is told.
    if (typeid(*m_pQelSysApp) != typeid(QelSysApp))
        m_pQelSysApp->PrintToConsole("[FATALERROR]Two classes have registered as the QelSysApp class!");
}

QelSysApp::~QelSysApp()
{
    // The next message would otherwise call through a dangling pointer; App() answers with the
    // silent object until another application object registers.
    if (m_pQelSysApp == this)
        m_pQelSysApp = nullptr;
}

QelSysApp& QelSysApp::App()
{
    if (m_pQelSysApp)
        return *m_pQelSysApp;
    static QelSysApp s_silent{SilentTag{}};
    return s_silent;
}

void QelSysApp::PrintToConsole(const char*, ...) const {}
void QelSysApp::SetStatusBarText(const std::string&) const {}

std::vector<QelSandboxIcon*>* QelSysApp::GetAllObjects() { return nullptr; }
std::vector<QelSandboxIcon*> QelSysApp::GetExposedObjects() { return {}; }
std::vector<QelSandboxIcon*> QelSysApp::FindObject(const std::string&) { return {}; }
QelSandboxIcon* QelSysApp::FindObject(GUID*) { return nullptr; }
void QelSysApp::FindAllConnectedObjects(QelSandboxIcon*, std::vector<QelSandboxIcon*>&, bool, bool) {}
void QelSysApp::AddSandboxIcon(QelSandboxIcon*, bool, bool, bool) {}
void QelSysApp::DeleteObjects(std::vector<QelSandboxIcon*>&) {}
void QelSysApp::NameChanged(QelSandboxIcon*) {}
QelPlugin* QelSysApp::InstantiateNewPlugin(const std::string&, GUID*) { return nullptr; }
std::vector<QelSandboxIcon*>* QelSysApp::GetDrivers() { return nullptr; }

QelDisplaySystem* QelSysApp::GetActiveDisplaySystem() { return nullptr; }
std::vector<QelDisplaySystem*>* QelSysApp::GetDisplaySystems() { return nullptr; }
std::vector<QelDisplayObject*>* QelSysApp::GetDisplayObjects() { return nullptr; }
std::vector<QelInput*>* QelSysApp::GetInputs() { return nullptr; }
std::vector<QelManipulator*>* QelSysApp::GetManipulators() { return nullptr; }
void QelSysApp::GetCameras(std::vector<Qel3dCamera*>&) const {}
void QelSysApp::OpenDisplaySystem(QelDisplaySystem*) {}
void QelSysApp::RedrawAllDisplaySystems() {}
void QelSysApp::OpenDrawOrderDialog(QelDisplayObject*) {}
void QelSysApp::OpenDrawOrderDialog(QelDisplaySystem*) {}
HGLRC QelSysApp::GetMainOpenGLContext() const { return nullptr; }
void QelSysApp::SetMainOpenGLContext(HGLRC) {}

int QelSysApp::GetNumSelectedObjects() { return 0; }
void QelSysApp::SelectAll(bool, bool) {}
void QelSysApp::InvertSelection(bool) {}
void QelSysApp::DeleteSelected() {}
void QelSysApp::SelectionChanged() {}
void QelSysApp::OpenRenameDialogForSelectedObjects() {}

CWnd* QelSysApp::GetMainframe() { return nullptr; }
void QelSysApp::RedrawSandbox() {}
void QelSysApp::OrganizeSandbox(bool) {}
void QelSysApp::RedrawPropertyBars(bool) {}
void QelSysApp::PropertyBarExpandGroup(const std::string&) {}
void QelSysApp::PropertyBarCollapseGroup(const std::string&) {}
void QelSysApp::ShowControlBar(EControlBars) {}
void QelSysApp::SuppressGuiUpdates(bool) {}
std::string QelSysApp::PromptFileOpen(const char*, const char*, const char*, const char*, CWnd*, unsigned long)
{
    return std::string();
}
std::string QelSysApp::PromptFileSave(const char*, const char*, const char*, const char*, CWnd*, unsigned long)
{
    return std::string();
}

std::string QelSysApp::GetExePath() { return std::string(); }
std::string QelSysApp::GetCurrentFilePath() { return std::string(); }
std::string QelSysApp::GetHelpPath() { return std::string(); }
std::string QelSysApp::ConvertPathToRelative(const std::string&) { return std::string(); }
std::string QelSysApp::ConvertPathToAbsolute(const std::string&) { return std::string(); }

bool QelSysApp::IsLoading() const { return false; }
bool QelSysApp::IsSaving() const { return false; }
bool QelSysApp::IsAutoSaving() const { return false; }
bool QelSysApp::IsUndoing() const { return false; }
bool QelSysApp::IsExportingPlayer() const { return false; }
void QelSysApp::AddToUndoBuffer(QelSandboxIcon*, const std::string&, bool) {}

double QelSysApp::GetTime() const { return 0.0; }
unsigned int QelSysApp::SetTimer(QelSandboxIcon*, unsigned int) { return 0; }
void QelSysApp::KillTimer(unsigned int) {}

void QelSysApp::SetPluginInterface(QelPlugin*, IDispatch*) {}
void QelSysApp::GetPluginInterface(const std::string&, IDispatch**) {}
void QelSysApp::RemovePluginInterface(QelPlugin*) {}

void QelSysApp::SetArrowCursor() {}
