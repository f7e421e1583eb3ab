#include "inspect/picture/svg_canvas.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/palette.h"

namespace velm::inspect {

bool CanvasBox::overlaps(const CanvasBox& other) const {
    return left < other.right() && other.left < right() && top < other.bottom() &&
           other.top < bottom();
}

bool CanvasBox::contains(const CanvasBox& other) const {
    return left <= other.left && other.right() <= right() && top <= other.top &&
           other.bottom() <= bottom();
}

std::string svg_number(double value) {
    std::string text = fixed(value, 2);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

std::string svg_point(const CanvasPoint& p) { return svg_number(p.x) + " " + svg_number(p.y); }

std::string svg_fill(std::string_view color) { return "fill=\"" + std::string(color) + "\""; }

std::string svg_stroke(std::string_view color, double width) {
    return "stroke=\"" + std::string(color) + "\" stroke-width=\"" + svg_number(width) + "\"";
}

std::string svg_pen(std::string_view color, double width) {
    return "fill=\"none\" " + svg_stroke(color, width);
}

// The style sheet gives the picture its page when it is printed alone. It comes first, where it
// doesn't affect the pages of a report that contains the <svg> element.
SvgCanvas::SvgCanvas(std::string_view title, std::string_view description) {
    body_ =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<?xml-stylesheet type=\"text/css\" "
        "href=\"data:text/css,@page{size:297mm 210mm;margin:0}\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
        "width=\"297mm\" height=\"210mm\" viewBox=\"0 0 1123 794\" role=\"img\" "
        "font-family=\"Helvetica, Arial, 'Liberation Sans', 'DejaVu Sans', sans-serif\" " +
        svg_fill(palette::ink) + ">\n<title>" + xml_text(title) + "</title>\n<desc>" +
        xml_text(description) + "</desc>\n<rect width=\"1123\" height=\"794\" " +
        svg_fill(palette::paper) + "/>\n";
}

SvgCanvas::SvgCanvas(std::string_view title, double own_width, double own_height)
    : width_(own_width), height_(own_height) {
    body_ = "<svg viewBox=\"0 0 " + svg_number(own_width) + " " + svg_number(own_height) +
            "\" role=\"img\" " + svg_fill(palette::ink) + ">\n<title>" + xml_text(title) +
            "</title>\n";
}

void SvgCanvas::open_group(std::string_view attributes) {
    body_.append("<g ").append(attributes).append(">\n");
}

void SvgCanvas::close_group() { body_ += "</g>\n"; }

void SvgCanvas::line(const CanvasPoint& a, const CanvasPoint& b, std::string_view attributes) {
    path("M" + svg_point(a) + "L" + svg_point(b), attributes);
}

void SvgCanvas::box(const CanvasBox& box, std::string_view attributes) {
    body_ += "<rect x=\"" + svg_number(box.left) + "\" y=\"" + svg_number(box.top) + "\" width=\"" +
             svg_number(box.width) + "\" height=\"" + svg_number(box.height) + "\" ";
    body_.append(attributes).append("/>\n");
}

void SvgCanvas::path(std::string_view data, std::string_view attributes) {
    body_.append("<path d=\"").append(data).append("\" ").append(attributes).append("/>\n");
}

void SvgCanvas::text(const CanvasPoint& p, std::string_view content, double size, Anchor anchor,
                     std::string_view attributes) {
    body_ += "<text x=\"" + svg_number(p.x) + "\" y=\"" + svg_number(p.y) + "\" font-size=\"" +
             svg_number(size) + "\"";
    if (anchor == Anchor::middle) body_ += " text-anchor=\"middle\"";
    if (anchor == Anchor::end) body_ += " text-anchor=\"end\"";
    if (!attributes.empty()) body_.append(" ").append(attributes);
    body_ += ">" + xml_text(content) + "</text>\n";
}

std::string SvgCanvas::finish() const { return body_ + "</svg>\n"; }

double SvgCanvas::text_width(std::string_view content, double size) {
    constexpr double mean_width = 0.56; // of a character of these fonts, in sizes
    return mean_width * size * static_cast<double>(display_width(content));
}

} // namespace velm::inspect
