# `cmake --install`: the public headers, the library, and what makes CMake and
# pkg-config find them wherever the folder lies.
include(CMakePackageConfigHelpers)

set(package_dir lib/cmake/${PROJECT_NAME})
set(package_files ${CMAKE_CURRENT_BINARY_DIR}/package)

install(FILES include/qx-screen-capture.h include/qx-screen-capture-c.h TYPE INCLUDE)
install(TARGETS qx-screen-capture
  RUNTIME DESTINATION bin LIBRARY DESTINATION lib ARCHIVE DESTINATION lib)
if(NOT WIN32)
  install(TARGETS virtual-windows LIBRARY DESTINATION lib)
  set_target_properties(qx-screen-capture PROPERTIES INSTALL_RPATH $ORIGIN)
elseif(MINGW)
  # Linkers of MSVC's kind can use the C interface; the names of the C++ one are MinGW's.
  find_program(DLLTOOL llvm-dlltool REQUIRED)
  set(module_definition ${PROJECT_SOURCE_DIR}/src/c/qx-screen-capture-c.def)
  set(msvc_import_library ${CMAKE_BINARY_DIR}/bin/qx-screen-capture.lib)
  add_custom_command(OUTPUT ${msvc_import_library}
    COMMAND ${DLLTOOL} -m i386:x86-64 -D $<TARGET_FILE_NAME:qx-screen-capture>
      -d ${module_definition} -l ${msvc_import_library}
    DEPENDS ${module_definition} VERBATIM)
  add_custom_target(msvc-import-library ALL DEPENDS ${msvc_import_library})
  install(FILES ${msvc_import_library} DESTINATION lib)
  install(DIRECTORY ${QX_DEPS}/licenses DESTINATION share/doc/${PROJECT_NAME})
endif()

configure_package_config_file(cmake/qx-screen-capture-config.cmake.in
  ${package_files}/qx-screen-capture-config.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${package_files}/qx-screen-capture-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${package_files}/qx-screen-capture-config.cmake
  ${package_files}/qx-screen-capture-config-version.cmake DESTINATION ${package_dir})
configure_file(cmake/qx-screen-capture.pc.in ${package_files}/qx-screen-capture.pc @ONLY)
install(FILES ${package_files}/qx-screen-capture.pc DESTINATION lib/pkgconfig)
install(FILES README.md CHANGELOG.md DESTINATION share/doc/${PROJECT_NAME})
install(FILES docs/demo.png docs/guide.md DESTINATION share/doc/${PROJECT_NAME}/docs)
install(FILES examples/node/share.js DESTINATION share/doc/${PROJECT_NAME}/examples/node)
install(FILES examples/python/share.py DESTINATION share/doc/${PROJECT_NAME}/examples/python)
