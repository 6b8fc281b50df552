#include "qel/models/detail/QelMtlParser.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/models/detail/QelObjText.h"
#include "qel/platform/QelMappedFile.h"
#include "qel/platform/QelString.h"
#include "qel/util/QelPath.h"

#include <cmath>
#include <cstring>

using namespace QelObjText;

namespace
{
struct SMapKeyword
{
    const char* m_pWord;
    QelModelTextureMap::EChannel m_eChannel;
};
const SMapKeyword kMapKeywords[] = {
    {"map_Kd", QelModelTextureMap::eChannelDiffuse},     {"map_Ka", QelModelTextureMap::eChannelAmbient},
    {"map_Ks", QelModelTextureMap::eChannelSpecular},    {"map_Ns", QelModelTextureMap::eChannelShininess},
    {"map_d", QelModelTextureMap::eChannelOpacity},      {"map_Tr", QelModelTextureMap::eChannelOpacity},
    {"map_bump", QelModelTextureMap::eChannelBump},      {"map_Bump", QelModelTextureMap::eChannelBump},
    {"bump", QelModelTextureMap::eChannelBump},          {"disp", QelModelTextureMap::eChannelDisplacement},
    {"refl", QelModelTextureMap::eChannelReflection},    {"map_Ke", QelModelTextureMap::eChannelEmissive},
    {"map_refl", QelModelTextureMap::eChannelReflection}};

/// Options of a texture statement and how many values each takes (-1: up to three numbers).
struct SOption
{
    const char* m_pName;
    int m_nValues;
};
const SOption kOptions[] = {{"-blendu", 1}, {"-blendv", 1}, {"-bm", 1},     {"-boost", 1}, {"-cc", 1},
                            {"-clamp", 1},  {"-imfchan", 1}, {"-mm", 2},    {"-o", -1},    {"-s", -1},
                            {"-t", -1},     {"-texres", 1},  {"-type", 1}};

bool ReadColor(const char* p, const char* e, QelVec4& c)
{
    float f[3];
    int n = 0;
    while (n < 3 && ReadFloat(p, e, f[n]))
        ++n;
    if (n == 0)
        return false;
    if (n < 3)
        f[1] = f[2] = f[0];
    for (float& v : f)
        if (!std::isfinite(v))
            return false;
    c.x = f[0];
    c.y = f[1];
    c.z = f[2];
    return true;
}

/// Reads up to three numbers of a -o/-s/-t option into v (the missing ones keep their value).
void ReadTriple(const char*& p, const char* e, QelVec3& v)
{
    float* f[3] = {&v.x, &v.y, &v.z};
    for (int i = 0; i < 3; ++i)
    {
        const char* q = p;
        float x;
        if (!ReadFloat(q, e, x) || !std::isfinite(x))
            return;
        *f[i] = x;
        p = q;
    }
}

void ParseMap(const char* p, const char* e, QelModelTextureMap::EChannel eChannel, QelLoadLog& log,
              unsigned nLine, const std::string& strFolder, QelModelMaterial& mat)
{
    QelModelTextureMap map;
    map.m_eChannel = eChannel;
    for (;;)
    {
        SkipBlanks(p, e);
        if (p >= e || *p != '-')
            break;
        const char* q = p;
        std::string strOption = ReadWord(q, e);
        const SOption* pOption = nullptr;
        for (const SOption& o : kOptions)
            if (strOption == o.m_pName)
                pOption = &o;
        if (!pOption)
            break; // a file name that starts with '-'
        p = q;
        if (strOption == "-o")
            ReadTriple(p, e, map.m_vecOffset);
        else if (strOption == "-s")
            ReadTriple(p, e, map.m_vecScale);
        else if (pOption->m_nValues < 0)
        {
            QelVec3 unused;
            ReadTriple(p, e, unused);
        }
        else if (strOption == "-clamp")
            map.m_bClamp = ReadWord(p, e) == "on";
        else if (strOption == "-bm")
        {
            float f = 1.0f;
            if (ReadFloat(p, e, f) && std::isfinite(f))
                map.m_fBumpScale = f;
        }
        else
            for (int i = 0; i < pOption->m_nValues; ++i)
                ReadWord(p, e);
    }
    std::string strName = ReadRest(p, e);
    if (strName.empty())
    {
        log.Warn(nLine, "texture statement without a file name skipped");
        return;
    }
    map.m_strFilename = QelPath::FindFile(strName, strFolder);
    if (map.m_strFilename.empty())
    {
        log.Warn(nLine, QelFormat("texture [%s] not found; the material is drawn without it", strName.c_str()));
        return;
    }
    mat.m_vTextures.push_back(map);
}
} // namespace

