#pragma once

#include <string>

class QelPropertyContainer;
class ViewerScene;
class ViewerView;

/// Scene documents: the view's properties and every object (its plug-in type, name, identifier,
/// properties and expressions) in one XML document, plain or gzip-compressed. Objects are made
/// again through the application object's InstantiateNewPlugin, so every type the host registers
/// there (model files, once they load) saves and opens the same way.
///
/// Opening is all or nothing: the document is read into a new scene and checked whole, and only
/// then replaces the current scene and the view's properties. A damaged document, one from a newer
/// viewer, or one naming an unknown object type is refused with a message, the current scene kept.
namespace ViewerDocument
{
/// The document version this viewer writes and the newest it reads.
extern const int kVersion;
/// The root element's name.
extern const char* const kRootName;

/// Writes the scene; bCompress gzips the file. False, with an error in the log, when it cannot be written.
bool Save(const std::string& strPath, bool bCompress, ViewerScene& cScene, ViewerView& cView);

/// Reads a scene file (plain or gzip). On success the scene's content and the view's properties
/// are replaced and the view's redraw is due; on failure nothing changes.
bool Open(const std::string& strPath, ViewerScene& cScene, ViewerView& cView);

/// As Open, from document text; strLabel names it in messages.
bool OpenFromString(const std::string& strText, const std::string& strLabel, ViewerScene& cScene, ViewerView& cView);

/// One object's properties and expressions as text, for undo entries.
std::string SaveState(QelPropertyContainer& cContainer);
/// Puts back a state made by SaveState (a property with no expression in it loses any it has now).
bool RestoreState(QelPropertyContainer& cContainer, const std::string& strState);

/// Whether a file name looks like a scene document (".qvs", ".qvs.gz" or ".xml").
bool IsSceneFile(const std::string& strPath);
} // namespace ViewerDocument
