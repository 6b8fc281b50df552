#pragma once

#include "qel/framework/QelSysApp.h"

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

class ViewerScene;

/// The viewer's application object: keeps the library's log for the log panel, answers the object
/// queries from the current scene, creates scene objects by plug-in type, and keeps the undo entries
/// the library and the panels record.
class ViewerApp : public QelSysApp
{
public:
    /// The level of a log line, read from its tag.
    enum ELevel
    {
        eLevelInfo = 0,
        eLevelWarning = 1,
        eLevelError = 2
    };

    /// One line of the log panel, its tags removed.
    struct SLogLine
    {
        ELevel m_eLevel;
        std::string m_strText;
    };

    /// bEcho also writes each line to stderr, so that a scripted run leaves a readable log.
    explicit ViewerApp(bool bEcho);

    void PrintToConsole(const char* pFormat, ...) const override;

    const std::deque<SLogLine>& Log() const { return m_vLog; }
    void ClearLog() { m_vLog.clear(); }
    /// Lines of at least the given level since the start.
    size_t CountAtLeast(ELevel eLevel) const;

    /// The scene whose objects the queries below answer from; the viewer swaps it on open.
    void SetScene(ViewerScene* pScene) { m_pScene = pScene; }
    /// The view, found by the queries and undo like the scene's objects.
    void SetView(QelDisplaySystem* pView) { m_pView = pView; }
    QelDisplaySystem* GetActiveDisplaySystem() override { return m_pView; }
    ViewerScene* GetScene() const { return m_pScene; }

    // Objects
    QelSandboxIcon* FindObject(GUID* pGuid) override;
    std::vector<QelSandboxIcon*> FindObject(const std::string& strName) override;
    /// Creates a scene object of a type ViewerTypes knows ("Viewer Shape", "Model", ...), or null for an unknown type.
    QelPlugin* InstantiateNewPlugin(const std::string& strPluginName, GUID* pGuid) override;
    std::vector<QelDisplayObject*>* GetDisplayObjects() override;
    int GetNumSelectedObjects() override;

    // Paths
    /// The document being saved or opened, whose folder file names are relative to; empty when none.
    void SetDocumentPath(const std::string& strPath);
    /// The path relative to the document's folder; empty (the caller keeps the path) without a
    /// document or for a path that is relative already.
    std::string ConvertPathToRelative(const std::string& strPath) override;
    /// A relative path joined to the document's folder; empty without a document or for an
    /// absolute path.
    std::string ConvertPathToAbsolute(const std::string& strPath) override;

    // Document state
    bool IsLoading() const override { return m_bLoading; }
    bool IsSaving() const override { return m_bSaving; }
    bool IsUndoing() const override { return m_bUndoing; }
    void SetLoading(bool bLoading) { m_bLoading = bLoading; }
    void SetSaving(bool bSaving) { m_bSaving = bSaving; }

    // Undo
    /// Records the icon's state before an edit. A continuous entry for the same icon and
    /// description as the last one is folded into it, so a dragged slider is one step.
    void AddToUndoBuffer(QelSandboxIcon* pIcon, const std::string& strDescription, bool bContinuous) override;
    /// Ends a run of continuous edits (the user let go of a slider), so the next edit is a step of its own.
    void EndContinuousRun();
    bool CanUndo() const { return !m_vUndo.empty(); }
    bool CanRedo() const { return !m_vRedo.empty(); }
    /// Descriptions of the next steps, empty when there is none.
    std::string NextUndo() const { return m_vUndo.empty() ? std::string() : m_vUndo.back().m_strDescription; }
    std::string NextRedo() const { return m_vRedo.empty() ? std::string() : m_vRedo.back().m_strDescription; }
    bool Undo();
    bool Redo();
    /// Forgets every step, e.g. when the scene is replaced.
    void ClearUndo();

    double GetTime() const override;

private:
    /// The saved state of one object before an edit.
    struct SUndoEntry
    {
        GUID m_guidObject;
        std::string m_strDescription;
        std::string m_strState;
        bool m_bContinuous;
    };

    void AddLine(const char* pText) const;
    /// Restores the last entry of vFrom and moves it, holding the state it replaced, to vTo.
    bool Swap(std::vector<SUndoEntry>& vFrom, std::vector<SUndoEntry>& vTo);

    static constexpr size_t kMaxLogLines = 2000;
    static constexpr size_t kMaxUndoSteps = 200;

    bool m_bEcho;
    std::string m_strDocumentFolder;
    mutable std::deque<SLogLine> m_vLog;
    ViewerScene* m_pScene = nullptr;
    QelDisplaySystem* m_pView = nullptr;
    bool m_bLoading = false;
    bool m_bSaving = false;
    bool m_bUndoing = false;
    std::vector<SUndoEntry> m_vUndo;
    std::vector<SUndoEntry> m_vRedo;
};
