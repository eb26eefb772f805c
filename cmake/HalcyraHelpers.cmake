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

if(HALCYRA_BUILD_TESTS AND NOT CMAKE_CROSSCOMPILING)
  include(GoogleTest)
endif()

# Every test runs on a throwaway registry: CTest hands it HALCYRA_REGISTRY_ROOT, a folder of the build
# tree of its own (`folder`), so that no test, whatever it does, reaches the developer's registry.
function(halcyra_registry_root_of folder out)
  set(${out} "HALCYRA_REGISTRY_ROOT=${CMAKE_BINARY_DIR}/test-registry/${folder}" PARENT_SCOPE)
endfunction()

# halcyra_add_test(NAME name COMMAND command... [REGISTRY folder])
# add_test for the tests that are not GoogleTest suites, with the throwaway registry folder `folder`
# (the test's name unless given). The tests folder refuses a bare add_test.
function(halcyra_add_test)
  cmake_parse_arguments(ARG "" "NAME;REGISTRY" "COMMAND" ${ARGN})
  if(NOT ARG_REGISTRY)
    set(ARG_REGISTRY ${ARG_NAME})
  endif()
  add_test(NAME ${ARG_NAME} COMMAND ${ARG_COMMAND})
  halcyra_registry_root_of(${ARG_REGISTRY} environment)
  set_tests_properties(${ARG_NAME} PROPERTIES ENVIRONMENT "${environment}")
endfunction()

# halcyra_add_test_suite(NAME [DEPS targets...] [SOURCES extra...] [TIMEOUT seconds] [CUSTOM_MAIN]
#                        [LOCK resource])
# One executable of every *_test.cpp in the calling folder. Natively each of its tests is a CTest test
# of its own, named <suite>.<TestSuite>.<Test>; the Windows build, whose programs run under Wine, which
# the build does not start, registers the whole suite as one test. It uses GoogleTest's main unless
# CUSTOM_MAIN says that one of its sources brings its own.
#
# The tests of one suite share its registry folder, emptied before the suite runs (the fixture test
# <suite>.registry), and run one after another, as they did in one process: each holds the lock named
# after the suite, or LOCK, a resource that the suite shares with other suites (a lock of several
# suites keeps the tests of each apart too). Different suites still run side by side.
function(halcyra_add_test_suite name)
  cmake_parse_arguments(ARG "CUSTOM_MAIN" "TIMEOUT;LOCK" "DEPS;SOURCES" ${ARGN})
  file(GLOB tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*_test.cpp)
  add_executable(${name} ${tests} ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/tests/support/registry_root_guard.cpp)
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} ${HALCYRA_GTEST_TARGETS} halcyra_test_support Threads::Threads)
  if(NOT ARG_CUSTOM_MAIN)
    target_link_libraries(${name} PRIVATE ${HALCYRA_GTEST_MAIN})
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 600)
  endif()
  if(NOT ARG_LOCK)
    set(ARG_LOCK ${name})
  endif()
  halcyra_registry_root_of(${name} environment)
  add_test(NAME ${name}.registry COMMAND ${CMAKE_COMMAND} -E rm -rf ${CMAKE_BINARY_DIR}/test-registry/${name})
  set_tests_properties(${name}.registry PROPERTIES FIXTURES_SETUP ${name}.registry)
  if(CMAKE_CROSSCOMPILING)
    add_test(NAME ${name} COMMAND ${name} --gtest_color=no)
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "${environment}"
                         FIXTURES_REQUIRED ${name}.registry RESOURCE_LOCK ${ARG_LOCK})
  else()
    gtest_discover_tests(${name} EXTRA_ARGS --gtest_color=no TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60
                         PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "${environment}"
                                    FIXTURES_REQUIRED ${name}.registry RESOURCE_LOCK ${ARG_LOCK})
  endif()
endfunction()

# halcyra_suite_starts(SUITE DEFINITION target [DEFINITION target]...)
# The suite starts these programs (or loads these libraries) of the build by file name from its own
# folder: each is built before the suite, and the code knows its file name as DEFINITION.
function(halcyra_suite_starts suite)
  set(pairs ${ARGN})
  while(pairs)
    list(POP_FRONT pairs definition target)
    add_dependencies(${suite} ${target})
    target_compile_definitions(${suite} PRIVATE ${definition}="$<TARGET_FILE_NAME:${target}>")
  endwhile()
endfunction()
