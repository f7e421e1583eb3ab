// ERObject: the root of every class that can be shared by counted pointers, recognised and created
// by name, copied, printed and stored. ER_assert.
#pragma once

#include "velm/export.h"
#include "velm/frame/class_macros.h"
#include "velm/frame/reference.h"
#include "velm/fwd.h"
#include "velm/platform/root_class.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <new>

/// An object starts without references. On the heap it belongs to the caller of `new` until a
/// t_SmartPtr takes it; from then on the last pointer released deletes it. Objects on the stack and
/// members of others must never be given to a t_SmartPtr.
///
/// A copy is independent: no references, outside any store. Assignment keeps the target's
/// references and detaches it from its store, whose record is unchanged.
class VELM_API ERObject : public CObject, public ERReference {
    VELM_DETAIL_DECLARE_CLASS(ERObject, virtual, )

    /// A heap copy of the same class, without a reference; the caller owns it.
    virtual ERObject* getCopy() const = 0;
    /// 1 if the object's class is the given one or derives from it, else 0.
    virtual int isKindOf(ERClassRegistration const* other) const;
    /// 1 if the object's class is the given one or one of its members, else 0.
    virtual int isMemberOf(ERClassRegistration const* other) const;
    virtual int isValid() const;
    virtual void printOn(std::ostream& out) const = 0;
    /// The stored form: writes the object's part of the record, reads it, and gives its length in
    /// bytes. A failing file raises a CFileException*.
    virtual void saveGuts(ERFile& file) const;
    virtual void restoreGuts(ERFile& file);
    virtual unsigned int binaryStoreSize() const;
    /// Frees the object's caches.
    virtual void CleanUpTemporaries(int level);

    // The operations of the store, 1 for success and 0 for failure, are defined in
    // store/object_persistence.cpp. They catch CFileException*; other exceptions pass.

    /// Removes the object's record from its store; the object lives on outside any store.
    virtual int Delete();
    /// Writes the object to a store, null meaning its own. A clean object that is in that store is
    /// not written again. An object that is dirty in one store and saved in another one is written
    /// to the old one first, where its record stays.
    virtual int Save(ERObjectDataBase* db);
    /// Returns whether an identifier and a store are known, from the arguments or the object; reads
    /// nothing: part of the contract. To read, use ERObjectDataBase::RetrieveAndCreate.
    virtual int Load(long id, ERObjectDataBase* db);

    ~ERObject() override = default;
    /// Writes the class name twice and the text of printOn.
    void Dump(CDumpContext& dc) const override;

    /// The store that holds the object, null if none, and the identifier there, -1 if none.
    ERObjectDataBase* Database() const { return database; }
    long getObjectID() const { return objectID; }
    /// 1 after setDirty, until the object is saved. The library itself never sets it: only the host
    /// knows what counts as a change.
    int isDirty() const { return dirty; }
    void setDirty() { dirty = 1; }

    /// 1 for an object made by `new`, 0 for every other: on the stack, a member or base of another,
    /// an element of an array or container.
    int isOnTheHeap() const { return onTheHeap; }

    /// Calls ER_assert for an object that is not valid.
    void assertValid(char const* file, int line) const;

    /// Writes a reference to this object, its identifier, into a record that theCurrentDataBase is
    /// storing, and saves the object itself there if it is new or dirty. References must not lead
    /// back to an object that is being stored. Failures are raised as CFileException*.
    void recursiveSaveOn(ERFile& file) const;
    /// Reads a reference and the object it leads to, again for each reference: two references to
    /// one object give two objects. Null if there is none, if the class can't be created, or if
    /// references lead back to an object that is being read.
    static t_SmartPtr<ERObject> recursiveRestoreFrom(ERFile& file);
    unsigned int recursiveStoreSize() const { return 4; }

    /// The store that references are saved in and restored from: that of the last store operation.
    static ERObjectDataBase* theCurrentDataBase;
    /// The store of the last `new (db)`, until that object has been saved. For information: the
    /// request itself belongs to the block that `new` made.
    static int m_NextAllocationOnDatabase;
    static ERObjectDataBase* m_DatabaseForNextAllocation;

    static void* operator new(std::size_t size);
    static void* operator new(std::size_t size, char const* file, int line);
    static void* operator new(std::size_t size, void* place);
    /// The object is saved in the store as soon as its ERObject part is constructed, so that it has
    /// an identifier while its other constructors run. The record is then that of a bare ERObject,
    /// as the contract has it; the next Save after setDirty writes the real one. A copy is not
    /// saved.
    static void* operator new(std::size_t size, ERObjectDataBase* db);
    // The same for classes that need more alignment than `new` gives by default.
    static void* operator new(std::size_t size, std::align_val_t alignment);
    static void* operator new(std::size_t size, std::align_val_t alignment, char const* file,
                              int line);
    static void* operator new(std::size_t size, std::align_val_t alignment, void* place);
    static void* operator new(std::size_t size, std::align_val_t alignment, ERObjectDataBase* db);
    static void operator delete(void* block);
    static void operator delete(void* block, char const* file, int line);
    static void operator delete(void* block, void* place);
    static void operator delete(void* block, ERObjectDataBase* db);
    static void operator delete(void* block, std::align_val_t alignment);
    static void operator delete(void* block, std::align_val_t alignment, char const* file,
                                int line);
    static void operator delete(void* block, std::align_val_t alignment, void* place);
    static void operator delete(void* block, std::align_val_t alignment, ERObjectDataBase* db);

    ERObject& operator=(ERObject const& other);

protected:
    ERObject();
    ERObject(ERObject const& other);

private:
    friend class ERObjectDataBase;

    void saveAsAsked(ERObjectDataBase* db);
    /// Takes over the place in a store of a member that was saved because `new` seemed to have made
    /// it.
    void takeOver(ERObject& earlier, bool was_saved);

    std::int32_t objectID = -1;
    ERObjectDataBase* database = nullptr;
    int dirty = 0;
    int onTheHeap;
};

VELM_API std::ostream& operator<<(std::ostream& out, ERObject const& object); ///< printOn
VELM_API ERFile& operator<<(ERFile& file, ERObject const& object);            ///< saveGuts
VELM_API ERFile& operator>>(ERFile& file, ERObject& object);                  ///< restoreGuts

/// Has no effect: an invalid object is not stopped. Call isValid instead.
VELM_API void ER_assert(char const* message, char const* file, int line);
