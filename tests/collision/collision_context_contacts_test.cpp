#include <KorvanPhysics2D/shapes/Material.h>
#include <gtest/gtest.h>

#include "collision_context_test_support.h"

using namespace kvn_context_test;

namespace {

xMaterial* material(const char* name) {
  return xMaterialDispatcher::Instance()->obtainMaterialByName(name);
}

}  // namespace

TEST_F(CollisionWorldTest, TwoAwakeBodiesGiveOneContactPerPassAndPerStep) {
  xPrimitiveShape* a = onBody(new xPrimitiveCircle(1.0f), Vec3(0.0f, 0.0f, 0.0f));
  xPrimitiveShape* b = onBody(new xPrimitiveCircle(1.0f), Vec3(1.5f, 0.0f, 0.0f));
  onBody(new xPrimitiveBox(1.0f, 1.0f), Vec3(50.0f, 0.0f, 0.0f));  // a third body, alone
  for (int pass = 0; pass < 2; ++pass) {
    generate();
    ASSERT_EQ(records().size(), 1);
  }
  const xTempContact& r = records()[0];
  const bool aFirst = r.ptrBodySrc == a->getMainBody();
  EXPECT_EQ(aFirst ? r.ptrBodyDst : r.ptrBodySrc, b->getMainBody());
  EXPECT_EQ(r.vNormal.x, aFirst ? 1.0f : -1.0f);  // away from the source
  EXPECT_EQ(r.fDepth, 0.5f);

  g_ptrSDK->updateF(0.01f);
  EXPECT_EQ(records().size(), 1);
}

TEST_F(CollisionWorldTest, ShapesOfOneBodyAndTwoStaticShapesNeverCollide) {
  xPrimitiveShape* a = onBody(new xPrimitiveCircle(1.0f), Vec3(0.0f, 0.0f, 0.0f));
  xPrimitiveShape* second = fixed(new xPrimitiveCircle(1.0f), Vec3(0.5f, 0.0f, 0.0f));
  second->setAscendant(a->getMainBody());  // now on a's body (activated with it)
  second->setBody(a->getMainBody());
  xPrimitiveShape* s1 = fixed(new xPrimitiveBox(1.0f, 1.0f), Vec3(100.0f, 0.0f, 0.0f));
  xPrimitiveShape* s2 = fixed(new xPrimitiveBox(1.0f, 1.0f), Vec3(100.5f, 0.0f, 0.0f));
  s1->activate();  // even an active static shape finds no static partner
  generate();
  EXPECT_EQ(records().size(), 0);
  EXPECT_FALSE(world()->createTempContact(s1, s2, nullptr, nullptr, Vec2(0.0f, 0.0f), 1.0f,
                                          Vec2(1.0f, 0.0f)));
}

TEST_F(CollisionWorldTest, AStaticShapeFirstGivesTheBodyAsSourceAndTheNormalNegated) {
  // The box on a body is the active shape; the collider still gets the static
  // circle (the lower kind) first and reports (1, 0) from circle to box.
  xPrimitiveShape* circle = fixed(new xPrimitiveCircle(1.0f), Vec3(0.0f, 0.0f, 0.0f));
  circle->setMaterial(material("glass"));
  xPrimitiveShape* box = onBody(new xPrimitiveBox(2.0f, 2.0f), Vec3(1.5f, 0.0f, 0.0f));
  box->setMaterial(material("wood_hard"));
  Listener staticOwner;
  circle->setOwner(&staticOwner);
  generate();
  ASSERT_EQ(records().size(), 1);
  const xTempContact& r = records()[0];
  EXPECT_EQ(r.ptrBodySrc, box->getMainBody());
  EXPECT_EQ(r.ptrBodyDst, nullptr);
  EXPECT_EQ(r.vNormal.x, -1.0f);
  EXPECT_EQ(r.ptrMaterialSrc, material("glass"));  // the collider's order
  EXPECT_EQ(r.ptrMaterialDst, material("wood_hard"));
  EXPECT_EQ(r.vPoint.x, 1.0f);
  EXPECT_EQ(r.fDepth, 0.5f);
  ASSERT_EQ(staticOwner.heard.size(), 1u);
  EXPECT_EQ(staticOwner.heard[0].own, circle);
  EXPECT_EQ(staticOwner.heard[0].normal.x, 1.0f);
}

