// stoSchemaObject, stoClass: the classes of a host's schema.
#pragma once

#include "velm/export.h"
#include "velm/platform/utility_string.h"

#include <utility>

/// Anything named in the schema.
class VELM_API stoSchemaObject {
public:
    explicit stoSchemaObject(utString name) : name_(std::move(name)) {}
    const utString& name() const { return name_; }

private:
    utString name_;
};

/// A class of the schema.
class VELM_API stoClass : public stoSchemaObject {
public:
    using stoSchemaObject::stoSchemaObject;
};
