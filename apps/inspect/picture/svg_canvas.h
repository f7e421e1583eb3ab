// svg_canvas.h: `SvgCanvas`, the elements of an SVG picture written one after the other, and
// `svg_number`.
#pragma once

#include <string>
#include <string_view>

namespace velm::inspect {

struct CanvasPoint {
    double x = 0.0, y = 0.0; ///< in picture units, y downwards
};

struct CanvasBox {
    double left = 0.0, top = 0.0, width = 0.0, height = 0.0;
    double right() const { return left + width; }
    double bottom() const { return top + height; }
    bool overlaps(const CanvasBox& other) const;
    bool contains(const CanvasBox& other) const;
};

/// A length in the picture to one hundredth of a unit, without trailing zeros.
std::string svg_number(double value);

/// "x y" for path data.
std::string svg_point(const CanvasPoint& p);

/// The attributes of an area, of a stroke, and of a stroke without an area.
std::string svg_fill(std::string_view color);
std::string svg_stroke(std::string_view color, double width);
std::string svg_pen(std::string_view color, double width);

/// Gathers the elements of one picture, of A4 in landscape, 1123 by 794 units, or its own. Texts
/// are escaped here; attributes are the caller's own and must not hold text from files.
class SvgCanvas {
public:
    static constexpr double width = 1123.0, height = 794.0;

    enum class Anchor { start, middle, end };

    SvgCanvas(std::string_view title, std::string_view description);
    /// A picture of this size within an HTML page, without a background of its own.
    SvgCanvas(std::string_view title, double own_width, double own_height);

    double own_width() const { return width_; }
    double own_height() const { return height_; }

    void open_group(std::string_view attributes);
    void close_group();
    void line(const CanvasPoint& a, const CanvasPoint& b, std::string_view attributes);
    void box(const CanvasBox& box, std::string_view attributes);
    void path(std::string_view data, std::string_view attributes);
    /// Text with its base line at `p`.
    void text(const CanvasPoint& p, std::string_view content, double size,
              Anchor anchor = Anchor::start, std::string_view attributes = "");
    /// Raw markup, for everything else.
    void raw(std::string_view markup) { body_ += markup; }

    /// The whole picture.
    std::string finish() const;

    /// The approximate width of a text of this size.
    static double text_width(std::string_view content, double size);

private:
    std::string body_;
    double width_ = width, height_ = height;
};

} // namespace velm::inspect
