#pragma once

#include "qel/display/QelDisplayObject.h"
#include "qel/math/QelMatrix4.h"

#include <vector>

/// Visits the objects Render draws, with their world matrices, in Render's order: what
/// QelDisplayObject::Traverse does, without its indirect call per object (a good part of a pick
/// among many small objects), and from roots that may have parents.
template <class Fn>
void QelWalkDrawn(QelDisplayObject& object, const QelMatrix4& mParent, Fn& fn)
{
    QelMatrix4 mWorld(mParent);
    if (object.HasTransform())
    {
        QelMatrix4 mLocal;
        object.GetTransform(mLocal);
        mWorld = mParent * mLocal;
    }
    const bool bHidden = object.IsHidden();
    if (!bHidden)
        fn(object, mWorld);
    if (!bHidden || !object.AreChildrenHiddenWithParent())
        for (size_t i = 0; i < object.GetChildCount(); ++i)
            QelWalkDrawn(*object.GetChild(i), mWorld, fn);
}

template <class Fn>
void QelWalkDrawn(const std::vector<QelDisplayObject*>& vecRoots, Fn&& fn)
{
    for (QelDisplayObject* pRoot : vecRoots)
    {
        if (!pRoot)
            continue;
        QelMatrix4 mParent(true);
        if (pRoot->GetParent())
            pRoot->GetParent()->GetWorldTransform(mParent);
        QelWalkDrawn(*pRoot, mParent, fn);
    }
}
