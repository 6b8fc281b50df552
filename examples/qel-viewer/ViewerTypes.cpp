#include "ViewerTypes.h"

#include "ViewerShape.h"

#include "qel/display/QelClipPlane.h"
#include "qel/display/QelGrid.h"
#include "qel/display/QelLight.h"
#include "qel/models/QelModel.h"

#include <functional>

namespace
{
struct SType
{
    const char* m_pName;
    const char* m_pKind; ///< what AddableKinds calls it; null for a kind that is not added by name
    std::function<QelDisplayObject*()> m_fnMake;
    std::function<bool(QelDisplayObject&)> m_fnIs;
};

template <class T> bool Is(QelDisplayObject& cObject) { return dynamic_cast<T*>(&cObject) != nullptr; }

const std::vector<SType>& Types()
{
    static const std::vector<SType> kTypes = {
        {ViewerShape::kTypeName, "shape", [] { return new ViewerShape(); }, Is<ViewerShape>},
        {"Model", nullptr, [] { return new QelModel(); }, Is<QelModel>},
        {"Light", "light", [] { return new QelLight(); }, Is<QelLight>},
        {"Grid", "grid", [] { return new QelGrid(); }, Is<QelGrid>},
        {"Clip Plane", "clip plane", [] { return new QelClipPlane(); }, Is<QelClipPlane>},
    };
    return kTypes;
}
} // namespace

namespace ViewerTypes
{
std::string TypeName(QelDisplayObject& cObject)
{
    for (const SType& cType : Types())
        if (cType.m_fnIs(cObject))
            return cType.m_pName;
    return cObject.GetType();
}

QelDisplayObject* Create(const std::string& strType)
{
    for (const SType& cType : Types())
        if (strType == cType.m_pName)
            return cType.m_fnMake();
    return nullptr;
}

const std::vector<std::string>& AddableKinds()
{
    static const std::vector<std::string> kKinds = [] {
        std::vector<std::string> v;
        for (const SType& cType : Types())
            if (cType.m_pKind)
                v.push_back(cType.m_pKind);
        return v;
    }();
    return kKinds;
}

QelDisplayObject* CreateKind(const std::string& strKind, const QelVec3& vCenter)
{
    for (const SType& cType : Types())
    {
        if (!cType.m_pKind || strKind != cType.m_pKind)
            continue;
        QelDisplayObject* pObject = cType.m_fnMake();
        if (auto* pLight = dynamic_cast<QelLight*>(pObject))
        {
            // From above, behind the front view's eye, so that the faces it shows are lit.
            pLight->SetDirection(QelVec3(0.3f, 0.6f, -1.0f));
            pLight->TurnOn(true);
        }
        else if (auto* pPlane = dynamic_cast<QelClipPlane*>(pObject))
        {
            pPlane->SetPlane(vCenter, QelVec3(0.0f, 0.0f, -1.0f));
            pPlane->TurnOn(true);
        }
        else if (auto* pGrid = dynamic_cast<QelGrid*>(pObject))
            pGrid->SetTranslationSnap(true);
        return pObject;
    }
    return nullptr;
}
} // namespace ViewerTypes
