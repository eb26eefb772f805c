# Build helpers shared by every folder.
#
# Each source folder is one static library whose sources are the .cpp files of that folder; the
# platform folder takes those of the implementation folder of the target system. Test folders become one
# GoogleTest executable each, made of their *_test.cpp files.

# halcyra_add_library(NAME [SOURCES files... | FOLDERS folders...] [DEPS targets...])
# A static library of the given sources, or else of the .cpp files in the calling folder and in the
# named sub-folders.
function(halcyra_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;FOLDERS;DEPS" ${ARGN})
  set(sources ${ARG_SOURCES})
  if(NOT sources)
    set(patterns ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    foreach(folder ${ARG_FOLDERS})
      list(APPEND patterns ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    endforeach()
    file(GLOB sources CONFIGURE_DEPENDS ${patterns})
  endif()
  add_library(${name} STATIC ${sources})
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
    set(HALCYRA_GTEST_MAIN gtest_main)
  else()
    find_package(GTest REQUIRED)
    set(HALCYRA_GTEST_TARGETS GTest::gtest GTest::gmock)
    set(HALCYRA_GTEST_MAIN GTest::gtest_main)
  endif()
endif()

# halcyra_add_test_suite(NAME [DEPS targets...] [SOURCES extra...] [TIMEOUT seconds] [CUSTOM_MAIN])
# One executable of every *_test.cpp in the calling folder, registered as one CTest test. It uses
# GoogleTest's main unless CUSTOM_MAIN says that one of its sources brings its own.
function(halcyra_add_test_suite name)
  cmake_parse_arguments(ARG "CUSTOM_MAIN" "TIMEOUT" "DEPS;SOURCES" ${ARGN})
  file(GLOB tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*_test.cpp)
  add_executable(${name} ${tests} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} ${HALCYRA_GTEST_TARGETS} halcyra_test_support Threads::Threads)
  if(NOT ARG_CUSTOM_MAIN)
    target_link_libraries(${name} PRIVATE ${HALCYRA_GTEST_MAIN})
  endif()
  add_test(NAME ${name} COMMAND ${name} --gtest_color=no)
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 600)
  endif()
  # A suite that forgets to choose a throwaway registry folder of its own still never touches the
  # developer's registry: every suite starts in a folder of the build tree.
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT}
                       ENVIRONMENT "HALCYRA_REGISTRY_ROOT=${CMAKE_BINARY_DIR}/test-registry/${name}")
endfunction()
