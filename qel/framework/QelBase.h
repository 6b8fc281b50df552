#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelGuid.h"

#include <set>
#include <string>
#include <vector>

/// Root of the library's named objects: a name, an identifier, and the bookkeeping of who holds
/// whom, checked when an object is deleted. Holding never owns: nothing is freed through it.
class QEL_EXPORT QelBase
{
public:
    /// Keeps the name exactly as given (no correction) and draws a fresh identifier.
    explicit QelBase(const std::string& strName);
    /// A copy gets the name, a fresh identifier, empty sets and a clear deleted flag.
    QelBase(const QelBase& other);
    /// Copies the name only; identifier, links and deleted flag stay.
    QelBase& operator=(const QelBase& other);
    /// Reports "<error> Object [%s] was deleted without being released by holders correctly." when
    /// holders remain (OnDelete was skipped or ignored); their links are then left dangling.
    virtual ~QelBase();

    /// A copy of the name; messages of derived objects quote it.
    virtual std::string GetName() const;
    /// Stores the name with every byte outside 32..126 replaced by '_', warning when it changed.
    virtual bool SetName(const std::string& strName);
    /// Tells every holder, releases everything held, and marks the object deleted.
    virtual void OnDelete();
    /// True once OnDelete has run: the object is on its way out and should not be used.
    virtual bool IsDeleted() const;
    /// Called on each holder of an object being deleted; drop references to pDeleted here.
    virtual void OnObjectDeletion(QelBase* pDeleted);

    /// The identifier, unique per object; documents save it so that links survive a reload.
    GUID GetGuid() const { return m_guid; }
    /// Restores an identifier, e.g. the one an object was saved with.
    void SetGuid(GUID& guid) { m_guid = guid; }

    /// Appends the holders in ascending pointer order; the vector is not cleared.
    void GetAllObjectsHolding(std::vector<QelBase*>& vHolders) const;

protected:
    /// Links this object as a holder of pObject (a second hold leaves one link).
    void HoldObject(QelBase* pObject);
    /// Removes the link; releasing what is not held does nothing.
    void ReleaseObject(QelBase* pObject);

    /// Objects this one holds, for derived classes that walk them.
    const std::set<QelBase*>& GetHeldObjects() const { return m_setHeld; }
    /// Objects holding this one.
    const std::set<QelBase*>& GetHolders() const { return m_setHolders; }

private:
    std::string m_strName;
    GUID m_guid;
    std::set<QelBase*> m_setHolders;
    std::set<QelBase*> m_setHeld;
    unsigned char m_nFlags = 0;
};
