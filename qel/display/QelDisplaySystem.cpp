#include "qel/display/QelDisplaySystem.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

#include <algorithm>

namespace
{
/// Where the current viewport lies inside its window; one per process, shared by every view.
struct SCurrentViewport
{
    int m_nX = 0;
    int m_nY = 0;
    int m_nWidth = 0;
    int m_nHeight = 0;
    unsigned int m_nEnabled = 0;
    unsigned int m_nActive = 0;
};

SCurrentViewport s_currentViewport;

const char* const kReservedThis = "Reserved:This";
} // namespace

/// The state of a display system, kept out of the public header.
class QelDisplaySystemDef
{
public:
    explicit QelDisplaySystemDef(QelDisplaySystem* pOwner) : m_pOwner(pOwner) {}

    QelDisplaySystem* m_pOwner;
    CWnd* m_pWnd = nullptr;
    CFrameWnd* m_pFrame = nullptr;
    bool m_bNeedsRedraw = true;
    uint32_t m_nWindowWidth = 0;
    uint32_t m_nWindowHeight = 0;
    bool m_bAllowOpenOnLoad = true;
    QelDisplaySystem::STabletData m_cTablet;
    std::vector<QelDisplayObject*> m_vSelection;
};

QelDisplaySystem::QelDisplaySystem() : m_pDef(new QelDisplaySystemDef(this))
{
    BindReservedThis();
}

QelDisplaySystem::QelDisplaySystem(const QelPluginAttributes& attributes)
    : QelPropertyContainer(attributes), m_pDef(new QelDisplaySystemDef(this))
{
    BindReservedThis();
}

QelDisplaySystem::QelDisplaySystem(const QelDisplaySystem& other)
    : QelPropertyContainer(other), m_pDef(new QelDisplaySystemDef(this))
{
    BindReservedThis();
}

QelDisplaySystem& QelDisplaySystem::operator=(const QelDisplaySystem& other)
{
    if (this != &other)
    {
        QelPropertyContainer::operator=(other);
        BindReservedThis();
    }
    return *this;
}

QelDisplaySystem::~QelDisplaySystem()
{
    ReplaceSelection({});
    delete m_pDef;
}

void QelDisplaySystem::BindReservedThis()
{
    QelProperty* pThis = GetProperty(kReservedThis);
    if (!pThis)
        pThis = CreateProperty(kReservedThis, eDataDisplaySystem, false);
    if (!pThis)
        return;
    pThis->SetAsDisplaySystem(this);
    // The pointer is only meaningful in this process: never saved, never edited by the user.
    pThis->EnableAutoSaving(false);
    pThis->SetGuiEditable(false);
    pThis->SetChangedFlag(false);
    SetDirtyBit(false);
}

void QelDisplaySystem::SetViewport(int x, int y, int nWidth, int nHeight)
{
    const SCurrentViewport& r = s_currentViewport;
    if (!r.m_nEnabled || !r.m_nActive)
        return;
    glViewport(r.m_nX + x, r.m_nY + y, nWidth, nHeight);
    glScissor(r.m_nX + x, r.m_nY + y, nWidth, nHeight);
}

void QelDisplaySystem::SetScissor(int x, int y, int nWidth, int nHeight)
{
    const SCurrentViewport& r = s_currentViewport;
    if (!r.m_nEnabled || !r.m_nActive)
        return;
    glScissor(r.m_nX + x, r.m_nY + y, nWidth, nHeight);
}

void QelDisplaySystem::GetScreenCoordinate(int x, int y, int& nOutX, int& nOutY)
{
    nOutX = x + s_currentViewport.m_nX;
    nOutY = y + s_currentViewport.m_nY;
}

void QelDisplaySystem::SetCurrentViewportInfo(int x, int y, int nWidth, int nHeight, unsigned int nEnabled,
                                              unsigned int nActive)
{
    s_currentViewport = SCurrentViewport{x, y, nWidth, nHeight, nEnabled, nActive};
}

void QelDisplaySystem::GetCurrentViewportInfo(int& x, int& y, int& nWidth, int& nHeight)
{
    x = s_currentViewport.m_nX;
    y = s_currentViewport.m_nY;
    nWidth = s_currentViewport.m_nWidth;
    nHeight = s_currentViewport.m_nHeight;
}

QelSandboxIcon::ECategories QelDisplaySystem::GetCategory() const
{
    return eCategoryDisplaySystem;
}

const QelVec4& QelDisplaySystem::GetIconColor()
{
    static const QelVec4 s_vIconColor(0.25f, 0.55f, 0.95f, 1.0f);
    return s_vIconColor;
}

void QelDisplaySystem::SetMfcData(CWnd* pWnd, CFrameWnd* pFrame)
{
    m_pDef->m_pWnd = pWnd;
    m_pDef->m_pFrame = pFrame;
}

bool QelDisplaySystem::MouseMotion(const QelMouseState&, QelVec2, bool&) { return false; }

void QelDisplaySystem::WindowResized(unsigned int nWidth, unsigned int nHeight)
{
    m_pDef->m_nWindowWidth = nWidth;
    m_pDef->m_nWindowHeight = nHeight;
}

void QelDisplaySystem::SetCursor()
{
    QelSysApp::App().SetArrowCursor();
}

CWnd* QelDisplaySystem::GetWnd(bool) { return m_pDef->m_pWnd; }
CFrameWnd* QelDisplaySystem::GetFrame(bool) { return m_pDef->m_pFrame; }
void QelDisplaySystem::Redraw() { m_pDef->m_bNeedsRedraw = true; }
bool QelDisplaySystem::AllowFocusManipulation() { return true; }
bool QelDisplaySystem::AllowMultisampling() { return false; }

