// label_places.h: `LabelPlaces`, places for the names of points in a drawing.
#pragma once

#include "inspect/picture/svg_canvas.h"

#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// Finds a place for each label beside its point: within the drawing, off all other labels, hiding
/// as little of the drawing as possible.
class LabelPlaces {
public:
    explicit LabelPlaces(const CanvasBox& allowed) : allowed_(allowed) {}

    /// A point that labels should not hide.
    void avoid(const CanvasPoint& p) { obstacles_.push_back(p); }
    /// A box that no label may touch.
    void keep_free(const CanvasBox& box) { taken_.push_back(box); }
    std::vector<CanvasPoint>& obstacles() { return obstacles_; }

    /// Places a label of this size round `at`, first straight ahead in the direction `toward`; its
    /// box is kept free from then on. No value if there is no room.
    std::optional<CanvasBox> find(const CanvasPoint& at, const CanvasPoint& toward, double width,
                                  double height);

    /// `find` for a text of one line, which is drawn with a line to its point. False if there is no
    /// room.
    bool draw(SvgCanvas& canvas, const CanvasPoint& at, const CanvasPoint& toward,
              const std::string& content, double size);

private:
    CanvasBox allowed_;
    std::vector<CanvasPoint> obstacles_;
    std::vector<CanvasBox> taken_;
};

} // namespace velm::inspect
