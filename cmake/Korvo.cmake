# korvo_library(name DEPS...): one small library per subsystem folder; sources are
# the folder's .cpp/.h files so that adding a class needs no list edit.
# EXCLUDE <subfolder>... leaves out subfolders that are libraries of their own.
function(korvo_library name)
  cmake_parse_arguments(KL "" "" "EXCLUDE" ${ARGN})
  file(GLOB_RECURSE _src CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  list(FILTER _src EXCLUDE REGEX "/CMakeFiles/")
  foreach(_dir IN LISTS KL_EXCLUDE)
    list(FILTER _src EXCLUDE REGEX "^${CMAKE_CURRENT_SOURCE_DIR}/${_dir}/")
  endforeach()
  if(NOT _src MATCHES "\\.cpp")
    # A folder whose classes have not arrived yet.
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${KL_UNPARSED_ARGUMENTS})
    return()
  endif()
  add_library(${name} STATIC ${_src})
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${KL_UNPARSED_ARGUMENTS})
endfunction()

# korvo_test(name LIB [LIB...]): tests/<folder>/<name>.cpp as a CTest test linked
# against the library under test and the test support library.
function(korvo_test name)
  cmake_parse_arguments(KT "" "" "FIXTURES;LABELS" ${ARGN})
  add_executable(${name} ${CMAKE_CURRENT_SOURCE_DIR}/${name}.cpp)
  target_link_libraries(${name} PRIVATE ${KT_UNPARSED_ARGUMENTS} korvo_testsupport Qt6::Test)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;KORVO_TEST_TMP=${CMAKE_BINARY_DIR}/testtmp"
    TIMEOUT 300)
  if(KT_FIXTURES)
    set_tests_properties(${name} PROPERTIES FIXTURES_REQUIRED "${KT_FIXTURES}")
  endif()
  if(KT_LABELS)
    set_tests_properties(${name} PROPERTIES LABELS "${KT_LABELS}")
  endif()
endfunction()
