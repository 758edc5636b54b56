#pragma once

// Materials and collision categories by name, over the engine's process-wide
// registries.

#include <KorvanPhysics2D/shapes/Material.h>
#include <pybind11/pybind11.h>

#include <string>

namespace KorvanPython {

namespace py = pybind11;

// None gives the default material; a name must be registered (ValueError).
KorvanPHX2D::xMaterial* materialArgument(py::handle material);
// The name of a registered category (ValueError otherwise).
std::string categoryArgument(py::handle category);

// Adds the module functions material_names, material, create_material,
// category_names, category and create_category.
void defineRegistries(py::module_& m);

}  // namespace KorvanPython
