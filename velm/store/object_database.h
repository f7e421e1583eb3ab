// ERObjectDataBase: the objects of one file, by identifier. ERdiskMetaTreeExtractMap.
#pragma once

#include "velm/export.h"
#include "velm/frame/class_registration.h"
#include "velm/frame/object.h"
#include "velm/frame/reference.h"
#include "velm/frame/smart_pointer.h"
#include "velm/store/disk_tree.h"
#include "velm/store/file_space.h"

#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace velm {

/// The database header at the file's start(). The block has room for 20 bytes, yet 24 are written:
/// the last field lies on the size word of the next block, which is never freed. Intended, and part
/// of the format.
struct DatabaseHeader {
    static constexpr unsigned int allocated_bytes = 20; // on file
    static constexpr std::uint32_t current_version = 1001;

    std::uint32_t version = current_version;
    std::int32_t class_tree = -1;  // offset of its information block
    std::int32_t object_tree = -1; // likewise
    std::int32_t last_identifier = 0;
    std::int32_t objects_stored = 0;
    std::int32_t last_signature = 0;

    static constexpr long counters_at = 12; // the last three, which only Close writes
};
static_assert(sizeof(DatabaseHeader) == 24, "the header is stored");

/// The parameters of the trees of an object file. They are stored and must never change.
struct StoreTree {
    unsigned int key_length;
    int binary_keys;
    unsigned int nodes_cached; // not on file
    static constexpr unsigned int order = 10;
    static constexpr unsigned int minimum = 10;

    /// A new tree of this form.
    VELM_API std::unique_ptr<ERBTreeOnDisk> make(ERFileManager& file) const;
};
inline constexpr StoreTree class_tree_form = {60, 0, 10};
inline constexpr StoreTree object_tree_form = {4, 1, 1000};
inline constexpr StoreTree index_tree_form = {4, 1, 10};

/// The key of an identifier or an index: its four bytes, little-endian. A NUL follows them, since a
/// tree with a damaged information block takes it for text.
struct NumberKey {
    explicit NumberKey(long number) : value(static_cast<std::int32_t>(number)) {
        std::memcpy(bytes, &value, sizeof value);
    }
    operator const char*() const { return bytes; }

    std::int32_t value;
    char bytes[sizeof value + 1] = {};
};

} // namespace velm

namespace velm::detail {

/// The identifiers on the way from the outermost object that is stored or read to the present one;
/// each is there once.
class ObjectsUnderWay {
public:
    std::size_t depth() const { return way_.size(); }
    bool contains(std::int32_t id) const;
    void push(std::int32_t id);
    void pop();

private:
    /// Up to this depth a search through the way costs less than an entry in a table.
    static constexpr std::size_t searched = 32;

    std::vector<std::int32_t> way_;
    std::unordered_set<std::int32_t> deeper_;
};

} // namespace velm::detail

/// Each object is a record in a block of its own: the signature of its class, a number that the
/// file hands out at the class's first use, then what saveGuts writes. One tree leads from class
/// names to signatures, another from identifiers to records. An object that is stored again keeps
/// its identifier, and its record moves.
///
/// File trouble is raised as CFileException*; storing into a closed store is an invalidFile. What
/// ERFileManager says of operations that fail holds for all of these. One thread in the process
/// works with stores at a time. An object must not be saved after its store is gone. There is no
/// journal: a process that ends before Close leaves the counters in the header and the trees' entry
/// counts as they were at Open; velm::counters_are_stale says so, and velm::salvage_store mends it.
class VELM_API ERObjectDataBase : public ERReference, private velm::detail::StepMember {
public:
    ERObjectDataBase();
    ERObjectDataBase(const ERObjectDataBase&) = delete;
    ERObjectDataBase& operator=(const ERObjectDataBase&) = delete;
    /// Closes; what goes wrong is not reported.
    virtual ~ERObjectDataBase();

