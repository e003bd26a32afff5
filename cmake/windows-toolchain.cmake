# What the toolchain files of both targets share. The compilers are those with POSIX threads: the
# others have no std::thread.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${CORVESSA_WINDOWS_TARGET})

set(triple ${CORVESSA_WINDOWS_TARGET}-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# Nothing of the build machine's own libraries, but what tools/windows-libraries.sh has built.
if(NOT CORVESSA_WINDOWS_LIBRARIES)
  set(CORVESSA_WINDOWS_LIBRARIES
      ${CMAKE_CURRENT_LIST_DIR}/../build/windows-libraries/${CORVESSA_WINDOWS_TARGET})
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CORVESSA_WINDOWS_LIBRARIES)
set(CMAKE_FIND_ROOT_PATH /usr/${triple} ${CORVESSA_WINDOWS_LIBRARIES})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The runtime libraries go into each program: there is no place for them on a user's machine.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# Tests run under Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tools/wine-run.sh)
