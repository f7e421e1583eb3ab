#include "velm/store/object_database.h"

#include "velm/platform/file_exception.h"
#include "velm/platform/stack_room.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <ostream>

using velm::DatabaseHeader;
using velm::NumberKey;
using velm::detail::ReadingStep;
using velm::detail::StoreStep;

namespace {

// The objects that one reading may create: all that the file can refer to by references of four
// bytes, and never so few that sharing on several levels is cut off.
constexpr long kLeastToCreate = 65536;

// Has an object under way for as long as it lives.
class OnTheWay {
public:
    OnTheWay(velm::detail::ObjectsUnderWay& way, std::int32_t id) : way_(way) { way_.push(id); }
    ~OnTheWay() { way_.pop(); }
    OnTheWay(const OnTheWay&) = delete;
    OnTheWay& operator=(const OnTheWay&) = delete;

private:
    velm::detail::ObjectsUnderWay& way_;
};

// The stored form overrules these arguments, which are the other tree's, part of the contract.
std::unique_ptr<ERBTreeOnDisk> open_tree(ERFileManager& file, velm::StoreTree form,
                                         velm::StoreTree other, long offset) {
    auto tree = std::make_unique<ERBTreeOnDisk>(
        file, form.nodes_cached, ERBTreeOnDisk::openExisting, other.key_length, form.binary_keys,
        offset, velm::StoreTree::order, velm::StoreTree::minimum);
    tree->require_keys(form.key_length, form.binary_keys);
    return tree;
}

} // namespace

std::unique_ptr<ERBTreeOnDisk> velm::StoreTree::make(ERFileManager& file) const {
    return std::make_unique<ERBTreeOnDisk>(file, nodes_cached, ERBTreeOnDisk::createNew, key_length,
                                           binary_keys, -1, order, minimum);
}

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

// Abandons the store in the end unless its opening has succeeded.
struct ERObjectDataBase::Attempt {
    ERObjectDataBase& store;
    bool has_succeeded = false;

    ~Attempt() {
        if (!has_succeeded) store.abandon();
    }
};

int ERObjectDataBase::Open(char const* name, int readOnly) {
    if (file) Close();
    CFileStatus status;
    const bool exists = CFile::GetStatus(name, status);
    if (!exists && readOnly) return 0;
    Attempt attempt{*this};
    if (exists) {
        // An empty file has no start: it is refused before anything is written to it.
        if (status.m_size == 0 && std::filesystem::is_regular_file(name))
            AfxThrowFileException(CFileException::badSeek, -1, name);
        open_existing(name, readOnly);
    } else {
        create_new(name);
    }
    attempt.has_succeeded = true;
    return file != nullptr;
}

void ERObjectDataBase::open_existing(char const* name, int readOnly) {
    file = std::make_unique<ERFileManager>(name, readOnly);
    DatabaseHeader header;
    const bool whole = file->read_through(file->start(), &header, sizeof header) == sizeof header;
    if (!whole || header.version > DatabaseHeader::current_version) {
        file.reset();
        return;
    }
    version = header.version;
    class_tree_offset = header.class_tree;
    object_tree_offset = header.object_tree;
    counters = {header.last_identifier, header.objects_stored, header.last_signature};
    counters_on_file = counters;
    classes = open_tree(*file, velm::class_tree_form, velm::object_tree_form, class_tree_offset);
    objects = open_tree(*file, velm::object_tree_form, velm::class_tree_form, object_tree_offset);
    join(file.get());
    classes->applyToKeyAndValue(ERdiskMetaTreeExtractMap, this, 1);
}

void ERObjectDataBase::create_new(char const* name) {
    file = std::make_unique<ERFileManager>(name, 0);
    StoreStep step(*file);
    const long start = file->allocate(DatabaseHeader::allocated_bytes);
    classes = velm::class_tree_form.make(*file);
    class_tree_offset = classes->baseLocation();
    objects = velm::object_tree_form.make(*file);
    object_tree_offset = objects->baseLocation();
    version = DatabaseHeader::current_version;
    DatabaseHeader header;
    header.class_tree = static_cast<std::int32_t>(class_tree_offset);
    header.object_tree = static_cast<std::int32_t>(object_tree_offset);
    file->write_through(start, &header, sizeof header);
    step.finish();
    join(file.get());
}

void ERObjectDataBase::require_writable() const {
    if (file->isReadOnly()) file->raise(CFileException::accessDenied);
    if (!file->has_free_list()) file->raise(CFileException::invalidFile);
}

void ERObjectDataBase::save_counters() {
    if (counters == counters_on_file) return;
    const auto words = [](const Counters& c) {
        return std::array{c.last_identifier, c.objects_stored, c.last_signature};
    };
    file->write_over(file->start() + DatabaseHeader::counters_at, words(counters).data(),
                     words(counters_on_file).data(), sizeof(words(counters)));
    counters_on_file = counters;
}

void ERObjectDataBase::Close() {
    velm::detail::AllSteps closing;
    if (file && file->is_open() && !file->isReadOnly() && file->has_free_list())
        closing.attempt([this] {
            StoreStep step(*file);
            save_counters();
            classes->save_information();
            objects->save_information();
            step.finish();
            if (flushes_at_close) file->Flush();
        });
    if (file) closing.attempt([this] { file->Close(); });
    abandon();
    closing.finish();
}

void ERObjectDataBase::flush() {
    if (file && !file->isReadOnly()) file->Flush();
}

void ERObjectDataBase::abandon() {
    if (file) file->Abort(); // with it closed, the trees write nothing
    join(nullptr);
    classes.reset();
    objects.reset();
    file.reset();
    signatures.clear();
    creators.clear();
    identities.clear();
    counters = counters_on_file = Counters();
}

