#include <KorvanPhysics2D/core/ParagonStore.h>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#define KVN_HAVE_MMAP 1
#endif

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define KVN_POISON(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define KVN_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define KVN_POISON(p, n) ((void)(p), (void)(n))
#define KVN_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace KorvanPHX2D {

namespace {

// Address space per engine: room for millions of bodies and shapes. Only what
// is used gets committed, in steps of kCommitStep.
constexpr std::size_t kReserveBytes = std::size_t(1) << 30;
constexpr std::size_t kCommitStep = std::size_t(1) << 16;
constexpr std::size_t kAlign = 16;

std::size_t roundUp(std::size_t n, std::size_t to) { return (n + to - 1) / to * to; }

}  // namespace

xParagonStore::xParagonStore()
    : ptrBase(nullptr),
      nReserved(0),
      nUsed(0),
      nCommitted(0),
      nLive(0),
      bAbandoned(false),
      aFree(),
      nFreeLists(0) {
#if defined(KVN_HAVE_MMAP)
  void* range = mmap(nullptr, kReserveBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (range != MAP_FAILED) {
    ptrBase = static_cast<char*>(range);
    nReserved = kReserveBytes;
  }
#endif
}

xParagonStore::~xParagonStore() {
#if defined(KVN_HAVE_MMAP)
  if (ptrBase != nullptr) {
    KVN_UNPOISON(ptrBase, nCommitted);
    munmap(ptrBase, nReserved);
  }
#endif
}

void* xParagonStore::allocate(std::size_t bytes) {
  if (ptrBase == nullptr) return nullptr;
  const std::size_t size = roundUp(bytes == 0 ? 1 : bytes, kAlign);
  for (int i = 0; i < nFreeLists; ++i) {
    FreeList& list = aFree[i];
    if (list.nBytes != size || list.ptrHead == nullptr) continue;
    void* p = list.ptrHead;
    KVN_UNPOISON(p, size);
    void* next;
    __builtin_memcpy(&next, p, sizeof next);
    list.ptrHead = next;
    ++nLive;
    return p;
  }
  if (size > nReserved - nUsed) return nullptr;
#if defined(KVN_HAVE_MMAP)
  if (nUsed + size > nCommitted) {
    const std::size_t grow = roundUp(nUsed + size - nCommitted, kCommitStep);
    if (mprotect(ptrBase + nCommitted, grow, PROT_READ | PROT_WRITE) != 0) return nullptr;
    KVN_POISON(ptrBase + nCommitted, grow);
    nCommitted += grow;
  }
#endif
  void* p = ptrBase + nUsed;
  nUsed += size;
  KVN_UNPOISON(p, size);
  ++nLive;
  return p;
}

void xParagonStore::release(void* p, std::size_t bytes) {
  const std::size_t size = roundUp(bytes == 0 ? 1 : bytes, kAlign);
  int at = 0;
  while (at < nFreeLists && aFree[at].nBytes != size) ++at;
  if (at == nFreeLists && nFreeLists < kSizeClasses) {
    aFree[nFreeLists].nBytes = size;
    aFree[nFreeLists].ptrHead = nullptr;
    ++nFreeLists;
  }
  // With every size class taken (hosts with many body classes) the block is
  // simply not reused.
  if (at < nFreeLists) {
    __builtin_memcpy(p, &aFree[at].ptrHead, sizeof(void*));
    aFree[at].ptrHead = p;
    KVN_POISON(p, size);
  }
  --nLive;
  if (bAbandoned && nLive == 0) delete this;
}

void xParagonStore::abandon() {
  bAbandoned = true;
  if (nLive == 0) delete this;
}

}  // namespace KorvanPHX2D
