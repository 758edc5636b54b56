# Source files of this subsystem, relative to this folder. List a file here
# only once it compiles: the whole library builds from these lists.
set(KVN_SUBSYSTEM_SOURCES
  Primitive.cpp
  Material.cpp
  CollisionCategory.cpp
  Shape.cpp
)
