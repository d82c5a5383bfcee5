# Install rules: `cmake --install BUILD --prefix P` lays out
#   P/lib/libTQBaseKit.a, libTQBaseKit.so -> .so.0.2 -> .so.0.2.0
#   P/include/tq/...               the public headers and the generated tq/Version.h
#   P/bin/tqkit
#   P/lib/cmake/TQBaseKit/         the CMake package (find_package(TQBaseKit 0.2))
#   P/lib/pkgconfig/tqbasekit.pc   the pkg-config file
# (lib is CMAKE_INSTALL_LIBDIR: lib/<multiarch> for a /usr prefix on Debian.)
# Two components, as a distribution splits them: Runtime (the shared library
# and tqkit) and Development (the rest).
include(CMakePackageConfigHelpers)
include(${PROJECT_SOURCE_DIR}/cmake/PublicHeaders.cmake)

set(TQ_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/TQBaseKit)

install(TARGETS TQBaseKit TQBaseKitShared
  EXPORT TQBaseKitTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)

# Public headers keep their place below tq/; the include root is P/include.
tq_public_headers(${PROJECT_SOURCE_DIR} TQ_PUBLIC_HEADERS)
foreach(header IN LISTS TQ_PUBLIC_HEADERS)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/${header}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder} COMPONENT Development)
endforeach()
install(FILES ${TQ_GENERATED_INCLUDE_DIR}/tq/Version.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tq COMPONENT Development)

# tqkit's install rule lives beside it, in tools/tqkit/CMakeLists.txt.

# The CMake package. While the major version is 0, a minor release may break
# the interface, so 0.2 accepts 0.2.x alone (SameMinorVersion), in step with
# the SONAME; from 1.0 on, releases of one major version are compatible
# (SameMajorVersion).
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(TQ_PACKAGE_COMPATIBILITY SameMinorVersion)
else()
  set(TQ_PACKAGE_COMPATIBILITY SameMajorVersion)
endif()
install(EXPORT TQBaseKitTargets
  NAMESPACE TQBaseKit::
  DESTINATION ${TQ_CMAKE_PACKAGE_DIR}
  COMPONENT Development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TQBaseKitConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/TQBaseKitConfig.cmake
  INSTALL_DESTINATION ${TQ_CMAKE_PACKAGE_DIR}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/TQBaseKitConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY ${TQ_PACKAGE_COMPATIBILITY})
install(FILES
  ${PROJECT_BINARY_DIR}/package/TQBaseKitConfig.cmake
  ${PROJECT_BINARY_DIR}/package/TQBaseKitConfigVersion.cmake
  DESTINATION ${TQ_CMAKE_PACKAGE_DIR}
  COMPONENT Development)

# The pkg-config file names the prefix given at install time (`cmake --install
# --prefix P` may differ from the CMAKE_INSTALL_PREFIX of the configure step),
# so it is written when installing, then installed like any other file.
set(TQ_PC_CFLAGS "")
if(TQ_BLOCK_ASSERTIONS)
  set(TQ_PC_CFLAGS " -DTQ_BLOCK_ASSERTIONS=1")
endif()
foreach(kind IN ITEMS LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(TQ_PC_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(TQ_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
set(TQ_PC_PREFIX "@TQ_PC_PREFIX@")  # filled in by the install step below
configure_file(${PROJECT_SOURCE_DIR}/cmake/tqbasekit.pc.in ${PROJECT_BINARY_DIR}/package/tqbasekit.pc.in @ONLY)
install(CODE "
  get_filename_component(TQ_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\" ABSOLUTE)
  configure_file(\"${PROJECT_BINARY_DIR}/package/tqbasekit.pc.in\" \"${PROJECT_BINARY_DIR}/package/tqbasekit.pc\" @ONLY)
  " COMPONENT Development)
install(FILES ${PROJECT_BINARY_DIR}/package/tqbasekit.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
