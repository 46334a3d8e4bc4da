# cmake --install: bin/ lib/ include/. cpack: the same as an archive.
install(TARGETS Brantel EXPORT BrantelTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/brantel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# find_package(Brantel) gives the target Brantel::Brantel.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Brantel)
install(EXPORT BrantelTargets NAMESPACE Brantel:: DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/BrantelConfig.cmake.in
  ${PROJECT_BINARY_DIR}/BrantelConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/BrantelConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/BrantelConfig.cmake ${PROJECT_BINARY_DIR}/BrantelConfigVersion.cmake
  DESTINATION ${package_dir})

# The way from brantel.pc back to the prefix, so that an installed tree may be moved.
file(RELATIVE_PATH pc_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/brantel.pc.in ${PROJECT_BINARY_DIR}/brantel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/brantel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(WIN32 AND CMAKE_CROSSCOMPILING)
  # A host must be built with this very OpenCV, so its DLL, headers and import library come along.
  get_filename_component(opencv_prefix ${OpenCV_DIR}/../../.. ABSOLUTE)
  install(DIRECTORY ${opencv_prefix}/ DESTINATION . PATTERN LICENSE EXCLUDE)
  install(FILES ${opencv_prefix}/LICENSE DESTINATION share/licenses/opencv4)
endif()

if(WIN32)
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR TGZ)
endif()
string(TOLOWER ${CMAKE_SYSTEM_NAME} system)
set(CPACK_PACKAGE_FILE_NAME brantel-${PROJECT_VERSION}-${system}-x86_64)
set(CPACK_PACKAGE_VENDOR Brantel)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
