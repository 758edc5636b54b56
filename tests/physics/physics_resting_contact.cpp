// Bodies brought to rest on static geometry and on each other.

#include <algorithm>

#include "physics_fixture.h"

namespace KorvanPHX2D::physics {
namespace {

using RestingContact = PhysicsWorld;

TEST_F(RestingContact, ACircleDroppedOnAGroundLineComesToRestOnItWithoutSinking) {
  addGroundLine(0.0f);
  xBody* ball = addCircle(0.0f, -2.0f, 0.5f);
  float deepest = -1.0e9f;  // largest y of the centre: lowest point reached
  simulate(3.0f, [&] { deepest = std::max(deepest, placementOf(ball).y); });

  const Vec3 p = placementOf(ball);
  // Rests with its bottom on the line: centre at -r, up to the allowed
  // penetration (0.025) plus a little solver slack.
  EXPECT_NEAR(p.y, -0.5f, 0.04f);
  EXPECT_LT(deepest, -0.5f + 0.1f) << "the ball must never sink through the line";
  EXPECT_LT(speedOf(ball), 0.05f);
  EXPECT_NEAR(p.x, 0.0f, 1e-3f) << "a straight drop stays straight";

  // Both owners heard about every contact, each with the normal pointing away
  // from its own shape: down (+y) for the ball, up for the line.
  int ballSide = 0;
  int lineSide = 0;
  for (const RecordedContact& c : recorder.log) {
    const float expectedNy = c.own == shapes[1] ? 1.0f : -1.0f;
    (c.own == shapes[1] ? ballSide : lineSide) += 1;
    EXPECT_EQ(c.other, c.own == shapes[1] ? shapes[0] : shapes[1]);
    EXPECT_NEAR(c.normal.x, 0.0f, 1e-5f);
    EXPECT_NEAR(c.normal.y, expectedNy, 1e-5f);
    EXPECT_NEAR(c.point.y, 0.0f, 0.2f) << "at the ball's bottom";
    EXPECT_GE(c.depth, 0.0f);
  }
  EXPECT_GT(ballSide, 60) << "a resting ball touches in every step";
  EXPECT_EQ(ballSide, lineSide);
}

TEST_F(RestingContact, ABoxOnAStaticBoxStaysPutWithoutDrifting) {
  addStatic(new xPrimitiveBox(10.0f, 1.0f), Vec3(0.0f, 0.5f, 0.0f));  // top face at y = 0
  xBody* box = addBox(1.0f, -0.5f, 1.0f, 1.0f);
  float maxDrift = 0.0f;
  float maxTilt = 0.0f;
  simulate(5.0f, [&] {
    const Vec3 p = placementOf(box);
    maxDrift = std::max(maxDrift, std::fabs(p.x - 1.0f));
    maxTilt = std::max(maxTilt, std::fabs(p.z));
  });
  const Vec3 p = placementOf(box);
  // Millimetre scale: the stack must neither slide, tilt nor jitter.
  EXPECT_LT(maxDrift, 0.005f);
  EXPECT_LT(maxTilt, 0.005f);
  EXPECT_NEAR(p.y, -0.5f, 0.04f);
  EXPECT_LT(speedOf(box), 0.02f);
  EXPECT_LT(std::fabs(box->getAngVelocity()), 0.02f);
}

TEST_F(RestingContact, ASmallPyramidOfNonBouncyBoxesStands) {
  // Restitution targets add the two bodies' approach velocities and fire at
  // any approach faster than one step length per second, so bouncy boxes in a
  // stack keep kicking each other apart; blocks of a material that does not
  // bounce are what a pyramid is built from.
  xMaterial* dull = xMaterialDispatcher::Instance()->obtainMaterialByName("stiropor");
  ASSERT_NE(dull, nullptr);
  addStatic(new xPrimitiveBox(20.0f, 1.0f), Vec3(0.0f, 0.5f, 0.0f), dull);
  constexpr int kRows = 5;
  constexpr float kGap = 0.02f;  // room between neighbours so no pair starts overlapping
  std::vector<xBody*> boxes;
  std::vector<Vec3> start;
  for (int row = 0; row < kRows; ++row) {
    const int count = kRows - row;
    for (int i = 0; i < count; ++i) {
      const float x = (i - 0.5f * (count - 1)) * (1.0f + kGap);
      const float y = -0.5f - row * 1.0f;
      boxes.push_back(addBox(x, y, 1.0f, 1.0f, 1.0f, dull));
      start.push_back(placementOf(boxes.back()));
    }
  }
  simulate(5.0f);
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    const Vec3 p = placementOf(boxes[i]);
    SCOPED_TRACE(testing::Message() << "box " << i);
    // Each layer may sink by the allowed penetration (0.025); a toppling or
    // sliding pyramid moves by whole units.
    EXPECT_NEAR(p.x, start[i].x, 0.02f);
    EXPECT_NEAR(p.y, start[i].y, 0.15f);
    EXPECT_LT(std::fabs(p.z), 0.01f);
    EXPECT_LT(speedOf(boxes[i]), 0.02f);
  }
}

}  // namespace
}  // namespace KorvanPHX2D::physics
