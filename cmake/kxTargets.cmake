# The shapes that every target of this project has: one shared library for each layer, one test program for each folder.

add_library(kxFlags INTERFACE)
target_include_directories(kxFlags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(kxFlags INTERFACE -Wall -Wextra -Wpedantic)
if(KXOPT_WERROR)
  target_compile_options(kxFlags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # What the sanitized pool passes through leaves members of it without use.
  target_compile_options(kxFlags INTERFACE -Wno-unused-private-field)
endif()
if(KXOPT_SANITIZE)
  target_compile_options(kxFlags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                         -fno-omit-frame-pointer)
  target_link_options(kxFlags INTERFACE -fsanitize=address,undefined)
endif()

# kx_library(NAME [DEPS...]): every .cpp of the current folder as one shared library. Shared, because the library and its
# plug-ins must see one registry of classes, one string pool and one set of object pools.
function(kx_library name)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_library(${name} SHARED ${sources})
  set_target_properties(${name} PROPERTIES PREFIX "" OUTPUT_NAME ${name})
  target_link_libraries(${name} PUBLIC kxFlags ${ARGN})
endfunction()

# kx_tests(LABEL FOLDER [DEPS...]): every *Test.cpp of tests/FOLDER as one program, its cases known to ctest under LABEL.
function(kx_tests label folder)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*Test.cpp)
  if(NOT sources)
    return()
  endif()
  string(REPLACE "/" "_" suffix ${folder})
  set(target kxTest_${suffix})
  add_executable(${target} ${sources})
  target_link_libraries(${target} PRIVATE ${ARGN} GTest::gtest GTest::gmock kxFlags)
  target_compile_definitions(${target} PRIVATE KXOPT_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
                             KXOPT_BINARY_DIR="${PROJECT_BINARY_DIR}")
  gtest_discover_tests(${target} PROPERTIES LABELS ${label} DISCOVERY_TIMEOUT 60)
endfunction()
