#include "qel/models/QelModelFormat.h"

#include "qel/framework/QelSysApp.h"
#include "qel/models/detail/QelBuiltInFormats.h"
#include "qel/platform/QelString.h"

#include <map>
#include <utility>

namespace
{
struct CaseInsensitiveLess
{
    bool operator()(const std::string& a, const std::string& b) const { return QelStricmp(a.c_str(), b.c_str()) < 0; }
};
using FormatMap = std::map<std::string, QelModelFormat*, CaseInsensitiveLess>;

/// Made on first use, so that loaders registering from anywhere never meet an unconstructed map.
FormatMap& Registry()
{
    static FormatMap s_map;
    return s_map;
}
} // namespace

bool QelModelFormat::SFileType::operator<(const SFileType& o) const
{
    if (m_strLabel != o.m_strLabel)
        return m_strLabel < o.m_strLabel;
    return QelStricmp(m_strExtension.c_str(), o.m_strExtension.c_str()) < 0;
}

QelModelFormat::QelModelFormat() = default;

QelModelFormat::~QelModelFormat()
{
    // A loader that goes away takes its entries with it, so that no lookup returns a dangling pointer.
    FormatMap& map = Registry();
    for (auto it = map.begin(); it != map.end();)
        it = it->second == this ? map.erase(it) : std::next(it);
}

void QelModelFormat::Register(const std::string& strExtension)
{
    // The built-in loaders come first, so a host's loader for one of their extensions is the one
    // refused, whenever it is made.
    if (!QelBuiltInFormats::Started())
        RegisterBuiltInFormats();
    FormatMap& map = Registry();
    if (map.count(strExtension))
    {
        QelSysApp::App().PrintToConsole("<error> QelModel - file extension [%s] is already registered.\n",
                                        strExtension.c_str());
        return;
    }
    map.emplace(strExtension, this);
}

QelModelFormat* QelModelFormat::GetFileHandlerForFilename(const std::string& strFile)
{
    RegisterBuiltInFormats();
    size_t nDot = strFile.rfind('.');
    if (nDot == std::string::npos)
        return nullptr;
    FormatMap& map = Registry();
    auto it = map.find(strFile.substr(nDot + 1));
    return it == map.end() ? nullptr : it->second;
}

void QelModelFormat::GetSupportedFileTypes(std::vector<SFileType>& vTypes)
{
    RegisterBuiltInFormats();
    vTypes.clear();
    for (const auto& entry : Registry())
    {
        SFileType t;
        t.m_strExtension = entry.first;
        t.m_strLabel = entry.second->GetLabel();
        t.m_pFormat = entry.second;
        vTypes.push_back(std::move(t));
    }
}

void QelModelFormat::RegisterBuiltInFormats()
{
    QelBuiltInFormats::Instance();
}

std::string QelModelFormat::GetLabel() const
{
    return "";
}

bool QelModelFormat::Load(const std::string& strFile, QelModelData&)
{
    QelSysApp::App().PrintToConsole("<error> QelModel - The loader for file [%s] reads nothing\n", strFile.c_str());
    return false;
}

bool QelModelFormat::CanSave() const
{
    return false;
}

bool QelModelFormat::Save(const std::string&, const QelModelData&)
{
    return false;
}
