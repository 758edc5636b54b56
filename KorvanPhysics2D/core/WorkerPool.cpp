#include <KorvanPhysics2D/core/WorkerPool.h>

namespace KorvanPHX2D {

namespace {

// Rounds of polling before a thread blocks: a step's next job (or the last
// worker's end) usually comes within microseconds, sooner than a sleeping
// thread wakes up.
constexpr int kSpinRounds = 4000;

inline void relax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#else
  std::this_thread::yield();
#endif
}

}  // namespace

xWorkerPool::xWorkerPool(int workers)
    : nWorkers(workers),
      ptrJob(nullptr),
      ptrArgument(nullptr),
      uGeneration(0),
      nPending(0),
      bStop(false) {
  aThreads.reserve(static_cast<std::size_t>(workers - 1));
  for (int i = 1; i < workers; ++i) aThreads.emplace_back(&xWorkerPool::threadMain, this, i);
}

xWorkerPool::~xWorkerPool() {
  {
    std::lock_guard<std::mutex> guard(lock);
    bStop = true;
    uGeneration.fetch_add(1, std::memory_order_release);
  }
  wake.notify_all();
  for (std::thread& t : aThreads) t.join();
}

void xWorkerPool::run(Job job, void* argument) {
  {
    std::lock_guard<std::mutex> guard(lock);
    ptrJob = job;
    ptrArgument = argument;
    nPending.store(nWorkers - 1, std::memory_order_relaxed);
    uGeneration.fetch_add(1, std::memory_order_release);
  }
  wake.notify_all();
  job(argument, 0);
  for (int i = 0; i < kSpinRounds && nPending.load(std::memory_order_acquire) != 0; ++i) relax();
  if (nPending.load(std::memory_order_acquire) != 0) {
    std::unique_lock<std::mutex> guard(lock);
    finished.wait(guard, [this] { return nPending.load(std::memory_order_acquire) == 0; });
  }
}

void xWorkerPool::threadMain(int worker) {
  unsigned seen = 0;
  for (;;) {
    for (int i = 0; i < kSpinRounds && uGeneration.load(std::memory_order_acquire) == seen; ++i) {
      relax();
    }
    Job job;
    void* argument;
    {
      std::unique_lock<std::mutex> guard(lock);
      wake.wait(guard, [&] { return uGeneration.load(std::memory_order_acquire) != seen; });
      if (bStop) return;
      seen = uGeneration.load(std::memory_order_acquire);
      job = ptrJob;
      argument = ptrArgument;
    }
    job(argument, worker);
    if (nPending.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      std::lock_guard<std::mutex> guard(lock);
      finished.notify_one();
    }
  }
}

}  // namespace KorvanPHX2D
