// Any bytes as a PLY scan: every point is finite or the file is refused.
#include "inspect/base/failure.h"
#include "inspect/input/ply_reader.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace velm::inspect;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    OpenedInput input{"fuzz", size, [bytes](char* to, std::size_t room) mutable {
                          const std::size_t given = bytes.copy(to, room);
                          bytes.remove_prefix(given);
                          return given;
                      }};
    try {
        PlyReader reader(std::move(input));
        ScanPoint point;
        while (reader.next(point))
            if (!std::isfinite(point.place.x() + point.place.y() + point.place.z()) &&
                !(std::fabs(point.place.x()) > 1e300))
                std::abort();
    } catch (const Failure& failure) {
        if (failure.kind() != FailureKind::input) std::abort();
    }
    return 0;
}
