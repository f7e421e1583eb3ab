// cad_import.h: CAD files read by a program of their own: `is_cad_file`, `ImportedPart`.
#pragma once

#include "inspect/base/limited_process.h"
#include "inspect/base/passing_folder.h"

#include <cstdint>
#include <string>

namespace velm::inspect {

/// Whether a file is a STEP, IGES or BREP file, by what it begins with or else by its name. False
/// for one that can't be read.
bool is_cad_file(const std::string& path);

/// What the import may take.
inline constexpr ProcessLimits import_limits{600.0, std::uint64_t{6} << 30, std::uint64_t{1} << 31};

/// An object file with the faces of a CAD file, as `velm-cad-import` writes it, in a folder that
/// goes with this.
class ImportedPart {
public:
    /// Runs velm-cad-import, looked for beside this program and then in PATH, as a process of its
    /// own: a reader that crashes, hangs or grows ends there. `skip_bad`: faces that can't be taken
    /// are left out. Throws `Failure`: (input) where the file isn't understood, the program is
    /// missing, or it came to one of those ends, (file) where it could not be run.
    ImportedPart(const std::string& cad_file, bool skip_bad,
                 const ProcessLimits& limits = import_limits);

    /// Where the program should have put the file.
    const std::string& path() const { return path_; }

private:
    PassingFolder folder_;
    std::string path_;
};

} // namespace velm::inspect
