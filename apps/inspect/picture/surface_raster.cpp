#include "inspect/picture/surface_raster.h"

#include "inspect/picture/palette.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

namespace velm::inspect {
namespace {

using Floats = std::array<float, 3>;

// The palette: a few plain colours, then each class, and the part where no points are, in shades.
enum Plain : std::uint8_t { transparent, white, black, grey, plain_colors };
constexpr int shades = 16, uncovered = DeviationScale::classes;
constexpr double darkest = 0.82; // shade 0, so that a class stays apart from the next one

float dot(const Floats& a, const Floats& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

std::array<std::uint8_t, 3> bytes_of(std::string_view color) {
    const auto part = [&](std::size_t at, std::size_t length) {
        const auto value = std::strtoul(std::string(color.substr(at, length)).c_str(), nullptr, 16);
        return static_cast<std::uint8_t>(length == 1 ? value * 17 : value);
    };
    const std::size_t length = color.size() == 4 ? 1 : 2;
    return {part(1, length), part(1 + length, length), part(1 + 2 * length, length)};
}

std::vector<std::array<std::uint8_t, 3>> make_palette() {
    std::vector<std::array<std::uint8_t, 3>> colors{
        bytes_of(palette::paper), bytes_of(palette::paper), bytes_of(palette::ink),
        bytes_of(palette::soft)};
    for (int color = 0; color <= uncovered; ++color)
        for (int shade = 0; shade < shades; ++shade) {
            auto rgb =
                bytes_of(color == uncovered ? palette::region : DeviationScale::color(color));
            const double light = darkest + (1.0 - darkest) * shade / (shades - 1);
            for (std::uint8_t& part : rgb)
                part = static_cast<std::uint8_t>(std::lround(light * part));
            colors.push_back(rgb);
        }
    return colors;
}

std::uint8_t shaded(int color, int shade) {
    return static_cast<std::uint8_t>(plain_colors + color * shades + shade);
}

// A vertex in the picture: x to the right, y downwards, z towards the reader, in pixels.
struct Seen {
    float x, y, z;
};

class Still {
public:
    Still(const ColoredMesh& mesh, const StillView& view, const StillScale& scale,
          const DeviationScale& colors)
        : mesh_(mesh), scale_(scale), colors_(colors), right_(view.right),
          up_(view.up), towards_{right_[1] * up_[2] - right_[2] * up_[1],
                                 right_[2] * up_[0] - right_[0] * up_[2],
                                 right_[0] * up_[1] - right_[1] * up_[0]} {
        float low_x = 0.0F, high_x = 0.0F, low_y = 0.0F, high_y = 0.0F;
        for (const ColoredMesh::Vertex& vertex : mesh.vertices) {
            const float x = dot(vertex.position, right_), y = dot(vertex.position, up_);
            low_x = std::min(low_x, x);
            high_x = std::max(high_x, x);
            low_y = std::min(low_y, y);
            high_y = std::max(high_y, y);
        }
        const auto border = float(scale.border);
        left_ = low_x - border;
        top_ = high_y + border;
        const auto pixels = [&](float length) {
            return std::clamp(int(std::ceil((length + 2.0F * border) * scale.pixels_of_unit)), 8,
                              4096);
        };
        image_.width = pixels(high_x - low_x);
        image_.height = pixels(high_y - low_y);
        image_.palette = make_palette();
        const auto count = std::size_t(image_.width) * std::size_t(image_.height);
        image_.pixels.assign(count, transparent);
        depth_.assign(count, -HUGE_VALF);
        face_.assign(count, -1);
    }

    void draw_faces() {
        std::size_t triangle = 0;
        for (std::size_t face = 0; face < mesh_.faces.size(); ++face)
            for (std::uint32_t n = 0; n < mesh_.faces[face].triangles; ++n)
                draw_triangle(mesh_.triangles[triangle++], int(face));
    }

    // Dark where one face ends in the picture and another begins.
    void draw_ends() {
        std::vector<std::size_t> ends;
        const auto width = std::size_t(image_.width);
        for (std::size_t at = 0; at < face_.size(); ++at)
            for (const std::size_t other : {at + 1, at + width}) {
                if (other >= face_.size() || (other == at + 1 && other % width == 0)) continue;
                if (face_[at] == face_[other]) continue;
                ends.push_back(at);
                ends.push_back(other);
            }
        for (const std::size_t at : ends)
            image_.pixels[at] = grey;
    }

    void draw_points(std::span<const ViewPoint> points) {
        const auto out = static_cast<std::size_t>(
            std::count_if(points.begin(), points.end(),
                          [](const ViewPoint& p) { return p.state >= PointState::above; }));
        // Those out of tolerance last, on top of the others.
        const int dot_size = points.size() - out < 3000 ? 2 : points.size() - out < 30000 ? 1 : 0;
        for (const ViewPoint& point : points)
            if (point.state < PointState::above) draw_point(point, dot_size);
        const int sign_size = out < 3000 ? 9 : out < 30000 ? 6 : 4;
        for (const ViewPoint& point : points)
            if (point.state >= PointState::above) draw_point(point, sign_size);
    }

    IndexedImage take() { return std::move(image_); }

private:
    Floats placed(const ERPoint3D& p) const {
        return {float(p.x() - mesh_.origin.x()), float(p.y() - mesh_.origin.y()),
                float(p.z() - mesh_.origin.z())};
    }
    Seen seen(const Floats& p) const {
        const auto unit = float(scale_.pixels_of_unit);
        return {(dot(p, right_) - left_) * unit, (top_ - dot(p, up_)) * unit,
                dot(p, towards_) * unit};
    }
    bool is_inside(int x, int y) const {
        return x >= 0 && y >= 0 && x < image_.width && y < image_.height;
    }
    std::size_t index(int x, int y) const {
        return std::size_t(y) * std::size_t(image_.width) + std::size_t(x);
    }

    // At the middles of pixels, by the three areas.
    void draw_triangle(const std::array<std::uint32_t, 3>& corners, int face) {
        const ColoredMesh::Vertex* v[3];
        Seen s[3];
        for (std::size_t i = 0; i < 3; ++i) {
            v[i] = &mesh_.vertices[corners[i]];
            s[i] = seen(v[i]->position);
        }
        const float area =
            (s[1].x - s[0].x) * (s[2].y - s[0].y) - (s[2].x - s[0].x) * (s[1].y - s[0].y);
        if (area == 0.0F) return;
        constexpr float rounding = 1e-3F; // else pixels on common sides may be left out by both
        const auto first = [](float a, float b, float c) {
            return int(std::ceil(std::min({a, b, c}) - 0.5F));
        };
        const auto last = [](float a, float b, float c) {
            return int(std::floor(std::max({a, b, c}) - 0.5F));
        };
        const int x_end = std::min(last(s[0].x, s[1].x, s[2].x), image_.width - 1);
        const int y_end = std::min(last(s[0].y, s[1].y, s[2].y), image_.height - 1);
        for (int y = std::max(first(s[0].y, s[1].y, s[2].y), 0); y <= y_end; ++y)
            for (int x = std::max(first(s[0].x, s[1].x, s[2].x), 0); x <= x_end; ++x) {
                const float px = float(x) + 0.5F, py = float(y) + 0.5F;
                const float a =
                    ((s[1].x - px) * (s[2].y - py) - (s[2].x - px) * (s[1].y - py)) / area;
                const float b =
                    ((s[2].x - px) * (s[0].y - py) - (s[0].x - px) * (s[2].y - py)) / area;
                const float c = 1.0F - a - b;
                if (std::min({a, b, c}) < -rounding) continue;
                const float z = a * s[0].z + b * s[1].z + c * s[2].z;
                const std::size_t at = index(x, y);
                if (!(z > depth_[at])) continue;
                depth_[at] = z;
                face_[at] = face;
                image_.pixels[at] = color_at(*v[0], *v[1], *v[2], a, b, c, x, y);
            }
    }

    std::uint8_t color_at(const ColoredMesh::Vertex& v0, const ColoredMesh::Vertex& v1,
                          const ColoredMesh::Vertex& v2, float a, float b, float c, int x,
                          int y) const {
        Floats normal{};
        for (std::size_t i = 0; i < 3; ++i)
            normal[i] = a * v0.normal[i] + b * v1.normal[i] + c * v2.normal[i];
        const Floats light{0.32F, 0.45F, 0.83F}; // from above on the right
        const float length = std::max(std::sqrt(dot(normal, normal)), 1e-6F);
        const float lit = (light[0] * dot(normal, right_) + light[1] * dot(normal, up_) +
                           light[2] * dot(normal, towards_)) /
                          length;
        const int shade =
            std::clamp(int(std::lround(std::max(lit, 0.0F) * (shades - 1))), 0, shades - 1);
        const float cover = a * v0.cover + b * v1.cover + c * v2.cover;
        if (cover < 0.5F) return shaded(uncovered, shade);
        const auto mean = [&](float of_0, float of_1, float of_2) {
            return (a * v0.cover * of_0 + b * v1.cover * of_1 + c * v2.cover * of_2) / cover;
        };
        const float out = mean(v0.out, v1.out, v2.out);
        constexpr int stripe_step = 14, stripe = 5; // pixels
        if (out > 0.5F)
            return (x + y) % stripe_step < stripe ? std::uint8_t(white)
                                                  : shaded(DeviationScale::above, shade);
        if (out < -0.5F)
            return (x - y + 16 * 4096 * stripe_step) % stripe_step < stripe
                       ? std::uint8_t(white)
                       : shaded(DeviationScale::below, shade);
        const int color = colors_.class_of(mean(v0.deviation, v1.deviation, v2.deviation));
        if (!scale_.is_judged) return shaded(color, shade);
        return shaded(std::clamp(color, DeviationScale::below + 1, DeviationScale::above - 1),
                      shade);
    }

    void draw_point(const ViewPoint& point, int size) {
        const Floats foot = placed(point.foot);
        const auto longest = float(scale_.longest_whisker);
        const float off =
            std::clamp(point.deviation * float(scale_.magnification), -longest, longest);
        Floats head = foot;
        for (std::size_t i = 0; i < 3; ++i)
            head[i] += off * point.outward[i];
        const Seen start = seen(foot), end = seen(head);
        const float near = 0.01F * float(mesh_.size * scale_.pixels_of_unit);
        const int x = int(std::floor(start.x)), y = int(std::floor(start.y));
        const bool is_hidden = is_inside(x, y) && depth_[index(x, y)] > start.z + near;
        const std::uint8_t color = point.state == PointState::unassigned
                                       ? std::uint8_t(black)
                                       : shaded(color_of(point, colors_), shades - 1);
        if (point.state < PointState::above && is_hidden) return;
        if (!is_hidden && (scale_.shows_whiskers || point.state >= PointState::above))
            draw_whisker(start, end, color);
        const int end_x = int(std::floor(end.x)), end_y = int(std::floor(end.y));
        if (point.state == PointState::unassigned)
            draw_cross(end_x, end_y, 2 + size);
        else if (point.state < PointState::above)
            draw_dot(end_x, end_y, size, color);
        else
            draw_sign(end_x, end_y, size, point.state == PointState::above, color, is_hidden);
    }

    void put(int x, int y, std::uint8_t color) {
        if (is_inside(x, y)) image_.pixels[index(x, y)] = color;
    }
    void draw_whisker(const Seen& start, const Seen& end, std::uint8_t color) {
        const int steps =
            int(std::ceil(std::max(std::fabs(end.x - start.x), std::fabs(end.y - start.y))));
        for (int i = 0; i <= steps && steps < 4096; ++i) {
            const float part = steps > 0 ? float(i) / float(steps) : 0.0F;
            const int x = int(std::floor(start.x + part * (end.x - start.x)));
            const int y = int(std::floor(start.y + part * (end.y - start.y)));
            put(x, y, color);
            put(x + 1, y, color);
        }
    }
    void draw_cross(int x, int y, int size) {
        for (int i = -size; i <= size; ++i) {
            put(x + i, y + i, black);
            put(x + i, y - i, black);
        }
    }
    void draw_dot(int x, int y, int size, std::uint8_t color) {
        for (int j = -size; j <= size; ++j)
            for (int i = -size; i <= size; ++i)
                if (i * i + j * j <= size * size + 1)
                    put(x + i, y + j, size > 1 && i * i + j * j > 3 ? std::uint8_t(grey) : color);
    }
    // A triangle with a white border, filled, or of a hidden point its outline.
    void draw_sign(int x, int y, int size, bool points_up, std::uint8_t color, bool is_hidden) {
        const auto is_within = [&](int i, int j, int part) { // row j from the tip
            return j >= 0 && j <= 2 * part && 2 * std::abs(i) <= j;
        };
        for (int j = -2; j <= 2 * size + 2; ++j)
            for (int i = -size - 3; i <= size + 3; ++i) {
                const int row = points_up ? y - size + j : y + size - j;
                const bool whole = is_within(i, j, size);
                const bool inner = is_within(i, j - 4, size - 3);
                const bool around = is_within(i, j + 4, size + 3);
                if (whole && !(is_hidden && inner))
                    put(x + i, row, color);
                else if (!whole && around && !is_hidden)
                    put(x + i, row, white);
            }
    }

    const ColoredMesh& mesh_;
    const StillScale& scale_;
    const DeviationScale& colors_;
    Floats right_, up_, towards_;
    float left_ = 0.0F, top_ = 0.0F;
    IndexedImage image_;
    std::vector<float> depth_;
    std::vector<int> face_;
};

} // namespace

std::span<const StillView, 6> standard_views() {
    static constexpr std::array<StillView, 6> views{{{"Front", {1, 0, 0}, {0, 0, 1}},
                                                     {"Right", {0, 1, 0}, {0, 0, 1}},
                                                     {"Back", {-1, 0, 0}, {0, 0, 1}},
                                                     {"Left", {0, -1, 0}, {0, 0, 1}},
                                                     {"Top", {1, 0, 0}, {0, 1, 0}},
                                                     {"Bottom", {1, 0, 0}, {0, -1, 0}}}};
    return views;
}

int color_of(const ViewPoint& point, const DeviationScale& colors) {
    switch (point.state) {
    case PointState::above:
        return DeviationScale::above;
    case PointState::below:
        return DeviationScale::below;
    case PointState::in:
        return std::clamp(colors.class_of(double(point.deviation)), DeviationScale::below + 1,
                          DeviationScale::above - 1);
    default:
        return colors.class_of(double(point.deviation));
    }
}

IndexedImage draw_still(const ColoredMesh& mesh, std::span<const ViewPoint> points,
                        const StillView& view, const StillScale& scale,
                        const DeviationScale& colors) {
    Still still(mesh, view, scale, colors);
    still.draw_faces();
    still.draw_ends();
    still.draw_points(points);
    return still.take();
}

} // namespace velm::inspect
