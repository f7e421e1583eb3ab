// cad_import.h: CAD files read by a program of their own: `is_cad_file`, `ImportedPart`.
#pragma once

#include <cstdint>
#include <string>

namespace velm::inspect {

/// Whether a file is a STEP, IGES or BREP file, by what it begins with or else by its name. False
/// for one that can't be read.
bool is_cad_file(const std::string& path);

/// What the import may take.
struct ImportLimits {
    int seconds = 600;                                 ///< of the clock, and of the processor
    std::uint64_t bytes = std::uint64_t{6} << 30;      ///< of memory
    std::uint64_t file_bytes = std::uint64_t{1} << 31; ///< of a file that it writes
};

/// An object file with the faces of a CAD file, as `velm-cad-import` writes it, in a folder of its
/// own, which goes with this.
class ImportedPart {
public:
    /// Runs velm-cad-import, looked for beside this program and then in PATH, as a process of its
    /// own: a reader that crashes, hangs or grows ends there. `skip_bad`: faces that can't be taken
    /// are left out. Throws `Failure`: (input) where the file isn't understood, the program is
    /// missing, or it came to one of those ends, (file) where it could not be run.
    ImportedPart(const std::string& cad_file, bool skip_bad, const ImportLimits& limits = {});
    ~ImportedPart();
    ImportedPart(const ImportedPart&) = delete;
    ImportedPart& operator=(const ImportedPart&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string folder_, path_;
};

} // namespace velm::inspect
