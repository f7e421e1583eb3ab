// output_paths.h: `OutputPaths`, the outputs of a command.
#pragma once

#include <optional>
#include <string>

namespace velm::inspect {

/// An output that isn't wanted has no value; "-" is standard output.
struct OutputPaths {
    std::optional<std::string> json, csv, svg, html, ply, vtp, store, archive;
    bool quiet = false; ///< no text on standard output
    bool sync = false;  ///< the object file is with the disk at the end
};

} // namespace velm::inspect