    /// Opens a file, a missing one being made unless readOnly is set. Returns 1, or 0 for a missing
    /// file to be read, and for a file of a later version or without a whole header. What is open
    /// is closed first.
    ///
    /// With more than twenty classes in the file, not all of them are known after opening, and an
    /// object of such a class can be created only after one of its class has been stored, part of
    /// the contract. velm::StoredObjects knows them all.
    virtual int Open(char const* name, int readOnly);
    /// Writes the counters and closes. The store is closed afterwards even if this raises, as it
    /// does where the file could not be brought up to what the store says: it may then hold, as a
    /// whole or in part, an operation that had raised.
    virtual void Close();
    /// Stores the object, again under its identifier if it is in this store, and returns the
    /// identifier; one whose record Delete has removed is entered under its identifier again. A
    /// file whose head was not understood is not written: invalidFile. Where it raises, the store
    /// is as it was, and so is what the objects know of their identifiers and stores.
    /// References that are deeper than the thread's stack has room for, and those that lead back to
    /// a changed object that is being stored, raise a genericException; none of the objects above
    /// is stored then.
    virtual long Store(ERObject& object);
    /// Reads the record into an object of its class. References in it are read only by
    /// RetrieveAndCreate. Returns 1, or 0 where there is none.
    virtual int Retrieve(long id, ERObject& object);
    /// A new object of the record's class, with the objects that it refers to. Null where there is
    /// none and for a class that is not registered or can't be created; a reference back to an
    /// object that is being read is null, too. References may be as deep as the thread's stack has
    /// room for, and the whole may have as many objects as the file can hold references, 65,536 at
    /// least: beyond that the outermost reading raises a genericException.
    virtual t_SmartPtr<ERObject> RetrieveAndCreate(long id);
    /// Removes the record. Returns 1, or 0 where there is none. The identifier is not given out
    /// again, and the count of objects stored stays.
    virtual int Delete(long id);
    /// Lists the classes and the objects of an open store. Of large stores the list is not whole,
    /// part of the contract.
    virtual void summarize(std::ostream& out) const;
    /// The version of the file that was opened last, and the one that is written.
    virtual unsigned int get_db_version();
    virtual unsigned int get_db_current_version();

    /// Brings a file that is behind up to date and sends what the system holds back to the disk.
    void flush();
    /// Whether Close does so, too; it doesn't at first.
    void flush_at_close(bool flushes) { flushes_at_close = flushes; }

    ERFileManager* fileManager() const { return file.get(); }
    /// The objects ever stored in the file.
    int getNbObj() const { return counters.objects_stored; }

protected:
    /// The number of a class, a new one if the file doesn't have it yet.
    unsigned long GetOrCreateSignature(char const* className);
    /// Makes all classes of the file known.
    void know_all_classes();

private:
    friend VELM_API void ERdiskMetaTreeExtractMap(char const* key, long value, void* database);
    friend class ERDataBase;

    struct Attempt;

    void open_existing(char const* name, int readOnly);
    void create_new(char const* name);
    /// Forgets the file without writing to it.
    void abandon();
    ERFileManager& open_file() const;
    void require_writable() const;
    void write_record(ERObject& object, long location, unsigned long signature);
    void save_counters();
    void note_identity(ERObject& object);
    void remember() override;
    void go_back() noexcept override;
    void operation_has_succeeded() override { identities.clear(); }
    void enter(long id, bool is_new, long location, unsigned int total);
    void enter_record(const velm::NumberKey& key, long location);
    void restore(ERObject& object, long id, long location);

    std::unique_ptr<ERFileManager> file;
    std::unique_ptr<ERBTreeOnDisk> classes;
    std::unique_ptr<ERBTreeOnDisk> objects;
    long class_tree_offset = -1;
    long object_tree_offset = -1;
    struct Counters {
        std::int32_t last_identifier = 0;
        std::int32_t objects_stored = 0;
        std::int32_t last_signature = 0;
        bool operator==(const Counters&) const = default;
    };
    Counters counters;
    Counters counters_on_file;
    Counters counters_before; // the operation under way; so the next
    Counters on_file_before;
    bool flushes_at_close = false;
    /// What an object knew of its store before the operation under way has stored it.
    struct Identity {
        ERObject* object;
        t_SmartPtr<ERObject> held; // where counted pointers hold it
        std::int32_t id;
        ERObjectDataBase* database;
        int dirty;
    };
    std::vector<Identity> identities;
    struct KnownClass {
        long signature;
        std::string name;
    };
    std::unordered_map<char const*, KnownClass> signatures; // by the pointers of className()
    std::unordered_map<long, ERClassRegistration::Creator> creators;
    unsigned int version = velm::DatabaseHeader::current_version;

    velm::detail::ObjectsUnderWay being_stored;
    velm::detail::ObjectsUnderWay being_read;
    long left_to_create = 0; // by the reading under way
};

/// The step of opening that makes one class known to an ERObjectDataBase.
VELM_API void ERdiskMetaTreeExtractMap(char const* key, long value, void* database);
