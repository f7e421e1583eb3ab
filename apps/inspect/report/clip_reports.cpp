#include "inspect/report/clip_reports.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/report/json_report.h"

namespace velm::inspect {

void write_clip_text(Output& output, const ClipResult& result) {
    const std::size_t count = result.pieces.size();
    output.write("# " + std::to_string(count) + (count == 1 ? " piece of " : " pieces of ") +
                 terminal_text(result.head.polyline) + " in " + terminal_text(result.head.region) +
                 ", " + shortest(result.figures.length_inside) + " of " +
                 shortest(result.figures.length) + " long\n");
    if (result.figures.chord_error > 0.0)
        output.write("# arcs and curves as chords within " + shortest(result.figures.chord_error) +
                     '\n');
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
    JsonReport report(output, "clip", describe(result.head), "pieces");
    for (const ClipPiece& piece : result.pieces)
        report.add(describe(piece, result.head));
    report.finish(describe(result.figures));
}

} // namespace velm::inspect
