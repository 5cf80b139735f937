#pragma once

#include <pthread.h>

namespace support {

/// Puts off the calling thread's cancellation while the object lives. Destructors call cancellation
/// points (close(2)), and no exception may leave a destructor, not even the one that unwinds a
/// canceled thread; with musl, a canceled thread runs no destructors at all.
class PostponedCancellation {
  public:
    PostponedCancellation() { (void)pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~PostponedCancellation() { (void)pthread_setcancelstate(m_before, nullptr); }
    PostponedCancellation(const PostponedCancellation&) = delete;
    PostponedCancellation& operator=(const PostponedCancellation&) = delete;

  private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

}  // namespace support
