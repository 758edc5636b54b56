// Restitution and friction seen from the outside.

#include <algorithm>

#include "physics_fixture.h"

namespace KorvanPHX2D::physics {
namespace {

using BounceAndFriction = PhysicsWorld;

TEST_F(BounceAndFriction, ABallBouncesLowerEachTime) {
  xMaterial* bouncy = xMaterialDispatcher::Instance()->obtainMaterialByName("glass");
  ASSERT_NE(bouncy, nullptr);
  addGroundLine(0.0f, 50.0f, bouncy);
  const float r = 0.25f;
  xBody* ball = addCircle(0.0f, -3.0f, r, 1.0f, bouncy);

  // Apexes: where the vertical velocity turns from rising (-y) to falling (+y).
  std::vector<float> apexHeights;  // above the ground, of the ball's bottom
  float prevVy = 0.0f;
  simulate(6.0f, [&] {
    const float vy = ball->getVelocity().y;
    if (prevVy < 0.0f && vy >= 0.0f) apexHeights.push_back(-placementOf(ball).y - r);
    prevVy = vy;
  });

  ASSERT_GE(apexHeights.size(), 2u) << "the ball should bounce at least twice";
  const float dropHeight = 3.0f - r;
  EXPECT_LT(apexHeights[0], dropHeight);
  EXPECT_GT(apexHeights[0], 0.1f * dropHeight) << "a glass ball on glass does bounce";
  for (std::size_t i = 1; i < apexHeights.size(); ++i) {
    EXPECT_LT(apexHeights[i], apexHeights[i - 1]) << "bounce " << i;
  }
  // The ball does not gain height from nowhere, nor fall through the ground.
  EXPECT_LT(placementOf(ball).y, 0.0f);
}

TEST_F(BounceAndFriction, WithoutRestitutionTheBallDoesNotBounceBackUp) {
  cfg->cfg_restitution = false;
  addGroundLine(0.0f);
  xBody* ball = addCircle(0.0f, -3.0f, 0.25f);
  float highestAfterImpact = 1.0e9f;  // smallest y after the first contact
  bool touched = false;
  simulate(3.0f, [&] {
    if (!recorder.log.empty()) touched = true;
    if (touched) highestAfterImpact = std::min(highestAfterImpact, placementOf(ball).y);
  });
  ASSERT_TRUE(touched);
  // Only the positional correction (at most 1 unit/s for a step) lifts it.
  EXPECT_GT(highestAfterImpact, -0.25f - 0.1f);
}

TEST_F(BounceAndFriction, FrictionStopsASlidingBox) {
  addGroundLine(0.0f);
  xBody* box = addBox(0.0f, -0.5f, 1.0f, 1.0f);
  simulate(0.5f);  // settle onto the ground first
  const float x0 = placementOf(box).x;
  box->setVelocity(Vec2(4.0f, 0.0f));
  simulate(3.0f);
  const float travelled = placementOf(box).x - x0;

  EXPECT_LT(std::fabs(box->getVelocity().x), 0.02f) << "the box should have stopped";
  EXPECT_GT(travelled, 0.3f) << "it did slide";
  // Coulomb estimate v^2 / (2 mu g) with mu = 0.5: about 1.6; velocity damping
  // shortens it, so only an upper bound with room.
  EXPECT_LT(travelled, 2.5f);
  EXPECT_LT(std::fabs(placementOf(box).z), 0.05f) << "a sliding box does not tip over";
}

TEST_F(BounceAndFriction, WithoutFrictionTheBoxSlidesMuchFurther) {
  cfg->cfg_friction = false;
  addGroundLine(0.0f);
  xBody* box = addBox(0.0f, -0.5f, 1.0f, 1.0f);
  simulate(0.5f);
  const float x0 = placementOf(box).x;
  box->setVelocity(Vec2(4.0f, 0.0f));
  simulate(3.0f);
  // Only velocity damping (0.997 per step) slows it: well over 5 units.
  EXPECT_GT(placementOf(box).x - x0, 5.0f);
  EXPECT_GT(box->getVelocity().x, 1.0f);
}

}  // namespace
}  // namespace KorvanPHX2D::physics
