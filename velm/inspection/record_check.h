// check_records: whether the values in an object file can be, beyond what velm::check_store says
// about its structure.
//
//     const velm::RecordCheck found = velm::check_records("parts.velm");
//     for (const velm::StoreFault& fault : found.faults.list())
//         std::cout << fault.offset << ": " << fault.what << '\n';
//
// Every object is read into its class and held against what its class promises: finite numbers,
// normals of length 1, radii above 0, knots that ascend. Every inspection is read row by row: each
// row against the distances between its own points and against its edge, all of them against the
// figures of the head. The file has no checksums: a value that was changed within these bounds is
// not noticed; digests (store_digest.h) notice any change.
//
// Failure: raises CFileException* where the file can't be opened or read.
#pragma once

#include "velm/export.h"
#include "velm/store/store_image.h"

namespace velm {

struct RecordCheck {
    long objects = 0;     ///< read into their classes
    long inspections = 0; ///< read to the end, those that were not finished are left out
    long rows = 0;
    StoreFaults faults;
};

/// Of a file whose structure is sound.
VELM_API RecordCheck check_records(const char* name);

} // namespace velm
