# Where things are found and where they are installed.
#
#   lib/quorin-intrusion-prevention/quorin-intrusion-prevention.so    the module, in a folder of its own: servers load it
#                                                                     by path, programs do not link to it
#   include/transapi/                                                 the server contract
#   share/quorin-intrusion-prevention/yang/                           the YANG module
#   share/quorin-intrusion-prevention/signature-catalogue.txt         the emulated device's signatures
#   bin/qn-ips                                                        the stand-alone host

set(QN_IPS_INSTALL_MODULEDIR "${CMAKE_INSTALL_LIBDIR}/${PROJECT_NAME}")
set(QN_IPS_INSTALL_YANGDIR "${CMAKE_INSTALL_DATADIR}/${PROJECT_NAME}/yang")
set(QN_IPS_YANG_DIR "${PROJECT_SOURCE_DIR}/yang")
set(QN_IPS_INSTALL_DATADIR "${CMAKE_INSTALL_DATADIR}/${PROJECT_NAME}")
set(QN_IPS_CATALOGUE "${PROJECT_SOURCE_DIR}/data/signature-catalogue.txt")

find_path(
    QN_IPS_IETF_YANG_DIR "ietf-netconf@2011-06-01.yang"
    PATHS /usr/share/yuma/modules/ietf /usr/local/share/yuma/modules/ietf
    DOC "Folder of the IETF's YANG modules" NO_DEFAULT_PATH REQUIRED)

# The program's built-in defaults ("build_paths.h").
option(QN_IPS_INSTALLED_PATHS "Let qn-ips look for the module where it is installed instead of in the build tree" OFF)
set(installed_yang_dir "${CMAKE_INSTALL_FULL_DATADIR}/${PROJECT_NAME}/yang")
if(QN_IPS_INSTALLED_PATHS)
    set(QN_IPS_DEFAULT_MODULE "${CMAKE_INSTALL_FULL_LIBDIR}/${PROJECT_NAME}/${PROJECT_NAME}.so")
    set(QN_IPS_DEFAULT_YANG_PATH "${installed_yang_dir}:${QN_IPS_IETF_YANG_DIR}")
    set(QN_IPS_DEFAULT_CATALOGUE "${CMAKE_INSTALL_FULL_DATADIR}/${PROJECT_NAME}/signature-catalogue.txt")
else()
    set(QN_IPS_DEFAULT_MODULE "${PROJECT_BINARY_DIR}/transapi/${PROJECT_NAME}.so")
    set(QN_IPS_DEFAULT_YANG_PATH "${QN_IPS_YANG_DIR}:${installed_yang_dir}:${QN_IPS_IETF_YANG_DIR}")
    set(QN_IPS_DEFAULT_CATALOGUE "${QN_IPS_CATALOGUE}")
endif()
