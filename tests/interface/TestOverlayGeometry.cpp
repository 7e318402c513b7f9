#include "interface/OverlayGeometry.h"

#include <gtest/gtest.h>

namespace tallowfern {

namespace {

constexpr QRectF kVisible(100, 30, 1000, 700); // a screen with a panel above and one at the left
const QSizeF kClassic = overlayPanelSize(OverlayBody::Classic);
const QSizeF kMini = overlayPanelSize(OverlayBody::Mini);

TEST(OverlayGeometry, APlaceIsAFractionOfTheFreeTravel)
{
    struct Row {
        const char* what;
        QPointF relative;
        QSizeF panel;
        QPointF expected;
    };
    for (const auto& row : {Row{"top right, classic", {1, 1}, kClassic, {782, 30}},
             Row{"top right, mini", {1, 1}, kMini, {940, 30}}, Row{"bottom left", {0, 0}, kMini, {100, 686}},
             Row{"middle", {0.5, 0.5}, kClassic, {441, 348}}, Row{"beyond the screen", {1.7, -3}, kMini, {940, 686}},
             Row{"no travel", {0.3, 0.3}, {1000, 700}, {100, 30}}}) {
        const QPointF found = origin(row.relative, row.panel, kVisible);
        EXPECT_EQ(found, row.expected) << row.what;
        const QPointF back = relativePosition({found, row.panel}, kVisible);
        const QPointF held(std::clamp(row.relative.x(), 0.0, 1.0), std::clamp(row.relative.y(), 0.0, 1.0));
        const QPointF expected = row.panel == kVisible.size() ? QPointF(0.5, 0.5) : held;
        EXPECT_NEAR(back.x(), expected.x(), 1e-9) << row.what;
        EXPECT_NEAR(back.y(), expected.y(), 1e-9) << row.what;
    }
    EXPECT_EQ(relativePosition({{-500, 5000}, kMini}, kVisible), QPointF(0, 0)) << "dragged off the screen";
    EXPECT_EQ(defaultOrigin(kClassic, kVisible), QPointF(441, 102));
}

TEST(OverlayGeometry, WhatDoesNotFitIsCentred)
{
    EXPECT_EQ(constrainedOrigin({{2000, -50}, kMini}, kVisible), QPointF(940, 30));
    EXPECT_EQ(constrainedOrigin({{300, 300}, kMini}, kVisible), QPointF(300, 300));
    EXPECT_EQ(constrainedOrigin({{300, 300}, kMini}, {0, 0, 100, 400}), QPointF(-30, 300));
}

TEST(OverlayGeometry, TheScreenThatShowsMostWins)
{
    const Screen left{{0, 0, 1000, 800}, {0, 30, 1000, 770}};
    const Screen right{{1000, 0, 1000, 800}, {1000, 30, 1000, 770}};
    EXPECT_EQ(bestScreen({900, 100, 318, 64}, {left, right}), right);
    EXPECT_EQ(bestScreen({900, 100, 200, 64}, {left, right}), left) << "the first of equal ones";
    EXPECT_EQ(bestScreen({900, 0, 200, 30}, {left, right}), std::nullopt) << "under the panels";
    EXPECT_EQ(bestScreen({900, 100, 318, 64}, {}), std::nullopt);
}

} // namespace

} // namespace tallowfern
