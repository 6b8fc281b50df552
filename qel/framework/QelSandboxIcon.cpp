#include "qel/framework/QelSandboxIcon.h"

#include "qel/framework/QelObjectMessage.h"
#include "qel/framework/QelSysApp.h"
#include "qel/xml/QelXMLInterface.h"

#include <cstdarg>

QelSandboxIcon::QelSandboxIcon() : QelBase("Undefined") {}

QelSandboxIcon::QelSandboxIcon(const std::string& strName) : QelBase(strName) {}

QelSandboxIcon::QelSandboxIcon(const QelSandboxIcon& other)
    : QelBase(other), m_vecIconPosition(other.m_vecIconPosition), m_cIconExtents(other.m_cIconExtents),
      m_nIconFlags(other.m_nIconFlags)
{
}

QelSandboxIcon& QelSandboxIcon::operator=(const QelSandboxIcon& other)
{
    if (this != &other)
    {
        QelBase::operator=(other);
        m_vecIconPosition = other.m_vecIconPosition;
        m_cIconExtents = other.m_cIconExtents;
        m_nIconFlags = other.m_nIconFlags;
    }
    return *this;
}

QelSandboxIcon::~QelSandboxIcon() = default;

const char* QelSandboxIcon::GetCategoryName(int nCategory)
{
    switch (nCategory)
    {
    case eCategoryInputObject: return "Input Object";
    case eCategoryDisplayObject: return "Display Object";
    case eCategoryDisplaySystem: return "Display System";
    case eCategoryManipulatorObject: return "Manipulator Object";
    case eCategoryContainerObject: return "Container Object";
    default: return "Unknown";
    }
}

QelBox2 QelSandboxIcon::GetTransformedIconExtents()
{
    return QelBox2();
}

void QelSandboxIcon::Select(bool bSelect)
{
    if (bSelect)
        m_nIconFlags |= kFlagSelected;
    else
        m_nIconFlags &= static_cast<unsigned char>(~kFlagSelected);
}

void QelSandboxIcon::ToggleSelected()
{
    m_nIconFlags ^= kFlagSelected;
}

void QelSandboxIcon::SetIconVisibility(bool bVisible)
{
    if (bVisible)
        m_nIconFlags |= kFlagVisible;
    else
        m_nIconFlags &= static_cast<unsigned char>(~kFlagVisible);
}

std::string QelSandboxIcon::GetIconDescription()
{
    return GetName();
}

const QelVec4& QelSandboxIcon::GetIconColor()
{
    static const QelVec4 kWhite(1.0f, 1.0f, 1.0f, 1.0f);
    return kWhite;
}

QelTexture* QelSandboxIcon::GetSandboxIconTexture()
{
    return nullptr;
}

void QelSandboxIcon::DrawSandboxIcon() {}

void QelSandboxIcon::DrawSandboxIconImage(const QelVec2&, const QelVec2&) const {}

void QelSandboxIcon::LabelIcon(QelTextureText*) const {}

void QelSandboxIcon::InitOpenGL() {}

void QelSandboxIcon::DestroyOpenGL() {}

void QelSandboxIcon::FillPopupMenu(QelPopupMenu&) {}

void QelSandboxIcon::RespondToPopupMenu(unsigned int) {}

const std::vector<std::string>& QelSandboxIcon::GetCustomCommands() const
{
    static const std::vector<std::string> kNone;
    return kNone;
}

bool QelSandboxIcon::CustomCommand(const std::string&, std::vector<QelVariant>&)
{
    return false;
}

void QelSandboxIcon::FillExtraPlayerFiles(std::vector<std::string>&) {}

unsigned int QelSandboxIcon::SetTimer(unsigned int nMilliseconds)
{
    return QelSysApp::App().SetTimer(this, nMilliseconds);
}

void QelSandboxIcon::KillTimer(unsigned int nTimerId)
{
    QelSysApp::App().KillTimer(nTimerId);
}

void QelSandboxIcon::OnTimer(unsigned int) {}

void QelSandboxIcon::PrintWarning(const char* pFormat, ...) const
{
    va_list args;
    va_start(args, pFormat);
    QelPrintObjectMessage("<warning>", GetName(), pFormat, args);
    va_end(args);
}

void QelSandboxIcon::PrintError(const char* pFormat, ...) const
{
    va_list args;
    va_start(args, pFormat);
    QelPrintObjectMessage("<error>", GetName(), pFormat, args);
    va_end(args);
}

bool QelSandboxIcon::Load(QelXMLInterface* pXML)
{
    if (!pXML)
        return false;
    m_vecIconPosition.x = pXML->ReadFloat("XPos", 0.0f);
    m_vecIconPosition.y = pXML->ReadFloat("YPos", 0.0f);
    return true;
}

bool QelSandboxIcon::Save(QelXMLInterface*)
{
    return true;
}

void QelSandboxIcon::AddToUndoBuffer(const std::string& strDescription, bool bContinuous)
{
    QelSysApp::App().AddToUndoBuffer(this, strDescription, bContinuous);
}
