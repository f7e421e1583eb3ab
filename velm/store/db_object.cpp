#include "velm/store/db_object.h"

#include "velm/frame/stored_reference.h"

#include <utility>

VELM_DEFINE_CLASS(ERDBObject, ERObject)
VELM_DEFINE_STORED_FORM(ERDBObject, ERObject)

ERDBObject& ERDBObject::operator=(ERDBObject const& other) {
    ERObject::operator=(other);
    described_object = other.described_object;
    table = other.table;
    return *this;
}

ERDBObject& ERDBObject::put(long key, ERDBObjProperty const& value) {
    table[key] = value;
    setDirty();
    return *this;
}

ERDBObject& ERDBObject::property(long key, int value) { return put(key, value); }
ERDBObject& ERDBObject::property(long key, long value) { return put(key, value); }
ERDBObject& ERDBObject::property(long key, double value) { return put(key, value); }
ERDBObject& ERDBObject::property(long key, char const* text) { return put(key, text); }
ERDBObject& ERDBObject::property(long key, unsigned long value) { return put(key, value); }

ERDBObjProperty ERDBObject::property(long key) const {
    ERDBObjProperty found;
    table.findValue(key, found);
    return found;
}

char const* ERDBObject::text_of(long key) const { return table[key]; }

void ERDBObject::object(t_SmartPtr<ERObject> described) {
    if (described == described_object) return;
    described_object = std::move(described);
    setDirty();
}

ERObject* ERDBObject::getCopy() const { return nullptr; }
void ERDBObject::printOn(std::ostream&) const {}
