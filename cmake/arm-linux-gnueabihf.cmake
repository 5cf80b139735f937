# Cross build for 32-bit ARM with Debian's g++-arm-linux-gnueabihf; tests run under qemu-user.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)

# g++ would tell at each use that its calling convention changed with version 7.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
# The header-only libraries of the tool come from the build machine.
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
