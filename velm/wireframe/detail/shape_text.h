// velm::detail: the texts of rectangles, regular polygons and slots. Words and blanks are fixed.
#pragma once

#include "velm/frame/vec.h"

#include <ostream>

namespace velm::detail {

template <class Point>
void print_rectangle(std::ostream& out, const char* title, const ERVec<Point>& corners,
                     double length, double width) {
    out << title << '\n'
        << "            : Corner1 " << corners[0] << '\n'
        << "            : Corner2 " << corners[1] << '\n'
        << "            : Corner3 " << corners[2] << '\n'
        << "            : Corner4 " << corners[3] << '\n'
        << "            : Length  " << length << '\n'
        << "            : Width   " << width << '\n';
}

template <class Point>
void print_regular_polygon(std::ostream& out, const char* title, const Point& barycenter, int sides,
                           double side) {
    out << title << '\n'
        << "Barycenter        : " << barycenter << '\n'
        << "Number of side    : " << sides << '\n'
        << "Length of side    : " << side << '\n';
}

template <class Point>
void print_slot(std::ostream& out, const char* title, const Point& center1, const Point& center2,
                double radius) {
    out << title << '\n'
        << "               : Center1 " << center1 << '\n'
        << "               : Center2 " << center2 << '\n'
        << "               : Radius  " << radius << '\n';
}

} // namespace velm::detail
