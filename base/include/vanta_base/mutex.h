// Annotated locks: clang's thread safety analysis (.clang-tidy) checks what the members' annotations say. On other
// compilers the annotations vanish.
#pragma once

#include <mutex>
#include <shared_mutex>

#if defined(__clang__)
#define VANTA_TSA(x) __attribute__((x))
#else
#define VANTA_TSA(x)
#endif

#define VANTA_CAPABILITY(name) VANTA_TSA(capability(name))
#define VANTA_SCOPED_CAPABILITY VANTA_TSA(scoped_lockable)
#define VANTA_GUARDED_BY(x) VANTA_TSA(guarded_by(x))
#define VANTA_PT_GUARDED_BY(x) VANTA_TSA(pt_guarded_by(x))
#define VANTA_ACQUIRED_BEFORE(...) VANTA_TSA(acquired_before(__VA_ARGS__))
#define VANTA_ACQUIRED_AFTER(...) VANTA_TSA(acquired_after(__VA_ARGS__))
#define VANTA_REQUIRES(...) VANTA_TSA(requires_capability(__VA_ARGS__))
#define VANTA_REQUIRES_SHARED(...) VANTA_TSA(requires_shared_capability(__VA_ARGS__))
#define VANTA_EXCLUDES(...) VANTA_TSA(locks_excluded(__VA_ARGS__))
#define VANTA_ACQUIRE(...) VANTA_TSA(acquire_capability(__VA_ARGS__))
#define VANTA_TRY_ACQUIRE(...) VANTA_TSA(try_acquire_capability(__VA_ARGS__))
#define VANTA_RELEASE(...) VANTA_TSA(release_capability(__VA_ARGS__))
#define VANTA_ACQUIRE_SHARED(...) VANTA_TSA(acquire_shared_capability(__VA_ARGS__))
#define VANTA_RELEASE_GENERIC(...) VANTA_TSA(release_generic_capability(__VA_ARGS__))
#define VANTA_NO_ANALYSIS VANTA_TSA(no_thread_safety_analysis)

namespace vanta {

class CondVar;

class VANTA_CAPABILITY("mutex") Mutex {
 public:
  void Lock() VANTA_ACQUIRE() { mutex_.lock(); }
  // Never waits. False when somebody holds it.
  bool TryLock() VANTA_TRY_ACQUIRE(true) { return mutex_.try_lock(); }
  void Unlock() VANTA_RELEASE() { mutex_.unlock(); }

 private:
  friend class CondVar;  // it waits with the mutex itself
  std::mutex mutex_;
};

class VANTA_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex &mutex) VANTA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~MutexLock() VANTA_RELEASE() { mutex_.Unlock(); }
  MutexLock(const MutexLock &) = delete;
  MutexLock &operator=(const MutexLock &) = delete;

 private:
  Mutex &mutex_;
};

class VANTA_CAPABILITY("shared_mutex") SharedMutex {
 public:
  void Lock() VANTA_ACQUIRE() { mutex_.lock(); }
  void Unlock() VANTA_RELEASE() { mutex_.unlock(); }
  void LockShared() VANTA_ACQUIRE_SHARED() { mutex_.lock_shared(); }
  void UnlockShared() VANTA_RELEASE_GENERIC() { mutex_.unlock_shared(); }

 private:
  std::shared_mutex mutex_;
};

class VANTA_SCOPED_CAPABILITY WriterLock {
 public:
  explicit WriterLock(SharedMutex &mutex) VANTA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~WriterLock() VANTA_RELEASE() { mutex_.Unlock(); }
  WriterLock(const WriterLock &) = delete;
  WriterLock &operator=(const WriterLock &) = delete;

 private:
  SharedMutex &mutex_;
};

class VANTA_SCOPED_CAPABILITY ReaderLock {
 public:
  explicit ReaderLock(SharedMutex &mutex) VANTA_ACQUIRE_SHARED(mutex) : mutex_(mutex) { mutex_.LockShared(); }
  ~ReaderLock() VANTA_RELEASE_GENERIC() { mutex_.UnlockShared(); }
  ReaderLock(const ReaderLock &) = delete;
  ReaderLock &operator=(const ReaderLock &) = delete;

 private:
  SharedMutex &mutex_;
};

}  // namespace vanta
