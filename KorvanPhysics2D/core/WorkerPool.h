#pragma once

// Internal: the library's threads. A pool of n - 1 threads that, together with
// the calling (host) thread, runs one job at a time: run() hands the job to
// every thread, runs it itself as worker 0 and returns when all are done.
// Threads start with the pool and are joined by its destructor. Handing over a
// job allocates nothing.

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace KorvanPHX2D {

class xWorkerPool {
 public:
  using Job = void (*)(void* argument, int worker);

  // Starts workers - 1 threads (workers >= 2).
  explicit xWorkerPool(int workers);
  ~xWorkerPool();
  xWorkerPool(const xWorkerPool&) = delete;
  xWorkerPool& operator=(const xWorkerPool&) = delete;

  int workers() const { return nWorkers; }
  // job(argument, i) on every worker i (0 on the calling thread); returns once
  // all calls have returned.
  void run(Job job, void* argument);

 private:
  void threadMain(int worker);

  int nWorkers;
  std::vector<std::thread> aThreads;
  std::mutex lock;
  std::condition_variable wake;
  std::condition_variable finished;
  Job ptrJob;
  void* ptrArgument;
  std::atomic<unsigned> uGeneration;
  std::atomic<int> nPending;
  bool bStop;
};

}  // namespace KorvanPHX2D
