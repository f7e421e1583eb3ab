// Any bytes as a CSV of measured points: every row is finite or the file is refused; ids pass
// through every escape.
#include "inspect/base/failure.h"
#include "inspect/base/text_escape.h"
#include "inspect/input/measured_reader.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

using namespace velm::inspect;

namespace {

void check_escapes(const std::string& id) {
    std::string json;
    append_json_string(json, id);
    if (!nlohmann::json::accept(json)) std::abort();
    for (const char c : terminal_text(id))
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) std::abort();
    const std::string xml = xml_text(id);
    if (xml.find_first_of("<>\"'") != std::string::npos) std::abort();
    static_cast<void>(nlohmann::json(xml).dump()); // throws where the text is no UTF-8
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        TextSource source("fuzz", {reinterpret_cast<const char*>(data), size});
        MeasuredReader reader(source);
        MeasuredPoint point;
        while (reader.next(point)) {
            if (!std::isfinite(point.x) || !std::isfinite(point.y)) std::abort();
            check_escapes(point.id);
        }
    } catch (const Failure& failure) {
        if (failure.kind() != FailureKind::input) std::abort();
    }
    return 0;
}
