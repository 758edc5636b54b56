#pragma once

// One macro marks everything that belongs to the library's public interface.
// The library is built with hidden visibility, so only what carries KVN_API is
// visible to hosts.
#if defined(_WIN32)
#  if defined(KORVANPHYSICS2D_BUILDING)
#    define KVN_API __declspec(dllexport)
#  else
#    define KVN_API __declspec(dllimport)
#  endif
#else
#  define KVN_API __attribute__((visibility("default")))
#endif
