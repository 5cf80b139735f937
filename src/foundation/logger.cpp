#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "include/raiklaik.h"
#include "src/foundation/clock.h"
#include "support/postponed_cancellation.h"

namespace {

constexpr unsigned char kPrefixLevel = 3;

// Holds the mutex, and puts off the thread's cancellation meanwhile: the mutex of a canceled
// thread would never be free again where canceling runs no destructors.
class HeldMutex {
  public:
    explicit HeldMutex(ThreadMutex& mutex) : m_mutex(mutex) { m_mutex.Lock(); }
    ~HeldMutex() { m_mutex.Unlock(); }
    HeldMutex(const HeldMutex&) = delete;
    HeldMutex& operator=(const HeldMutex&) = delete;

  private:
    const support::PostponedCancellation m_postponed;
    ThreadMutex& m_mutex;
};

}  // namespace

CSIPTrunkLogger::CSIPTrunkLogger(const char* name)
    : m_stream(name, true, true, 2147483647, 1, 2048, false),
      m_clock{},
      m_lastSecond(0),
      m_prefixLength(0) {}

CSIPTrunkLogger::~CSIPTrunkLogger() = default;

std::string CSIPTrunkLogger::FormatTime() {
    char prefix[100] = {};
    const raiklaik::Moment now = raiklaik::ReadClock();
    // Where time_t has 32 bits, the members hold the seconds cut to these; the local time is made
    // from all bits.
    m_clock.time = static_cast<std::time_t>(now.seconds);
    m_clock.millitm = now.milliseconds;
    // Without a prefix made before, there is nothing to abbreviate, whatever second it is.
    if (m_clock.time == m_lastSecond && m_prefixLength > 0) {
        std::memset(prefix, ' ', static_cast<std::size_t>(m_prefixLength - 1));
        prefix[m_prefixLength - 1] = '.';
    } else {
        m_lastSecond = m_clock.time;
        const struct tm local = raiklaik::LocalTime(now.seconds);
        m_prefixLength =
            static_cast<std::int32_t>(std::strftime(prefix, sizeof(prefix), "%H:%M:%S.", &local));
    }
    (void)std::snprintf(prefix + m_prefixLength,
                        sizeof(prefix) - static_cast<std::size_t>(m_prefixLength), "%03hu  ",
                        m_clock.millitm);
    return prefix;
}

void CSIPTrunkLogger::TRACE(unsigned char level, const char* format, ...) {
    const HeldMutex held(m_mutex);
    m_stream.TRACE(kPrefixLevel, "%s", FormatTime().c_str());
    va_list arguments;
    va_start(arguments, format);
    try {
        m_stream.TRACE(level, format, arguments, 0);
    } catch (...) {
        va_end(arguments);
        m_stream.TRACE(level, "\n");  // the prefix is not left for the next line
        throw;
    }
    va_end(arguments);
    m_stream.Flush();
}
