#include "inspect/base/failure.h"

#include "inspect/base/text_escape.h"

#include <cstdio>
#include <system_error>

namespace velm::inspect {

void fail_file(const std::string& path, const char* what, int error) {
    throw Failure(FailureKind::file,
                  path + ": " + what + ": " + std::generic_category().message(error));
}

void warn_user(const std::string& sentence) {
    std::fprintf(stderr, "velm-inspect: %s\n", terminal_text("warning: " + sentence).c_str());
}

} // namespace velm::inspect
