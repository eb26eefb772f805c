# Build helpers shared by every folder.
#
# Each source folder is one static library whose sources are the .cpp files of that folder; the
# platform folder adds the implementation folder of the target system. Test folders become one
# GoogleTest executable each, made of their *_test.cpp files.

# halcyra_add_library(NAME FOLDER_SOURCES... [DEPS targets...])
function(halcyra_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  if(ARG_DEPS)
    target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  endif()
endfunction()

find_package(Threads REQUIRED)

if(HALCYRA_BUILD_TESTS)
  if(CMAKE_CROSSCOMPILING)
    # The cross build compiles GoogleTest from the Debian sources for the target.
    set(gtest_force_shared_crt OFF CACHE BOOL "" FORCE)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
    set(HALCYRA_GTEST_TARGETS gtest gmock)
  else()
    find_package(GTest REQUIRED)
    set(HALCYRA_GTEST_TARGETS GTest::gtest GTest::gmock)
  endif()
endif()

# halcyra_add_test_suite(NAME [DEPS targets...] [TIMEOUT seconds])
# One executable of every *_test.cpp in the calling folder, registered as one CTest test.
function(halcyra_add_test_suite name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "DEPS;SOURCES" ${ARGN})
  file(GLOB tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*_test.cpp)
  add_executable(${name} ${tests} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} ${HALCYRA_GTEST_TARGETS} halcyra_test_support Threads::Threads)
  add_test(NAME ${name} COMMAND ${name} --gtest_color=no)
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 600)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()
