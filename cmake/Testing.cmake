# qn_ips_add_test(<name> SOURCES <file>... [LIBS <library>...] [LOADS_MODULES] [OPTIMISED])
#
# A GoogleTest program, which is one test of CTest. (A process for each of its tests takes a hundred times as long: under
# the sanitizers starting the program costs far more than a test.) It leaves its report in reports/<name>.xml of the build
# folder, from which tools/test.sh counts the single tests. LOADS_MODULES makes the program a server that a module can be
# loaded into; OPTIMISED is for one whose own code would take too long as it stands.
#
# Compile definitions: QN_IPS_YANG_DIR and QN_IPS_IETF_YANG_DIR (YANG modules), QN_IPS_TEST_DATA (the folder of the
# calling CMakeLists.txt).
function(qn_ips_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "LOADS_MODULES;OPTIMISED" "" "SOURCES;LIBS")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest_main qn_ips_warnings)
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_compile_definitions(
        ${name}
        PRIVATE QN_IPS_YANG_DIR="${QN_IPS_YANG_DIR}" QN_IPS_IETF_YANG_DIR="${QN_IPS_IETF_YANG_DIR}"
                QN_IPS_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}")
    # Reading GoogleTest's headers is a good part of compiling a test.
    target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
    # With the sanitizers, optimising a test's own code takes longer than running it as it is.
    if(NOT arg_OPTIMISED)
        target_compile_options(${name} PRIVATE -O0)
    endif()
    if(arg_LOADS_MODULES)
        qn_ips_serve_modules(${name})
    endif()
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1 "--gtest_output=xml:${PROJECT_BINARY_DIR}/reports/${name}.xml")
    set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()
