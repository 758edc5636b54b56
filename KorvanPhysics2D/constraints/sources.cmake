# Source files of this subsystem, relative to this folder. List a file here
# only once it compiles: the whole library builds from these lists.
set(KVN_SUBSYSTEM_SOURCES
  ConstraintSet.cpp
  EquationStream.cpp
  BodyStream.cpp
  Solver.cpp
  ConstraintLimit.cpp
  ContactConstraint.cpp
  Joints.cpp
  ContactCache.cpp
  SoftStepSolver.cpp
)
