#pragma once

#include "qel/math/QelVec3.h"

#include <string>
#include <vector>

class QelDisplayObject;

/// The kinds of object a scene holds and the type names documents save them under. The library's
/// models, lights, grids and clipping planes carry no plug-in type of their own, so the viewer
/// names them here, and makes them again by these names when a document is opened.
namespace ViewerTypes
{
/// "Viewer Shape", "Model", "Light", "Grid" or "Clip Plane"; the object's own plug-in type for
/// anything else.
std::string TypeName(QelDisplayObject& cObject);

/// A new object of the type, or null for a type the viewer does not know.
QelDisplayObject* Create(const std::string& strType);

/// The kinds a user adds from the menu or a script ("shape", "light", "grid", "clip plane"); a
/// model is opened from its file instead.
const std::vector<std::string>& AddableKinds();

/// A new object of an addable kind, set up to show at once: a light and a clipping plane are on
/// (the plane through vCenter keeping what lies below it), a grid snaps moves. Null for other kinds.
QelDisplayObject* CreateKind(const std::string& strKind, const QelVec3& vCenter);
} // namespace ViewerTypes
