// Drawings: what their entities become, blocks, units, what is refused, and the distances to the
// outlines that they make.
#include "inspect/input/dxf_drawing.h"
#include "inspect/input/outline_reader.h"
#include "inspect/sentences.h"
#include "support/geometry_text.h"
#include "support/temporary_folder.h"
#include "velm/frame/point_functions.h"
#include "velm/planar/profile.h"

namespace velm::inspect {
namespace {

using velm_test::has;
using velm_test::sentence_of;

Drawing drawing_of(const std::string& text, const DxfOptions& options = {}) {
    TextSource source("d.dxf", text);
    return read_dxf(source, options);
}

// Groups given as "code value" pairs on one line, separated by bars: "0 LINE|10 1|20 2".
std::string groups(const std::string& pairs) {
    std::string text;
    std::istringstream all(pairs);
    for (std::string pair; std::getline(all, pair, '|');) {
        const std::size_t blank = pair.find(' ');
        text += pair.substr(0, blank) + "\n" + pair.substr(blank + 1) + "\n";
    }
    return text;
}
std::string file_of(const std::string& entities, const std::string& before = {}) {
    return groups(before + (before.empty() ? "" : "|") + "0 SECTION|2 ENTITIES|" + entities +
                  "|0 ENDSEC|0 EOF");
}

// Ends, middle and kind of a piece, as a text of few digits.
std::string text_of(const DrawnPiece& piece) {
    std::ostringstream out;
    const auto put = [&out](const ERPoint2D& p) {
        out.precision(9);
        const auto tidy = [](double x) { return std::round(x * 1e6) / 1e6 + 0.0; };
        out << " (" << tidy(p.x()) << " " << tidy(p.y()) << ")";
    };
    if (const auto* segment = std::get_if<DrawnSegment>(&piece.shape)) {
        out << "line";
        put(segment->start), put(segment->end);
    } else if (const auto* arc = std::get_if<DrawnArc>(&piece.shape)) {
        out << (arc->is_circular() ? "arc" : "ellipse") << (arc->is_closed() ? " closed" : "");
        const double middle = 0.5 * (arc->from + arc->to);
        put(arc->start);
        put(arc->centre + arc->u * std::cos(middle) + arc->v * std::sin(middle));
        put(arc->end);
    } else {
        const auto& spline = std::get<DrawnSpline>(piece.shape);
        out << "spline " << spline.degree << " w";
        for (const double weight : spline.weights)
            out << " " << weight;
        for (const ERPoint2D& pole : spline.poles)
            put(pole);
    }
    return out.str();
}

TEST(Dxf, EntitiesBecomePieces) {
    const std::string block =
        "0 SECTION|2 BLOCKS|0 BLOCK|2 B|10 1|20 0|0 LINE|8 0|10 1|20 0|11 2|21 0|"
        "0 ARC|8 X|10 1|20 0|40 1|50 0|51 90|0 ENDBLK|0 ENDSEC";
    struct Case {
        std::string entities, expected, before;
    };
    const Case cases[] = {
        {"0 LINE|10 1|20 2|11 3|21 4", "line (1 2) (3 4)", ""},
        {"0 ARC|10 1|20 1|40 2|50 350|51 10", "arc (2.969616 0.652704) (3 1) (2.969616 1.347296)",
         ""},
        {"0 ARC|10 1|20 0|40 2|50 0|51 90|230 -1", "arc (-3 0) (-2.414214 1.414214) (-1 2)", ""},
        {"0 CIRCLE|10 0|20 0|40 2", "arc closed (2 0) (-2 0) (2 0)", ""},
        {"0 ELLIPSE|10 0|20 0|11 4|21 0|40 .5|41 0|42 " + std::string("3.14159265358979"),
         "ellipse (4 0) (0 2) (-4 0)", ""},
        {"0 ELLIPSE|10 0|20 0|11 4|21 0|40 .5|41 0|42 " + std::string("3.14159265358979") +
             "|230 -1",
         "ellipse (4 0) (0 -2) (-4 0)", ""},
        {"0 LWPOLYLINE|70 1|10 0|20 0|42 1|10 2|20 0|10 2|20 2",
         "arc (0 0) (1 -1) (2 0);line (2 0) (2 2);line (2 2) (0 0)", ""},
        {"0 LWPOLYLINE|70 0|10 0|20 0|42 -0.414213562373095|10 1|20 1",
         "arc (0 0) (0.292893 0.707107) (1 1)", ""},
        {"0 POLYLINE|70 0|0 VERTEX|10 0|20 0|0 VERTEX|10 9|20 9|70 16|0 VERTEX|10 1|20 0|0 SEQEND",
         "line (0 0) (1 0)", ""},
        {"0 SPLINE|71 2|40 0|40 0|40 0|40 1|40 1|40 1|41 1|41 .5|41 1|10 0|20 0|10 1|20 1|10 2|20 "
         "0",
         "spline 2 w 1 0.5 1 (0 0) (1 1) (2 0)", ""},
        // The base point of the block is (1, 0).
        {"0 INSERT|2 B|10 5|20 5|50 90", "line (5 5) (5 6);arc (5 6) (4.292893 5.707107) (4 5)",
         block},
        {"0 INSERT|2 B|10 5|20 5|41 2|42 1",
         "line (5 5) (7 5);ellipse (7 5) (6.414214 5.707107) (5 6)", block},
        {"0 INSERT|2 B|10 5|20 5|41 -1|42 1",
         "line (5 5) (4 5);arc (4 5) (4.292893 5.707107) (5 6)", block},
        {"0 INSERT|2 B|10 0|20 0|70 2|44 10",
         "line (0 0) (1 0);arc (1 0) (0.707107 0.707107) (0 1);"
         "line (10 0) (11 0);arc (11 0) (10.707107 0.707107) (10 1)",
         block},
        {"0 LINE|10 1|20 0|11 0|21 0", "line (25.4 0) (0 0)",
         "0 SECTION|2 HEADER|9 $INSUNITS|70 1|0 ENDSEC"},
    };
    for (const Case& one : cases) {
        std::string found;
        for (const DrawnPiece& piece : drawing_of(file_of(one.entities, one.before)).pieces)
            found += (found.empty() ? "" : ";") + text_of(piece);
        EXPECT_EQ(found, one.expected) << one.entities;
    }
    // Layers: "0" in a block is that of the insertion.
    DxfOptions options;
    options.layers = {"L"};
    const Drawing chosen = drawing_of(
        file_of("0 INSERT|8 L|2 B|10 0|20 0|0 LINE|8 M|10 0|20 0|11 1|21 0", block), options);
    ASSERT_EQ(chosen.pieces.size(), 1u);
    EXPECT_EQ(text_of(chosen.pieces[0]), "line (0 0) (1 0)");
    EXPECT_EQ(chosen.layers, (std::vector<std::string>{"L", "M", "X"}));
    options.millimetres = 10.0;
    EXPECT_EQ(text_of(drawing_of(file_of("0 LINE|8 L|10 1|20 2|11 3|21 4"), options).pieces[0]),
              "line (10 20) (30 40)");
}

TEST(Dxf, LeavesOutAndRefusesBySentence) {
    const Drawing drawing =
        drawing_of(file_of("0 TEXT|10 0|0 TEXT|10 0|0 LINE|67 1|10 0|20 0|11 1|21 1|"
                           "0 CIRCLE|10 0|20 0|40 1|210 1|230 0|0 INSERT|2 none|10 0|20 0"));
    EXPECT_TRUE(drawing.pieces.empty());
    std::string left;
    for (const LeftOut& one : drawing.left_out)
        left += std::to_string(one.count) + " " + one.type + " " + one.why + ";";
    EXPECT_EQ(left,
              "2 TEXT not a curve of an outline;1 LINE on paper;1 CIRCLE not in the drawing plane;"
              "1 INSERT of a block that the file doesn't have;");

    const std::string circle =
        "0 SECTION|2 BLOCKS|0 BLOCK|2 B|0 INSERT|2 B|10 0|20 0|0 ENDBLK|0 ENDSEC";
    const std::string bomb = "0 SECTION|2 BLOCKS|0 BLOCK|2 B|0 ENDBLK|0 BLOCK|2 C|0 INSERT|2 B|10 "
                             "0|20 0|70 9999|71 9999|0 ENDBLK|0 ENDSEC";
    struct Case {
        std::string text, sentence;
    };
    const Case cases[] = {
        {file_of("0 LINE|10 x|20 0|11 1|21 0"),
         "d.dxf, line 8: group 10 of LINE: expected a number, found 'x'"},
        {file_of("0 LINE|10 0|11 1|21 0"), "d.dxf, line 6: LINE without its group 20"},
        {file_of("0 SPLINE|71 99|10 0|20 0"), "d.dxf, line 6: SPLINE of degree 99 with 1 poles"},
        {file_of("0 SPLINE|71 1|40 0|40 0|40 1|40 1|10 0|20 0|10 1|20 1|41 0|41 1"),
         "a weight isn't positive"},
        {file_of("0 SPLINE|71 1|40 1|40 1|40 0|40 0|10 0|20 0|10 1|20 1"), "the knots descend"},
        {file_of("0 INSERT|2 B|10 0|20 0", circle), "nested more than 16 deep"},
        {file_of("0 INSERT|2 C|10 0|20 0", bomb), "more than 1,000,000 blocks are inserted"},
        {"0\nSECTION\n2\n", "ends after a group code"},
        {"0\nSECTION\nzwei\nENTITIES\n", "d.dxf, line 3: expected a group code"},
        {"999\nhello\n", "no section of a DXF file"},
    };
    for (const Case& one : cases)
        EXPECT_TRUE(has(sentence_of([&] { drawing_of(one.text); }), one.sentence)) << one.text;
}

std::pair<ERPoint2D, ERPoint2D> ends_of(const DrawnPiece& piece) {
    if (const auto* segment = std::get_if<DrawnSegment>(&piece.shape))
        return {segment->start, segment->end};
    if (const auto* arc = std::get_if<DrawnArc>(&piece.shape)) return {arc->start, arc->end};
    const auto& spline = std::get<DrawnSpline>(piece.shape);
    return {spline.poles.front(), spline.poles.back()};
}

TEST(Dxf, RealDrawingsAgreeWithTheirTextForm) {
    const std::filesystem::path folder = std::filesystem::path(VELM_REAL_DATA) / "dxf";
    if (!std::filesystem::exists(folder)) GTEST_SKIP();
    for (const char* name :
         {"lines", "openscad_export", "circlesellipsesarcs", "ellipticalarcs", "splines"}) {
        SCOPED_TRACE(name);
        TextSource source((folder / (std::string(name) + ".dxf")).string());
        const Drawing drawing = read_dxf(source);
        const auto texts = velm_test::read_drawing(folder / (std::string(name) + ".txt"));
        ASSERT_EQ(drawing.pieces.size(), texts.size());
        for (std::size_t i = 0; i < texts.size(); ++i) {
            const auto [start, end] = ends_of(drawing.pieces[i]);
            const auto off = [&](const ERPoint2D& found, double t) {
                const auto p = texts[i].point(t);
                return distance(found, ERPoint2D(double(p[0]), double(p[1])));
            };
            EXPECT_LT(off(start, texts[i].t0) + off(end, texts[i].t1), 1e-4)
                << i << ' ' << texts[i].kind << start << end;
        }
    }
}

// Points put beside an outline by a known distance along its normal, from the middle of the edges
// and on both sides, against the profile.
void expect_distances(const Outline& outline, double step) {
    const Profile profile(outline);
    const ERMinimax2D box = outline.box();
    const double size = std::hypot(box.xlength(), box.ylength());
    for (std::size_t c = 0; c < outline.contours.size(); ++c) {
        const Contour& contour = outline.contours[c];
        const double turn = (contour.signed_area() > 0.0) != outline.is_hole[c] ? 1.0 : -1.0;
        for (int edge = 0; edge < contour.size(); ++edge) {
            for (const double part : {0.13, 0.5, 0.81}) {
                ERPoint2D foot =
                    contour[edge] + ERVector2D(contour[edge], contour[edge + 1]) * part;
                ERVector2D along(contour[edge], contour[edge + 1]);
                if (const ERArc2D* const arc = contour.arc(edge)) {
                    const double angle =
                        arc->startAngle() + part * (arc->endAngle() - arc->startAngle());
                    const double sense = arc->isDirect() ? 1.0 : -1.0;
                    foot = arc->center() +
                           ERVector2D(std::cos(angle), std::sin(angle)) * arc->radius();
                    along = ERVector2D(-sense * std::sin(angle), sense * std::cos(angle));
                }
                if (const CurveEdge* const curve = contour.curve(edge)) {
                    foot = curve->point(part);
                    along = curve->direction(part);
                }
                const ERVector2D outward = ERVector2D(along.j(), -along.i()).getnormalized() * turn;
                for (const double distance : {-step, step}) {
                    const OutlineComparison found = profile.compare(foot + outward * distance);
                    ASSERT_NEAR(found.distance, distance, 1e-12 * size)
                        << "contour " << c << " edge " << edge << " part " << part;
                    ASSERT_GT(found.outward * outward, 0.0);
                }
            }
        }
    }
}

// A drawing of open curves is closed by the chords of its entities.
std::string with_chords(const std::filesystem::path& path) {
    std::string drawing = velm_test::TemporaryFolder::bytes_of(path.string()), chords;
    for (const DrawnPiece& piece : drawing_of(drawing).pieces) {
        const auto [a, b] = ends_of(piece);
        if (distance(a, b) < 1e-9) continue;
        std::ostringstream line;
        line.precision(17);
        line << "0 LINE|10 " << a.x() << "|20 " << a.y() << "|11 " << b.x() << "|21 " << b.y();
        chords += groups(line.str());
    }
    const std::size_t mark = drawing.find("ENDSEC", drawing.find("ENTITIES"));
    return drawing.insert(drawing.rfind('0', mark), chords);
}

TEST(Dxf, DistancesToRealDrawings) {
    const std::filesystem::path folder = std::filesystem::path(VELM_REAL_DATA) / "dxf";
    if (!std::filesystem::exists(folder)) GTEST_SKIP();
    struct Case {
        const char* name;
        bool is_open;
        std::size_t contours; // 0: the chords cross the curves that they close
    };
    for (const Case& one : {Case{"openscad_export", false, 10}, Case{"issue42", false, 15},
                            Case{"splines", true, 0}, Case{"ellipticalarcs", true, 9}}) {
        SCOPED_TRACE(one.name);
        const std::filesystem::path path = folder / (std::string(one.name) + ".dxf");
        const std::string text =
            one.is_open ? with_chords(path) : velm_test::TemporaryFolder::bytes_of(path.string());
        TextSource source(one.name, text);
        if (one.contours == 0) {
            EXPECT_TRUE(
                has(sentence_of([&] { read_outline(source); }), "crosses itself about 51.787"));
            continue;
        }
        const Outline outline = read_outline(source);
        EXPECT_EQ(outline.contours.size(), one.contours);
        expect_distances(outline, 1e-3);
    }
}

TEST(Dxf, CutOffFilesEndInASentence) {
    const std::string whole = file_of("0 LWPOLYLINE|70 1|10 0|20 0|42 .5|10 4|20 0|10 4|20 3|0 "
                                      "SPLINE|71 1|40 0|40 0|40 1|40 1|10 0|20 0|10 1|20 1",
                                      "0 SECTION|2 HEADER|9 $INSUNITS|70 4|0 ENDSEC");
    velm_test::Random random(20261);
    for (int i = 0; i < 300; ++i) {
        std::string text = whole.substr(0, whole.size() - static_cast<std::size_t>(random.below(
                                                              static_cast<int>(whole.size()))));
        for (int n = random.below(4); n > 0 && !text.empty(); --n)
            text[static_cast<std::size_t>(random.below(static_cast<int>(text.size())))] =
                "0179-e.\n"[random.below(8)];
        TextSource source("d.dxf", text);
        sentence_of([&] { read_outline(source); });
    }
}

} // namespace
} // namespace velm::inspect
