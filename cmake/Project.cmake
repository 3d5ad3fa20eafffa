# What holds for every target of the host and the tests: language level, warnings, compiler cache. The plug-in brings its
# own settings (transapi/CMakeLists.txt), because it must also build without this project.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

find_program(QN_IPS_CCACHE_PROGRAM ccache)
mark_as_advanced(QN_IPS_CCACHE_PROGRAM)
if(QN_IPS_CCACHE AND QN_IPS_CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${QN_IPS_CCACHE_PROGRAM}")
endif()

# Carries the warnings of the host's code. Link it PRIVATE.
add_library(qn_ips_warnings INTERFACE)
target_compile_options(
    qn_ips_warnings
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wshadow
              -Wconversion
              -Wsign-conversion
              -Wold-style-cast
              $<$<BOOL:${QN_IPS_WERROR}>:-Werror>)

# qn_ips_add_library(<name> SOURCES <file>... [LINK <library>...] [LINK_PRIVATE <library>...])
#
# A static library of the host. Includes are written from the folder host/ ("server/change_set.h").
function(qn_ips_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK;LINK_PRIVATE")
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/host")
    target_link_libraries(${name} PUBLIC ${arg_LINK} PRIVATE ${arg_LINK_PRIVATE} qn_ips_warnings)
endfunction()

# What a module leaves undefined and its server provides.
set(QN_IPS_SERVER_SYMBOLS
    g_product_name_for_dp
    transapi_comm_with_zell
    api_script_cache_lines
    fail_nc_err
    get_node_content
    transapi_transform_op
    priority_transapi_find_parent_op_by_xmldiff
    priority_transapi_find_parent_children_op_by_xmldiff
    priority_transapi_find_bro_op_by_xmldiff
    priority_transapi_find_parent_key_node_content
    SOS_Free
    custom_init
    custom_free
    custom_changed
    custom_rollback
    custom_lock
    custom_unlock
    custom_getconfig
    custom_copyconfig
    custom_deleteconfig
    custom_editconfig
    memcpy_s
    memset_s
    strncpy_s
    snprintf_s)

# qn_ips_serve_modules(<target>)
#
# For a program that loads modules: every service stays in the program, although nothing in it may call the service, and
# is visible to what it loads. The link fails when one is missing.
function(qn_ips_serve_modules target)
    set_target_properties(${target} PROPERTIES ENABLE_EXPORTS ON)
    list(TRANSFORM QN_IPS_SERVER_SYMBOLS PREPEND "LINKER:--require-defined=" OUTPUT_VARIABLE flags)
    target_link_options(${target} PRIVATE ${flags})
    target_link_libraries(${target} PRIVATE ${CMAKE_DL_LIBS})
endfunction()
