#include "Registries.h"

#include <KorvanPhysics2D/shapes/CollisionCategory.h>

#include "Convert.h"

namespace KorvanPython {

using namespace KorvanPHX2D;

namespace {

xMaterialDispatcher& materials() { return *xMaterialDispatcher::Instance(); }
xCategoryDispatcher& categories() { return *xCategoryDispatcher::Instance(); }

xMaterial* findMaterial(const std::string& name) {
  xMaterial* m = materials().obtainMaterialByName(name);
  if (m == nullptr) raise(PyExc_ValueError, "material: no material is named '" + name + "'");
  return m;
}

xCollisionCategory* findCategory(const std::string& name, const char* argument) {
  xCollisionCategory* c = categories().findCategoryByName(name);
  if (c == nullptr) {
    raise(PyExc_ValueError, std::string(argument) + ": no category is named '" + name + "'");
  }
  return c;
}

py::list materialNames() {
  py::list names;
  const xArray<xMaterial*>& all = materials().mdp_aMaterials;
  for (int i = 0; i < all.size(); ++i) {
    if (all[i] != nullptr) names.append(all[i]->label());
  }
  return names;
}

py::dict materialValues(py::handle name) {
  const xMaterial* m = findMaterial(toName(name, "name"));
  py::dict values;
  values["density"] = m->density();
  values["restitution"] = m->restitution();
  values["dynamic_friction"] = m->dynamicFriction();
  values["rolling_friction"] = m->rollingFriction();
  values["reflection"] = m->reflection();
  return values;
}

void createMaterial(py::handle nameArg, py::handle densityArg, py::handle restitutionArg,
                    py::handle dynamicFrictionArg, py::handle rollingFrictionArg,
                    py::handle reflectionArg) {
  const std::string name = toName(nameArg, "name");
  const float density = toPositiveFloat(densityArg, "density");
  const float restitution = toNonNegativeFloat(restitutionArg, "restitution");
  const float dynamicFriction = toNonNegativeFloat(dynamicFrictionArg, "dynamic_friction");
  const float rollingFriction = toNonNegativeFloat(rollingFrictionArg, "rolling_friction");
  const float reflection = toNonNegativeFloat(reflectionArg, "reflection");
  if (const xMaterial* old = materials().obtainMaterialByName(name)) {
    // Materials are never removed: the same definition again is harmless, a
    // different one would silently keep the old values.
    if (old->density() == density && old->restitution() == restitution &&
        old->dynamicFriction() == dynamicFriction && old->rollingFriction() == rollingFriction &&
        old->reflection() == reflection) {
      return;
    }
    raise(PyExc_ValueError, "name: a material named '" + name + "' exists with other values");
  }
  materials().createMaterial(name, density, restitution, dynamicFriction, rollingFriction,
                             reflection);
}

py::list categoryNames() {
  py::list names;
  const xArray<xCollisionCategory*>& all = categories().cdp_aCategories;
  for (int i = 0; i < all.size(); ++i) {
    if (all[i] != nullptr) names.append(all[i]->strName);
  }
  return names;
}

std::uint32_t flagsOf(bool ignore, bool notify, bool letGoThrough) {
  return (ignore ? xCollisionCategory::kIgnore : 0u) | (notify ? xCollisionCategory::kNotify : 0u) |
         (letGoThrough ? xCollisionCategory::kLetGoThrough : 0u);
}

py::dict categoryFlags(py::handle name) {
  const xCollisionCategory* c = findCategory(toName(name, "name"), "name");
  py::dict flags;
  flags["ignore"] = (c->ulFlags & xCollisionCategory::kIgnore) != 0;
  flags["notify"] = (c->ulFlags & xCollisionCategory::kNotify) != 0;
  flags["let_go_through"] = (c->ulFlags & xCollisionCategory::kLetGoThrough) != 0;
  return flags;
}

void createCategory(py::handle nameArg, py::handle ignore, py::handle notify,
                    py::handle letGoThrough) {
  const std::string name = toName(nameArg, "name");
  const std::uint32_t flags = flagsOf(toBool(ignore, "ignore"), toBool(notify, "notify"),
                                      toBool(letGoThrough, "let_go_through"));
  if (const xCollisionCategory* old = categories().findCategoryByName(name)) {
    if (old->ulFlags == flags) return;
    raise(PyExc_ValueError, "name: a category named '" + name + "' exists with other flags");
  }
  categories().createCategory(name, flags);
}

void pairCategories(py::handle firstArg, py::handle secondArg, py::handle ignore,
                    py::handle letGoThrough) {
  const std::string first = toName(firstArg, "first");
  const std::string second = toName(secondArg, "second");
  findCategory(first, "first");
  findCategory(second, "second");
  const std::uint32_t flags =
      flagsOf(toBool(ignore, "ignore"), false, toBool(letGoThrough, "let_go_through"));
  if (flags == 0u) raise(PyExc_ValueError, "ignore or let_go_through must be True");
  categories().registerCategoryPair(first, second, flags);
}

}  // namespace

xMaterial* materialArgument(py::handle material) {
  if (material.is_none()) return materials().defaultMaterial();
  return findMaterial(toName(material, "material"));
}

std::string categoryArgument(py::handle category) {
  const std::string name = toName(category, "category");
  findCategory(name, "category");
  return name;
}

void defineRegistries(py::module_& m) {
  m.def("material_names", &materialNames,
        "material_names() -> list[str]\n\n"
        "Names of the registered materials, the built-in ones first ('default_Material',\n"
        "'water', 'wood_hard', 'wood_light', 'stiropor', 'glass', 'plastic').");
  m.def("material", &materialValues, py::arg("name"),
        "material(name) -> dict\n\n"
        "The values of a registered material: density, restitution, dynamic_friction,\n"
        "rolling_friction and reflection. ValueError for an unknown name.");
  m.def("create_material", &createMaterial, py::arg("name"), py::arg("density") = 1000.0,
        py::arg("restitution") = 0.70710677, py::arg("dynamic_friction") = 0.70710677,
        py::arg("rolling_friction") = 0.70710677, py::arg("reflection") = 0.5,
        "create_material(name, density=1000.0, restitution=0.7071, dynamic_friction=0.7071,\n"
        "                rolling_friction=0.7071, reflection=0.5)\n\n"
        "Registers a material for the rest of the process (materials are never removed).\n"
        "A contact bounces with the product of its two materials' restitutions and rubs\n"
        "with the product of their dynamic frictions. Creating a name again with the same\n"
        "values does nothing; with other values it raises ValueError.");
  m.def("category_names", &categoryNames,
        "category_names() -> list[str]\n\n"
        "Names of the collision categories, the built-in ones first ('default', 'ignoreall',\n"
        "'notifier', 'solid_geometry', 'item', 'collision_ray', 'fluid_dynamic',\n"
        "'fluid_static').");
  m.def("category", &categoryFlags, py::arg("name"),
        "category(name) -> dict\n\n"
        "The own flags of a category: ignore (never collides), notify (contacts reach the\n"
        "on_contact callback) and let_go_through (contacts are reported but do not push).");
  m.def("create_category", &createCategory, py::arg("name"), py::arg("ignore") = false,
        py::arg("notify") = true, py::arg("let_go_through") = false,
        "create_category(name, ignore=False, notify=True, let_go_through=False)\n\n"
        "Registers a collision category for the rest of the process. Creating a name again\n"
        "with the same flags does nothing; with other flags it raises ValueError.");
  m.def("pair_categories", &pairCategories, py::arg("first"), py::arg("second"),
        py::arg("ignore") = false, py::arg("let_go_through") = false,
        "pair_categories(first, second, ignore=False, let_go_through=False)\n\n"
        "A rule for shapes of the two categories meeting each other (either way round):\n"
        "they never collide (ignore) or they pass through each other (let_go_through).\n"
        "The first rule registered for a pair counts.");
}

}  // namespace KorvanPython
