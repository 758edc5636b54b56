# Source files of this subsystem, relative to this folder. List a file here
# only once it compiles: the whole library builds from these lists.
set(KVN_SUBSYSTEM_SOURCES
  QuadTree.cpp
  CollisionContext.cpp
  ColliderTable.cpp
  SeparatingAxis.cpp
  CircleColliders.cpp
  BoxColliders.cpp
  QuadTreeWalk.cpp
  QueryGeometry.cpp
  CollisionQueries.cpp
)
