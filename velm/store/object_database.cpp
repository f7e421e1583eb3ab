#include "velm/store/object_database.h"

#include "velm/platform/file_exception.h"
#include "velm/platform/stack_room.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iomanip>
#include <ostream>

using velm::DatabaseHeader;
using velm::detail::StoreStep;

namespace {

/// The key of an identifier: its four bytes, little-endian.
struct IdentifierKey {
    explicit IdentifierKey(long id) : value(static_cast<std::int32_t>(id)) {
        std::memcpy(bytes, &value, sizeof bytes);
    }
    operator const char*() const { return bytes; }

    std::int32_t value;
    char bytes[4];
};

/// The objects that one reading may create: all that the file can refer to by references of four
/// bytes, and never so few that sharing on several levels is cut off.
constexpr long kLeastToCreate = 65536;

/// Has an object under way for as long as it lives.
class OnTheWay {
public:
    OnTheWay(velm::detail::ObjectsUnderWay& way, std::int32_t id) : way_(way) { way_.push(id); }
    ~OnTheWay() { way_.pop(); }
    OnTheWay(const OnTheWay&) = delete;
    OnTheWay& operator=(const OnTheWay&) = delete;

private:
    velm::detail::ObjectsUnderWay& way_;
};

std::unique_ptr<ERBTreeOnDisk> make_tree(ERFileManager& file, velm::StoreTree form) {
    return std::make_unique<ERBTreeOnDisk>(file, form.nodes_cached, ERBTreeOnDisk::createNew,
                                           form.key_length, form.binary_keys, -1,
                                           velm::StoreTree::order, velm::StoreTree::minimum);
}

/// The form that stands on file overrules these arguments, which are the other tree's: intended.
std::unique_ptr<ERBTreeOnDisk> open_tree(ERFileManager& file, velm::StoreTree form,
                                         velm::StoreTree other, long offset) {
    auto tree = std::make_unique<ERBTreeOnDisk>(
        file, form.nodes_cached, ERBTreeOnDisk::openExisting, other.key_length, form.binary_keys,
        offset, velm::StoreTree::order, velm::StoreTree::minimum);
    tree->require_keys(form.key_length, form.binary_keys);
    return tree;
}

} // namespace

namespace velm::detail {

bool ObjectsUnderWay::contains(std::int32_t id) const {
    const auto end = way_.begin() + static_cast<std::ptrdiff_t>(std::min(depth(), searched));
    return std::find(way_.begin(), end, id) != end || (depth() > searched && deeper_.contains(id));
}

void ObjectsUnderWay::push(std::int32_t id) {
    way_.push_back(id);
    if (depth() > searched) deeper_.insert(id);
}

void ObjectsUnderWay::pop() {
    if (depth() > searched) deeper_.erase(way_.back());
    way_.pop_back();
}

} // namespace velm::detail

ERObjectDataBase::ERObjectDataBase() = default;

ERObjectDataBase::~ERObjectDataBase() {
    try {
        ERObjectDataBase::Close();
    } catch (CFileException* failure) {
        failure->Delete();
    }
    if (ERObject::theCurrentDataBase == this) ERObject::theCurrentDataBase = nullptr;
}

// ---- opening and closing ----

int ERObjectDataBase::Open(char const* name, int readOnly) {
    if (file) Close();
    CFileStatus status;
    const bool exists = CFile::GetStatus(name, status);
    if (!exists && readOnly) return 0;
    try {
        if (exists) {
            // An empty file has no start: it is refused before anything is written to it.
            if (std::filesystem::is_regular_file(name) && status.m_size == 0)
                AfxThrowFileException(CFileException::badSeek, -1, name);
            open_existing(name, readOnly);
        } else {
            create_new(name);
        }
    } catch (...) {
        abandon();
        throw;
    }
    return file != nullptr;
}

void ERObjectDataBase::open_existing(char const* name, int readOnly) {
    file = std::make_unique<ERFileManager>(name, readOnly);
    std::unique_ptr<ERFileManager> refused; // outlives the step
    StoreStep step(*file);
    DatabaseHeader header;
    const bool whole = file->read_through(file->start(), &header, sizeof header) == sizeof header;
    if (!whole || header.version > DatabaseHeader::current_version) {
        refused = std::move(file);
        return;
    }
    version = header.version;
    class_tree_offset = header.class_tree;
    object_tree_offset = header.object_tree;
    last_identifier = header.last_identifier;
    objects_stored = header.objects_stored;
    last_signature = header.last_signature;
    classes = open_tree(*file, velm::class_tree_form, velm::object_tree_form, class_tree_offset);
    objects = open_tree(*file, velm::object_tree_form, velm::class_tree_form, object_tree_offset);
    classes->applyToKeyAndValue(ERdiskMetaTreeExtractMap, this, 1);
    step.finish();
}

