#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/dynamics/Body.h>

namespace KorvanPHX2D {

namespace {

// Local placement of a world-frame placement in the frame of a body placed at p.
Vec3 toLocal(const Vec3& p, const Vec3& placement) {
  const Mtx23 t = kvnVec3ToMtx23(p);
  const float dx = placement.x - t.m[0][2];
  const float dy = placement.y - t.m[1][2];
  return Vec3(t.m[0][0] * dx + t.m[1][0] * dy, t.m[0][1] * dx + t.m[1][1] * dy, placement.z - p.z);
}

// Unlinks `set` from `body`'s list, where `next` is the set's own link in that
// list.
void unlinkFromBody(xConstraintSet* set, xBody* body, xConstraintSet* next) {
  if (body->ptrFirstJoint == set) {
    body->ptrFirstJoint = next;
    return;
  }
  xConstraintSet* prev = set->getPrevInBody(body);
  KVN_CHECK(prev != nullptr, "xConstraintSet::release",
            "constraint set missing from its body's list");
  if (prev == nullptr) return;
  if (prev->m_bodySrc == body) {
    prev->nextInSrc = next;
  } else if (prev->m_bodyDst == body) {
    prev->nextInDst = next;
  }
}

}  // namespace

xConstraintSet::xConstraintSet()
    : m_bodySrc(nullptr),
      nextInSrc(nullptr),
      m_bodyDst(nullptr),
      nextInDst(nullptr),
      m_flags(0u),
      m_entityOwner(nullptr) {}

xConstraintSet::~xConstraintSet() = default;

void xConstraintSet::setJointPlacement(const Vec3& inSrc, const Vec3& inDst) {
  m_placementInSrc = inSrc;
  m_placementInDst = inDst;
}

void xConstraintSet::jointPlacement(Vec3& inSrc, Vec3& inDst) {
  inSrc = Vec3(0.0f, 0.0f, 0.0f);
  inDst = Vec3(0.0f, 0.0f, 0.0f);
}

int xConstraintSet::formEquations(xEquationStream&, xBodyStream&, float) { return 0; }

int xConstraintSet::getMaxDOF() { return 0; }

void xConstraintSet::render() {}

void xConstraintSet::storeSolutions(xVector&, int) {}

void xConstraintSet::restoreSolutions(xVector&, int) {}

void xConstraintSet::initialize(xEntity* entity, xBody* bodySrc, xBody* bodyDst,
                                const Vec3& placement) {
  KVN_CHECK(bodySrc != nullptr, "xConstraintSet::initialize", "the joint has no source body");
  KVN_CHECK(bodySrc != bodyDst, "xConstraintSet::initialize",
            "the source body is also the destination body");
  m_entityOwner = entity;
  release();
  attach(bodySrc, bodyDst);
  const Vec3 pSrc = bodySrc->absPlacement();
  const Vec3 pDst = bodyDst != nullptr ? bodyDst->absPlacement() : Vec3(0.0f, 0.0f, 0.0f);
  setJointPlacement(toLocal(pSrc, placement), toLocal(pDst, placement));
  setEnabled(true);
}

void xConstraintSet::attach(xBody* bodySrc, xBody* bodyDst) {
  if (bodySrc != nullptr) {
    nextInSrc = bodySrc->ptrFirstJoint;
    bodySrc->ptrFirstJoint = this;
  }
  if (bodyDst != nullptr) {
    nextInDst = bodyDst->ptrFirstJoint;
    bodyDst->ptrFirstJoint = this;
  }
  m_bodySrc = bodySrc;
  m_bodyDst = bodyDst;
}

void xConstraintSet::release() {
  if (m_bodySrc == nullptr && m_bodyDst == nullptr) return;
  if (m_bodySrc != nullptr) unlinkFromBody(this, m_bodySrc, nextInSrc);
  if (m_bodyDst != nullptr) unlinkFromBody(this, m_bodyDst, nextInDst);
  setEnabled(false);
  m_bodySrc = nullptr;
  nextInSrc = nullptr;
  m_bodyDst = nullptr;
  nextInDst = nullptr;
}

xConstraintSet* xConstraintSet::getNextInBody(xBody* body) {
  if (body == nullptr) return nullptr;
  if (body == m_bodySrc) return nextInSrc;
  if (body == m_bodyDst) return nextInDst;
  return nullptr;
}

xConstraintSet* xConstraintSet::getPrevInBody(xBody* body) {
  if (body == nullptr) return nullptr;
  xConstraintSet* c = body->getFirstJoint();
  xConstraintSet* prev = nullptr;
  while (c != nullptr) {
    if (c == this) return prev;
    prev = c;
    c = c->getNextInBody(body);
  }
  return nullptr;
}

xJointDesc::xJointDesc()
    : bodySrc(nullptr),
      bodyDst(nullptr),
      entity(nullptr),
      placement(0.0f, 0.0f, 0.0f),
      releaseForce(1e38f) {}

xJointDesc::~xJointDesc() = default;

}  // namespace KorvanPHX2D
