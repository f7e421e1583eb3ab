#include "velm/frame/main_direction.h"

#include <cassert>

namespace {

// The axis is read as an offset from the letter X, for any letter.
ERMainDirection direction_of_text(const char* text) {
    assert(text != nullptr);
    const bool positive = text[0] != '\0' && text[1] == '+';
    return ERMainDirection(static_cast<Coord3D>(text[0] - 'X'), positive ? 1 : 0);
}

} // namespace

ERMainDirection::ERMainDirection(const char* text) : ERMainDirection(direction_of_text(text)) {}

ERMainDirection ERVector3D::mainDirection() const { return ERMainDirection(*this); }