void ERObjectDataBase::create_new(char const* name) {
    file = std::make_unique<ERFileManager>(name, 0);
    const long start = file->allocate(DatabaseHeader::allocated_bytes);
    classes = make_tree(*file, velm::class_tree_form);
    class_tree_offset = classes->baseLocation();
    objects = make_tree(*file, velm::object_tree_form);
    object_tree_offset = objects->baseLocation();
    version = DatabaseHeader::current_version;
    DatabaseHeader header;
    header.class_tree = static_cast<std::int32_t>(class_tree_offset);
    header.object_tree = static_cast<std::int32_t>(object_tree_offset);
    file->write_through(start, &header, sizeof header);
}

bool ERObjectDataBase::may_write() const {
    return file && !file->isReadOnly() && file->has_free_list() && classes && objects &&
           classes->has_valid_information() && objects->has_valid_information();
}

void ERObjectDataBase::require_writable() const {
    if (file->isReadOnly()) file->raise(CFileException::accessDenied);
    if (!may_write()) file->raise(CFileException::invalidFile);
}

void ERObjectDataBase::Close() {
    std::exception_ptr failure;
    const auto attempt = [&failure](auto step) {
        try {
            step();
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
            else
                try {
                    throw;
                } catch (CFileException* later) {
                    later->Delete();
                }
        }
    };
    if (may_write()) {
        const std::int32_t counters[] = {last_identifier, objects_stored, last_signature};
        attempt([&] { file->write_through(file->start() + 12, counters, sizeof counters); });
        attempt([&] { classes->save_information(); });
        attempt([&] { objects->save_information(); });
    }
    if (file) attempt([&] { file->Close(); });
    abandon();
    if (failure) std::rethrow_exception(failure);
}

void ERObjectDataBase::abandon() {
    if (file) file->Abort(); // with it closed, the trees write nothing
    classes.reset();
    objects.reset();
    file.reset();
    signatures.clear();
    creators.clear();
    last_identifier = objects_stored = last_signature = 0;
}

ERFileManager& ERObjectDataBase::open_file() const {
    if (!file) AfxThrowFileException(CFileException::invalidFile);
    return *file;
}

// ---- classes ----

void ERdiskMetaTreeExtractMap(char const* key, long value, void* database) {
    // The key stands in a node and is no pointer that a class name could be found by again.
    static_cast<ERObjectDataBase*>(database)->creators[value] =
        ERClassRegistration::findCreator(key);
}

void ERObjectDataBase::know_all_classes() {
    if (classes) classes->applyToKeyAndValue(ERdiskMetaTreeExtractMap, this, 0);
}

unsigned long ERObjectDataBase::GetOrCreateSignature(char const* className) {
    open_file();
    // A pointer may have been another class's before, in a library that is no longer loaded.
    const auto known = signatures.find(className);
    if (known != signatures.end() && known->second.name == className)
        return static_cast<unsigned long>(known->second.signature);
    long signature = classes->findValue(className);
    if (signature == -1) {
        signature = last_signature + 1L;
        if (signature > INT_MAX) file->raise(CFileException::diskFull);
        last_signature = static_cast<std::int32_t>(signature);
        classes->insertKeyAndValue(className, signature);
    }
    signatures[className] = {signature, className};
    creators[signature] = ERClassRegistration::findCreator(className);
    return static_cast<unsigned long>(signature);
}

// ---- storing and deleting ----

long ERObjectDataBase::Store(ERObject& object) {
    ERFileManager& store = open_file();
    require_writable();
    const bool is_new = object.objectID == -1 || object.database != this;
    const bool leads_back = !is_new && being_stored.contains(object.objectID);
    if (leads_back || !velm::StackRoom::of_this_thread().has_room_at(being_stored.depth()))
        store.raise(CFileException::genericException);
    StoreStep step(store);
    if (is_new) {
        if (last_identifier == INT_MAX) store.raise(CFileException::diskFull);
        object.objectID = ++last_identifier;
        ++objects_stored;
    }
    object.database = this;
    const OnTheWay on_the_way(being_stored, object.objectID);
    const unsigned long signature = GetOrCreateSignature(object.className());
    ERObject::theCurrentDataBase = this;
    const unsigned int size = object.binaryStoreSize();
    if (size > static_cast<unsigned int>(INT_MAX)) store.raise(CFileException::diskFull);
    const LONGLONG position = static_cast<LONGLONG>(store.GetPosition());
    const long location = store.allocate(size + 4);
    write_record(object, location, signature);
    store.Seek(position, CFile::begin);
    enter(object.objectID, is_new, location);
    step.finish();
    return object.objectID;
}

