#pragma once

// What a fuzzed host owns (engine, bodies, shapes, joints, entities) and the
// rules a correct host follows when it takes them apart: joints are released
// before their bodies go, shapes let go of a body before it is deleted, and
// nothing of the worlds outlives the engine.

#include <KorvanPhysics2D/KorvanPhysics2D.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace kvnfuzz {

using namespace KorvanPHX2D;

// A host entity that accepts or vetoes contacts by a bit pattern from the
// input, one bit per notification.
class FuzzEntity : public xEntity {
 public:
  std::uint32_t vetoPattern = 0;
  std::uint32_t notifications = 0;

  bool notifyCollision(xShape*, xShape*, const Vec2&, float, const Vec2&) override {
    const bool veto = ((vetoPattern >> (notifications++ % 32u)) & 1u) != 0u;
    return !veto;
  }
};

class FuzzEntityDesc : public xEntityDesc {
 public:
  xEntity* createEntity() override { return new FuzzEntity(); }
};

// Caps that keep one input cheap; the interesting faults need few objects.
constexpr int kMaxBodies = 40;
constexpr int kMaxShapes = 56;
constexpr int kMaxJoints = 24;
constexpr int kMaxEntities = 6;

struct FuzzWorld {
  bool hasEngine = false;
  std::vector<xBody*> bodies;
  std::vector<xShape*> shapes;
  std::vector<xConstraintSet*> joints;
  std::vector<FuzzEntity*> engineEntities;  // listed in the engine, which deletes them
  std::vector<FuzzEntity*> hostEntities;    // unlisted again: the harness deletes them
  xSoftStepSolver* hostSolver = nullptr;    // the host's solver, once one is set

  template <class T>
  static T* pick(std::vector<T*>& v, int index) {
    return v.empty() ? nullptr : v[static_cast<std::size_t>(index) % v.size()];
  }

  template <class T>
  static void erase(std::vector<T*>& v, T* item) {
    v.erase(std::remove(v.begin(), v.end(), item), v.end());
  }

  void deleteJoint(xConstraintSet* joint) {
    joint->release();
    erase(joints, joint);
    delete joint;
  }

  // Joints touching the body are released (or deleted); shapes pointing at it
  // are deleted or become static geometry.
  void deleteBody(xBody* body, bool deleteJoints, bool deleteShapes) {
    for (xConstraintSet* joint : std::vector<xConstraintSet*>(joints)) {
      if (joint->bodySrc() == body || joint->bodyDst() == body) {
        if (deleteJoints) {
          deleteJoint(joint);
        } else {
          joint->release();
        }
      }
    }
    for (xShape* shape : std::vector<xShape*>(shapes)) {
      if (shape->getMainBody() != body) continue;
      if (deleteShapes) {
        deleteShape(shape);
      } else {
        shape->ptrBody = nullptr;
      }
    }
    erase(bodies, body);
    delete body;
  }

  void deleteShape(xShape* shape) {
    erase(shapes, shape);
    delete shape;
  }

  // What destroyHierarchy (all = true) or destroyCompleteHierarchy (all =
  // false: only the descendants with the root's owner, recursively) deletes.
  static void collectDoomed(xParagon* node, xEntity* owner, bool all, std::vector<xParagon*>& out) {
    out.push_back(node);
    for (xParagon* c = node->getFirstDescendant(); c != nullptr; c = c->getNextDescendant()) {
      if (all || c->getOwner() == owner) collectDoomed(c, owner, all, out);
    }
  }

  // Deletes a subtree through the hierarchy's own calls, after doing for its
  // bodies what a host does before deleting one.
  void destroySubtree(xParagon* root, bool all) {
    std::vector<xParagon*> doomed;
    collectDoomed(root, root->getOwner(), all, doomed);
    for (xParagon* p : doomed) {
      auto* body = dynamic_cast<xBody*>(p);
      if (body == nullptr) continue;
      for (xConstraintSet* joint : std::vector<xConstraintSet*>(joints)) {
        if (joint->bodySrc() == body || joint->bodyDst() == body) deleteJoint(joint);
      }
      for (xShape* shape : shapes) {
        if (shape->getMainBody() == body) shape->ptrBody = nullptr;
      }
    }
    for (xParagon* p : doomed) {
      if (auto* body = dynamic_cast<xBody*>(p)) erase(bodies, body);
      if (auto* shape = dynamic_cast<xShape*>(p)) erase(shapes, shape);
    }
    if (all) {
      root->destroyHierarchy();
    } else {
      root->destroyCompleteHierarchy();
    }
  }

  // The entity's shapes lose their owner before it goes.
  void forgetEntity(xEntity* entity) {
    for (xShape* shape : shapes) {
      if (shape->getOwner() == entity) shape->setOwner(nullptr);
    }
  }

  // Everything the host made, then the engine.
  void destroyEngine() {
    while (!joints.empty()) deleteJoint(joints.back());
    while (!shapes.empty()) deleteShape(shapes.back());
    while (!bodies.empty()) deleteBody(bodies.back(), true, true);
    for (FuzzEntity* e : hostEntities) delete e;
    hostEntities.clear();
    engineEntities.clear();
    g_ptrSDK->physicsContext()->setSolver(nullptr);
    kvnDestroyKorvanSDK();
    delete hostSolver;  // the engine never deletes a host's solver
    hostSolver = nullptr;
    hasEngine = false;
  }

  void createEngine() {
    kvnCreateKorvanSDK();
    hasEngine = true;
  }
};

}  // namespace kvnfuzz
