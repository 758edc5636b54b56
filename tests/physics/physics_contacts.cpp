// Bodies resting, bouncing and sliding on static geometry and on each other.

#include <algorithm>

#include "physics_world.h"

namespace KorvanPHX2D::physics {
namespace {

using Contacts = PhysicsWorld;

TEST_F(Contacts, ACircleDroppedOnAGroundLineComesToRestOnItWithoutSinking) {
  addGroundLine();
  xBody* ball = addCircle(0.0f, -2.0f, 0.5f);
  float deepest = -1.0e9f;  // largest y of the centre: lowest point reached
  simulate(3.0f, [&] { deepest = std::max(deepest, at(ball).y); });

  // Centre at -r, up to the allowed penetration (0.025) plus solver slack.
  EXPECT_NEAR(at(ball).y, -0.5f, 0.04f);
  EXPECT_LT(deepest, -0.5f + 0.1f) << "the ball must never sink through the line";
  EXPECT_LT(speedOf(ball), 0.05f);
  EXPECT_NEAR(at(ball).x, 0.0f, 1e-3f) << "a straight drop stays straight";
}

TEST_F(Contacts, ABoxOnAStaticBoxStaysPutWithoutDrifting) {
  addShape(new xPrimitiveBox(10.0f, 1.0f), Vec3(0.0f, 0.5f, 0.0f));  // top face at y = 0
  xBody* box = addBox(1.0f, -0.5f, 1.0f, 1.0f);
  float maxDrift = 0.0f;
  float maxTilt = 0.0f;
  simulate(5.0f, [&] {
    maxDrift = std::max(maxDrift, std::fabs(at(box).x - 1.0f));
    maxTilt = std::max(maxTilt, std::fabs(at(box).z));
  });
  // Millimetre scale: it must neither slide, tilt nor jitter.
  EXPECT_LT(maxDrift, 0.005f);
  EXPECT_LT(maxTilt, 0.005f);
  EXPECT_NEAR(at(box).y, -0.5f, 0.04f);
  EXPECT_LT(speedOf(box), 0.02f);
  EXPECT_LT(std::fabs(box->getAngVelocity()), 0.02f);
}

TEST_F(Contacts, ASmallPyramidOfNonBouncyBoxesStands) {
  // Bouncy boxes in a stack keep kicking each other apart; pyramids are built
  // from a material that does not bounce.
  xMaterial* dull = xMaterialDispatcher::Instance()->obtainMaterialByName("stiropor");
  ASSERT_NE(dull, nullptr);
  addShape(new xPrimitiveBox(20.0f, 1.0f), Vec3(0.0f, 0.5f, 0.0f), dull);
  std::vector<Vec3> start;
  for (int row = 0; row < 5; ++row) {
    const int count = 5 - row;
    for (int i = 0; i < count; ++i) {
      // 0.02 between neighbours so no pair starts overlapping.
      start.push_back(at(addBox((i - 0.5f * (count - 1)) * 1.02f, -0.5f - row, 1, 1, dull)));
    }
  }
  simulate(5.0f);
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "box " << i);
    // Each layer may sink by the allowed penetration; a toppling or sliding
    // pyramid moves by whole units.
    EXPECT_NEAR(at(bodies[i]).x, start[i].x, 0.02f);
    EXPECT_NEAR(at(bodies[i]).y, start[i].y, 0.15f);
    EXPECT_LT(std::fabs(at(bodies[i]).z), 0.01f);
    EXPECT_LT(speedOf(bodies[i]), 0.02f);
  }
}

TEST_F(Contacts, AGlassBallBouncesLowerEachTimeAndNotAtAllWithoutRestitution) {
  for (const bool restitution : {true, false}) {
    SCOPED_TRACE(restitution ? "restitution on" : "restitution off");
    cfg->cfg_restitution = restitution;
    xMaterial* glass = xMaterialDispatcher::Instance()->obtainMaterialByName("glass");
    ASSERT_NE(glass, nullptr);
    addGroundLine(glass);
    const float r = 0.25f;
    xBody* ball = addCircle(0.0f, -3.0f, r, glass);

    std::vector<float> apexes;  // height of the ball's bottom where it turns to fall
    float prevVy = 0.0f;
    simulate(6.0f, [&] {
      const float vy = ball->getVelocity().y;
      if (prevVy < 0.0f && vy >= 0.0f) apexes.push_back(-at(ball).y - r);
      prevVy = vy;
    });
    EXPECT_LT(at(ball).y, 0.0f) << "it stays above the ground";
    if (restitution) {
      ASSERT_GE(apexes.size(), 2u) << "the ball should bounce at least twice";
      EXPECT_LT(apexes[0], 3.0f - r);
      EXPECT_GT(apexes[0], 0.1f * (3.0f - r)) << "glass on glass does bounce";
      for (std::size_t i = 1; i < apexes.size(); ++i) EXPECT_LT(apexes[i], apexes[i - 1]) << i;
    } else {
      // Only the positional correction (at most 1 unit/s for a step) lifts it.
      for (float apex : apexes) EXPECT_LT(apex, 0.1f);
    }
    restart();
  }
}

TEST_F(Contacts, FrictionStopsASlidingBoxAndWithoutItTheBoxSlidesOn) {
  for (const bool friction : {true, false}) {
    SCOPED_TRACE(friction ? "friction on" : "friction off");
    cfg->cfg_friction = friction;
    addGroundLine();
    xBody* box = addBox(0.0f, -0.5f, 1.0f, 1.0f);
    simulate(0.5f);  // settle onto the ground first
    const float x0 = at(box).x;
    box->setVelocity(Vec2(4.0f, 0.0f));
    simulate(3.0f);
    const float travelled = at(box).x - x0;
    if (friction) {
      EXPECT_LT(std::fabs(box->getVelocity().x), 0.02f) << "it should have stopped";
      // Coulomb estimate v^2 / (2 mu g) with mu = 0.5 is about 1.6; velocity
      // damping shortens it.
      EXPECT_GT(travelled, 0.3f);
      EXPECT_LT(travelled, 2.5f);
      EXPECT_LT(std::fabs(at(box).z), 0.05f) << "a sliding box does not tip over";
    } else {
      // Only velocity damping (0.997 per step) slows it.
      EXPECT_GT(travelled, 5.0f);
      EXPECT_GT(box->getVelocity().x, 1.0f);
    }
    restart();
  }
}

}  // namespace
}  // namespace KorvanPHX2D::physics
