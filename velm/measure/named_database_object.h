// gmNamedDBObject: a database object under the identifier of a CAD object.
#pragma once

#include "velm/measure/cad_object_id.h"
#include "velm/store/db_object.h"

#include <utility>

class VELM_API gmNamedDBObject : public CADObjectID {
public:
    gmNamedDBObject() = default;
    gmNamedDBObject(const CADObjectID& id, const t_SmartPtr<ERDBObject>& object)
        : CADObjectID(id), object_(object) {}

    const CADObjectID& id() const { return *this; }
    const t_SmartPtr<ERDBObject>& object() const { return object_; }

private:
    t_SmartPtr<ERDBObject> object_;
};
