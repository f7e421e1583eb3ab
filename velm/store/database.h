// ERDataBase, ERAuxilaryIndex, gmErrorCode: the store as a host uses it, with codes in the place of
// exceptions and with objects numbered in the order of saving.
#pragma once

#include "velm/export.h"
#include "velm/frame/object.h"
#include "velm/frame/smart_pointer.h"
#include "velm/store/disk_tree.h"

#include <iosfwd>
#include <memory>

/// What came of an operation: the causes of CFileException, and one more. The values are fixed:
/// hosts store and report them.
enum gmErrorCode : int {
    gmSuccess = 0,
    gmGenericError = 1, ///< any other
    gmFileNotFound = 2,
    gmBadPath = 3,
    gmTooManyOpenFiles = 4,
    gmAccessDenied = 5, ///< also a missing file that is to be read
    gmInvalidFile = 6,
    gmRemoveCurrentDir = 7,
    gmDirectoryFull = 8,
    gmBadSeek = 9,
    gmHardIO = 10,
    gmSharingViolation = 11,
    gmLockViolation = 12,
    gmDiskFull = 13,
    gmEndOfFile = 14,
    gmFileRefused = 15 ///< a later version, or no object file
};

/// The tree from the indices 0, 1, 2, ... to identifiers. It is the first object of its store.
class VELM_API ERAuxilaryIndex : public ERObject {
    VELM_DECLARE_CLASS(ERAuxilaryIndex)

    /// Without a tree, until init.
    ERAuxilaryIndex();
    /// Makes the tree.
    explicit ERAuxilaryIndex(ERFileManager& file);
    ~ERAuxilaryIndex() override;
    ERAuxilaryIndex(const ERAuxilaryIndex&) = delete;
    ERAuxilaryIndex& operator=(const ERAuxilaryIndex&) = delete;

    /// Opens the tree at the stored offset.
    void init(ERFileManager& file);
    /// 1 with the identifier, or 0 and the value unchanged.
    int Find(long key, long& value) const;
    /// A key that is there stays as it is.
    void Insert(long key, long& value);
    unsigned int entries() const;
    /// Whether there is a tree at an offset of its own; its information block may be unknown.
    bool has_tree_of_its_own() const { return index && information_offset > 0; }
    /// The tree, null before init.
    ERBTreeOnDisk* tree() const { return index.get(); }

    ERObject* getCopy() const override { return nullptr; }
    void printOn(std::ostream&) const override {}
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.information_offset);
    }

    std::unique_ptr<ERBTreeOnDisk> index;
    int information_offset = -1;
};

/// A store whose objects are found by the order in which they were saved. No operation throws a
/// CFileException. Copies share one store: what one closes is closed for all.
class VELM_API ERDataBase {
public:
    ERDataBase();
    ERDataBase(const ERDataBase& other);
    ERDataBase& operator=(const ERDataBase& other);
    virtual ~ERDataBase();

    /// Opens a file, a missing one being made unless readOnly is set. What is open is closed first,
    /// and stays open where the name to be read is missing (gmAccessDenied).
    gmErrorCode Open(char const* name, int readOnly);
    /// Where a failed operation has left bytes in the file that can't be put back, it returns the
    /// code: the file may then hold that operation, as a whole or in part, although it failed.
    gmErrorCode Close();
    /// Stores the object under the next index. One that is saved twice has two indices. A store
    /// whose first object is no index takes none: gmInvalidFile. With any code but gmSuccess the
    /// store, and what the object knows of it, are as they were.
    gmErrorCode save(t_SmartPtr<ERObject> object);
    /// A new object for an index; null with gmSuccess for an index that was never saved, and for
    /// one whose object is no more.
    t_SmartPtr<ERObject> restore(long index, gmErrorCode& code);
    /// As ERObjectDataBase::flush; objects()->flush_at_close has Close do so, too.
    gmErrorCode flush();
    /// The next index.
    int getNbEnt() const;

    virtual void printOn(std::ostream& out) const; ///< writes nothing, part of the contract
    virtual unsigned int get_db_version();
    virtual unsigned int get_db_current_version();

    /// The store underneath, never null.
    ERObjectDataBase* objects() const;

    /// The code of an exception, which is given up.
    static gmErrorCode exception_to_error_code(CFileException* exception);

private:
    struct Shared;

    gmErrorCode open_existing(char const* name, int readOnly);
    gmErrorCode create_new(char const* name);
    void abandon();

    std::shared_ptr<Shared> shared;
};
