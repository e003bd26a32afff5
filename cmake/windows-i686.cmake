# Cross-compiles for 32-bit Windows, the only kind that Outlook 9 to 11 are.
set(CORVESSA_WINDOWS_TARGET i686)
include(${CMAKE_CURRENT_LIST_DIR}/windows-toolchain.cmake)
