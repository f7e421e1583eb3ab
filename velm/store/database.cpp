#include "velm/store/database.h"

#include "velm/frame/stored_form.h"
#include "velm/platform/file_exception.h"
#include "velm/store/object_database.h"

#include <cstring>
#include <utility>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERAuxilaryIndex, ERObject)
VELM_DEFINE_STORED_FORM(ERAuxilaryIndex, ERObject)

namespace {

/// The key of an index: its four bytes, little-endian.
struct IndexKey {
    explicit IndexKey(long index) {
        const std::int32_t value = static_cast<std::int32_t>(index);
        std::memcpy(bytes, &value, sizeof bytes);
    }
    operator const char*() const { return bytes; }
    char bytes[4];
};

std::unique_ptr<ERBTreeOnDisk> index_tree(ERFileManager& file, ERBTreeOnDisk::createMode mode,
                                          long offset) {
    constexpr velm::StoreTree form = velm::index_tree_form;
    return std::make_unique<ERBTreeOnDisk>(file, form.nodes_cached, mode, form.key_length,
                                           form.binary_keys, offset, velm::StoreTree::order,
                                           velm::StoreTree::minimum);
}

} // namespace

// ---- the index ----

ERAuxilaryIndex::ERAuxilaryIndex() = default;

ERAuxilaryIndex::ERAuxilaryIndex(ERFileManager& file)
    : index(index_tree(file, ERBTreeOnDisk::createNew, -1)),
      information_offset(static_cast<int>(index->baseLocation())) {}

ERAuxilaryIndex::~ERAuxilaryIndex() = default;

void ERAuxilaryIndex::init(ERFileManager& file) {
    index = index_tree(file, ERBTreeOnDisk::openExisting, information_offset);
    index->require_keys(velm::index_tree_form.key_length, velm::index_tree_form.binary_keys);
}

int ERAuxilaryIndex::Find(long key, long& value) const {
    if (!index) return 0;
    const IndexKey bytes(key);
    if (!index->contains(bytes)) return 0;
    value = index->findValue(bytes);
    return 1;
}

void ERAuxilaryIndex::Insert(long key, long& value) {
    if (!index) AfxThrowFileException(CFileException::invalidFile);
    index->insertKeyAndValue(IndexKey(key), value);
}

unsigned int ERAuxilaryIndex::entries() const {
    return index ? static_cast<unsigned int>(index->entries()) : 0u;
}

// ---- the store ----

struct ERDataBase::Shared {
    ERObjectDataBase store;
    std::unique_ptr<ERAuxilaryIndex> index; // null until Open; goes while the file is still open
    std::int32_t next_index = 0;
};

ERDataBase::ERDataBase() : shared(std::make_shared<Shared>()) {}
ERDataBase::ERDataBase(const ERDataBase& other) = default;
ERDataBase& ERDataBase::operator=(const ERDataBase& other) = default;
ERDataBase::~ERDataBase() = default;

gmErrorCode ERDataBase::exception_to_error_code(CFileException* exception) {
    const int cause = exception->m_cause;
    exception->Delete();
    const bool known = cause == CFileException::none || (cause >= CFileException::fileNotFound &&
                                                         cause <= CFileException::endOfFile);
    return known ? static_cast<gmErrorCode>(cause) : gmGenericError;
}

gmErrorCode ERDataBase::Open(char const* name, int readOnly) {
    CFileStatus status;
    const bool exists = CFile::GetStatus(name, status);
    if (!exists && readOnly) return gmAccessDenied;
    gmErrorCode code = Close();
    if (code != gmSuccess) return code;
    try {
        code = exists ? open_existing(name, readOnly) : create_new(name);
    } catch (CFileException* failure) {
        code = exception_to_error_code(failure);
    } catch (...) {
        abandon();
        throw;
    }
    if (code != gmSuccess) abandon();
    return code;
}

gmErrorCode ERDataBase::open_existing(char const* name, int readOnly) {
    ERObjectDataBase& store = shared->store;
    if (!store.Open(name, readOnly)) return gmFileRefused;
    auto index = std::make_unique<ERAuxilaryIndex>();
    store.Retrieve(1, *index);
    index->init(*store.fileManager());
    shared->next_index = static_cast<std::int32_t>(index->entries());
    shared->index = std::move(index);
    return gmSuccess;
}

gmErrorCode ERDataBase::create_new(char const* name) {
    ERObjectDataBase& store = shared->store;
    if (!store.Open(name, 0)) return gmFileRefused;
    shared->index = std::make_unique<ERAuxilaryIndex>(*store.fileManager());
    store.Store(*shared->index);
    shared->next_index = 0;
    return gmSuccess;
}

void ERDataBase::abandon() {
    if (ERFileManager* const file = shared->store.fileManager()) file->Abort();
    shared->index.reset();
    shared->store.abandon();
}

gmErrorCode ERDataBase::Close() {
    gmErrorCode code = gmSuccess;
    const auto attempt = [&code](auto step) {
        try {
            step();
        } catch (CFileException* failure) {
            const gmErrorCode met = exception_to_error_code(failure);
            if (code == gmSuccess) code = met;
        }
    };
    if (shared->index && shared->index->tree())
        attempt([this] { shared->index->tree()->save_information(); });
    shared->index.reset();
    attempt([this] { shared->store.Close(); });
    return code;
}

gmErrorCode ERDataBase::save(t_SmartPtr<ERObject> object) {
    if (!object) return gmGenericError;
    try {
        // Nothing is stored that no index could lead to.
        if (!shared->index || !shared->index->tree()->has_valid_information())
            AfxThrowFileException(CFileException::invalidFile);
        velm::detail::StoreStep step(*shared->store.fileManager());
        long id = shared->store.Store(*object);
        shared->index->Insert(shared->next_index++, id);
        step.finish();
        return gmSuccess;
    } catch (CFileException* failure) {
        return exception_to_error_code(failure);
    }
}

t_SmartPtr<ERObject> ERDataBase::restore(long index, gmErrorCode& code) {
    code = gmSuccess;
    try {
        if (!shared->index) AfxThrowFileException(CFileException::invalidFile);
        velm::detail::StoreStep step(*shared->store.fileManager());
        long id = -1;
        if (!shared->index->Find(index, id)) return {};
        return shared->store.RetrieveAndCreate(id);
    } catch (CFileException* failure) {
        code = exception_to_error_code(failure);
        return {};
    }
}

int ERDataBase::getNbEnt() const { return shared->next_index; }
void ERDataBase::printOn(std::ostream&) const {}
unsigned int ERDataBase::get_db_version() { return shared->store.get_db_version(); }
unsigned int ERDataBase::get_db_current_version() { return shared->store.get_db_current_version(); }
ERObjectDataBase* ERDataBase::objects() const { return &shared->store; }
