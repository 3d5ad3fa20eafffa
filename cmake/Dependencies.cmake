# Libraries from the distribution. All of them count as system headers, so their code raises no warnings here.

find_package(LibXml2 REQUIRED)
find_package(fmt REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(SQLite3 REQUIRED)
find_package(spdlog REQUIRED)
find_package(tomlplusplus REQUIRED)
find_package(Threads REQUIRED)

find_package(PkgConfig REQUIRED)
pkg_check_modules(libyang REQUIRED IMPORTED_TARGET "libyang>=2.1" "libyang<3")
pkg_check_modules(libedit REQUIRED IMPORTED_TARGET libedit)
pkg_check_modules(libnetconf2 REQUIRED IMPORTED_TARGET "libnetconf2>=2.0" "libnetconf2<3")
pkg_check_modules(libssh REQUIRED IMPORTED_TARGET libssh)
pkg_check_modules(openssl REQUIRED IMPORTED_TARGET openssl) # libnetconf2's headers include its headers
pkg_check_modules(libcrypt REQUIRED IMPORTED_TARGET libcrypt)

# A large edit takes and returns millions of small blocks; with the C library's allocator its time grows faster than the
# edit. The sanitizers bring an allocator of their own. No symbol is named in the code, so the linker is asked for one.
add_library(qn_ips_allocator INTERFACE)
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    find_package(mimalloc 2.0 REQUIRED)
    target_link_libraries(qn_ips_allocator INTERFACE mimalloc)
    target_link_options(qn_ips_allocator INTERFACE "LINKER:--undefined=mi_version")
endif()

if(BUILD_TESTING OR QN_IPS_BUILD_FUZZ OR QN_IPS_BUILD_BENCH)
    find_package(GTest REQUIRED)
endif()
if(QN_IPS_BUILD_BENCH)
    find_package(benchmark REQUIRED)
endif()
