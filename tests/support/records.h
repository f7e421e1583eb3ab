// The texts and the stored bytes of values, values restored from bytes, and the bytes of numbers.
#pragma once

#include "support/memory_file.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>

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

} // namespace velm_test
