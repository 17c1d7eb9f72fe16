# Installation in two components, `runtime` (the shared library) and `dev`
# (headers, link name, CMake and pkg-config files, the simulator), and the
# CPack settings that make one .deb of each.
include(CMakePackageConfigHelpers)

install(TARGETS api_cpp EXPORT api_cppTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/include/zq_version.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
if(TARGET zq_sim)
  install(TARGETS zq_sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT dev)
endif()

set(ZQ_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/api_cpp)
install(EXPORT api_cppTargets NAMESPACE api_cpp:: DESTINATION ${ZQ_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(cmake/api_cppConfig.cmake.in ${PROJECT_BINARY_DIR}/api_cppConfig.cmake
  INSTALL_DESTINATION ${ZQ_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/api_cppConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/api_cppConfig.cmake ${PROJECT_BINARY_DIR}/api_cppConfigVersion.cmake
  DESTINATION ${ZQ_CMAKE_DIR} COMPONENT dev)

# pkg-config: the prefix is found from the .pc file's own place, so a moved
# install (cmake --install --prefix, a package) stays right.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  message(FATAL_ERROR "api_cpp.pc needs a relative CMAKE_INSTALL_LIBDIR")
endif()
file(RELATIVE_PATH ZQ_PC_TO_PREFIX /x/${CMAKE_INSTALL_LIBDIR}/pkgconfig /x)
string(REGEX REPLACE "/$" "" ZQ_PC_TO_PREFIX "${ZQ_PC_TO_PREFIX}")
set(ZQ_PC_REQUIRES libcjson)
if(WIN32)  # api_cpp.dll carries cJSON
  set(ZQ_PC_REQUIRES "")
endif()
configure_file(cmake/api_cpp.pc.in ${PROJECT_BINARY_DIR}/api_cpp.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/api_cpp.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

install(FILES LICENSE CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

# cpack -G DEB: libapi-cpp1 and libapi-cpp-dev.
set(CPACK_PACKAGE_NAME api-cpp)
set(CPACK_PACKAGE_VENDOR "api_cpp developers")
set(CPACK_PACKAGE_CONTACT "api_cpp developers <api-cpp@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Client library of 6- and 7-joint robot arm controllers")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libapi-cpp1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libapi-cpp-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libapi-cpp1 (= ${PROJECT_VERSION}), libcjson-dev")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Shared library of api_cpp")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Headers, CMake and pkg-config files of api_cpp, and the controller simulator")
# Windows: one ZIP, bin/ (api_cpp.dll, zq_sim.exe), lib/ (import libraries,
# package files), include/.
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGING_INSTALL_PREFIX "")
  set(CPACK_SYSTEM_NAME win64)
endif()
include(CPack)
