# A room is a folder of small files, one thought each. Rooms are globbed so that a new thought needs
# no second edit; CONFIGURE_DEPENDS makes the build notice it.

option(CORVESSA_PRECOMPILE "Precompile the standard headers: faster, but hides a missing include" OFF)

# The standard headers that nearly every file of the house uses.
function(corvessa_precompile target)
  if(CORVESSA_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE <algorithm> <cstdint> <functional> <map> <memory>
      <optional> <string> <string_view> <utility> <vector> ${ARGN})
  endif()
endfunction()

# corvessa_rooms(target folder…): adds every .cpp of the folders to the target.
function(corvessa_rooms target)
  foreach(folder IN LISTS ARGN)
    file(GLOB room_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    target_sources(${target} PRIVATE ${room_sources})
  endforeach()
  corvessa_precompile(${target})
endfunction()

# corvessa_layer(target ROOMS folder… ON layer…): the rooms of one layer. A program of the layer and
# those below it is linked, too, which fails when the layer reaches up.
function(corvessa_layer target)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "" "ROOMS;ON")
  add_library(${target} STATIC)
  corvessa_rooms(${target} ${layer_ROOMS})
  target_include_directories(${target} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${target} PUBLIC ${layer_ON})
  file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/alone.cpp CONTENT "int main() {}\n")
  add_executable(${target}_alone ${CMAKE_CURRENT_BINARY_DIR}/alone.cpp)
  target_link_libraries(${target}_alone PRIVATE $<LINK_LIBRARY:WHOLE_ARCHIVE,${target}>)
endfunction()

# corvessa_tests(name folder libraries…): one test program of a folder's *_test.cpp, registered with
# CTest test by test.
function(corvessa_tests name folder)
  file(GLOB test_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  add_executable(${name} ${test_sources})
  target_link_libraries(${name} PRIVATE ${ARGN} corvessa_core GTest::gmock GTest::gtest_main)
  corvessa_precompile(${name} <gmock/gmock.h> <gtest/gtest.h>)
  gtest_discover_tests(${name} TEST_PREFIX "${folder}." DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
