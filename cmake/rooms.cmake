# A room is a folder of small files, one thought each. Rooms are globbed so that a new thought needs
# no second edit; CONFIGURE_DEPENDS makes the build notice it.

# corvessa_rooms(target folder…): adds every .cpp of the folders to the target.
function(corvessa_rooms target)
  foreach(folder IN LISTS ARGN)
    file(GLOB room_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    target_sources(${target} PRIVATE ${room_sources})
  endforeach()
endfunction()

# corvessa_tests(name folder libraries…): one test program of a folder's *_test.cpp, registered with
# CTest test by test.
function(corvessa_tests name folder)
  file(GLOB test_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  add_executable(${name} ${test_sources})
  target_link_libraries(${name} PRIVATE ${ARGN} corvessa_test_support GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} TEST_PREFIX "${folder}." DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()
