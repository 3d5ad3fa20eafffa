# Run by ctest; see CMakeLists.txt for the variables.
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(require_file path)
    if(NOT EXISTS "${path}")
        message(FATAL_ERROR "not installed: ${path}")
    endif()
endfunction()

set(prefix "${scratch}/prefix")
file(REMOVE_RECURSE "${scratch}")
run("${CMAKE_COMMAND}" --install "${build_dir}" --prefix "${prefix}")
require_file("${prefix}/${libdir}/quorin-intrusion-prevention/quorin-intrusion-prevention.so")
require_file("${prefix}/share/quorin-intrusion-prevention/yang/quorin-intrusion-prevention.yang")
require_file("${prefix}/share/quorin-intrusion-prevention/signature-catalogue.txt")
require_file("${prefix}/include/transapi/transapi.h")
require_file("${prefix}/bin/qn-ips")

# The service: its settings are left alone once they are there, and its unit is one.
set(settings "${prefix}/etc/qn-ips/serve.toml")
require_file("${settings}")
file(WRITE "${settings}" "# changed\n")
run("${CMAKE_COMMAND}" --install "${build_dir}" --prefix "${prefix}")
file(READ "${settings}" text)
if(NOT text STREQUAL "# changed\n")
    message(FATAL_ERROR "${settings} was overwritten")
endif()
require_file("${prefix}/lib/systemd/system/qn-ips.service")
if(systemd_analyze)
    # The program stands in the unit where the build is to be installed, which is not here.
    file(READ "${prefix}/lib/systemd/system/qn-ips.service" unit)
    string(REGEX REPLACE "ExecStart=[^ ]*" "ExecStart=${prefix}/bin/qn-ips" unit "${unit}")
    file(WRITE "${scratch}/qn-ips.service" "${unit}")
    # Of what it does not understand it only tells.
    execute_process(COMMAND "${systemd_analyze}" verify --man=no "${scratch}/qn-ips.service" ERROR_VARIABLE complaints
                            RESULT_VARIABLE result)
    if(NOT result EQUAL 0 OR complaints MATCHES "qn-ips.service:")
        message(FATAL_ERROR "the unit is not valid: ${complaints}")
    endif()
endif()

# As a package is made: staged, with the prefix of the build. The settings are where the unit looks for them.
set(stage "${scratch}/stage")
run("${CMAKE_COMMAND}" -E env "DESTDIR=${stage}" "${CMAKE_COMMAND}" --install "${build_dir}")
file(GLOB_RECURSE units "${stage}/*/qn-ips.service")
file(READ "${units}" unit)
string(REGEX MATCH "--config ([^ \n]+)" ignored "${unit}")
require_file("${stage}${CMAKE_MATCH_1}")

# Through the CMake package.
run("${CMAKE_COMMAND}" -S "${consumer}" -B "${scratch}/consumer" "-DCMAKE_PREFIX_PATH=${prefix}"
    "-DCMAKE_C_COMPILER=${c_compiler}" "-DCMAKE_C_FLAGS=${c_flags}")
run("${CMAKE_COMMAND}" --build "${scratch}/consumer")
run("${CMAKE_COMMAND}" --build "${scratch}/consumer" --target run)

# Through pkg-config.
function(pkg_config out)
    execute_process(
        COMMAND "${CMAKE_COMMAND}" -E env "PKG_CONFIG_PATH=${prefix}/${libdir}/pkgconfig" "${pkg_config}" ${ARGN}
                quorin-intrusion-prevention
        OUTPUT_VARIABLE answer
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    set(${out} "${answer}" PARENT_SCOPE)
endfunction()

pkg_config(flags --cflags --libs)
pkg_config(moduledir --variable=moduledir)
pkg_config(yangdir --variable=yangdir)
require_file("${yangdir}/quorin-intrusion-prevention.yang")
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(sanitizers UNIX_COMMAND "${c_flags}")
run("${c_compiler}" ${sanitizers} -rdynamic "${consumer}/server.c" -o "${scratch}/by-pkg-config" ${flags} -ldl)
run("${scratch}/by-pkg-config" "${moduledir}/quorin-intrusion-prevention.so")