ERFileManager& ERObjectDataBase::open_file() const {
    if (!file) AfxThrowFileException(CFileException::invalidFile);
    return *file;
}

// ---- classes ----

void ERdiskMetaTreeExtractMap(char const* key, long value, void* database) {
    // The key is in a node and no pointer that a class name could be found by again.
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
        signature = counters.last_signature + 1L;
        if (signature > INT_MAX) file->raise(CFileException::diskFull);
        counters.last_signature = static_cast<std::int32_t>(signature);
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
    note_identity(object);
    if (is_new) {
        if (counters.last_identifier == INT_MAX) store.raise(CFileException::diskFull);
        object.objectID = ++counters.last_identifier;
        ++counters.objects_stored;
    }
    object.database = this;
    const OnTheWay on_the_way(being_stored, object.objectID);
    const unsigned long signature = GetOrCreateSignature(object.className());
    ERObject::theCurrentDataBase = this;
    const unsigned int size = object.binaryStoreSize();
    if (size > static_cast<unsigned int>(INT_MAX)) store.raise(CFileException::diskFull);
    const LONGLONG position = static_cast<LONGLONG>(store.GetPosition());
    unsigned int total = 0;
    const long location = store.allocate_sized(size + 4, total);
    write_record(object, location, signature);
    store.Seek(position, CFile::begin);
    enter(object.objectID, is_new, location, total);
    step.finish();
    return object.objectID;
}

void ERObjectDataBase::write_record(ERObject& object, long location, unsigned long signature) {
    file->Seek(location, CFile::begin);
    file->Write(signature);
    object.saveGuts(*file);
}

// ---- going back ----

void ERObjectDataBase::remember() {
    counters_before = counters;
    on_file_before = counters_on_file;
    identities.clear();
}

void ERObjectDataBase::go_back() noexcept {
    const std::int32_t last_given_out = counters.last_identifier;
    counters = counters_before;
    if (file->gathers_batch()) counters.last_identifier = last_given_out;
    counters_on_file = on_file_before;
    signatures.clear(); // they are found again in the class tree
    for (auto known = identities.rbegin(); known != identities.rend(); ++known) {
        known->object->objectID = known->id;
        known->object->database = known->database;
        known->object->dirty = known->dirty;
    }
    identities.clear();
}

// The outermost object outlives the operation. Of those that it refers to, the ones that counted
// pointers hold are held here, too; others are not known to live on.
void ERObjectDataBase::note_identity(ERObject& object) {
    const bool is_held = object.references() > 0;
    if (file->gathers_batch()) return;
    if (!is_held && being_stored.depth() > 0) return;
    identities.push_back({&object, t_SmartPtr<ERObject>(is_held ? &object : nullptr),
                          object.objectID, object.database, object.dirty});
}

void ERObjectDataBase::enter(long id, bool is_new, long location, unsigned int total) {
    const NumberKey key(id);
    long old_location = -1;
    const unsigned int old_size = is_new ? 0 : objects->block_size(key);
    if (!is_new && objects->replaceValue(key, location, old_location)) {
        file->deallocate_sized(old_location, old_size);
    } else if (!objects->insertKeyAndValue(key, location)) {
        // The counter in the header was stale: the identifier is another object's.
        file->deallocate(location);
        file->raise(CFileException::invalidFile);
    }
    objects->note_block_size(key, total);
}

int ERObjectDataBase::Delete(long id) {
    if (!file) return 0;
    const NumberKey key(id);
    if (file->isReadOnly() || !file->has_free_list()) {
        if (!objects->contains(key)) return 0;
        require_writable();
    }
    if (file->gathers_batch()) file->raise(CFileException::genericException);
    return velm::detail::removal(*file, [&] {
        long location = -1;
        ERCString removed;
        const unsigned int size = objects->block_size(key);
        if (!objects->removeKeyAndValue(key, removed, location)) return 0;
        file->deallocate_sized(location, size);
        return 1;
    });
}

// ---- retrieving ----

void ERObjectDataBase::enter_record(const NumberKey& key, long location) {
    objects->note_block_size(key, file->enter_block(location, objects->block_size(key)));
}

void ERObjectDataBase::restore(ERObject& object, long id, long location) {
    object.objectID = static_cast<std::int32_t>(id);
    object.database = this;
    file->Seek(location + 4, CFile::begin);
    object.restoreGuts(*file);
}

int ERObjectDataBase::Retrieve(long id, ERObject& object) {
    if (!file) return 0;
    const ReadingStep step(*file);
    const long location = objects->findValue(NumberKey(id));
    if (location == -1) return 0;
    enter_record(NumberKey(id), location);
    int ignored_signature = 0;
    file->Read(ignored_signature);
    restore(object, id, location);
    return 1;
}

t_SmartPtr<ERObject> ERObjectDataBase::RetrieveAndCreate(long id) {
    if (!file) return {};
    const ReadingStep step(*file);
    const NumberKey key(id);
    const long location = objects->findValue(key);
    if (location == -1 || being_read.contains(key.value)) return {};
    if (being_read.depth() == 0) left_to_create = std::max(kLeastToCreate, file->endData() / 4);
    if (left_to_create-- <= 0 || !velm::StackRoom::of_this_thread().has_room_at(being_read.depth()))
        file->raise(CFileException::genericException);

    enter_record(key, location);
    int signature = 0;
    if (!file->Read(signature)) return {};
    const auto creator = creators.find(signature);
    if (creator == creators.end() || !creator->second) return {};
    t_SmartPtr<ERObject> object = creator->second();
    ERObject::theCurrentDataBase = this;
    const OnTheWay on_the_way(being_read, key.value);
    restore(*object, id, location);
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
