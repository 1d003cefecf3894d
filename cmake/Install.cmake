# What `cmake --install` and `cpack` ship to engine developers: the CMake package, the
# pkg-config file, the API reference and the Debian package's metadata.
include(CMakePackageConfigHelpers)

set(T3D_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/TrTheme3DBase)
set(T3D_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/trtheme3dbase)
set(T3D_PLUGIN_FILE ${T3D_INSTALL_PLUGINDIR}/TrTheme3DBase.t3d)

install(EXPORT TrTheme3DBaseTargets NAMESPACE TrTheme3DBase:: DESTINATION ${T3D_INSTALL_CMAKEDIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/package/TrTheme3DBaseConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/TrTheme3DBaseConfig.cmake INSTALL_DESTINATION ${T3D_INSTALL_CMAKEDIR}
  PATH_VARS T3D_PLUGIN_FILE T3D_INSTALL_PLUGINDIR)
# A host written against 1.x keeps working with any later 1.y
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TrTheme3DBaseConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TrTheme3DBaseConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/TrTheme3DBaseConfigVersion.cmake DESTINATION ${T3D_INSTALL_CMAKEDIR})

# pkg-config finds the prefix from where the file lies, so an installed tree can be moved
file(RELATIVE_PATH T3D_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" T3D_PC_TO_PREFIX "${T3D_PC_TO_PREFIX}")
set(T3D_PC_CFLAGS "-I\${includedir}")
foreach(lib TrBase TrToolkit TrStream TrGeometry TrScene)
  string(APPEND T3D_PC_CFLAGS " -I\${includedir}/Host/${lib}")
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/package/trtheme3dbase.pc.in
  ${CMAKE_CURRENT_BINARY_DIR}/trtheme3dbase.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/trtheme3dbase.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The guide and its examples travel with the package; Debian wants the changelog of a native
# package compressed under this name, and lintian reads the package's overrides from share/
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs/ DESTINATION ${T3D_INSTALL_DOCDIR}
  FILES_MATCHING PATTERN "*.md" PATTERN "*.cpp" PATTERN "*.h" PATTERN "CMakeLists.txt")
install(FILES ${CMAKE_CURRENT_LIST_DIR}/package/copyright DESTINATION ${T3D_INSTALL_DOCDIR})
find_program(T3D_GZIP gzip)
if(T3D_GZIP)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/package/changelog.in ${CMAKE_CURRENT_BINARY_DIR}/changelog @ONLY)
  set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
  add_custom_command(OUTPUT ${changelog}
    COMMAND ${T3D_GZIP} -9nc ${CMAKE_CURRENT_BINARY_DIR}/changelog > ${changelog}
    DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/changelog)
  add_custom_target(t3d_changelog ALL DEPENDS ${changelog})
  install(FILES ${changelog} DESTINATION ${T3D_INSTALL_DOCDIR})
endif()
install(FILES ${CMAKE_CURRENT_LIST_DIR}/package/lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides RENAME trtheme3dbase)

# API reference: Doxygen over the public headers, every warning an error
option(T3D_DOCS "Build the API reference with Doxygen (installed with the package)" OFF)
if(T3D_DOCS)
  find_package(Doxygen REQUIRED)
  set(T3D_DOXYGEN_INPUT "")
  foreach(dir Src/Theme3DBase Src/Host/TrBase Src/Host/TrToolkit Src/Host/TrStream Src/Host/TrGeometry Src/Host/TrScene)
    string(APPEND T3D_DOXYGEN_INPUT " \"${CMAKE_SOURCE_DIR}/${dir}\"")
  endforeach()
  string(APPEND T3D_DOXYGEN_INPUT " \"${CMAKE_BINARY_DIR}/Src/Theme3DBase/include\"")
  configure_file(${CMAKE_SOURCE_DIR}/docs/Doxyfile.in ${CMAKE_BINARY_DIR}/docs/Doxyfile @ONLY)
  file(GLOB_RECURSE doc_inputs CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Src/Theme3DBase/*.h
    ${CMAKE_SOURCE_DIR}/Src/Host/*.h ${CMAKE_SOURCE_DIR}/docs/*.md)
  add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/docs/html/index.html
    COMMAND Doxygen::doxygen ${CMAKE_BINARY_DIR}/docs/Doxyfile
    DEPENDS ${doc_inputs} ${CMAKE_BINARY_DIR}/docs/Doxyfile
    WORKING_DIRECTORY ${CMAKE_SOURCE_DIR} COMMENT "API reference")
  add_custom_target(docs ALL DEPENDS ${CMAKE_BINARY_DIR}/docs/html/index.html)
  install(DIRECTORY ${CMAKE_BINARY_DIR}/docs/html DESTINATION ${T3D_INSTALL_DOCDIR})
endif()

# Debian package: one package with the run-time libraries, the headers and the reference
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME trtheme3dbase)
set(CPACK_PACKAGE_VENDOR "TrTheme3DBase team")
set(CPACK_PACKAGE_CONTACT "TrTheme3DBase maintainers <maintainers@users.noreply.c-seed-c4ebf188.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "thematic-map plug-in of a 3D GIS scene engine")
set(CPACK_PACKAGE_DESCRIPTION "TrTheme3DBase.t3d supplies a 3D scene engine with five kinds of\n\
theme for vector layers: unique values, ranges with data classification,\n\
labels, 3D statistical charts and field-driven custom styles. The package\n\
holds the plug-in, the stand-ins of the host libraries it builds on, their\n\
headers, a CMake package and a pkg-config file, the guide and the API\n\
reference.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The loader cache is refreshed by the ldconfig trigger; the scripts only stop CPack from
# writing its own that call ldconfig directly
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/package/triggers
  ${CMAKE_CURRENT_LIST_DIR}/package/postinst ${CMAKE_CURRENT_LIST_DIR}/package/postrm)
set(CPACK_STRIP_FILES ON)
include(CPack)
