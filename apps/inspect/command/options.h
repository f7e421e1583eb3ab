// options.h: the options of the command line, each declared once and shared by the commands:
// `Option`, `Flag`, `Choice`, `OutputOption`.
#pragma once

#include "inspect/base/output_paths.h"
#include "inspect/input/csv_records.h"
#include "inspect/result/fit_result.h"
#include "velm/inspection/section_frame.h"
#include "velm/inspection/tolerance.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// An option with a value.
template <class Value>
struct Option {
    const char* name;
    const char* values; ///< as the help shows them
    const char* help;
    /// Throws `Failure` (usage), naming the option.
    Value (*parse)(const std::string& name, const std::string& text);
    /// The most numbers that may follow; they arrive separated by one blank.
    std::size_t numbers;
};

struct Flag {
    const char* name;
    const char* help;
};

/// One value of an enumeration: its name on the command line, and its line in the help.
template <class Value>
struct Choice {
    std::string_view name;
    Value value;
    const char* help;
};

/// An option that names an output: one line of the table of outputs.
struct OutputOption {
    const char* name;
    const char* help;
    std::optional<std::string> OutputPaths::*path;
    const char* file; ///< its name in a message, if it can't go to standard output
};

/// One number, not negative; the message names --band.
double parse_form_tolerance(const std::string& name, const std::string& text);
NominalSize parse_size(const std::string& name, const std::string& text);
NominalPlace parse_place(const std::string& name, const std::string& text);
/// name=text, separated by commas, or the name of a file of such lines.
std::vector<NamedText> parse_info(const std::string& name, const std::string& text);
/// x=3,y=4: meanings and the numbers of columns, from 1.
std::vector<ColumnChoice> parse_columns(const std::string& name, const std::string& text);
/// A whole number from 0 to 12.
int parse_decimals(const std::string& name, const std::string& text);
/// In degrees, above 0 and up to 90.
double parse_angle(const std::string& name, const std::string& text);
Tolerance parse_tolerance(const std::string& name, const std::string& text);
/// One number, not negative.
double parse_length(const std::string& name, const std::string& text);
/// One number whose square is above 0.
double parse_positive(const std::string& name, const std::string& text);
SectionFrame parse_frame(const std::string& name, const std::string& text);
/// Texts separated by commas, none of them empty.
std::vector<std::string> parse_names(const std::string& name, const std::string& text);
/// The length of a unit in millimetres.
double parse_unit(const std::string& name, const std::string& text);
/// TX, TY, TZ, RX, RY, RZ, separated by commas.
std::array<bool, 6> parse_freedoms(const std::string& name, const std::string& text);
/// A whole number from 1 to 256.
int parse_threads(const std::string& name, const std::string& text);
/// A whole number from 1.
long parse_number_from_1(const std::string& name, const std::string& text);

inline constexpr Option<Tolerance> tolerance_option{
    "--tolerance", "LOWER UPPER | T",
    "Limits of the deviation, both included; one\nvalue T means -T T", parse_tolerance, 2};
inline constexpr Option<double> form_tolerance_option{
    "--tolerance", "T",
    "Limit of the form: flatness, straightness or\nroundness, greatest residual less least",
    parse_form_tolerance, 1};
inline constexpr Option<Tolerance> band_option{
    "--band", "LOWER UPPER", "Limits of each residual; one value T means -T T", parse_tolerance, 2};
inline constexpr Option<NominalSize> size_option{
    "--size", "D LOWER UPPER",
    "Nominal diameter of the circle, and the limits of\nits difference from that", parse_size, 3};
inline constexpr Option<NominalPlace> place_option{
    "--at", "X,Y[,Z]", "Nominal place of the circle's axis", parse_place, 3};
inline constexpr Option<double> position_option{
    "--position", "T", "With --at: diameter of the zone that the axis\nmay lie in", parse_length,
    1};
inline constexpr Option<std::vector<NamedText>> info_option{
    "--info", "NAME=TEXT,... | FILE",
    "Head of the report: part, drawing, revision, serial,\noperator, instrument, date (date=file "
    "is "
    "that of the\nmeasured file), or any other name; or a file of such\nlines",
    parse_info, 0};
inline constexpr Option<double> unit_option{
    "--unit", "mm | um | cm | m | inch",
    "Unit of the measured file; all lengths are converted\nto millimetres, tolerances are in these",
    parse_unit, 0};
inline constexpr Option<std::vector<ColumnChoice>> columns_option{
    "--columns", "x=3,y=4,id=1,...",
    "Meaning of columns by their numbers, where the titles\nare not understood", parse_columns, 0};
inline constexpr Option<int> decimals_option{"--decimals", "N",
                                             "Decimals in table, picture and page (default: 3 "
                                             "for\nmillimetres, 4 where the unit is unknown)",
                                             parse_decimals, 1};
inline constexpr Option<double> max_angle_option{
    "--max-angle", "DEGREES",
    "A point with i, j, k belongs to the nearest place\nwhose outward normal is within this angle "
    "of it\n(default: 60)",
    parse_angle, 1};
