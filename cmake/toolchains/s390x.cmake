# Programs for s390x under Linux, run by an emulator: its numbers begin with their highest byte.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_C_COMPILER s390x-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER s390x-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x)
# Where the loader and the libraries lie; the emulator's own way to them would show another root directory.
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,--dynamic-linker=/usr/s390x-linux-gnu/lib/ld64.so.1 -Wl,--disable-new-dtags,-rpath,/usr/s390x-linux-gnu/lib")
