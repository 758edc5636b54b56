#pragma once

// The collider table: narrow-phase routines indexed by the primitive kinds of
// the two shapes of a pair.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>

#include <cstdint>

namespace KorvanPHX2D {

class xShape;

// A narrow-phase routine: computes the contacts of two shapes and reports each
// through the collision context's createTempContact.
typedef void (*xColliderFunc)(xShape*, xShape*);

// Process-wide table, created on first use and never destroyed. Entry (row r,
// column c) is at r * ctb_nKinds + c; only row <= column is filled, so a
// collider always receives the shape of the lower kind first.
class KVN_API xColliderTable {
 public:
  std::int32_t ctb_nKinds;               // row length: 7
  xArray<xColliderFunc> ctb_aColliders;  // 49 entries; null = no collider

  static xColliderTable* ctb_ptrInstance;

  // The table with the built-in colliders, created on first call. Inline: every
  // collider and every dispatched pair asks for it.
  static xColliderTable* Instance() {
    if (ctb_ptrInstance == nullptr) ctb_ptrInstance = create();
    return ctb_ptrInstance;
  }

  // Stores f at (row, column); no bounds check.
  void registerCollider(int row, int column, xColliderFunc f);
  // Entry (row, column); no bounds check.
  xColliderFunc collider(int row, int column) { return ctb_aColliders[row * ctb_nKinds + column]; }

 private:
  xColliderTable();
  static xColliderTable* create();
  xColliderTable(const xColliderTable&) = delete;
  xColliderTable& operator=(const xColliderTable&) = delete;
};

}  // namespace KorvanPHX2D
