#pragma once

// Collision categories: named classes of shapes with per-pair rules (ignore,
// notify, let go through), and the registry that owns them.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>

#include <cstdint>
#include <string>

namespace KorvanPHX2D {

class xShape;

// A named class of shapes. Flags: 1 ignore, 2 notify, 4 let go through.
class KVN_API xCollisionCategory {
 public:
  enum : std::uint32_t { kIgnore = 1u, kNotify = 2u, kLetGoThrough = 4u };

  std::string strName;               // the category's name
  std::uint32_t ulFlags;             // own flags
  xArray<int> aPairCategories;       // registry indices of partners with pair flags
  xArray<std::uint32_t> aPairFlags;  // flags for the partner at the same position

  xCollisionCategory(const std::string& name, std::uint32_t flags);

  // Appends a pair entry; an index already present is not replaced (the first
  // entry wins on lookup).
  void addPairFlags(int categoryIndex, std::uint32_t flags);
  // Flags of the first entry for categoryIndex, or 0. Inline: asked for every
  // candidate pair of every step.
  std::uint32_t pairFlagsForCategory(int categoryIndex) {
    const int at = aPairCategories.findIndex(categoryIndex);
    return at < 0 ? 0u : aPairFlags[at];
  }

  std::uint32_t categoryFlags() const { return ulFlags; }
  std::string categoryID() { return strName; }
  bool isIgnore() { return (ulFlags & kIgnore) != 0; }
  bool isNotify() { return (ulFlags & kNotify) != 0; }
  bool isLetGoThrough() { return (ulFlags & kLetGoThrough) != 0; }
};

// Process-wide registry of categories. Created with the built-in categories
// and pair rules on first use, never destroyed. A category's index in
// cdp_aCategories identifies it in pair entries.
class KVN_API xCategoryDispatcher {
 public:
  std::uint32_t cdp_ulFlagsFirst;   // last query: first category's pair flags for the second
  std::uint32_t cdp_ulFlagsSecond;  // last query: second category's pair flags for the first
  xArray<xCollisionCategory*> cdp_aCategories;  // owned, creation order

  static xCategoryDispatcher* cdp_ptrInstance;

  // The registry, created on first call.
  static xCategoryDispatcher* Instance();

  // Does nothing; kept for hosts that call it after Instance().
  void init();
  // Creates a category unless the name is taken (an existing one keeps its flags).
  void createCategory(const std::string& name, std::uint32_t flags);
  // First category whose name equals name exactly, or null.
  xCollisionCategory* findCategoryByName(const std::string& name);
  // Stores flags in `first` for `second` (directed; queries look both ways).
  // False if either name is unknown.
  bool registerCategoryPair(const std::string& first, const std::string& second,
                            std::uint32_t flags);
  // Loads the two query registers with the pair flags of a for b and b for a.
  void configureFlagsForQuery(xCollisionCategory* a, xCollisionCategory* b);
  // Replaces first/second with the registers where those are non-zero (a pair
  // entry of 0 therefore never overrides).
  void updateFlags(std::uint32_t& first, std::uint32_t& second) {
    if (cdp_ulFlagsFirst != 0) first = cdp_ulFlagsFirst;
    if (cdp_ulFlagsSecond != 0) second = cdp_ulFlagsSecond;
  }
  // Whether the pair is never handed to the narrow phase (true if either is null).
  bool shouldIgnore(xShape* a, xShape* b);
  // Whether a detected contact of the pair is dropped after notification.
  bool shouldLetGoThrough(xShape* a, xShape* b);

 private:
  xCategoryDispatcher();
  ~xCategoryDispatcher();
  xCategoryDispatcher(const xCategoryDispatcher&) = delete;
  xCategoryDispatcher& operator=(const xCategoryDispatcher&) = delete;

  // Effective flags of the pair after the pair overrides, both sides or'ed.
  std::uint32_t effectivePairFlags(xShape* a, xShape* b);
};

}  // namespace KorvanPHX2D
