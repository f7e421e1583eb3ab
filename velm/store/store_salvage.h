// velm::salvage_store, velm::compact_store: the objects of a file, written again into a clean one.
#pragma once

#include "velm/export.h"
#include "velm/store/store_image.h"

#include <string>
#include <vector>

namespace velm {

/// What a rebuilding took over and what it had to leave.
struct SalvageReport {
    /// A block that looks like a record and that no tree names.
    struct Orphan {
        long offset; // of the payload in the old file
        long size;   // of the payload
        std::string class_name;
        long identifier; // in the new file, -1 where it was left
    };

    /// An object that the new file doesn't have: what the trees name can't be had, or is not what
    /// its class stores.
    struct Missing {
        long identifier;
        long offset; // of its record in the old file
        std::string class_name;
        std::string why;
    };

    long objects = 0;         // taken over under their identifiers
    long from_lost_nodes = 0; // of these, not to be found from the root of the tree
    long indices = 0;
    long classes = 0;
    long unchecked = 0; // of these, of classes that can't be created here: taken as they were
    std::vector<Orphan> orphans;
    std::vector<Missing> missing;
    StoreFaults faults;    // what was wrong with the old file
    bool complete = false; // all that was in it is known to be in the new one
};

/// Writes a new file with all that can be had of a damaged one, or of one that a killed process
/// left: each object in the version that the trees name, under its identifier; the index; objects
/// and classes that only a node names which no parent leads to yet. Records are copied as they are,
/// also those of unknown classes; one that isn't what its class stores is left out and reported.
/// What is written passes the check. Blocks that look like records and that nothing names are
/// listed, and with `orphans` restored under new identifiers. The counters are made true.
///
/// Of a file that this library wrote, and that a killed process left at any moment, every object
/// whose storing had returned comes back in its newest version, and none whose deletion had
/// returned. Only where the object tree itself is damaged may deleted objects come back, from nodes
/// that were given up and not yet used again.
///
/// The old file is not written. The new one must not exist (accessDenied); nothing is left of it on
/// failure. Raises CFileException*.
VELM_API SalvageReport salvage_store(const char* from, const char* to, bool orphans);

/// The same of a sound file, without free space and waste: identifiers, indices, signatures and
/// counters are kept. A file that isn't sound as far as its trees go is an invalidFile.
VELM_API SalvageReport compact_store(const char* from, const char* to);

} // namespace velm