TEST_F(CollisionWorldTest, EitherOwnerVetoesButBothAreAskedWhenTheFirstRefuses) {
  xPrimitiveShape* circle = onBody(new xPrimitiveCircle(1.0f), Vec3(0.0f, 0.0f, 0.0f));
  xPrimitiveShape* box = onBody(new xPrimitiveBox(2.0f, 2.0f), Vec3(1.5f, 0.0f, 0.0f));
  Listener first, second;  // the circle is the collider's first shape
  circle->setOwner(&first);
  box->setOwner(&second);
  first.keep = false;
  generate();
  EXPECT_EQ(records().size(), 0);
  ASSERT_EQ(second.heard.size(), 1u);
  EXPECT_EQ(second.heard[0].own, box);
  EXPECT_EQ(second.heard[0].normal.x, -first.heard[0].normal.x);

  first.keep = true;
  second.keep = false;
  generate();
  EXPECT_EQ(records().size(), 0);
  EXPECT_EQ(first.heard.size(), 2u);

  second.keep = true;
  generate();
  EXPECT_EQ(records().size(), 1);
}

TEST_F(CollisionWorldTest, NotifierAndItemPairsNotifyWithoutPushing) {
  Listener sensorOwner, itemOwner, ballOwner;
  onBody(new xPrimitiveCircle(1.0f), Vec3(0.0f, 0.0f, 0.0f), "notifier")->setOwner(&sensorOwner);
  onBody(new xPrimitiveCircle(1.0f), Vec3(1.5f, 0.0f, 0.0f))->setOwner(&ballOwner);
  generate();
  EXPECT_EQ(records().size(), 0);
  EXPECT_EQ(sensorOwner.heard.size(), 1u);  // the notifier lets go through, default does not
  EXPECT_TRUE(ballOwner.heard.empty());

  onBody(new xPrimitiveCircle(1.0f), Vec3(100.0f, 0.0f, 0.0f), "item")->setOwner(&itemOwner);
  xPrimitiveShape* player = onBody(new xPrimitiveCircle(1.0f), Vec3(101.5f, 0.0f, 0.0f));
  Listener playerOwner;
  player->setOwner(&playerOwner);
  generate();
  EXPECT_EQ(records().size(), 0);
  EXPECT_TRUE(itemOwner.heard.empty());  // "item" does not ask to be told
  EXPECT_EQ(playerOwner.heard.size(), 1u);
}

TEST_F(CollisionWorldTest, AShapeDeactivatedDuringThePassIsSkippedAndCompacted) {
  xPrimitiveShape* a = onBody(new xPrimitiveCircle(1.0f), Vec3(0.0f, 0.0f, 0.0f));
  xPrimitiveShape* b = onBody(new xPrimitiveCircle(1.0f), Vec3(1.5f, 0.0f, 0.0f));
  // x comes later in the active list and only touches a static box.
  xPrimitiveShape* x = onBody(new xPrimitiveCircle(1.0f), Vec3(100.0f, 0.0f, 0.0f));
  fixed(new xPrimitiveBox(1.0f, 1.0f), Vec3(101.0f, 0.0f, 0.0f));
  Listener owner;
  owner.onNotify = [x] {
    if (x->isActive()) x->deactivate();
  };
  a->setOwner(&owner);
  b->setOwner(&owner);
  generate();
  EXPECT_EQ(records().size(), 1);  // a-b only: x was not visited
  ASSERT_EQ(world()->activeShapesCount(), 2);
  EXPECT_EQ(world()->aActiveShapes[0], a);
  EXPECT_EQ(world()->aActiveShapes[1], b);

  owner.onNotify = nullptr;
  x->activate();
  generate();
  EXPECT_EQ(records().size(), 2);  // awake again, x finds its box
}
