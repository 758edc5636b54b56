#pragma once

// Caller errors that the engine otherwise leaves unchecked (a null descriptor,
// removing a value that is not there, an index out of range) are caught here in
// builds with debug checks. KVN_DEBUG_CHECKS is defined by the build (on by
// default for Debug builds); without it the macro compiles to nothing and the
// results of every operation are unchanged.
#include <cstdio>
#include <cstdlib>

#if defined(KVN_DEBUG_CHECKS)
#  define KVN_CHECK(cond, operation, fault)                                          \
    do {                                                                             \
      if (!(cond)) {                                                                 \
        std::fprintf(stderr, "KorvanPhysics2D: %s: %s (%s:%d)\n", operation, fault,  \
                     __FILE__, __LINE__);                                            \
        std::abort();                                                                \
      }                                                                              \
    } while (0)
#else
#  define KVN_CHECK(cond, operation, fault) ((void)0)
#endif
