# Cross-compiles for 64-bit Windows: for tests on machines whose Wine runs nothing else.
set(CORVESSA_WINDOWS_TARGET x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/windows-toolchain.cmake)
