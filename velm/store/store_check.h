// velm::check_store, velm::StoreReport: whether an object file is sound, and what it holds.
#pragma once

#include "velm/export.h"
#include "velm/store/store_image.h"

#include <string>
#include <vector>

namespace velm {

struct StoreReport {
    struct Class {
        long signature;
        std::string name;
        bool creatable; // by this library and what it is linked with
        long objects;
    };

    unsigned int version = 0;
    long file_length = 0;
    long end_of_data = 0;
    std::vector<Class> classes; // by signature
    long objects = 0;
    long indices = 0;
    long last_identifier = 0;
    long free_bytes = 0;  // in the free list
    long waste_bytes = 0; // that nothing names: extents lost for good, and left by killed processes
    StoreFaults faults;

    bool sound() const { return faults.none(); }
};

/// Reads everything: head, free list, the trees and the index, every record against its class.
/// Bytes that nothing names are waste and no fault; a reference to an object that has been deleted
/// is none either. Stale counters are faults. Never writes. Raises CFileException* where the file
/// can't be opened or read.
VELM_API StoreReport check_store(const char* name);

/// The objects of a file, read by the library with all their classes known.
class VELM_API StoredObjects {
public:
    /// Raises CFileException* where the file can't be opened.
    explicit StoredObjects(const char* name);
    StoredObjects(const StoredObjects&) = delete;
    StoredObjects& operator=(const StoredObjects&) = delete;
    ~StoredObjects();

    /// Null where there is none, and for a class that can't be created.
    t_SmartPtr<ERObject> create(long identifier);

private:
    class Store;
    std::unique_ptr<Store> store;
};

} // namespace velm
