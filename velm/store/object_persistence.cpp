// The operations by which an ERObject saves, deletes and refers to itself in a store.
#include "velm/frame/binary_file.h"
#include "velm/frame/detail/heap_mark.h"
#include "velm/frame/object.h"
#include "velm/frame/smart_pointer.h"
#include "velm/platform/file_exception.h"
#include "velm/store/object_database.h"

#include <utility>

constinit ERObjectDataBase* ERObject::theCurrentDataBase = nullptr;
constinit int ERObject::m_NextAllocationOnDatabase = 0;
constinit ERObjectDataBase* ERObject::m_DatabaseForNextAllocation = nullptr;

namespace {

// The cause of the last failure that Save has kept to itself; a reference's writer passes it on.
constinit int swallowed_cause = CFileException::none;

int swallow(CFileException* failure) {
    swallowed_cause = failure->m_cause;
    failure->Delete();
    return 0;
}

} // namespace

void* ERObject::operator new(std::size_t size, ERObjectDataBase* db) {
    m_NextAllocationOnDatabase = 1;
    m_DatabaseForNextAllocation = db;
    return velm::detail::allocate_marked(size, db);
}

void* ERObject::operator new(std::size_t size, std::align_val_t alignment, ERObjectDataBase* db) {
    m_NextAllocationOnDatabase = 1;
    m_DatabaseForNextAllocation = db;
    return velm::detail::allocate_marked(size, alignment, db);
}

void ERObject::saveAsAsked(ERObjectDataBase* db) {
    ERObject::Save(db);
    m_NextAllocationOnDatabase = 0;
    m_DatabaseForNextAllocation = nullptr;
}

int ERObject::Save(ERObjectDataBase* db) {
    if (!db && !database) return 0;
    ERObjectDataBase* const before = database;
    try {
        if (db && db != database) {
            if (database && dirty && objectID != -1)
                objectID = static_cast<std::int32_t>(database->Store(*this));
            database = nullptr;
            objectID = static_cast<std::int32_t>(db->Store(*this));
        } else {
            if (!dirty) return 1;
            objectID = static_cast<std::int32_t>(database->Store(*this));
        }
    } catch (CFileException* failure) {
        database = before;
        return swallow(failure);
    }
    dirty = 0;
    return 1;
}

int ERObject::Delete() {
    if (!database || objectID == -1) return 0;
    try {
        if (!database->Delete(objectID)) return 0;
    } catch (CFileException* failure) {
        return swallow(failure);
    }
    database = nullptr;
    objectID = -1;
    return 1;
}

int ERObject::Load(long id, ERObjectDataBase* db) {
    const bool identified = static_cast<std::int32_t>(id) != -1 || objectID != -1;
    return identified && (db || database);
}

void ERObject::recursiveSaveOn(ERFile& file) const {
    const LONGLONG position = static_cast<LONGLONG>(file.GetPosition());
    swallowed_cause = CFileException::none;
    const int saved = const_cast<ERObject*>(this)->Save(theCurrentDataBase);
    const int cause = std::exchange(swallowed_cause, CFileException::none);
    if (!saved && cause != CFileException::none)
        AfxThrowFileException(cause, -1, file.GetFilePath().c_str());
    file.Seek(position, CFile::begin);
    file.Write(static_cast<int>(objectID));
}

t_SmartPtr<ERObject> ERObject::recursiveRestoreFrom(ERFile& file) {
    int id = -1;
    if (!file.Read(id) || !theCurrentDataBase) return {};
    const LONGLONG position = static_cast<LONGLONG>(file.GetPosition());
    t_SmartPtr<ERObject> object = theCurrentDataBase->RetrieveAndCreate(id);
    file.Seek(position, CFile::begin);
    return object;
}
