// Caller errors: the debug-check build names each one in a line; the release
// build survives non-finite host input without losing the rest of the world.

#include <limits>

#include "physics_world.h"

namespace KorvanPHX2D::physics {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// A body that only translates needs no inertia: zero is no error, and the
// body still collides.
TEST_F(PhysicsWorld, APointMassWithoutInertiaRestsOnTheGround) {
  addGroundLine();
  xBody2DOFDesc desc;
  desc.fInertia = 0.0f;
  xBody* point = g_ptrSDK->createBody(desc);
  bodies.push_back(point);
  point->setRelPlacement(Vec3(0.0f, -3.0f, 0.0f));
  addShape(new xPrimitiveCircle(0.5f), Vec3(0, 0, 0), nullptr, point);
  point->initialize();
  simulate(3.0f);
  EXPECT_NEAR(at(point).y, -0.5f, 0.05f);
}

#if defined(KVN_DEBUG_CHECKS)

using CallerErrorDeathTest = PhysicsWorld;

// Each case makes one caller error on an otherwise valid world; the message
// must name the operation and the fault on one line.
TEST_F(CallerErrorDeathTest, EachErrorIsNamedInOneLine) {
  struct Case {
    const char* what;
    std::function<void()> error;
    const char* message;
  };
  auto initBody = [](float mass, float inertia) {
    xBody3DOFDesc desc;
    desc.fMass = mass;
    desc.fInertia = inertia;
    g_ptrSDK->createBody(desc)->initialize();
  };
  const Case cases[] = {
      {"shape without an envelope",
       [] {
         xPrimitiveShapeDesc desc;
         g_ptrSDK->createShape(desc)->initialize();
       },
       "xShape::initialize: the shape has no envelope"},
      {"zero mass", [&] { initBody(0.0f, 1.0f); },
       "xBody::initialize: mass is zero, negative or not finite"},
      {"negative mass", [&] { initBody(-2.0f, 1.0f); }, "xBody::initialize: mass"},
      {"NaN mass", [&] { initBody(kNaN, 1.0f); }, "xBody::initialize: mass"},
      {"zero inertia", [&] { initBody(1.0f, 0.0f); },
       "xBody::initialize: inertia is zero, negative or not finite"},
      {"infinite inertia", [&] { initBody(1.0f, kInf); }, "xBody::initialize: inertia"},
      {"NaN velocity in the descriptor",
       [] {
         xBody2DOFDesc desc;
         desc.vVelocity = Vec2(kNaN, 0.0f);
         g_ptrSDK->createBody(desc)->initialize();
       },
       "xBody::initialize: velocity is not finite"},
      {"NaN placement", [this] { addCircle(0, 0, 1)->setRelPlacement(Vec3(0.0f, kNaN, 0.0f)); },
       "xParagon::setRelPlacement: placement is not finite"},
      {"infinite absolute placement",
       [this] { addCircle(0, 0, 1)->setAbsPlacement(Vec3(kInf, 0.0f, 0.0f)); },
       "xParagon::setRelPlacement: placement is not finite"},
      {"NaN velocity", [this] { addCircle(0, 0, 1)->setVelocity(Vec2(kNaN, 0.0f)); },
       "xBody::setVelocity: velocity is not finite"},
      {"infinite angular velocity", [this] { addCircle(0, 0, 1)->setAngVelocity(kInf); },
       "xBody::setAngVelocity: angular velocity is not finite"},
      {"NaN added velocity", [this] { addCircle(0, 0, 1)->addVelocity(Vec2(0.0f, kNaN)); },
       "xBody::addVelocity: velocity is not finite"},
      {"zero time step", [] { g_ptrSDK->updateF(0.0f); },
       "KorvanPhysicsSDK::updateF: time step is not positive and finite"},
      {"negative time step", [] { g_ptrSDK->updateF(-kStep); },
       "KorvanPhysicsSDK::updateF: time step"},
      {"NaN time step", [] { g_ptrSDK->updateF(kNaN); }, "KorvanPhysicsSDK::updateF: time step"},
      {"joint without a source body",
       [] {
         xSpringDesc desc;
         g_ptrSDK->createConstraintSet(desc);
       },
       "xSpringDesc::createJoint: null source body"},
      {"joint set up without a source body",
       [] {
         xBallSocket socket;
         socket.initialize(nullptr, nullptr, nullptr, Vec3(0.0f, 0.0f, 0.0f));
       },
       "xConstraintSet::initialize: the joint has no source body"},
      {"joint from a body to itself",
       [this] {
         xBody* b = addCircle(0, 0, 1);
         xBallSocketDesc desc;
         desc.bodySrc = desc.bodyDst = b;
         g_ptrSDK->createConstraintSet(desc);
       },
       "xConstraintSet::initialize: the source body is also the destination body"},
      {"body deleted with a joint attached",
       [this] {
         xBody* b = addCircle(0, 0, 1);
         addSocket(b, 0.0f, -1.0f);
         delete b;
       },
       "xBody::~xBody: joints are still attached to the body"},
      {"shape made its own grandparent",
       [this] {
         xBody* b = addCircle(0, 0, 1);
         xShape* shape = shapes.back();
         xPrimitiveShapeDesc desc;
         desc.setEnvelope(new xPrimitiveCircle(0.5f));
         xShape* child = g_ptrSDK->createShape(desc);
         child->setAscendant(shape);
         (void)b;
         shape->setAscendant(child);
       },
       "xParagon::setAscendant: the new parent is the object itself or lies below it"},
      {"zero sub-step length",
       [this] {
         addCircle(0, 0, 1);
         addCircle(1.5f, 0, 1);  // touching: one group of two
         cfg->cfg_substepping = true;
         cfg->cfg_maxSubstep = 0.0f;
         g_ptrSDK->updateF(kStep);
       },
       "xGaussSouthwell::solve: cfg_maxSubstep is not positive and finite"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    // One line: the message is followed by the source position and a newline.
    const std::string oneLine = std::string("KorvanPhysics2D: ") + c.message + "[^\n]*\n";
    EXPECT_DEATH(c.error(), oneLine);
  }
}

#else  // release behaviour

// A pile of boxes at rest; then one of them turns non-finite.
class NonFiniteBody : public PhysicsWorld {
 protected:
  void SetUp() override {
    PhysicsWorld::SetUp();
    pile.clear();
    rested.clear();
    addGroundLine();
    // Three columns of three boxes, just apart, side by side.
    for (int col = 0; col < 3; ++col) {
      for (int row = 0; row < 3; ++row) {
        pile.push_back(addBox(-2.2f + 2.2f * col, -0.52f - 1.02f * row, 2, 1));
      }
    }
    simulate(3.0f);
    for (xBody* b : pile) rested.push_back(at(b));
  }

  void expectPileStillRests(xBody* except) {
    for (std::size_t i = 0; i < pile.size(); ++i) {
      if (pile[i] == except) continue;
      SCOPED_TRACE(i);
      const Vec3 p = at(pile[i]);
      ASSERT_TRUE(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z));
      EXPECT_NEAR(p.x, rested[i].x, 0.05f);
      EXPECT_NEAR(p.y, rested[i].y, 0.05f);
      EXPECT_LT(speedOf(pile[i]), 0.05f);
    }
  }

  std::vector<xBody*> pile;
  std::vector<Vec3> rested;
};

TEST_F(NonFiniteBody, ThePileRestsAroundABodyTurnedNaN) {
  const struct {
    const char* what;
    std::function<void(xBody*)> poison;
  } cases[] = {
      {"NaN velocity", [](xBody* b) { b->setVelocity(Vec2(kNaN, kNaN)); }},
      {"infinite angular velocity", [](xBody* b) { b->setAngVelocity(kInf); }},
      {"NaN placement", [](xBody* b) { b->setRelPlacement(Vec3(kNaN, 0.0f, 0.0f)); }},
      {"NaN mass", [](xBody* b) { b->setMass(kNaN); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    restart();
    xBody* victim = pile[5];  // top of the middle column: neighbours on three sides
    c.poison(victim);
    simulate(2.0f);
    expectPileStillRests(victim);
    // The broad phase still works: a ball dropped beside the pile lands.
    xBody* ball = addCircle(8.0f, -5.0f, 0.5f);
    simulate(4.0f);
    EXPECT_NEAR(at(ball).y, -0.5f, 0.1f);
    expectPileStillRests(victim);
  }
}

// A shape whose geometry is NaN gives no contacts (they would be NaN): its
// body falls through the pile, which stays as it was.
TEST_F(NonFiniteBody, AShapeOfNaNSizeFallsThroughThePile) {
  xBody* ghost = addCircle(0.0f, -8.0f, 1.0f);
  static_cast<xPrimitiveCircle*>(static_cast<xPrimitiveShape*>(shapes.back())->ptrEnvelope)
      ->fRadius = kNaN;
  simulate(2.0f);
  EXPECT_GT(at(ghost).y, 5.0f);
  expectPileStillRests(nullptr);
}

#endif

}  // namespace
}  // namespace KorvanPHX2D::physics
