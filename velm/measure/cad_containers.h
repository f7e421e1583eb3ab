// CADObjectIDcoPageArr with its iterator and feature record, CADObjectIDtqkSurfPtrcoTable with its
// iterator: identifiers in the containers of a host's library.
#pragma once

#include "velm/measure/cad_object_id.h"
#include "velm/platform/hash_table.h"
#include "velm/platform/page_array.h"
#include "velm/platform/surface_pointer.h"

class VELM_API CADObjectIDcoPageArr : public coPageArr<CADObjectID> {
public:
    using coPageArr::coPageArr;
};

class VELM_API CADObjectIDcoPageArrcoIterator : public coPageArrIterator<CADObjectID> {
public:
    using coPageArrIterator::coPageArrIterator;
};

struct VELM_API CADObjectIDcoPageArrcoFeature : coFeature {
    CADObjectIDcoPageArrcoFeature()
        : coFeature{"CADObjectIDcoPageArr", "CADObjectID", sizeof(CADObjectID)} {}
};

/// The surfaces of CAD objects.
class VELM_API CADObjectIDtqkSurfPtrcoTable : public coTable<CADObjectID, tqkSurfPtr> {
public:
    using coTable::coTable;
};

class VELM_API tqkSurfPtrCADObjectIDcoTablecoIterator2
    : public coTableIterator2<CADObjectID, tqkSurfPtr> {
public:
    using coTableIterator2::coTableIterator2;
};
