#include "inspect/keep/store_reader.h"

#include "inspect/base/failure.h"
#include "inspect/keep/store_file.h"
#include "velm/store/database.h"
#include "velm/store/object_database.h"

namespace velm::inspect {

// A store with all its classes known, however many, and its index.
class StoreReader::Store : public ERObjectDataBase {
public:
    explicit Store(const std::string& path) {
        if (!Open(path.c_str(), 1))
            AfxThrowFileException(CFileException::invalidFile, -1, path.c_str());
        know_all_classes();
        if (Retrieve(1, index) != 0) index.init(*fileManager());
    }
    t_SmartPtr<ERObject> object(long at) {
        long identifier = -1;
        return index.Find(at, identifier) ? RetrieveAndCreate(identifier) : nullptr;
    }

    ERAuxilaryIndex index;
};

StoreReader::StoreReader(const std::string& path) : path_(path) {
    require_store(path, path);
    store_ = with_store(path, [&] { return std::make_unique<Store>(path); });
    constexpr long least_entry = 8; // bytes of an index in its tree
    if (size() > store_->fileManager()->endData() / least_entry)
        throw Failure(ExitCode::input, path + ": is no sound object file: it can't hold the " +
                                           std::to_string(size()) + " objects that it counts");
    if (with_store(path, [&] { return store_->object(size()); })) refuse_stale_counters(path);
}

StoreReader::~StoreReader() = default;

long StoreReader::size() const { return static_cast<long>(store_->index.entries()); }

t_SmartPtr<ERDBObject> StoreReader::record(long index) {
    const t_SmartPtr<ERObject> object = with_store(path_, [&] { return store_->object(index); });
    return t_SmartPtr<ERDBObject>(ERDBObject::castdown(object.get()));
}

} // namespace velm::inspect
