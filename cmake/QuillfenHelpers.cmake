# qf_add_test(NAME tst_foo SOURCES tst_foo.cpp LIBS qfkit [DATA_DIR dir])
# One Qt Test executable per class, registered with CTest. Tests find their
# fixtures through QFINDTESTDATA, which looks beside the source file; the
# shared corpora folder is passed in as QF_CORPORA_DIR.
function(qf_add_test)
  cmake_parse_arguments(T "" "NAME" "SOURCES;LIBS" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES} ${PROJECT_SOURCE_DIR}/tests/testenvironment.cpp)
  target_link_libraries(${T_NAME} PRIVATE Qt6::Test ${T_LIBS})
  target_compile_definitions(${T_NAME} PRIVATE
    QF_CORPORA_DIR="${PROJECT_SOURCE_DIR}/../shared/corpora"
    QF_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
    QF_BINARY_DIR="${PROJECT_BINARY_DIR}"
    QF_BLOG_BUNDLE_PATH="${PROJECT_BINARY_DIR}/plugins/Blog.qfplugin")
  if(TARGET blog_bundle)
    add_dependencies(${T_NAME} blog_bundle)
  endif()
  # The time zone, locale and platform are set by the test itself
  # (tests/testenvironment.cpp), not here, so a test run by hand agrees.
  add_test(NAME ${T_NAME} COMMAND ${T_NAME})
  set_tests_properties(${T_NAME} PROPERTIES TIMEOUT 600)
endfunction()

# qf_add_fuzzer(NAME fuzz_foo SOURCES fuzz_foo.cpp LIBS qfkit)
# With QF_FUZZ=ON (clang) the target is a libFuzzer binary. Otherwise it is
# linked with a small driver that replays the seed corpus, and CTest runs that
# replay so every decoder is exercised on every build.
function(qf_add_fuzzer)
  cmake_parse_arguments(F "" "NAME" "SOURCES;LIBS" ${ARGN})
  add_executable(${F_NAME} ${F_SOURCES})
  target_link_libraries(${F_NAME} PRIVATE ${F_LIBS})
  if(QF_FUZZ)
    target_compile_options(${F_NAME} PRIVATE -fsanitize=fuzzer,address,undefined)
    target_link_options(${F_NAME} PRIVATE -fsanitize=fuzzer,address,undefined)
  else()
    target_sources(${F_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/fuzz/replaymain.cpp)
    if(QF_BUILD_TESTS)
      add_test(NAME ${F_NAME}_replay
               COMMAND ${F_NAME} ${PROJECT_SOURCE_DIR}/fuzz/corpus/${F_NAME})
    endif()
  endif()
endfunction()

# Adds one test per tst_*.cpp file below the calling folder.
function(qf_add_tests_in_folder)
  cmake_parse_arguments(T "" "" "LIBS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tst_*.cpp)
  foreach(src ${sources})
    get_filename_component(name ${src} NAME_WE)
    qf_add_test(NAME ${name} SOURCES ${src} LIBS ${T_LIBS})
  endforeach()
endfunction()