void QelMtlParser::Parse(const char* p, const char* e, QelLoadLog& log, const std::string& strFolder,
                         QelModelData& data, SState& state, int nDepth)
{
    if (e - p >= 2 && ((p[0] == '\xFF' && p[1] == '\xFE') || (p[0] == '\xFE' && p[1] == '\xFF')))
    {
        log.Error("is UTF-16 text; save it as UTF-8 or ASCII to read it");
        return;
    }
    if (e - p >= 3 && std::memcmp(p, "\xEF\xBB\xBF", 3) == 0)
        p += 3;
    QelModelMaterial* pMat = nullptr;
    unsigned nLine = 0;
    std::string strJoined;
    while (p < e)
    {
        ++nLine;
        const char* pEnd = static_cast<const char*>(std::memchr(p, '\n', size_t(e - p)));
        if (!pEnd)
            pEnd = e;
        const char* b = p;
        const char* l = pEnd;
        p = pEnd + (pEnd < e ? 1 : 0);
        while (l > b && l[-1] == '\r')
            --l;
        if (l > b && l[-1] == '\\')
        {
            strJoined.assign(b, l - 1);
            while (p < e)
            {
                ++nLine;
                const char* q = p;
                pEnd = static_cast<const char*>(std::memchr(q, '\n', size_t(e - q)));
                if (!pEnd)
                    pEnd = e;
                p = pEnd + (pEnd < e ? 1 : 0);
                const char* m = pEnd;
                while (m > q && m[-1] == '\r')
                    --m;
                strJoined += ' ';
                bool bMore = m > q && m[-1] == '\\';
                strJoined.append(q, bMore ? m - 1 : m);
                if (!bMore)
                    break;
            }
            b = strJoined.data();
            l = b + strJoined.size();
        }
        SkipBlanks(b, l);
        if (b >= l || *b == '#')
            continue;
        if (std::memchr(b, 0, size_t(l - b)))
        {
            log.ErrorAt(nLine, "binary data (a zero byte) where text was expected");
            return;
        }
        std::string strWord = ReadWord(b, l);
        if (strWord == "newmtl")
        {
            std::string strName = ReadRest(b, l);
            auto it = state.mapMaterials.find(strName);
            if (it == state.mapMaterials.end())
            {
                it = state.mapMaterials.emplace(strName, int(data.m_vMaterials.size())).first;
                data.m_vMaterials.emplace_back();
            }
            pMat = &data.m_vMaterials[size_t(it->second)];
            *pMat = QelModelMaterial();
            pMat->m_strName = strName;
            state.setDefined.insert(strName);
            continue;
        }
        if (strWord == "mtllib")
        {
            std::string strName = ReadRest(b, l);
            std::string strPath = QelPath::FindFile(strName, strFolder);
            if (nDepth + 1 >= kMaxDepth)
                log.Warn(nLine, QelFormat("material library [%s] nested too deeply; skipped", strName.c_str()));
            else if (strPath.empty())
                log.Warn(nLine, QelFormat("material library [%s] not found", strName.c_str()));
            else
            {
                QelModelMaterial* pBefore = data.m_vMaterials.empty() ? nullptr : data.m_vMaterials.data();
                size_t nIndex = pMat ? size_t(pMat - data.m_vMaterials.data()) : 0;
                LoadFile(strPath, data, state, nDepth + 1);
                if (pMat && pBefore != data.m_vMaterials.data())
                    pMat = &data.m_vMaterials[nIndex];
            }
            continue;
        }
        if (!pMat)
        {
            log.Warn(nLine, QelFormat("[%s] before any newmtl skipped", strWord.substr(0, 32).c_str()));
            continue;
        }
        QelModelMaterial& mat = *pMat;
        bool bOk = true;
        float f = 0.0f;
        if (strWord == "Ka")
            bOk = ReadColor(b, l, mat.m_vecAmbient);
        else if (strWord == "Kd")
            bOk = ReadColor(b, l, mat.m_vecDiffuse);
        else if (strWord == "Ks")
            bOk = ReadColor(b, l, mat.m_vecSpecular);
        else if (strWord == "Ke")
            bOk = ReadColor(b, l, mat.m_vecEmissive);
        else if (strWord == "Ns")
        {
            // The file's exponent runs to 1000, OpenGL's to 128.
            bOk = ReadFloat(b, l, f) && std::isfinite(f);
            if (bOk)
                mat.m_fShininess = f <= 0.0f ? 0.0f : (f >= 1000.0f ? 128.0f : f * 0.128f);
        }
        else if (strWord == "d" || strWord == "Tr")
        {
            SkipBlanks(b, l);
            if (l - b >= 5 && std::memcmp(b, "-halo", 5) == 0)
                b += 5;
            bOk = ReadFloat(b, l, f) && std::isfinite(f);
            if (bOk)
            {
                f = strWord == "Tr" ? 1.0f - f : f;
                mat.m_fOpacity = f < 0.0f ? 0.0f : (f > 1.0f ? 1.0f : f);
            }
        }
        else if (strWord == "illum")
        {
            int64_t n = 0;
            SkipBlanks(b, l);
            bOk = ReadIndex(b, l, n) && n >= 0 && n <= 100;
            if (bOk)
                mat.m_nIllumination = int(n);
        }
        else if (strWord == "Ni" || strWord == "Tf" || strWord == "sharpness" || strWord == "decal" ||
                 strWord == "Pr" || strWord == "Pm" || strWord == "Ps" || strWord == "Pc" || strWord == "Pcr" ||
                 strWord == "aniso" || strWord == "anisor" || strWord == "norm" || strWord == "map_Pr" ||
                 strWord == "map_Pm" || strWord == "map_Ps" || strWord == "map_aat")
        {
        }
        else
        {
            const SMapKeyword* pMap = nullptr;
            for (const SMapKeyword& k : kMapKeywords)
                if (strWord == k.m_pWord)
                    pMap = &k;
            if (pMap)
                ParseMap(b, l, pMap->m_eChannel, log, nLine, strFolder, mat);
            else
                log.Warn(nLine, QelFormat("unknown statement [%s] skipped", strWord.substr(0, 32).c_str()));
        }
        if (!bOk)
            log.Warn(nLine, QelFormat("bad value of [%s] skipped", strWord.c_str()));
        mat.m_vecDiffuse.w = mat.m_fOpacity;
    }
}

void QelMtlParser::LoadFile(const std::string& strPath, QelModelData& data, SState& state, int nDepth)
{
    if (!state.setLibraries.insert(QelPath::Normalize(strPath)).second)
        return;
    QelLoadLog log("CObjLoader", strPath);
    QelMappedFile file;
    switch (file.Open(strPath))
    {
    case QelMappedFile::eOpened:
        Parse(file.Data(), file.Data() + file.Size(), log, QelPath::Folder(strPath), data, state, nDepth);
        break;
    case QelMappedFile::eIsDirectory:
        log.Note("is a folder, not a material library; its materials are drawn with the default material");
        break;
    default:
        log.Note("cannot be read; its materials are drawn with the default material");
        break;
    }
}
