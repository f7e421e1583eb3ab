// Labels of random points: none leaves the drawing, touches another or covers what is kept free.
#include "inspect/picture/label_places.h"

#include <gtest/gtest.h>

#include <random>

namespace velm::inspect {
namespace {

TEST(LabelPlaces, NoTwoLabelsTouch) {
    const CanvasBox allowed{10.0, 20.0, 420.0, 300.0}, fixed{180.0, 120.0, 90.0, 60.0};
    std::mt19937 random(5);
    const auto within = [&](double from, double size) {
        return from + size * static_cast<double>(random() % 10000) / 10000.0;
    };
    LabelPlaces places(allowed);
    places.keep_free(fixed);
    std::vector<CanvasBox> labels{fixed};
    for (int n = 0; n < 400; ++n) {
        const CanvasPoint at{within(allowed.left, allowed.width),
                             within(allowed.top, allowed.height)};
        places.avoid(at);
        const auto box =
            places.find(at, {within(-1.0, 2.0), within(-1.0, 2.0)}, within(20.0, 90.0), 15.0);
        if (!box) continue;
        EXPECT_TRUE(allowed.contains(*box));
        for (const CanvasBox& other : labels)
            EXPECT_FALSE(other.overlaps(*box)) << n;
        labels.push_back(*box);
    }
    EXPECT_GT(labels.size(), 30u);
    // Far from all others a label is in the direction that was asked for.
    const auto alone = LabelPlaces(allowed).find({200.0, 100.0}, {1.0, 0.0}, 40.0, 15.0);
    ASSERT_TRUE(alone);
    EXPECT_EQ(alone->left, 212.0);
    EXPECT_EQ(alone->top, 92.5);
}

} // namespace
} // namespace velm::inspect
