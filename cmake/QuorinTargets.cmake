# How every target of this project is built: language level, warnings, sanitizers, and one
# function for each kind of target so that the CMakeLists of a module stay a list of files.

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

include(GNUInstallDirs)
include(GoogleTest)

set(QUORIN_SANITIZE "" CACHE STRING "Sanitizers for the whole build, as -fsanitize= takes them")
# On for those who write the code; off for those who build it with flags of their own.
option(CMAKE_COMPILE_WARNING_AS_ERROR "Warnings are errors" ON)
option(QUORIN_COVERAGE "Instrument for branch coverage" OFF)

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE}")
endif()

add_library(quorin_options INTERFACE)
target_compile_options(
  quorin_options
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wconversion
            -Wsign-conversion
            -Wshadow
            -Wnon-virtual-dtor
            -Wold-style-cast
            -Woverloaded-virtual)
# For modules that run on user actions, where memory counts and not speed.
set(QUORIN_SIZE_FIRST "$<$<NOT:$<CONFIG:Debug>>:-Os>")
# What a program does not use of its modules is not carried along.
add_compile_options(-ffunction-sections -fdata-sections)
add_link_options(LINKER:--gc-sections,-z,pack-relative-relocs)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # GCC 12's -Wnull-dereference finds what cannot be in the standard library once it optimises.
  target_compile_options(quorin_options INTERFACE -Wthread-safety -Wnull-dereference)
endif()
if(QUORIN_SANITIZE)
  add_compile_options(-fsanitize=${QUORIN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUORIN_SANITIZE})
  add_compile_definitions(QUORIN_SANITIZED) # its own allocator, and all is slow
endif()
if(QUORIN_COVERAGE)
  add_compile_options(--coverage)
  add_compile_definitions(NDEBUG) # an assertion is not a branch to cover
  add_link_options(--coverage)
endif()

# quorin_export(TARGET VISIBILITY): lets those who link TARGET include the headers of its folder, and
# of no other, as "module/thing.h". So a module can only include what it links.
function(quorin_export name visibility)
  cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY "${PROJECT_SOURCE_DIR}"
             OUTPUT_VARIABLE folder)
  string(REGEX REPLACE "^[^/]*/(.*)$" "\\1" folder "${folder}") # without src/, tools/ or tests/
  set(exported "${PROJECT_BINARY_DIR}/include/${name}")
  cmake_path(GET folder PARENT_PATH parent)
  file(MAKE_DIRECTORY "${exported}/${parent}")
  file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}" "${exported}/${folder}" SYMBOLIC)
  target_include_directories(${name} ${visibility} "${exported}")
endfunction()

# quorin_library(NAME SOURCES ... [PUBLIC libraries] [PRIVATE libraries])
# One module, or one layer of the platform. Sources include each other as "module/thing.h".
function(quorin_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  quorin_export(${name} PUBLIC)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE quorin_options ${ARG_PRIVATE})
endfunction()

# quorin_headers(NAME): a layer that is headers only.
function(quorin_headers name)
  add_library(${name} INTERFACE)
  quorin_export(${name} INTERFACE)
endfunction()

# quorin_program(NAME SOURCES ... [LIBRARIES ...])
# Every program answers --version with quorin::version(), so its library comes along.
function(quorin_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE quorin_options quorin_core ${ARG_LIBRARIES})
endfunction()

# How every test is compiled: all alike, as they share precompiled headers; with assertions; quickly,
# for it is the tested code whose speed counts.
function(quorin_test_options name)
  target_compile_options(${name} PRIVATE -UNDEBUG -fPIC $<$<NOT:$<CONFIG:Debug>>:-O1>)
endfunction()

# quorin_test(NAME SOURCES ... [LIBRARIES ...] [TIMEOUT seconds] [ALONE | SYSTEM] [AS_ONE])
# One GoogleTest program, whose cases are entries of ctest, or with AS_ONE the program itself. Labels
# for ctest -L: unit, system (other programs, real threads and devices) and slow (a longer TIMEOUT).
# ALONE is a system test that measures time, and keeps the processor free of others.
function(quorin_test name)
  cmake_parse_arguments(ARG "ALONE;SYSTEM;AS_ONE" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES} "${PROJECT_SOURCE_DIR}/tests/support/environment.cpp")
  quorin_test_options(${name})
  target_precompile_headers(${name} REUSE_FROM quorin_test_headers)
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE quorin_options ${ARG_LIBRARIES} GTest::gmock)
  set_target_properties(
    ${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests/bin")
  set(label unit)
  if(ARG_ALONE OR ARG_SYSTEM)
    set(label system)
  endif()
  if(ARG_TIMEOUT GREATER 120)
    set(label slow)
  endif()
  set(properties LABELS ${label} TIMEOUT ${ARG_TIMEOUT} RUN_SERIAL ${ARG_ALONE} SKIP_RETURN_CODE 77)
  if(ARG_AS_ONE)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES ${properties})
  else()
    gtest_discover_tests(
      ${name}
      TEST_PREFIX "${name}: "
      DISCOVERY_MODE PRE_TEST
      PROPERTIES ${properties})
  endif()
endfunction()
