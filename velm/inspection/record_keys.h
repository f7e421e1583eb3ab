// RecordKey: the properties under which an inspection is stored in an object file.
#pragma once

namespace velm {

/// The keys of the properties in the records of an inspection, beside the fixed ones of
/// `ERDBObject` (name, level, colour). docs/file-format.md lists them with their types. They are
/// part of files: they never change, and new ones go to the end.
enum class RecordKey : long {
    none = 0,
    kind = 100, ///< text, one of those below
    program = 101,
    nominal = 102,
    measured = 103,
    tolerance_lower = 104,
    tolerance_upper = 105,
    count = 106, ///< of measured points
    in_tolerance = 107,
    out_of_tolerance = 108,
    minimum = 109, ///< of the deviations, as are the next five
    maximum = 110,
    mean = 111,
    standard_deviation = 112,
    rms = 113,
    worst_id = 114,
    worst_deviation = 115,
    section = 116, ///< the identifier of the section's record
    contour = 117, ///< from 0
    edge = 118,    ///< from 0, from vertex `edge` to the next
    point_id = 119,
    measured_x = 120,
    measured_y = 121,
    foot_x = 122,
    foot_y = 123,
    distance = 124,
    deviation = 125,
    within = 126, ///< 1 in tolerance, 0 out of it, absent without a tolerance
    // With a frame; measured_x and measured_y are the machine's then.
    measured_z = 127,
    height = 128,
    section_x = 129, ///< of the measured point, in the plane of the section
    section_y = 130,
    frame_origin_x = 131,
    frame_origin_y = 132,
    frame_origin_z = 133,
    frame_normal_x = 134,
    frame_normal_y = 135,
    frame_normal_z = 136,
    frame_axis_x = 137,
    frame_axis_y = 138,
    frame_axis_z = 139,
    max_height = 140,
    place = 141, ///< 0 inside the material, 1 outside, 2 on an edge, 3 on a vertex
    // What the report needs beside the above.
    title = 142,
    form = 143,          ///< of the nominal file, a text
    contour_count = 144, ///< of the outline
    edge_count = 145,    ///< of all its contours
    vertex_x = 146,      ///< from which an edge leaves that is no segment
    vertex_y = 147,
    start_angle = 148, ///< of an edge that is a circle
    end_angle = 149,
    number = 150,    ///< of a point, from 0
    parameter = 151, ///< of a foot on its edge, from 0 to 1
    outward_x = 152,
    outward_y = 153,
    frame_numbers = 154, ///< a text, the nine as they were given
    records = 155, ///< how many records of the inspection follow its head, once it is finished
    // Of an edge as an object of a CAD model; contour and edge are the identifier's numbers.
    group_path = 156,
    type = 157,
    name_space = 158,
    // Where the points were aligned: in the record of the whole
    alignment_iterations = 160,
    alignment_threshold = 161,
    alignment_last_step = 162,
    alignment_rotation = 163,    ///< to 171, row by row
    alignment_translation = 172, ///< to 174
    alignment_in_plane = 175,    ///< 1 in the plane of a section, 0 in space
    rms_before = 176,            ///< of the deviations, as are the next five
    minimum_before = 177,
    maximum_before = 178,
    rms_after = 179,
    minimum_after = 180,
    maximum_after = 181,
    alignment_held = 182, ///< text: the freedoms that were held, each ended by a line break
    // and in that of a point
    aligned_x = 183, ///< of the moved point, in the plane of the section
    aligned_y = 184,
    deviation_before = 185,
    // Of targets.
    table = 190,
    skipped = 191,  ///< rows that could not be used; absent unless such rows were to be skipped
    targets = 192,  ///< the identifier of the record of the whole inspection
    diameter = 193, ///< of a point of a section too
    distance_on_plane = 194,
    // Of the whole, regardless of its kind.
    info = 195,            ///< text: what the user said, name=text, each ended by a line break
    unit = 196,            ///< of all lengths, a text; absent where it isn't known
    ignored_columns = 197, ///< text: of the measured file, each ended by a line break
    read_as = 198,         ///< text: a meaning and the file's name of the column, like info
    limit_rule = 199,      ///< 1: limits widened by roundings; absent: exact ones
    decimals = 200,        ///< that reports show
    row_limits = 201,      ///< 1 where points have limits of their own, as are the next two
    features = 202,        ///< 1 where they name features
    parts = 203,
    max_angle = 204,  ///< of a section: between a point's direction and the outward normal, degrees
    unassigned = 205, ///< number of points to which no place belongs
    // Of points without a direction beside others that have one.
    distances_count = 206,
    distances_minimum = 207,
    distances_maximum = 208,
    distances_mean = 209,
    distances_deviation = 210,
    distances_rms = 211,
    // Of a point.
    row_lower = 212, ///< limits of its own, absent where it has none
    row_upper = 213,
    feature = 214,
    part = 215,
    // Of a fit: the whole, and in that of a point the identifier of the whole. Each of the three
    // characteristics has ten keys: its name, value, limits, judgement, nominal and place.
    fit = 220,
    fitted_form = 221, ///< 0 a plane, 1 a line, 2 a circle
    in_space = 222,
    fitted_x = 223, ///< of the entity: a point of the plane or line, the centre of the circle
    fitted_y = 224,
    fitted_z = 225,
    axis_i = 226, ///< normal or direction
    axis_j = 227,
    axis_k = 228,
    radius = 229,
    plane_rms = 230, ///< of the points of a circle in space
    fit_steps = 231,
    fit_last_step = 232,
    ball_side = 233, ///< 0 unknown, 1 inside, 2 outside
    largest_coordinate = 234,
    form_limits = 240, ///< to 248
    size_limits = 250,
    position_limits = 260, ///< to 268
    // Of an inspection of surfaces: in the record of the whole
    max_distance = 280,
    skips_bad = 281, ///< 1 where faces that can't be taken were to be left out
    left_out = 282,  ///< text: number and reason of each, like info
    face_count = 283,
    alignment_method = 284, ///< 1 reference points; absent: best fit
    // in those of a face and of a point
    surfaces = 285, ///< the identifier of the record of the whole
    // of a face
    face_path = 286,
    face_surface = 287, ///< the kind of its surface, a text
    triangles = 288,    ///< text: three numbers of corners each, from 0
    // and of a point.
    foot_z = 289,
    outward_z = 290,
    face = 291,          ///< from 0, in the order of the faces' records
    surface_place = 292, ///< 0 interior, 1 edge, 2 corner
    as_measured_x = 293, ///< before an alignment
    as_measured_y = 294,
    as_measured_z = 295
};

/// The kinds of records.
inline constexpr const char* section_kind = "section";
inline constexpr const char* edge_kind = "edge";
inline constexpr const char* point_kind = "point";
inline constexpr const char* targets_kind = "targets"; ///< a whole inspection
inline constexpr const char* target_kind = "target";   ///< one row
inline constexpr const char* fit_kind = "fit";         ///< a whole fit
inline constexpr const char* fitted_point_kind = "fitted point";
inline constexpr const char* surfaces_kind = "surface"; ///< a whole inspection
inline constexpr const char* surface_face_kind = "surface face";
inline constexpr const char* surface_point_kind = "surface point";

} // namespace velm
