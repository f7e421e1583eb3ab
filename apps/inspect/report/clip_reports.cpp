#include "inspect/report/clip_reports.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "velm/version.h"

namespace velm::inspect {

void write_clip_text(Output& output, const ClipResult& result) {
    const std::size_t count = result.pieces.size();
    output.write("# " + std::to_string(count) + (count == 1 ? " piece of " : " pieces of ") +
                 terminal_text(result.polyline) + " in " + terminal_text(result.region) + ", " +
                 shortest(result.length_inside) + " of " + shortest(result.length) + " long\n");
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        const ClipPiece& piece = result.pieces[i];
        text = (i == 0 ? "# piece " : "\n# piece ") + std::to_string(i + 1) + ", of polyline " +
               std::to_string(piece.polyline + 1) + ", " + shortest(piece.length) + " long\n";
        for (const ERPoint2D& p : piece.points.view()) {
            append_number(text, p.x());
            text += ' ';
            append_number(text, p.y());
            text += '\n';
        }
        output.write(text);
    }
}

void write_clip_json(Output& output, const ClipResult& result) {
    const bool ascii = output.is_terminal();
    std::string text = "{\"velm\":\"" VELM_VERSION_STRING "\",\"command\":\"clip\",\"region\":";
    append_json_string(text, result.region, ascii);
    text += ",\"polyline\":";
    append_json_string(text, result.polyline, ascii);
    text += ",\n \"pieces\":[";
    const char* separator = "\n  ";
    for (const ClipPiece& piece : result.pieces) {
        text += separator;
        text += "{\"polyline\":" + std::to_string(piece.polyline) + ",\"length\":";
        append_number(text, piece.length);
        text += ",\"points\":";
        char bracket = '[';
        for (const ERPoint2D& p : piece.points.view()) {
            text += bracket;
            text += '[';
            append_number(text, p.x());
            text += ',';
            append_number(text, p.y());
            text += ']';
            bracket = ',';
        }
        text += "]}";
        output.write(text);
        text.clear();
        separator = ",\n  ";
    }
    text += "],\n \"summary\":{\"polylines\":" + std::to_string(result.polylines) +
            ",\"pieces\":" + std::to_string(result.pieces.size()) +
            ",\"length_inside\":" + shortest(result.length_inside) +
            ",\"length\":" + shortest(result.length) + "}}\n";
    output.write(text);
}

} // namespace velm::inspect
