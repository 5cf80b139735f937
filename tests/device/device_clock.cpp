// Sets the machine's clock, for script/device: the date of its busybox ends in 2038.
//
// usage: device_clock SECONDS    since 1970

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: device_clock SECONDS\n";
        return 2;
    }
#ifdef SYS_clock_settime64
    const long call = SYS_clock_settime64;
#else
    const long call = SYS_clock_settime;
#endif
    const std::int64_t secondsAndNanoseconds[] = {std::atoll(argv[1]), 0};
    return syscall(call, CLOCK_REALTIME, secondsAndNanoseconds) == 0 ? 0 : 1;
}
