#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/TempContact.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <KorvanPhysics2D/shapes/Material.h>
#include <gtest/gtest.h>

#include "collision_test_support.h"

namespace {

class ContactGeneration : public EngineTest {
 protected:
  xCollisionContext* world() { return g_ptrSDK->collisionContext(); }
  xArray<xTempContact>& records() { return g_ptrSDK->physicsContext()->aTempContacts; }
  int generate() {  // one pass on its own, from an empty record list
    records().clear();
    world()->generateContacts();
    return records().size();
  }
  xMaterial* glass = xMaterialDispatcher::Instance()->obtainMaterialByName("glass");
  xMaterial* wood = xMaterialDispatcher::Instance()->obtainMaterialByName("wood_hard");
};

}  // namespace

TEST_F(ContactGeneration, TwoAwakeBodiesGiveOneContactPerPassAndPerStep) {
  xPrimitiveShape* a = onBody(new xPrimitiveCircle(1.0f), {0.0f, 0.0f, 0.0f});
  xPrimitiveShape* b = onBody(new xPrimitiveCircle(1.0f), {1.5f, 0.0f, 0.0f});
  onBody(new xPrimitiveBox(1.0f, 1.0f), {50.0f, 0.0f, 0.0f});  // a third body, alone
  EXPECT_EQ(generate(), 1);
  ASSERT_EQ(generate(), 1);
  const xTempContact& r = records()[0];
  const bool aFirst = r.ptrBodySrc == a->getMainBody();
  EXPECT_EQ(aFirst ? r.ptrBodyDst : r.ptrBodySrc, b->getMainBody());
  EXPECT_EQ(r.vNormal.x, aFirst ? 1.0f : -1.0f);  // away from the source
  EXPECT_EQ(r.fDepth, 0.5f);
  g_ptrSDK->updateF(0.01f);
  EXPECT_EQ(records().size(), 1);
}

TEST_F(ContactGeneration, ShapesOfOneBodyAndTwoBodylessShapesNeverCollide) {
  xPrimitiveShape* a = onBody(new xPrimitiveCircle(1.0f), {0.0f, 0.0f, 0.0f});
  xPrimitiveShape* second = shape(new xPrimitiveCircle(1.0f), {0.5f, 0.0f, 0.0f}, true);
  second->setAscendant(a->getMainBody());  // now on a's body (activated with it)
  second->setBody(a->getMainBody());
  xPrimitiveShape* s1 = shape(new xPrimitiveBox(1.0f, 1.0f), {100.0f, 0.0f, 0.0f}, true);
  xPrimitiveShape* s2 = shape(new xPrimitiveBox(1.0f, 1.0f), {100.5f, 0.0f, 0.0f}, true);
  s1->activate();  // even an active body-less shape finds no body-less partner
  EXPECT_EQ(generate(), 0);
  EXPECT_FALSE(world()->createTempContact(s1, s2, nullptr, nullptr, Vec2(0.0f, 0.0f), 1.0f,
                                          Vec2(1.0f, 0.0f)));
}

TEST_F(ContactGeneration, ABodylessFirstShapeGivesTheBodyAsSourceAndTheNormalNegated) {
  // The collider gets the body-less circle (the lower kind) first and reports
  // (1, 0) from circle to box, with the materials in that order.
  xPrimitiveShape* circle = shape(new xPrimitiveCircle(1.0f), {0.0f, 0.0f, 0.0f}, true);
  circle->setMaterial(glass);
  circle->setOwner(&recorder);
  xPrimitiveShape* box = onBody(new xPrimitiveBox(2.0f, 2.0f), {1.5f, 0.0f, 0.0f});
  box->setMaterial(wood);
  ASSERT_EQ(generate(), 1);
  const xTempContact& r = records()[0];
  EXPECT_EQ(r.ptrBodySrc, box->getMainBody());
  EXPECT_EQ(r.ptrBodyDst, nullptr);
  EXPECT_EQ(r.vNormal.x, -1.0f);
  EXPECT_EQ(r.ptrMaterialSrc, glass);
  EXPECT_EQ(r.ptrMaterialDst, wood);
  EXPECT_EQ(r.vPoint.x, 1.0f);
  EXPECT_EQ(r.fDepth, 0.5f);
  ASSERT_EQ(contacts().size(), 1u);
  EXPECT_EQ(contacts()[0].own, circle);
  EXPECT_EQ(contacts()[0].normal.x, 1.0f);
}

TEST_F(ContactGeneration, EitherOwnerVetoesButBothAreAskedWhenTheFirstRefuses) {
  Listener first, second;  // the circle is the collider's first shape
  onBody(new xPrimitiveCircle(1.0f), {0.0f, 0.0f, 0.0f})->setOwner(&first);
  xPrimitiveShape* box = onBody(new xPrimitiveBox(2.0f, 2.0f), {1.5f, 0.0f, 0.0f});
  box->setOwner(&second);
  first.keep = false;
  EXPECT_EQ(generate(), 0);
  ASSERT_EQ(second.heard.size(), 1u);
  EXPECT_EQ(second.heard[0].own, box);
  EXPECT_EQ(second.heard[0].normal.x, -first.heard[0].normal.x);

  first.keep = true;
  second.keep = false;
  EXPECT_EQ(generate(), 0);
  EXPECT_EQ(first.heard.size(), 2u);
  second.keep = true;
  EXPECT_EQ(generate(), 1);
}

TEST_F(ContactGeneration, NotifierAndItemPairsNotifyWithoutPushing) {
  Listener sensor, ball, item, player;
  onBody(new xPrimitiveCircle(1.0f), {0.0f, 0.0f, 0.0f}, "notifier")->setOwner(&sensor);
  onBody(new xPrimitiveCircle(1.0f), {1.5f, 0.0f, 0.0f})->setOwner(&ball);
  onBody(new xPrimitiveCircle(1.0f), {100.0f, 0.0f, 0.0f}, "item")->setOwner(&item);
  onBody(new xPrimitiveCircle(1.0f), {101.5f, 0.0f, 0.0f})->setOwner(&player);
  EXPECT_EQ(generate(), 0);
  EXPECT_EQ(sensor.heard.size(), 1u);  // the notifier asks to be told, default does not
  EXPECT_TRUE(ball.heard.empty());
  EXPECT_TRUE(item.heard.empty());  // nor does "item": its partner is told
  EXPECT_EQ(player.heard.size(), 1u);
}

TEST_F(ContactGeneration, AShapeDeactivatedDuringThePassIsSkippedAndCompacted) {
  xPrimitiveShape* a = onBody(new xPrimitiveCircle(1.0f), {0.0f, 0.0f, 0.0f});
  xPrimitiveShape* b = onBody(new xPrimitiveCircle(1.0f), {1.5f, 0.0f, 0.0f});
  // x comes later in the active list and only touches a body-less box.
  xPrimitiveShape* x = onBody(new xPrimitiveCircle(1.0f), {100.0f, 0.0f, 0.0f});
  shape(new xPrimitiveBox(1.0f, 1.0f), {101.0f, 0.0f, 0.0f}, true);
  recorder.onNotify = [x] {
    if (x->isActive()) x->deactivate();
  };
  a->setOwner(&recorder);
  b->setOwner(&recorder);
  EXPECT_EQ(generate(), 1);  // a-b only: x was not visited
  ASSERT_EQ(world()->activeShapesCount(), 2);
  EXPECT_EQ(world()->aActiveShapes[0], a);
  EXPECT_EQ(world()->aActiveShapes[1], b);

  recorder.onNotify = nullptr;
  x->activate();
  EXPECT_EQ(generate(), 2);  // awake again, x finds its box
}
