// Contact generation on resting piles of circles: the collision world's pass
// alone (quadtree queries, category filter, dispatch, colliders, records) and
// the whole step around it.

#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <KorvanPhysics2D/shapes/Material.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace {

using namespace KorvanPHX2D;

// `count` circles in a square grid filling a 500 x 500 area, each touching its
// four neighbours, the bottom row on a static ground box (gravity points along
// +y, so the ground is at y = 500). The circles' material does not bounce and
// nothing overlaps, so the pile stays at rest.
class CirclePile {
 public:
  explicit CirclePile(int count) {
    sdk_ = kvnCreateKorvanSDK();
    const int cols = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
    const float spacing = 500.0f / static_cast<float>(cols);
    const float radius = 0.5f * spacing;

    ground_ = new xPrimitiveShape();
    ground_->setEnvelope(new xPrimitiveBox(520.0f, 20.0f));
    ground_->setCollisionCategory("default");
    ground_->setRelPlacement(Vec3(0.0f, 510.0f, 0.0f));
    ground_->initialize();

    xMaterial* still = xMaterialDispatcher::Instance()->obtainMaterialByName("stiropor");
    xBody3DOFDesc desc;
    for (int i = 0; i < count; ++i) {
      const float x = -250.0f + spacing * (static_cast<float>(i % cols) + 0.5f);
      const float y = 500.0f - spacing * (static_cast<float>(i / cols) + 0.5f);
      xBody* body = sdk_->createBody(desc);
      body->setRelPlacement(Vec3(x, y, 0.0f));
      auto* shape = new xPrimitiveShape();
      shape->setEnvelope(new xPrimitiveCircle(radius));
      shape->setCollisionCategory("default");
      shape->setMaterial(still);
      shape->setAscendant(body);
      shape->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));
      shape->setBody(body);
      shape->initialize();
      body->initialize();
      bodies_.push_back(body);
      shapes_.push_back(shape);
    }
  }

  ~CirclePile() {
    for (xShape* s : shapes_) delete s;
    for (xBody* b : bodies_) delete b;
    delete ground_;
    kvnDestroyKorvanSDK();
  }

  CirclePile(const CirclePile&) = delete;
  CirclePile& operator=(const CirclePile&) = delete;

  KorvanPhysicsSDK* sdk() { return sdk_; }
  int contacts() { return sdk_->physicsContext()->aTempContacts.size(); }

 private:
  KorvanPhysicsSDK* sdk_;
  xPrimitiveShape* ground_;
  std::vector<xBody*> bodies_;
  std::vector<xShape*> shapes_;
};

void setCounters(benchmark::State& state, CirclePile& pile) {
  state.counters["shapes"] = pile.sdk()->collisionContext()->shapesCount();
  state.counters["contacts"] = pile.contacts();
}

void BM_GenerateContacts(benchmark::State& state) {
  CirclePile pile(static_cast<int>(state.range(0)));
  xCollisionContext* world = pile.sdk()->collisionContext();
  xArray<xTempContact>& records = pile.sdk()->physicsContext()->aTempContacts;
  // First pass sizes the candidate lists and the record list.
  world->generateContacts();
  for (auto _ : state) {
    records.clear();
    world->generateContacts();
  }
  setCounters(state, pile);
}
BENCHMARK(BM_GenerateContacts)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_StepWithContacts(benchmark::State& state) {
  CirclePile pile(static_cast<int>(state.range(0)));
  for (int i = 0; i < 10; ++i) pile.sdk()->updateF(1.0f / 60.0f);
  for (auto _ : state) pile.sdk()->updateF(1.0f / 60.0f);
  setCounters(state, pile);
}
BENCHMARK(BM_StepWithContacts)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
