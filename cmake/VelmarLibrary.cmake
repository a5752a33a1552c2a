# velmar_library(<target> DEPS <targets...>)
# One folder, one library: every source below the calling folder belongs to it, so
# adding a file never means editing a build list. A sub-folder with a CMakeLists.txt of its
# own is a library of its own and left out. A folder without sources yet is an interface
# library, so that its dependents build all the same.
function(velmar_library target)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS
       ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  file(GLOB_RECURSE ownLists ${CMAKE_CURRENT_SOURCE_DIR}/*/CMakeLists.txt)
  foreach(ownList IN LISTS ownLists)
    get_filename_component(folder ${ownList} DIRECTORY)
    list(FILTER sources EXCLUDE REGEX "^${folder}/")
  endforeach()
  if(sources)
    add_library(${target} STATIC ${sources})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${target} PUBLIC ${ARG_DEPS})
  else()
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${target} INTERFACE ${ARG_DEPS})
  endif()
endfunction()

# velmar_test(<target> LIBS <targets...>)
# One test program per folder of tests/ (sub-folders with a CMakeLists.txt of their own are
# programs of their own), its cases registered one by one with CTest. EXTRA_SOURCES are compiled
# into the program itself, for a test that must not wait for the rest of its library.
function(velmar_test target)
  cmake_parse_arguments(ARG "" "" "LIBS;EXTRA_SOURCES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(APPEND sources ${ARG_EXTRA_SOURCES})
  if(NOT sources)
    return()
  endif()
  add_executable(${target} ${sources})
  target_link_libraries(${target} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  target_compile_definitions(${target} PRIVATE
    VELMAR_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
    VELMAR_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data"
    VELMAR_CORPUS="${PROJECT_SOURCE_DIR}/tests/corpus")
  gtest_discover_tests(${target} DISCOVERY_TIMEOUT 60 PROPERTIES LABELS unit)
endfunction()
