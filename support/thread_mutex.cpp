#include "support/thread_mutex.h"

ThreadMutex::ThreadMutex() = default;
ThreadMutex::~ThreadMutex() = default;

void ThreadMutex::Lock() { m_mutex.lock(); }

void ThreadMutex::Unlock() { m_mutex.unlock(); }