void QelDisplaySystem::AddObject(const QelDisplayObject*) {}
void QelDisplaySystem::RemoveObject(const QelDisplayObject*) {}
std::vector<QelDisplayObject*>* QelDisplaySystem::GetDisplayObjects() { return nullptr; }
void QelDisplaySystem::Draw() {}
void QelDisplaySystem::OnCreate() {}
void QelDisplaySystem::PostSwap() {}
void QelDisplaySystem::HandleChangeOfSelection() {}
void QelDisplaySystem::KeyPressed(const QelKeyState&) {}
void QelDisplaySystem::KeyReleased(const QelKeyState&) {}
void QelDisplaySystem::CharacterPressed(const QelKeyState&) {}
void QelDisplaySystem::MouseButtonPress(const QelMouseState&) {}
void QelDisplaySystem::MouseButtonRelease(const QelMouseState&) {}
void QelDisplaySystem::MouseButtonDoublePress(const QelMouseState&) {}
void QelDisplaySystem::MouseWheelMotion(const QelMouseState&, short) {}
void QelDisplaySystem::ToolbarButtonPress(unsigned int) {}
void QelDisplaySystem::UpdateToolbarButton(unsigned int, bool&, bool&) {}
void QelDisplaySystem::WindowCreated() {}
void QelDisplaySystem::WindowDestroyed() {}

void QelDisplaySystem::GetWindowSize(unsigned int& nWidth, unsigned int& nHeight)
{
    nWidth = m_pDef->m_nWindowWidth;
    nHeight = m_pDef->m_nWindowHeight;
}

QelVec4 QelDisplaySystem::GetClearColor() { return QelVec4(0.0f, 0.0f, 0.0f, 0.0f); }

unsigned int QelDisplaySystem::GetClearBit()
{
    return GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT;
}

bool QelDisplaySystem::IsManagingScreenClears() { return false; }
bool QelDisplaySystem::GetToolbarInfo(void*&, unsigned int&, EToolbarDock&) { return false; }
void QelDisplaySystem::Zoom(EZoomTypes) {}
void QelDisplaySystem::SetTabletData(const STabletData& data) { m_pDef->m_cTablet = data; }
QelDisplaySystem::STabletData QelDisplaySystem::GetTabletData() { return m_pDef->m_cTablet; }
bool QelDisplaySystem::NeedsRedraw() { return m_pDef->m_bNeedsRedraw; }
void QelDisplaySystem::ResetRedrawFlag() { m_pDef->m_bNeedsRedraw = false; }
void QelDisplaySystem::SetAllowOpenOnLoad(bool bAllow) { m_pDef->m_bAllowOpenOnLoad = bAllow; }
bool QelDisplaySystem::IsAllowedOpenOnLoad() { return m_pDef->m_bAllowOpenOnLoad; }

const std::vector<QelDisplayObject*>& QelDisplaySystem::GetSelection() const
{
    return m_pDef->m_vSelection;
}

bool QelDisplaySystem::IsInSelection(const QelDisplayObject* pObject) const
{
    const std::vector<QelDisplayObject*>& v = m_pDef->m_vSelection;
    return pObject && std::find(v.begin(), v.end(), pObject) != v.end();
}

bool QelDisplaySystem::ReplaceSelection(const std::vector<QelDisplayObject*>& vecObjects)
{
    std::vector<QelDisplayObject*> vNew;
    for (QelDisplayObject* p : vecObjects)
        if (p && !p->IsDeleted() && std::find(vNew.begin(), vNew.end(), p) == vNew.end())
            vNew.push_back(p);
    std::vector<QelDisplayObject*>& vOld = m_pDef->m_vSelection;
    if (vNew == vOld)
        return false;
    for (QelDisplayObject* p : vOld)
        if (std::find(vNew.begin(), vNew.end(), p) == vNew.end())
        {
            p->Select(false);
            ReleaseObject(p);
        }
    for (QelDisplayObject* p : vNew)
    {
        p->Select(true);
        HoldObject(p);
    }
    vOld.swap(vNew);
    return true;
}

void QelDisplaySystem::SetSelection(const std::vector<QelDisplayObject*>& vecObjects)
{
    if (ReplaceSelection(vecObjects))
        HandleChangeOfSelection();
}

void QelDisplaySystem::AddToSelection(QelDisplayObject* pObject)
{
    std::vector<QelDisplayObject*> v = m_pDef->m_vSelection;
    v.push_back(pObject);
    SetSelection(v);
}

void QelDisplaySystem::RemoveFromSelection(QelDisplayObject* pObject)
{
    std::vector<QelDisplayObject*> v = m_pDef->m_vSelection;
    v.erase(std::remove(v.begin(), v.end(), pObject), v.end());
    SetSelection(v);
}

void QelDisplaySystem::ClearSelection()
{
    SetSelection({});
}

void QelDisplaySystem::OnObjectDeletion(QelBase* pDeleted)
{
    std::vector<QelDisplayObject*>& v = m_pDef->m_vSelection;
    auto it = std::find(v.begin(), v.end(), pDeleted);
    if (it != v.end())
    {
        v.erase(it);
        ReleaseObject(pDeleted);
        HandleChangeOfSelection();
    }
    QelPropertyContainer::OnObjectDeletion(pDeleted);
}