inline constexpr Option<double> max_distance_option{
    "--max-distance", "D",
    "No place further than this from the ball counts; an\nalignment leaves such points out",
    parse_positive, 1};
inline constexpr Option<std::vector<std::string>> faces_option{
    "--faces", "NAME,...", "Compares with these faces alone", parse_names, 0};
inline constexpr Option<std::array<bool, 6>> hold_option{
    "--hold", "TX,TY,TZ,RX,RY,RZ", "With --align: freedoms that the alignment leaves as\nthey are",
    parse_freedoms, 0};
inline constexpr Option<double> import_limit_option{
    "--import-limit", "SECONDS", "Most that reading a CAD file may take (default: 600)",
    parse_positive, 1};
inline constexpr Option<int> threads_option{
    "--threads", "N", "Threads that compare points (default: 1)", parse_threads, 1};
inline constexpr Option<double> diameter_option{
    "--diameter", "D", "Diameter of the probe's ball, if the measured file\nhas no column for it",
    parse_length, 1};
inline constexpr Option<SectionFrame> frame_option{
    "--frame", "OX OY OZ  ZX ZY ZZ  XX XY XZ",
    "Plane of the section in machine coordinates:\norigin, normal, first axis", parse_frame, 9};
inline constexpr Option<double> max_height_option{
    "--max-height", "H", "With --frame: refuses points farther off its plane", parse_length, 1};
inline constexpr Option<double> chain_tolerance_option{
    "--chain-tolerance", "D", "Largest gap closed between loose pieces\n(default: 0.001)",
    parse_positive, 1};
inline constexpr Option<double> chord_error_option{
    "--chord-error", "D",
    "Largest distance of the chords that replace arcs and\ncurves (default: a millionth of the "
    "region's diagonal)",
    parse_positive, 1};
inline constexpr Option<std::vector<std::string>> layer_option{
    "--layer", "NAME,...", "With a drawing (DXF): reads only these layers", parse_names, 0};
inline constexpr Option<double> nominal_unit_option{
    "--nominal-unit", "mm | um | cm | m | inch",
    "Unit of NOMINAL, overriding a drawing's own;\nthe outline is converted to millimetres",
    parse_unit, 0};
inline constexpr Option<long> record_option{
    "--record", "N",
    "Which inspection, from 1, as velm-inspect store\nlists them (default: the last)",
    parse_number_from_1, 0};

inline constexpr Flag quiet_flag{"--quiet", "No table, no summary, no progress"};
inline constexpr Flag skip_bad_flag{"--skip-bad", "Skips unusable rows and lists them"};
inline constexpr Flag sync_flag{"--sync", "With --store: waits until the object file\n"
                                          "is on the disk"};
inline constexpr Flag inside_flag{"--inside", "The ball was in a bore"};
inline constexpr Flag outside_flag{"--outside", "The ball was outside of a shaft"};

inline constexpr const char* direction_help = "What i, j, k of a point are (default: out)";
inline constexpr Choice<bool> direction_choices[] = {
    {"out", false, "out of the material, back to where the ball\ncame from"},
    {"in", true, "into the material"}};

inline constexpr const char* align_help = "Moves the measured points first (default: none)";
inline constexpr Choice<bool> align_choices[] = {
    {"bestfit", true, "onto the nominal, by the rigid motion of\nleast squared deviations"},
    {"none", false, "as they were measured"}};

inline constexpr OutputOption json_output{"--json", "Writes the report as JSON", &OutputPaths::json,
                                          nullptr};
inline constexpr OutputOption csv_output{"--csv", "Writes the rows as CSV", &OutputPaths::csv,
                                         nullptr};
inline constexpr OutputOption svg_output{"--svg", "Draws the picture", &OutputPaths::svg, nullptr};
inline constexpr OutputOption html_output{"--html",
                                          "Writes the whole report as one page, with the\npicture",
                                          &OutputPaths::html, nullptr};
inline constexpr OutputOption ply_output{"--ply", "Writes the points with their deviations as PLY",
                                         &OutputPaths::ply, nullptr};
inline constexpr OutputOption vtp_output{
    "--vtp", "Writes part and points with their deviations as VTP", &OutputPaths::vtp, nullptr};
inline constexpr OutputOption store_output{
    "--store", "Keeps the results in an object file, created if\nmissing", &OutputPaths::store,
    "an object file"};
inline constexpr OutputOption archive_output{"--archive",
                                             "Writes the results as a document in an archive",
                                             &OutputPaths::archive, "an archive"};

using OutputList = std::initializer_list<const OutputOption*>;
/// The outputs of inspections with a picture, of those of surfaces, and of stored ones of all
/// kinds.
inline constexpr OutputList drawn_outputs{&json_output, &csv_output,   &svg_output,
                                          &html_output, &store_output, &archive_output};
inline constexpr OutputList surface_outputs{&json_output,   &csv_output, &html_output,
                                            &ply_output,    &vtp_output, &store_output,
                                            &archive_output};
inline constexpr OutputList stored_outputs{&json_output, &csv_output, &svg_output,
                                           &html_output, &ply_output, &vtp_output};

} // namespace velm::inspect
