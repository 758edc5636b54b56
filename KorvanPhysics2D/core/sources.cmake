# Source files of this subsystem, relative to this folder. List a file here
# only once it compiles: the whole library builds from these lists.
set(KVN_SUBSYSTEM_SOURCES
  Configurator.cpp
  Entity.cpp
  Paragon.cpp
  ParagonStore.cpp
  WorkerContext.cpp
  WorkerPool.cpp
  Engine.cpp
)
