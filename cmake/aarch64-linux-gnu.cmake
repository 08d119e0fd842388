# Cross-build for 64-bit Arm with Debian's cross compiler, against the :arm64 library packages
# installed beside the host's (dpkg multiarch). Tests run under qemu-user, and so does every
# binary a test starts itself.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
find_program(ZENTH_QEMU_AARCH64 qemu-aarch64 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${ZENTH_QEMU_AARCH64})
