#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/QuadTree.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <gtest/gtest.h>

#include "shapes_test_support.h"

namespace {

xCollisionContext* world() { return g_ptrSDK->collisionContext(); }
xQuadTree* tree() { return static_cast<xQuadTree*>(world()->collisionSpace()); }

// Number of filed shapes whose boxes touch the probe's box.
int touchingCount(xShape* probe) {
  xArray<xShape*> out;
  tree()->getClosest(out, probe, true);
  return out.size();
}

using ShapeInWorld = WithEngine;

}  // namespace

TEST_F(ShapeInWorld, AQuarterTurnSwapsWidthAndHeightInTheAbsoluteBox) {
  xPrimitiveShape* shape =
      makeShape(new xPrimitiveBox(4.0f, 2.0f), "default", Vec3(10.0f, 0.0f, 1.5707964f));
  const Box2 b = shape->getAbsBoundingBox();
  EXPECT_NEAR(b.vMin.x, 9.0f, 1e-5f);
  EXPECT_NEAR(b.vMin.y, -2.0f, 1e-5f);
  EXPECT_NEAR(b.vMax.x, 11.0f, 1e-5f);
  EXPECT_NEAR(b.vMax.y, 2.0f, 1e-5f);
  delete shape;
}

TEST_F(ShapeInWorld, ActivatingTwiceAddsOnceAndDeactivatingTwiceRemovesOnce) {
  xPrimitiveShape* shape = makeShape(new xPrimitiveCircle(1.0f), "default");
  shape->activate();
  shape->activate();
  EXPECT_EQ(world()->activeShapesCount(), 1);
  shape->deactivate();
  shape->deactivate();
  EXPECT_EQ(world()->activeShapesCount(), 0);
  delete shape;
}

TEST_F(ShapeInWorld, MovingABodyRefilesItsInitialisedShapesOnly) {
  xBody3DOFDesc desc;
  xBody* body = desc.createBody();
  xPrimitiveShape* shape = makeShape(new xPrimitiveCircle(1.0f), "default");
  xPrimitiveShape* loose = makeShape(new xPrimitiveCircle(1.0f), "default");
  shape->setAscendant(body);
  loose->setAscendant(body);
  body->initialize();
  shape->initialize();
  xPrimitiveShape* probeOld = makeShape(new xPrimitiveCircle(1.0f), "default");
  xPrimitiveShape* probeNew =
      makeShape(new xPrimitiveCircle(1.0f), "default", Vec3(1000.0f, 500.0f, 0.0f));
  EXPECT_EQ(touchingCount(probeOld), 1);
  EXPECT_EQ(touchingCount(probeNew), 0);

  body->setRelPlacement(Vec3(1000.0f, 500.0f, 0.0f));
  EXPECT_EQ(touchingCount(probeOld), 0);
  EXPECT_EQ(touchingCount(probeNew), 1);
  EXPECT_EQ(loose->iCSDepth, -1);  // moved with the body, but never filed

  for (xShape* s : {probeOld, probeNew, loose, shape}) delete s;
  delete body;
}

TEST_F(ShapeInWorld, DestroyingANeverInitialisedShapeLeavesTheWorldUnchanged) {
  xPrimitiveShape* resident = makeShape(new xPrimitiveBox(3.0f, 3.0f), "default");
  resident->initialize();
  resident->activate();
  const int cells = tree()->aFreeCells.size(), links = tree()->aFreeLinks.size();

  delete makeShape(new xPrimitiveBox(3.0f, 3.0f), "default");
  EXPECT_EQ(world()->shapesCount(), 1);
  EXPECT_EQ(world()->activeShapesCount(), 1);
  EXPECT_EQ(tree()->aFreeCells.size(), cells);
  EXPECT_EQ(tree()->aFreeLinks.size(), links);

  delete resident;  // an initialised, active shape leaves everything
  EXPECT_EQ(world()->shapesCount(), 0);
  EXPECT_EQ(world()->activeShapesCount(), 0);
  EXPECT_EQ(tree()->aLinks.size(), tree()->aFreeLinks.size());
}