void ERObjectDataBase::write_record(ERObject& object, long location, unsigned long signature) {
    file->Seek(location, CFile::begin);
    file->Write(signature);
    object.saveGuts(*file);
    file->keep_record(location);
}

void ERObjectDataBase::enter(long id, bool is_new, long location) {
    const IdentifierKey key(id);
    long old_location = -1;
    if (!is_new && objects->replaceValue(key, location, old_location)) {
        file->deallocate(old_location);
    } else if (!objects->insertKeyAndValue(key, location)) {
        // The counter in the header was stale: the identifier is another object's.
        file->deallocate(location);
        file->raise(CFileException::invalidFile);
    }
}

int ERObjectDataBase::Delete(long id) {
    if (!file) return 0;
    StoreStep step(*file);
    const IdentifierKey key(id);
    if (!objects->contains(key)) return 0;
    require_writable();
    long location = -1;
    ERCString removed;
    if (!objects->removeKeyAndValue(key, removed, location)) return 0;
    file->deallocate(location);
    step.finish();
    return 1;
}

// ---- retrieving ----

void ERObjectDataBase::restore(ERObject& object, long id, long location) {
    object.objectID = static_cast<std::int32_t>(id);
    object.database = this;
    file->Seek(location + 4, CFile::begin);
    object.restoreGuts(*file);
    file->keep_record(location);
}

int ERObjectDataBase::Retrieve(long id, ERObject& object) {
    if (!file) return 0;
    StoreStep step(*file);
    const long location = objects->findValue(IdentifierKey(id));
    if (location == -1) return 0;
    int ignored_signature = 0;
    file->Seek(location, CFile::begin);
    file->Read(ignored_signature);
    restore(object, id, location);
    step.finish();
    return 1;
}

t_SmartPtr<ERObject> ERObjectDataBase::RetrieveAndCreate(long id) {
    if (!file) return {};
    StoreStep step(*file);
    const IdentifierKey key(id);
    const long location = objects->findValue(key);
    if (location == -1 || being_read.contains(key.value)) return {};
    if (being_read.depth() == 0) left_to_create = std::max(kLeastToCreate, file->endData() / 4);
    if (left_to_create-- <= 0 || !velm::StackRoom::of_this_thread().has_room_at(being_read.depth()))
        file->raise(CFileException::genericException);

    int signature = 0;
    file->Seek(location, CFile::begin);
    if (!file->Read(signature)) return {};
    const auto creator = creators.find(signature);
    if (creator == creators.end() || !creator->second) return {};
    t_SmartPtr<ERObject> object = creator->second();
    ERObject::theCurrentDataBase = this;
    const OnTheWay on_the_way(being_read, key.value);
    restore(*object, id, location);
    step.finish();
    return object;
}

// ---- reports ----

namespace {

constexpr char kStars[] = "*************************************************************";
constexpr char kDashes[] = "--------------------------------------------";

struct Listing {
    std::ostream& out;
    ERFileManager& file;
};

void list_class(char const* name, long signature, void* listing) {
    static_cast<Listing*>(listing)->out << " Signature " << std::setw(8) << signature << " :  "
                                        << name << '\n';
}

void list_object(char const* key, long location, void* listing) {
    auto& [out, file] = *static_cast<Listing*>(listing);
    std::int32_t id;
    std::memcpy(&id, key, sizeof id);
    std::int32_t signature = 0;
    if (location >= 0) file.read_through(location, &signature, sizeof signature);
    out << "| " << std::setw(8) << id << "| " << std::setw(8) << location << " | " << std::setw(8)
        << signature << '\n';
}

} // namespace

void ERObjectDataBase::summarize(std::ostream& out) const {
    if (!file) return;
    Listing listing{out, *file};
    out << kStars << "\n  Base de Donn\xE9"
        << "es :  " << file->GetFileName() << '\n'
        << kStars << "\n File Manager : \n"
        << kDashes << "\nliste des classes presentes  : \n";
    classes->applyToKeyAndValue(list_class, &listing, 1);
    out << kDashes << "\n|       liste des objects                  |\n"
        << kDashes << "\n|ObjectID | Location | Signature             |\n";
    objects->applyToKeyAndValue(list_object, &listing, 1);
}

unsigned int ERObjectDataBase::get_db_version() { return version; }
unsigned int ERObjectDataBase::get_db_current_version() { return DatabaseHeader::current_version; }
