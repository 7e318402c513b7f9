# Our flags, and one function per kind of target. A library exports nothing but its own folder, under the name of that
# folder: `#include "speech/AudioRecorder.h"` compiles only in targets that link Tallow::speech.

add_library(tallowfern_flags INTERFACE)
target_compile_options(tallowfern_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wold-style-cast -Wnon-virtual-dtor -Wshadow -Werror)
target_compile_definitions(tallowfern_flags INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS)
if(TALLOWFERN_SANITIZE)
  add_compile_options(-fsanitize=${TALLOWFERN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TALLOWFERN_SANITIZE})
endif()

# tallow_library(NAME [FOLDER path below src] SOURCES … LINKS …): static library Tallow::NAME.
function(tallow_library name)
  cmake_parse_arguments(LIB "" "FOLDER" "SOURCES;LINKS" ${ARGN})
  if(NOT LIB_FOLDER)
    set(LIB_FOLDER ${name})
  endif()
  set(root ${CMAKE_BINARY_DIR}/include/${name})
  get_filename_component(parent ${root}/${LIB_FOLDER} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${LIB_FOLDER} ${root}/${LIB_FOLDER} SYMBOLIC)
  add_library(tallow_${name} STATIC ${LIB_SOURCES})
  add_library(Tallow::${name} ALIAS tallow_${name})
  target_include_directories(tallow_${name} PUBLIC ${root})
  target_link_libraries(tallow_${name} PUBLIC ${LIB_LINKS} PRIVATE tallowfern_flags)
endfunction()

# tallow_test(NAME SOURCES … LINKS …): a GoogleTest program on the event loop of tests/support, label "unit".
function(tallow_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE ${TEST_LINKS} Tallow::test_support tallowfern_flags)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 60 LABELS unit)
endfunction()
