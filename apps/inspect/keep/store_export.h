// store_export.h: the objects of an object file as texts, one file an object: `export_texts`.
#pragma once

#include <cstddef>
#include <string>

namespace velm::inspect {

/// Writes each object of the file to ID-CLASS.txt in a folder, as UTF-8: its class, its text form,
/// its properties and the object it refers to; the bytes of objects whose class is not known.
/// Returns the number of objects. Throws `Failure`, which calls the folder `shown`.
std::size_t export_texts(const std::string& file, const std::string& folder,
                         const std::string& shown);

} // namespace velm::inspect
