#include <KorvanPhysics2D/shapes/CollisionCategory.h>
#include <KorvanPhysics2D/shapes/Shape.h>

namespace KorvanPHX2D {

// --- xCollisionCategory -----------------------------------------------------

xCollisionCategory::xCollisionCategory(const std::string& name, std::uint32_t flags)
    : strName(name), ulFlags(flags) {}

void xCollisionCategory::addPairFlags(int categoryIndex, std::uint32_t flags) {
  aPairCategories.append(categoryIndex);
  aPairFlags.append(flags);
}

// --- xCategoryDispatcher ----------------------------------------------------

xCategoryDispatcher* xCategoryDispatcher::cdp_ptrInstance = nullptr;

xCategoryDispatcher* xCategoryDispatcher::Instance() {
  if (cdp_ptrInstance == nullptr) cdp_ptrInstance = new xCategoryDispatcher();
  return cdp_ptrInstance;
}

xCategoryDispatcher::xCategoryDispatcher() : cdp_ulFlagsFirst(0), cdp_ulFlagsSecond(0) {
  // Each group of pair rules follows the creation of its first category; the
  // order fixes the registry indices that hosts may rely on.
  createCategory("default", 2);
  registerCategoryPair("default", "default", 2);
  createCategory("ignoreall", 1);
  createCategory("notifier", 6);
  createCategory("solid_geometry", 2);
  registerCategoryPair("solid_geometry", "solid_geometry", 1);
  registerCategoryPair("solid_geometry", "default", 2);
  createCategory("item", 0);
  registerCategoryPair("item", "default", 6);
  registerCategoryPair("item", "solid_geometry", 2);
  createCategory("collision_ray", 0);
  registerCategoryPair("collision_ray", "solid_geometry", 2);
  registerCategoryPair("collision_ray", "default", 2);
  registerCategoryPair("collision_ray", "item", 2);
  createCategory("fluid_dynamic", 0);
  registerCategoryPair("fluid_dynamic", "solid_geometry", 2);
  createCategory("fluid_static", 0);
  registerCategoryPair("fluid_static", "solid_geometry", 1);
  registerCategoryPair("fluid_static", "fluid_dynamic", 1);
  registerCategoryPair("fluid_static", "default", 6);
}

xCategoryDispatcher::~xCategoryDispatcher() { cdp_aCategories.deleteAll(); }

void xCategoryDispatcher::init() {}

void xCategoryDispatcher::createCategory(const std::string& name, std::uint32_t flags) {
  if (findCategoryByName(name) != nullptr) return;
  cdp_aCategories.append(new xCollisionCategory(name, flags));
}

xCollisionCategory* xCategoryDispatcher::findCategoryByName(const std::string& name) {
  for (int i = 0; i < cdp_aCategories.size(); ++i) {
    xCollisionCategory* c = cdp_aCategories[i];
    if (c != nullptr && c->strName == name) return c;
  }
  return nullptr;
}

bool xCategoryDispatcher::registerCategoryPair(const std::string& first, const std::string& second,
                                               std::uint32_t flags) {
  xCollisionCategory* a = findCategoryByName(first);
  xCollisionCategory* b = findCategoryByName(second);
  if (a == nullptr || b == nullptr) return false;
  a->addPairFlags(cdp_aCategories.findIndex(b), flags);
  return true;
}

void xCategoryDispatcher::configureFlagsForQuery(xCollisionCategory* a, xCollisionCategory* b) {
  cdp_ulFlagsFirst = 0;
  const int ib = cdp_aCategories.findIndex(b);
  if (ib >= 0) cdp_ulFlagsFirst = a->pairFlagsForCategory(ib);
  cdp_ulFlagsSecond = 0;
  const int ia = cdp_aCategories.findIndex(a);
  if (ia >= 0) cdp_ulFlagsSecond = b->pairFlagsForCategory(ia);
}

std::uint32_t xCategoryDispatcher::effectivePairFlags(xShape* a, xShape* b) {
  xCollisionCategory* ca = a->getCollisionCategory();
  xCollisionCategory* cb = b->getCollisionCategory();
  std::uint32_t fa = ca->categoryFlags();
  std::uint32_t fb = cb->categoryFlags();
  configureFlagsForQuery(ca, cb);
  updateFlags(fa, fb);
  return fa | fb;
}

bool xCategoryDispatcher::shouldIgnore(xShape* a, xShape* b) {
  if (a == nullptr || b == nullptr) return true;
  return (effectivePairFlags(a, b) & xCollisionCategory::kIgnore) != 0;
}

bool xCategoryDispatcher::shouldLetGoThrough(xShape* a, xShape* b) {
  if (a == nullptr || b == nullptr) return true;
  return (effectivePairFlags(a, b) & xCollisionCategory::kLetGoThrough) != 0;
}

}  // namespace KorvanPHX2D
