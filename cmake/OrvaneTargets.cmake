# Flags live on one interface target; every target of ours links it.
add_library(orvane_flags INTERFACE)
target_compile_options(orvane_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
  # A constructor's parameter may have the name of the field it fills; GCC has to be told so.
  $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>
  # The same samples on every processor: no silent fused multiply-add.
  -ffp-contract=off)
if(ORVANE_WERROR)
  target_compile_options(orvane_flags INTERFACE -Werror)
endif()
if(ORVANE_SANITIZE)
  target_compile_options(orvane_flags INTERFACE -fsanitize=${ORVANE_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(orvane_flags INTERFACE -fsanitize=${ORVANE_SANITIZE})
  # Sanitizers cannot follow the choice of a function version at start.
  target_compile_definitions(orvane_flags INTERFACE ORVANE_NO_MULTIVERSION)
endif()
find_program(ORVANE_MOLD mold)
if(ORVANE_MOLD)
  target_link_options(orvane_flags INTERFACE -fuse-ld=mold)
endif()

# With ORVANE_UNITY several files of a target are compiled as one. Files whose local names meet those of others stay alone.
function(orvane_unity target)
  if(ORVANE_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
endfunction()

# orvane_add_library(folder DEPENDS target... [ALONE source...])
# One static library per folder, its rooms (subfolders) included. The folder is the only thing its include path opens, so that a header
# of a folder that is not among DEPENDS (or their dependencies) cannot be included.
function(orvane_add_library name)
  cmake_parse_arguments(arg "" "" "DEPENDS;ALONE" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  set(include_root ${PROJECT_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${include_root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_root}/${name} SYMBOLIC)
  if(sources)
    add_library(orvane_${name} STATIC ${sources})
    orvane_unity(orvane_${name} ${arg_ALONE})
    target_include_directories(orvane_${name} PUBLIC ${include_root})
    target_link_libraries(orvane_${name} PUBLIC ${arg_DEPENDS} PRIVATE orvane_flags)
  else()
    add_library(orvane_${name} INTERFACE)
    target_include_directories(orvane_${name} INTERFACE ${include_root})
    target_link_libraries(orvane_${name} INTERFACE ${arg_DEPENDS})
  endif()
endfunction()

# orvane_add_test(name DEPENDS target... [ALONE source...]): the test program of tests/<name>, every test a ctest case.
function(orvane_add_test name)
  cmake_parse_arguments(arg "" "" "DEPENDS;ALONE" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
  if(sources)
    add_executable(test_${name} ${sources})
    orvane_unity(test_${name} ${arg_ALONE})
    target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support ${PROJECT_SOURCE_DIR}/tests/oracle)
    target_compile_definitions(test_${name} PRIVATE ORVANE_TESTS_DIR="${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(test_${name} PRIVATE ${arg_DEPENDS} test_support orvane_flags GTest::gtest_main)
    gtest_discover_tests(test_${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 240)
  endif()
endfunction()
