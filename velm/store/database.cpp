#include "velm/store/database.h"

#include "velm/frame/stored_form.h"
#include "velm/platform/file_exception.h"
#include "velm/store/object_database.h"

#include <cstring>
#include <utility>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERAuxilaryIndex, ERObject)
VELM_DEFINE_STORED_FORM(ERAuxilaryIndex, ERObject)

namespace {

using velm::NumberKey;

} // namespace

// ---- the index ----

ERAuxilaryIndex::ERAuxilaryIndex() = default;

ERAuxilaryIndex::ERAuxilaryIndex(ERFileManager& file)
    : index(velm::index_tree_form.make(file)),
      information_offset(static_cast<int>(index->baseLocation())) {}

ERAuxilaryIndex::~ERAuxilaryIndex() = default;

void ERAuxilaryIndex::init(ERFileManager& file) {
    constexpr velm::StoreTree form = velm::index_tree_form;
    index = std::make_unique<ERBTreeOnDisk>(file, form.nodes_cached, ERBTreeOnDisk::openExisting,
                                            form.key_length, form.binary_keys, information_offset,
                                            velm::StoreTree::order, velm::StoreTree::minimum);
    index->require_keys(form.key_length, form.binary_keys);
}

int ERAuxilaryIndex::Find(long key, long& value) const {
    if (!index) return 0;
    const NumberKey bytes(key);
    const long found = index->findValue(bytes);
    if (found == -1 && !index->contains(bytes)) return 0;
    value = found;
    return 1;
}

void ERAuxilaryIndex::Insert(long key, long& value) {
    if (!index) AfxThrowFileException(CFileException::invalidFile);
    index->insertKeyAndValue(NumberKey(key), value);
}

unsigned int ERAuxilaryIndex::entries() const {
    return index ? static_cast<unsigned int>(index->entries()) : 0u;
}

// ---- the store ----

struct ERDataBase::Shared : velm::detail::StepMember {
    ~Shared() override { join(nullptr); }
    void remember() override { next_index_before = next_index; }
    void go_back() noexcept override { next_index = next_index_before; }

    ERObjectDataBase store;
    std::unique_ptr<ERAuxilaryIndex> index; // null until Open; goes while the file is still open
    std::int32_t next_index = 0;
    std::int32_t next_index_before = 0; // the operation under way
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
    if (code != gmSuccess)
        abandon();
    else
        shared->join(shared->store.fileManager());
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
    shared->join(nullptr);
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
    shared->join(nullptr);
    attempt([this] { shared->store.Close(); });
    return code;
}

gmErrorCode ERDataBase::flush() {
    try {
        shared->store.flush();
        return gmSuccess;
    } catch (CFileException* failure) {
        return exception_to_error_code(failure);
    }
}

gmErrorCode ERDataBase::save(t_SmartPtr<ERObject> object) {
    if (!object) return gmGenericError;
    // Nothing is stored that no index could lead to.
    if (!shared->index || !shared->index->has_tree_of_its_own()) return gmInvalidFile;
    try {
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
        const velm::detail::ReadingStep step(*shared->store.fileManager());
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
