#pragma once

// The record of one contact, handed from collision detection to the physics
// context within one step.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

class xBody;
class xMaterial;

// One contact found by a collider. Stored by value in the physics context's
// aTempContacts and turned into a contact constraint in the same step.
class KVN_API xTempContact {
 public:
  xBody* ptrBodySrc;          // first body; never null in a stored record
  xBody* ptrBodyDst;          // second body; null = static geometry
  xMaterial* ptrMaterialSrc;  // material of the first shape the collider reported
  xMaterial* ptrMaterialDst;  // material of the second shape the collider reported
  Vec2 vPoint;                // contact point, world coordinates
  Vec2 vNormal;               // unit normal from ptrBodySrc's shape towards the other
  float fDepth;               // penetration, positive when overlapping
  bool bFlag;                 // always false; passed on unchanged

  xTempContact()
      : ptrBodySrc(nullptr),
        ptrBodyDst(nullptr),
        ptrMaterialSrc(nullptr),
        ptrMaterialDst(nullptr),
        vPoint(0.0f, 0.0f),
        vNormal(0.0f, 1.0f),
        fDepth(0.0f),
        bFlag(false) {}
};

}  // namespace KorvanPHX2D
