# One library target a folder. The links between the targets are the architecture: an arrow that docs/architecture.md does not draw is not
# written here either, so that a wrong include fails to link.

add_library(vmlib_options INTERFACE)
target_compile_options(vmlib_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion)
# g++ 12 drops the first value of a small object that is assigned in a try block when the call that gives the new value throws: what is read
# behind the catch is then whatever the stack held. Dead store elimination does it.
target_compile_options(vmlib_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-tree-dse>)
if(VMLIB_SANITIZE)
  target_compile_options(vmlib_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vmlib_options INTERFACE -fsanitize=address,undefined)
endif()

# vmlib_library(name [FOLDER folder] [PUBLIC targets...] [PRIVATE targets...])
# Builds every source of the folder (of src/<name> unless named) into vmlib::<name>.
function(vmlib_library name)
  cmake_parse_arguments(ARG "" "FOLDER" "PUBLIC;PRIVATE" ${ARGN})
  if(NOT ARG_FOLDER)
    set(ARG_FOLDER ${name})
  endif()
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${ARG_FOLDER}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_library(vmlib_${name} STATIC ${sources})
  add_library(vmlib::${name} ALIAS vmlib_${name})
  target_include_directories(vmlib_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(vmlib_${name} PUBLIC ${ARG_PUBLIC} PRIVATE vmlib_options ${ARG_PRIVATE})
endfunction()

# vmlib_test(name [LABEL label] targets...) builds tests/<name>/*.cpp into test_<name> and tells CTest its cases.
function(vmlib_test name)
  cmake_parse_arguments(ARG "" "LABEL" "" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/${name}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(test_${name} ${sources})
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(test_${name} PRIVATE ${ARG_UNPARSED_ARGUMENTS} vmlib_options GTest::gmock_main)
  gtest_discover_tests(test_${name} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 LABELS "${ARG_LABEL}")
endfunction()
