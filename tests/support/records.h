// The texts and the stored bytes of values, values restored from bytes, and the bytes of numbers.
#pragma once

#include "support/memory_file.h"
#include "support/test.h"
#include "velm/frame/class_registration.h"
#include "velm/frame/object.h"
#include "velm/frame/smart_pointer.h"

namespace velm_test {

template <class Value>
std::string text_of(const Value& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

/// The bytes of numbers as they stand, and of texts without their length.
template <class... Values>
std::string bytes_of(const Values&... values) {
    std::string bytes;
    const auto add = [&bytes](const auto& value) {
        if constexpr (requires { std::string(value); }) {
            bytes += value;
        } else {
            bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
        }
    };
    (add(values), ...);
    return bytes;
}

/// What the object writes to a file, which is as much as it says.
template <class Object>
std::string record_of(const Object& object) {
    MemoryFile file;
    object.saveGuts(file);
    EXPECT_EQ(file.bytes.size(), object.binaryStoreSize());
    return file.bytes;
}

/// The object after it has been restored from these bytes.
template <class Object>
Object& restore(Object& object, const std::string& record) {
    MemoryFile file(record);
    object.restoreGuts(file);
    return object;
}

/// The entity has this record and text. Made by its class's name and restored from the record it is
/// the same again, and so is a copy. Returns the restored one.
template <class Entity>
std::unique_ptr<ERObject> expect_stored(const Entity& entity, const std::string& record,
                                        const std::string& text) {
    SCOPED_TRACE(entity.className());
    EXPECT_EQ(record_of(entity), record);
    EXPECT_EQ(text_of(entity), text);
    std::unique_ptr<ERObject> made(ERClassRegistration::findCreator(entity.className())());
    const t_SmartPtr<ERObject> copy(entity.getCopy());
    for (const ERObject* same : {&restore(*made, record), copy.get()}) {
        EXPECT_EQ(record_of(*same), record);
        EXPECT_EQ(text_of(*same), text);
    }
    return made;
}

} // namespace velm_test
